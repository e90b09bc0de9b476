// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "preview/dvdtitles.h"

#include <QDebug>
#include <QtEndian>

#include <optional>

namespace {

constexpr quint32 minimalSize = 25 * 1024 * 1024; // a smaller one is a menu

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

/// The large title file that @p record describes, if it does. @p record holds the whole name.
std::optional<DvdTitle> titleOf(QByteArrayView record, QByteArrayView name)
{
    if (name.size() + nameLengthAt >= byteAt(record, recordLengthAt) || name.size() < shortestName)
        return {};
    const DvdTitle title{.sector = numberAt(record, extentAt),
                         .size = numberAt(record, dataLengthAt)};
    if (title.sector == 0 || title.size < minimalSize)
        return {};
    if (byteAt(record, interleaveGapAt) != 0) {
        qDebug() << "Interleaved files not supported";
        return {};
    }
    return title;
}

} // namespace

quint32 DvdTitle::start() const { return sector << 11; }

QMap<QByteArray, DvdTitle> dvdTitles(const QByteArray &stretch)
{
    QMap<QByteArray, DvdTitle> titles;
    for (qsizetype at = stretch.indexOf("VTS_", nameAt); at >= 0;
         at = stretch.indexOf("VTS_", at + 1)) {
        const QByteArrayView record = QByteArrayView(stretch).sliced(at - nameAt);
        const int nameLength = byteAt(record, nameLengthAt);
        if (nameLength + nameAt > record.size())
            break;
        const QByteArrayView name = record.sliced(nameAt, nameLength);
        const std::optional<DvdTitle> title = titleOf(record, name);
        if (title && name.chopped(versionLength).endsWith(".VOB"))
            titles.insert(name.chopped(versionLength).toByteArray(), *title);
    }
    return titles;
}
