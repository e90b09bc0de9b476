// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <stdexcept>
#include <zlib.h>

/// What YencDecoder must make of an article behind its "=ybegin" line, one byte at a time.
class YencArticle final {
public:
    /// @throws std::runtime_error  where the decoder throws
    [[clang::no_sanitize("coverage")]] void decode(QByteArray data) // its traces take too long
    {
        data.prepend(leftover);
        leftover.clear();
        const bool inOneWrite = data.size() < 60'000;
        const char *in = data.data();
        QByteArray out;
        out.reserve(data.size());
        for (qsizetype at = 0; at < data.size() && !ended; ++at) {
            const char c = in[at];
            if (c != '=' && c != '\n') {
                if (c != '\r')
                    out += char(c - 42);
                continue;
            }
            const QByteArrayView rest = QByteArrayView(data).sliced(at + 1);
            if (c == '=' && (rest.isEmpty() || rest.front() == '\0')) {
                leftover = "=";
                ++at;
            } else if (c == '=') {
                out += char(in[++at] - 106);
            } else if (rest.size() < 2 || rest.startsWith("=y")) {
                known = known && (inOneWrite || out.isEmpty() || !rest.contains("=yp"));
                at = judgeLine(data, at + 1, out) - 1;
            } else {
                at += rest.startsWith("..");
            }
        }
        write(out);
    }

    QByteArray file;
    QByteArray written; ///< in all, in its order
    bool ok = false;
    bool known = true; ///< false once a second file begins, or when the decoder writes matters

private:
    static QByteArray valueOf(const QByteArray &line, const QByteArray &key)
    {
        return line.mid(line.indexOf(key) + key.size()).split(' ').first().trimmed();
    }

    /// Returns where decoding goes on: the last byte of a line is data if it is not CR, and so is
    /// all of a line that names no file, with NUL in the place of its LF.
    qsizetype judgeLine(QByteArray &data, qsizetype at, QByteArray &out)
    {
        const qsizetype end = data.size() - at < 2 ? -1 : data.indexOf('\n', at);
        const QByteArray line = data.sliced(at, (end < 0 ? data.size() : end) - at);
        if (end < 0) {
            leftover = '\n' + line;
            return data.size();
        }
        if (line.startsWith("=ybegin ") && !line.contains(" name=")) {
            data[end] = '\0';
            return at + 1;
        }
        known = known && !line.startsWith("=ybegin ");
        if (line.startsWith("=ypart ") && line.contains(" begin="))
            seek(valueOf(line, " begin=").toLongLong());
        else if (line.startsWith("=yend"))
            finish(line, out);
        return end - 1;
    }

    void seek(qint64 firstByte)
    {
        if (firstByte < 1)
            throw std::runtime_error("before the file");
        known = known && firstByte < 1'000'000;
        place = known ? firstByte - 1 : 0;
    }

    void write(QByteArray &out)
    {
        if (!out.isEmpty())
            file.resize(std::max(file.size(), place + out.size()), '\0');
        file.replace(place, out.size(), out);
        place += out.size();
        written += out;
        out.clear();
    }

    void finish(const QByteArray &line, QByteArray &out)
    {
        write(out);
        const QByteArray key = line.contains("pcrc32=") ? "pcrc32=" : " crc32=";
        const auto *bytes = reinterpret_cast<const Bytef *>(written.constData());
        ok = line.contains(key)
             && valueOf(line, key).toUInt(nullptr, 16) == crc32(0, bytes, uInt(written.size()))
             && line.contains(" size=")
             && valueOf(line, " size=").toULongLong() == quint64(written.size());
        ended = true;
    }

    qsizetype place = 0;
    QByteArray leftover = "\n";
    bool ended = false;
};
