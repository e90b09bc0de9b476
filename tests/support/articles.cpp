// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/articles.h"

#include <zlib.h>

#include <algorithm>
#include <random>

namespace {

bool isCritical(char encoded)
{
    return encoded == '\0' || encoded == '\r' || encoded == '\n' || encoded == '=';
}

QByteArray yencLines(const QByteArray &data, const YencOptions &options)
{
    QByteArray text;
    text.reserve(data.size() + data.size() / 32 + 16);
    qsizetype lineStart = 0;
    for (const char byte : data) {
        if (text.size() - lineStart >= options.lineLength) {
            text += "\r\n";
            lineStart = text.size();
        }
        const auto encoded = static_cast<char>(byte + 42);
        if (isCritical(encoded)) {
            text += '=';
            text += static_cast<char>(encoded + 64);
        } else {
            text += encoded;
        }
    }
    return text.isEmpty() ? text : text + "\r\n";
}

QByteArray yencTrailer(const QByteArray &data, int part, int total, const YencOptions &options)
{
    if (!options.endLine.isEmpty())
        return options.endLine + "\r\n";
    return "=yend size=" + QByteArray::number(data.size())
           + (total > 1 ? " part=" + QByteArray::number(part) + " p" : QByteArray(" "))
           + "crc32=" + QByteArray::number(crc32Of(data), 16).rightJustified(8, '0') + "\r\n";
}

char uuCharacter(int sixBits) { return sixBits == 0 ? '`' : static_cast<char>(sixBits + 32); }

QByteArray uuLine(QByteArray bytes)
{
    QByteArray line(1, uuCharacter(static_cast<int>(bytes.size())));
    bytes.append((3 - bytes.size() % 3) % 3, '\0');
    for (qsizetype i = 0; i < bytes.size(); i += 3) {
        const auto byte = [&](qsizetype at) { return static_cast<uchar>(bytes.at(i + at)); };
        const int group = byte(0) << 16 | byte(1) << 8 | byte(2);
        for (int shift = 18; shift >= 0; shift -= 6)
            line += uuCharacter(group >> shift & 63);
    }
    return line + "\r\n";
}

} // namespace

QByteArray yencArticle(const QByteArray &name, qint64 fileSize, int part, int total, qint64 begin,
                       const QByteArray &data, const YencOptions &options)
{
    const auto number = [](qint64 value) { return QByteArray::number(value); };
    const QByteArray parts =
        total > 1 ? "part=" + number(part) + " total=" + number(total) + " " : QByteArray();
    QByteArray text = options.beginLine;
    if (text.isEmpty())
        text = "=ybegin " + parts + "line=" + number(options.lineLength)
               + " size=" + number(fileSize) + " name=" + name;
    text += "\r\n";
    if (total > 1 && options.withPartLine)
        text +=
            "=ypart begin=" + number(begin) + " end=" + number(begin + data.size() - 1) + "\r\n";
    text += yencLines(data, options);
    if (options.withEndLine)
        text += yencTrailer(data, part, total, options);
    return dotStuffed(text);
}

QList<QByteArray> uuencodeArticles(const QByteArray &name, int mode, const QByteArray &data,
                                   int linesPerArticle)
{
    constexpr qsizetype bytesPerLine = 45;
    QList<QByteArray> articles{"begin " + QByteArray::number(mode, 8) + " " + name + "\r\n"};
    int lines = 0;
    for (qsizetype at = 0; at < data.size(); at += bytesPerLine) {
        if (lines == linesPerArticle) {
            articles.append(QByteArray());
            lines = 0;
        }
        articles.last() += uuLine(data.mid(at, bytesPerLine));
        ++lines;
    }
    articles.last() += "`\r\nend\r\n";
    return articles;
}

QByteArray dotStuffed(const QByteArray &lines)
{
    QByteArray stuffed = lines;
    if (stuffed.startsWith('.'))
        stuffed.prepend('.');
    return stuffed.replace("\r\n.", "\r\n..");
}

quint32 crc32Of(const QByteArray &data)
{
    return static_cast<quint32>(crc32(0, reinterpret_cast<const Bytef *>(data.constData()),
                                      static_cast<uInt>(data.size())));
}

QByteArray randomBytes(quint32 seed, qsizetype size)
{
    std::mt19937 generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(generator()); });
    return bytes;
}
