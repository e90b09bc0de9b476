// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "preview/isofile.h"

#include <algorithm>

namespace {

constexpr qint64 scanStart = 34816; // the block after the primary volume descriptor
constexpr qint64 scanLength = 0x100000;
constexpr qint64 minimalSize = 25 * 1024 * 1024;

} // namespace

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
    vobs = dvdTitles(QFile::read(scanLength));
    return true;
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
    const DvdTitle title = vobs.take(vobs.firstKey());
    curPos = title.start();
    endPos = curPos + title.size;
    seek(title.start());
}
