// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/rar4writer.h"

#include <QtEndian>

#include <algorithm>

#include "support/articles.h"

using namespace Qt::StringLiterals;

namespace {

enum BlockType : quint8 { Main = 0x73, File = 0x74, End = 0x7b };
enum Flag : quint16 {
    VolumeSet = 0x0001, // of a main block
    FirstVolume = 0x0100,
    SplitBefore = 0x0001, // of a file block
    SplitAfter = 0x0002,
    Directory = 0x00e0,
    LargeSizes = 0x0100,
    HasData = 0x8000,
    NextVolume = 0x0001, // of an end block
    Skippable = 0x4000,
};
constexpr char unixHost = 3;
constexpr char unpackVersion = 20;
constexpr char storeMethod = 0x30;

template <typename T> QByteArray little(T value)
{
    QByteArray bytes(sizeof(T), '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray block(BlockType type, int flags, const QByteArray &fields)
{
    constexpr int headBytes = 7;
    const QByteArray rest = little<quint8>(type) + little(static_cast<quint16>(flags))
                            + little(static_cast<quint16>(headBytes + fields.size())) + fields;
    return little(static_cast<quint16>(crc32Of(rest))) + rest;
}

/// The data of @p member from @p from on, @p length bytes of it, with their header.
QByteArray piece(const Rar4Member &member, qsizetype from, qsizetype length)
{
    const QByteArray packed = member.data.mid(from, length);
    const bool splitAfter = from + length < member.data.size();
    const quint64 size = member.claimedSize.value_or(static_cast<quint64>(member.data.size()));
    const QByteArray fields =
        little(static_cast<quint32>(packed.size())) + little(static_cast<quint32>(size)) + unixHost
        + little(crc32Of(splitAfter ? packed : member.data)) + little<quint32>(0) + unpackVersion
        + storeMethod + little(static_cast<quint16>(member.name.size())) + little(member.attributes)
        + little<quint32>(0) + little(static_cast<quint32>(size >> 32)) + member.name;
    const int flags = HasData | LargeSizes | (from > 0 ? SplitBefore : 0)
                      | (splitAfter ? SplitAfter : 0) | (member.directory ? Directory : 0);
    return block(File, flags, fields) + packed;
}

/// The blocks of each volume between its main and its end block.
QByteArrayList distribute(const QList<Rar4Member> &members, qsizetype dataPerVolume)
{
    QByteArrayList volumes(1);
    qsizetype room = dataPerVolume;
    for (const Rar4Member &member : members) {
        qsizetype from = 0;
        do {
            if (room == 0) {
                volumes << QByteArray();
                room = dataPerVolume;
            }
            const qsizetype length = std::min(room, member.data.size() - from);
            volumes.last() += piece(member, from, length);
            from += length;
            room -= length;
        } while (from < member.data.size());
    }
    return volumes;
}

QString volumeName(const QString &stem, qsizetype index)
{
    return index == 0 ? stem + u".rar"_s : stem + u".r%1"_s.arg(index - 1, 2, 10, QLatin1Char('0'));
}

} // namespace

RarVolumes rar4Set(const QString &stem, const QList<Rar4Member> &members, qsizetype dataPerVolume)
{
    const QByteArray mark("Rar!\x1a\x07\0", 7);
    const QByteArrayList contents =
        distribute(members, dataPerVolume > 0 ? dataPerVolume : std::numeric_limits<int>::max());
    RarVolumes volumes;
    for (qsizetype i = 0; i < contents.size(); ++i) {
        const int set = dataPerVolume > 0 ? VolumeSet | (i == 0 ? FirstVolume : 0) : 0;
        const int next = i + 1 < contents.size() ? NextVolume : 0;
        volumes.append({volumeName(stem, i), mark + block(Main, set, QByteArray(6, '\0'))
                                                 + contents.at(i)
                                                 + block(End, Skippable | next, {})});
    }
    return volumes;
}
