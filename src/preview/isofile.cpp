// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "preview/isofile.h"

#include <QDebug>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr qint64 scanStart = 34816; // the block after the primary volume descriptor
constexpr qint64 scanLength = 0x100000;
constexpr qint64 minimalSize = 25 * 1024 * 1024; // of an image, and of a title file

// Fields of a directory record.
constexpr qsizetype recordLengthAt = 0;
constexpr qsizetype extentAt = 2;
constexpr qsizetype dataLengthAt = 10;
constexpr qsizetype interleaveGapAt = 27;
constexpr qsizetype nameLengthAt = 32;
constexpr qsizetype nameAt = 33;
constexpr int shortestName = 12;
constexpr int versionLength = 2; // ";1"

int byteAt(QByteArrayView record, qsizetype at) { return static_cast<uchar>(record[at]); }

/// A number that is recorded in both byte orders, one after the other; 0 if they differ.
quint32 numberAt(QByteArrayView record, qsizetype at)
{
    const auto little = qFromLittleEndian<quint32>(record.data() + at);
    return little == qFromBigEndian<quint32>(record.data() + at + 4) ? little : 0;
}

} // namespace

/// In 32 bits: what lies beyond 4 GiB comes from the wrong place instead of failing.
quint32 IsoFile::VobExtent::start() const { return sector << 11; }

IsoFile::IsoFile(const QString &path, QObject *parent)
    : QFile(path, parent)
{
}

bool IsoFile::containsVideo(const QString &path)
{
    IsoFile image(path);
    static_cast<void>(image.open(ReadOnly)); // no title is found if it fails
    image.close();
    return !image.vobs.isEmpty() && image.size() > image.vobs.first().start();
}

bool IsoFile::open(OpenMode mode)
{
    vobs.clear();
    endPos = 0;
    curPos = 0;
    if (size() < minimalSize || !QFile::open(mode))
        return false;
    seek(scanStart);
    findTitles(QFile::read(scanLength));
    return true;
}

/// Every place counts where a name may stand: records are not looked for by their alignment.
void IsoFile::findTitles(const QByteArray &stretch)
{
    for (qsizetype name = stretch.indexOf("VTS_", nameAt); name >= 0;
         name = stretch.indexOf("VTS_", name + 1)) {
        const QByteArrayView record = QByteArrayView(stretch).sliced(name - nameAt);
        if (byteAt(record, nameLengthAt) + nameAt > record.size())
            return;
        addTitle(record);
    }
}

/// Does nothing if @p record, which holds the whole name, is not that of a large title file.
void IsoFile::addTitle(QByteArrayView record)
{
    const int nameLength = byteAt(record, nameLengthAt);
    if (nameLength + nameLengthAt >= byteAt(record, recordLengthAt) || nameLength < shortestName)
        return;
    const VobExtent extent{.sector = numberAt(record, extentAt),
                           .size = numberAt(record, dataLengthAt)};
    if (extent.sector == 0 || extent.size < minimalSize)
        return;
    if (byteAt(record, interleaveGapAt) != 0) {
        qDebug() << "Interleaved files not supported";
        return;
    }
    const QByteArrayView name = record.sliced(nameAt, nameLength - versionLength);
    if (name.endsWith(".VOB"))
        vobs.insert(name.toByteArray(), extent);
}

qint64 IsoFile::pos() const { return curPos == endPos ? size() : static_cast<qint64>(curPos); }

QByteArray IsoFile::read(qint64 maxlen)
{
    if (curPos == endPos)
        nextTitle();
    const qint64 length = std::min(maxlen, static_cast<qint64>(endPos - curPos));
    if (length <= 0)
        return {};
    QByteArray data = QFile::read(length);
    curPos += static_cast<quint64>(data.size());
    return data;
}

void IsoFile::nextTitle()
{
    if (vobs.isEmpty() || vobs.first().start() > size())
        return;
    const VobExtent extent = vobs.take(vobs.firstKey());
    curPos = extent.start();
    endPos = curPos + extent.size;
    seek(extent.start());
}
