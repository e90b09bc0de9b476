// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDebug>
#include <QRandomGenerator>

#include <random>
#include <zlib.h>

/// CRC-32 as in zlib.
inline quint32 crc32Of(const QByteArray &data)
{
    return quint32(crc32(0, reinterpret_cast<const Bytef *>(data.constData()), uInt(data.size())));
}

/// The same bytes for the same seed, on every machine.
inline QByteArray randomBytes(quint32 seed, qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    std::mt19937 generator(seed);
    for (char &byte : bytes)
        byte = char(generator());
    return bytes;
}

/// Other numbers in each run; prints the seed that gives them again.
inline QRandomGenerator seededRandom()
{
    const quint32 seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    return QRandomGenerator(seed);
}

/// The lines of @p data in yEnc, of 128 bytes, as they go over the wire: a dot at the start of a
/// line is doubled (RFC 3977, 3.1.1).
inline QByteArray yencLines(const QByteArray &data)
{
    QByteArray lines;
    qsizetype room = 0;
    for (const char byte : data) {
        if (room <= 0)
            lines += "\r\n";
        room = room <= 0 ? 128 : room;
        const char code = char(byte + 42);
        const bool critical = code == '\0' || code == '\r' || code == '\n' || code == '=';
        lines += critical ? "=" : room == 128 && code == '.' ? "." : "";
        lines += critical ? char(code + 64) : code;
        room -= critical ? 2 : 1;
    }
    return lines.mid(2) + (lines.isEmpty() ? "" : "\r\n");
}

/// A body in yEnc 1.3, as NewsServer::addArticle() takes it: CR LF line ends, dot-stuffed.
/// With @p total 1 it is a single-part one, without "part=" and "=ypart".
/// @param begin  1-based offset of the part's first byte within the file
inline QByteArray yencArticle(const QByteArray &name, qint64 fileSize, int part, int total,
                              qint64 begin, const QByteArray &data)
{
    const auto field = [](const char *key, qint64 value) -> QByteArray {
        return key + QByteArray::number(value);
    };
    const QByteArray of = total > 1 ? field(" part=", part) : QByteArray();
    QByteArray text = "=ybegin" + of + " line=128" + field(" size=", fileSize) + " name=" + name;
    if (total > 1)
        text += field("\r\n=ypart begin=", begin) + field(" end=", begin + data.size() - 1);
    text += "\r\n" + yencLines(data) + "=yend" + field(" size=", data.size()) + of;
    return text + (total > 1 ? " pcrc32=" : " crc32=")
           + QByteArray::number(crc32Of(data), 16).rightJustified(8, '0') + "\r\n";
}

/// The bodies of one uuencoded file, 45 bytes a line: the first starts with "begin", the last ends
/// with the grave accent line and "end". Lines are not dot-stuffed; only a line of 14 bytes, which
/// the file's last line can be, starts with a dot.
inline QByteArrayList uuencodeArticles(const QByteArray &name, const QByteArray &data,
                                       int linesPerArticle)
{
    const QByteArray base64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto digit = [](qsizetype six) { return six > 0 ? char(six + 32) : '`'; };
    QByteArrayList articles{"begin 644 " + name + "\r\n"};
    for (qsizetype at = 0; at < data.size(); at += 45) {
        if (at > 0 && at % (45 * linesPerArticle) == 0)
            articles << QByteArray();
        const QByteArray line = data.mid(at, 45);
        articles.last() += digit(line.size());
        for (const char same : line.toBase64()) // the same six bits; none for the padding
            articles.last() += digit(base64.indexOf(same));
        articles.last() += "\r\n";
    }
    articles.last() += "`\r\nend\r\n";
    return articles;
}
