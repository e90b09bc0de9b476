// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/yencdecoder.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

#include "queue/jobpath.h"
#include "transfer/crc32.h"
#include "transfer/yenckernel.h"

namespace {

/// What is decoded, written and summed up at a time, so that it stays in the processor's cache.
constexpr qsizetype blockSize = 64 * 1024;

[[noreturn]] void fail(const QString &text) { throw std::runtime_error(text.toStdString()); }

// What stands behind `key` up to the next space or the end of the line.
std::optional<QByteArrayView> valueOf(QByteArrayView line, QByteArrayView key)
{
    const qsizetype at = line.indexOf(key);
    if (at < 0)
        return {};
    const QByteArrayView rest = line.sliced(at + key.size());
    const qsizetype space = rest.indexOf(' ');
    return space < 0 ? rest : rest.first(space);
}

quint32 hexValue(QByteArrayView text) { return text.trimmed().toUInt(nullptr, 16); }

} // namespace

YencDecoder::YencDecoder(const QString &outputFolder, QObject *parent)
    : AbstractDecoder(outputFolder, parent)
{
}

void YencDecoder::decode(QByteArray &data)
{
    if (phase == Phase::AfterEnd || continuesOpenLine(data))
        return;
    data.prepend(leftover);
    leftover.clear();
    if (const qsizetype needed = std::min(data.size(), blockSize); outputBuffer.size() < needed)
        outputBuffer.resize(needed);
    decodedSize = 0;
    walk(data);
    emptyOutput();
}

// Collects an unfinished control line without scanning it again from its start.
bool YencDecoder::continuesOpenLine(const QByteArray &data)
{
    if (!leftover.startsWith("\n=y") || data.contains('\n'))
        return false;
    keepForNextBlock(data);
    return true;
}

void YencDecoder::keepForNextBlock(QByteArrayView rest)
{
    leftover.append(rest);
    if (leftover.size() > maximalLine)
        throw std::length_error("line without end");
}

void YencDecoder::walk(QByteArray &data)
{
    qsizetype at = 0;
    while (at < data.size()) {
        if (outputBuffer.size() - decodedSize < std::min(data.size() - at, blockSize / 2))
            emptyOutput();
        const qsizetype blockEnd = std::min(data.size(), at + outputBuffer.size() - decodedSize);
        at = walkBlock(data, at, blockEnd);
        if (at == data.size())
            return;
        if (blockEnd - at < 3 && blockEnd < data.size())
            continue; // the next block decides about this byte
        if (data.at(at) == '=') { // with NUL or nothing behind it
            leftover = "=";
            at += 2;
        } else {
            at = judgeLineStart(data, at);
        }
    }
}

// Returns where the walk has stopped, at @p blockEnd or before it.
qsizetype YencDecoder::walkBlock(const QByteArray &data, qsizetype at, qsizetype blockEnd)
{
    const auto *in = reinterpret_cast<const uchar *>(data.constData());
    auto *out = reinterpret_cast<uchar *>(outputBuffer.data());
    const YencProgress done =
        walkYenc({in + at, in + blockEnd}, {out + decodedSize, out + outputBuffer.size()});
    decodedSize += qsizetype(done.produced);
    return at + qsizetype(done.consumed);
}

// Returns where the walk goes on.
qsizetype YencDecoder::judgeLineStart(QByteArray &data, qsizetype lf)
{
    const bool isControlLine = lf + 2 < data.size();
    const qsizetype lineEnd = isControlLine ? data.indexOf('\n', lf + 1) : -1;
    if (lineEnd >= 0)
        return handleControlLine(data, lf, lineEnd);
    leftover.clear();
    keepForNextBlock(QByteArrayView(data).sliced(lf));
    return data.size();
}

qsizetype YencDecoder::handleControlLine(QByteArray &data, qsizetype lf, qsizetype lineEnd)
{
    const auto line = QByteArrayView(data).sliced(lf + 1, lineEnd - lf - 1);
    if (line.startsWith("=ybegin ")) {
        if (!handleBegin(line)) {
            data[lineEnd] = '\0'; // so that the next line does not count as following an LF
            return lf + 2;
        }
    } else if (line.startsWith("=ypart ")) {
        handlePart(line);
    } else if (line.startsWith("=yend")) {
        handleEnd(line);
        return data.size();
    }
    // Normally at the line's CR; the line's LF lets the next line be a control line, too.
    return lineEnd - 1;
}

// Returns false if the line names no file.
bool YencDecoder::handleBegin(QByteArrayView line)
{
    constexpr QByteArrayView nameKey(" name=");
    const qsizetype name = line.indexOf(nameKey);
    if (name < 0)
        return false;
    takeName(line.sliced(name + nameKey.size()).toByteArray());
    openFile();
    // Deliberate: a size at the very end of the line has no effect.
    const auto size = valueOf(line, " size=");
    if (size && size->end() != line.end()) {
        const qint64 wholeFile = size->trimmed().toLongLong();
        if (wholeFile > file->size())
            file->resize(wholeFile);
    }
    phase = Phase::Body;
    decodedSize = 0;
    return true;
}

void YencDecoder::takeName(const QByteArray &name)
{
    constexpr qsizetype longest = 1000; // bytes of a name that may be worth keeping
    filename_ = sanitizeFilename(name);
    posted = name.endsWith('\r') ? name.chopped(1) : name;
    if (posted == filename_.toLatin1() || posted.size() > longest)
        posted.clear();
}

void YencDecoder::handlePart(QByteArrayView line)
{
    const auto begin = valueOf(line, " begin=");
    if (!begin || !file)
        return;
    const qint64 firstByte = begin->trimmed().toLongLong();
    if (firstByte < 1 || !file->seek(firstByte - 1))
        fail(tr("Error seeking file"));
}

void YencDecoder::handleEnd(QByteArrayView line)
{
    auto checksum = valueOf(line, "pcrc32=");
    if (!checksum)
        checksum = valueOf(line, " crc32=");
    const auto size = valueOf(line, " size=");
    if (file)
        writeDecoded();
    crc = ~crc;
    ok = file && checksum && size && size->trimmed().toULongLong() == bytes_
         && hexValue(*checksum) == crc;
    if (!ok) {
        qDebug() << "Size or CRC do not match, or information not present :-(";
        if (checksum)
            qDebug() << "CRC in header" << hexValue(*checksum) << "Calculated CRC" << crc;
        if (size)
            qDebug() << "Size in header" << size->toByteArray() << "Actual size" << bytes_;
    }
    phase = Phase::AfterEnd;
    if (file)
        closeFile();
}

void YencDecoder::openFile()
{
    delete std::exchange(file, nullptr);
    const QString path = folder % u'/' % filename_;
    // The name holds no separator, so only a link can lead elsewhere. For any other failure, such
    // as a missing folder, the system's own message is best.
    if (QFileInfo(path).isSymLink() && !isInsideFolder(folder, path))
        fail(tr("Error opening file: ") + tr("the name leads out of its folder"));
    file = new QFile(path, this);
    // Unbuffered, so that the write that fills the disk is the one that fails.
    if (!file->open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        fail(tr("Error opening file: ") + file->errorString());
}

/// A quota or a network disk may refuse written data only when the file is closed.
void YencDecoder::closeFile()
{
    file->close();
    if (file->error() != QFileDevice::NoError)
        fail(tr("Error writing to file. Check disk space"));
}

// Bytes outside the body are dropped.
void YencDecoder::emptyOutput()
{
    if (phase == Phase::Body)
        writeDecoded();
    decodedSize = 0;
}

void YencDecoder::writeDecoded()
{
    if (decodedSize == 0)
        return;
    if (file->write(outputBuffer.constData(), decodedSize) != decodedSize)
        fail(tr("Error writing to file. Check disk space"));
    bytes_ += quint64(decodedSize);
    const auto *decoded = reinterpret_cast<const uchar *>(outputBuffer.constData());
    crc = updateCrc32(crc, {decoded, size_t(decodedSize)});
    decodedSize = 0;
}
