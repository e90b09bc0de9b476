// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/uudecoder.h"

#include <QDebug>
#include <QFile>
#include <stdexcept>

#include "queue/filenames.h"
#include "queue/jobpath.h"

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

unsigned sixBits(char c) { return unsigned(c - 32) & 63; }

} // namespace

UUDecoder::UUDecoder(const QString &outputFolder, const QString &name, int articleNumber,
                     QObject *parent)
    : AbstractDecoder(outputFolder, parent)
    , tempSuffix(uuPartSuffix(articleNumber))
    , seqnr(articleNumber)
{
    ok = true;
    filename_ = sanitizeFilename(name.toLatin1());
    if (seqnr != 1)
        openFile();
}

bool UUDecoder::isBeginLine(const QByteArray &line)
{
    return line.size() > 10 && line.startsWith("begin ") && isDigit(line[6]) && isDigit(line[7])
           && isDigit(line[8]) && line[9] == ' ';
}

void UUDecoder::openFile()
{
    const QString path = folder % u'/' % filename_ % tempSuffix;
    file = new QFile(path, this);
    if (isInsideFolder(folder, path))
        file->open(QIODevice::ReadWrite);
}

void UUDecoder::decode(QByteArray &data)
{
    if (finished)
        return;
    if (!file) {
        if (isBeginLine(data)) {
            filename_ = sanitizeFilename(filename_.toLatin1());
            openFile();
        }
        return;
    }
    Output output{};
    qsizetype lineStart = 0;
    qsizetype lf = data.indexOf('\n');
    if (lf >= 0)
        lf += lineBuffer.size();
    lineBuffer.append(data);
    for (; lf >= 0 && !finished; lf = lineBuffer.indexOf('\n', lineStart)) {
        decodeLine(QByteArrayView(lineBuffer).sliced(lineStart, lf + 1 - lineStart), output);
        lineStart = lf + 1;
    }
    lineBuffer.remove(0, lineStart);
    if (!finished && lineBuffer.size() > maximalLine)
        throw std::length_error("line without end");
}

void UUDecoder::decodeLine(QByteArrayView line, Output &output)
{
    if (line.size() <= 3 || line == QByteArrayView("end\r\n")) {
        finished = true;
        return;
    }
    const int count = int(sixBits(line[0]));
    // Deliberate: one too low for the last group when count is 3k + 1, so that its byte is lost.
    const int expected = int(count * 1.33);
    if (count < 1 || count > 45 || expected > line.size()) {
        markCorrupt(line, count, expected);
        return;
    }
    const auto bits = [line](qsizetype i) { return sixBits(i < line.size() ? line[i] : '\0'); };
    auto out = output.begin();
    for (qsizetype i = 1; i < expected; i += 4) {
        *out++ = char(bits(i) << 2 | bits(i + 1) >> 4);
        *out++ = char(bits(i + 1) << 4 | bits(i + 2) >> 2);
        *out++ = char(bits(i + 2) << 6 | bits(i + 3));
    }
    if (file->isOpen())
        file->write(output.data(), count);
    bytes_ += quint64(count);
}

void UUDecoder::markCorrupt(QByteArrayView line, int count, int expected)
{
    qDebug() << "File = corrupt" << int(static_cast<signed char>(line[0])) << count << line.size()
             << expected;
    qDebug() << line.toByteArray();
    ok = false;
    finished = true;
}

void UUDecoder::finish()
{
    if (file)
        file->close();
}
