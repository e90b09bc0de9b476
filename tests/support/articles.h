// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>

/// How yencArticle() writes, and what it gets wrong on purpose.
struct YencOptions {
    int lineLength = 128;
    bool withPartLine = true; ///< "=ypart"
    bool withEndLine = true; ///< "=yend"
    QByteArray beginLine = {}; ///< stands for the "=ybegin" line, without a line end
    QByteArray endLine = {}; ///< stands for the "=yend" line, without a line end
};

/// A body in yEnc 1.3, as NewsServer::addArticle() takes it: CR LF line ends, dot-stuffed.
/// With @p total 1 it is a single-part one, without "part=" and "=ypart".
/// @param begin  1-based offset of the part's first byte within the file
[[nodiscard]] QByteArray yencArticle(const QByteArray &name, qint64 fileSize, int part, int total,
                                     qint64 begin, const QByteArray &data,
                                     const YencOptions &options = {});

/// The bodies of one uuencoded file, 45 bytes a line: the first starts with "begin", the last ends
/// with the grave accent line and "end". Lines are not dot-stuffed; only a line of 14 bytes, which
/// the file's last line can be, starts with a dot.
/// @param mode  octal, such as 0644
[[nodiscard]] QList<QByteArray> uuencodeArticles(const QByteArray &name, int mode,
                                                 const QByteArray &data, int linesPerArticle);

/// Doubles the dot at the start of each line (RFC 3977, 3.1.1). @p lines have CR LF line ends.
[[nodiscard]] QByteArray dotStuffed(const QByteArray &lines);

/// CRC-32 as in zlib.
[[nodiscard]] quint32 crc32Of(const QByteArray &data);

/// The same bytes for the same seed, on every machine.
[[nodiscard]] QByteArray randomBytes(quint32 seed, qsizetype size);
