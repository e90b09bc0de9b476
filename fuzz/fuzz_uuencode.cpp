// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The uuencode decoder against the plain way. The input's first line is the article's number, one
// digit, and the file's name; the rest is the article, cut where the input says.
#include <QDir>
#include <QFile>

#include <array>
#include <climits>

#include "support.h"
#include "transfer/uudecoder.h"

using namespace Qt::StringLiterals;

namespace {

/// What UUDecoder must write, out of blocks cut in the same places.
class Reference {
public:
    explicit Reference(bool firstArticle)
        : begun(!firstArticle)
    {
    }

    void decode(const QByteArray &block)
    {
        if (!begun) {
            begun = block.size() > 10 && block.startsWith("begin ") && isMode(block.sliced(6, 4));
            return;
        }
        scratch.fill(0);
        text += block;
        for (qsizetype lf = text.indexOf('\n'); lf >= 0 && !ended; lf = text.indexOf('\n')) {
            judge(text.first(lf + 1));
            text.remove(0, lf + 1);
        }
    }

    bool begun; ///< so that there is a file
    bool ok = true;
    QByteArray output;

private:
    static bool isMode(const QByteArray &field)
    {
        bool octal = field.endsWith(' ');
        for (const char c : field.first(3))
            octal = octal && c >= '0' && c <= '9';
        return octal;
    }

    static int six(const QByteArray &line, qsizetype at)
    {
        const int c = at < line.size() ? static_cast<uchar>(line[at]) : 0;
        return (c + 224) % 64;
    }

    void judge(const QByteArray &line)
    {
        ended = line.size() <= 3 || line == "end\r\n";
        if (ended)
            return;
        const int count = six(line, 0);
        const int encoded = count * 133 / 100;
        ok = count >= 1 && count <= 45 && encoded <= line.size();
        ended = !ok;
        if (!ok)
            return;
        for (int at = 1, to = 0; at < encoded; at += 4, to += 3) {
            const int group = six(line, at) << 18 | six(line, at + 1) << 12 | six(line, at + 2) << 6
                              | six(line, at + 3);
            for (int i = 0; i < 3; ++i)
                scratch[size_t(to + i)] = char(group >> (16 - 8 * i));
        }
        output.append(scratch.data(), count);
    }

    QByteArray text;
    std::array<char, 48> scratch{};
    bool ended = false;
};

void compareFile(const QString &folder, const QString &name, const Reference &reference)
{
    QFile file(folder + u'/' + name);
    const bool fits = name.size() <= NAME_MAX;
    require(file.exists() == (reference.begun && fits), "a file once the article has begun");
    if (file.open(QIODevice::ReadOnly))
        require(file.readAll() == reference.output, "the content that the reference gives");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype lineEnd = input.indexOf('\n');
    if (lineEnd < 1)
        return 0;
    static const QString folder = scratchFolder() + u"/job"_s;
    QDir().mkdir(folder);
    const int number = input[0] == '1' ? 1 : 2;
    UUDecoder decoder(folder, QString::fromUtf8(input.sliced(1, lineEnd - 1)), number, nullptr);
    Reference reference(number == 1);
    for (QByteArray &block : pieces(input.sliced(lineEnd + 1))) {
        reference.decode(block);
        decoder.decode(block);
    }
    decoder.finish();

    require(decoder.isOk() == reference.ok, "the verdict of the reference");
    require(decoder.bytes() == quint64(reference.output.size()), "the size of the reference");
    const QString name = decoder.filename() + u".uu00000"_s + QString::number(number);
    require(!name.startsWith(u'.') && !name.contains(u'/'), "a name that stays in the folder");
    compareFile(folder, name, reference);
    requireOnly({"job"}, scratchFolder());
    clearFiles(folder);
    return 0;
}
