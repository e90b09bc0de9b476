// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDataStream>

#include "support/articles.h"
#include "support/files.h"

/// One member of an archive, with a header that may say anything.
struct Rar4Member {
    QByteArray name;
    QByteArray data;
    quint32 attributes = 0100644; ///< as st_mode
    std::optional<quint64> claimedSize = {}; ///< unpacked, in place of the true one
    bool folder = false;
};

/// The bytes of @p numbers one after another, each with the lowest byte first.
QByteArray littleEndian(auto... numbers)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    (stream << ... << numbers);
    return bytes;
}

inline QByteArray rar4Block(int type, int flags, const QByteArray &fields)
{
    const QByteArray rest =
        littleEndian(quint8(type), quint16(flags), quint16(7 + fields.size())) + fields;
    return littleEndian(quint16(crc32Of(rest))) + rest;
}

/// The data of @p member from @p from on, @p length bytes of it, stored, with their header.
inline QByteArray rar4Piece(const Rar4Member &member, qsizetype from, qsizetype length)
{
    enum { SplitBefore = 1, SplitAfter = 2, Folder = 0xe0, LargeSizes = 0x100, HasData = 0x8000 };
    const QByteArray packed = member.data.mid(from, length);
    const bool last = from + length >= member.data.size();
    const quint64 size = member.claimedSize.value_or(member.data.size());
    const QByteArray fields = littleEndian(
        quint32(packed.size()), quint32(size), quint8(3), // packed on Unix
        crc32Of(last ? member.data : packed), quint32(0), quint8(20), quint8('0'),
        quint16(member.name.size()), member.attributes, quint32(0), quint32(size >> 32));
    const int flags = HasData | LargeSizes | (from > 0 ? SplitBefore : 0) | (last ? 0 : SplitAfter)
                      | (member.folder ? Folder : 0);
    return rar4Block(0x74, flags, fields + member.name) + packed;
}

/// A set in the format of RAR 2.9 to 4, stored, with the old volume names: "x.rar", "x.r00", ...
/// @param dataPerVolume  bytes of members' data in a volume
inline RarVolumes rar4Set(const QString &stem, const QList<Rar4Member> &members,
                          qsizetype dataPerVolume = std::numeric_limits<qsizetype>::max())
{
    QByteArrayList contents(1);
    qsizetype room = dataPerVolume;
    for (const Rar4Member &member : members) {
        qsizetype from = 0;
        do {
            if (room == 0)
                contents << QByteArray();
            room = room == 0 ? dataPerVolume : room;
            const qsizetype length = std::min(room, member.data.size() - from);
            contents.last() += rar4Piece(member, from, length);
            from += length;
            room -= length;
        } while (from < member.data.size());
    }
    RarVolumes volumes;
    for (qsizetype i = 0; i < contents.size(); ++i) {
        const QString suffix = i ? QString(".r%1").arg(i - 1, 2, 10, QChar(u'0')) : ".rar";
        const int flags = contents.size() == 1 ? 0 : i == 0 ? 0x101 : 1; // volume, and first one
        const int more = i + 1 < contents.size() ? 1 : 0;
        const QByteArray start =
            "Rar!\x1a\x07" + QByteArray(1, '\0') + rar4Block(0x73, flags, QByteArray(6, '\0'));
        volumes.append(
            {stem + suffix,
             start + contents[i] + rar4Block(0x7b, 0x4008 | more, littleEndian(quint16(i)))});
    }
    return volumes;
}
