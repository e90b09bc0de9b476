// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/rarvolume.h"

#include <QByteArray>
#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <limits>

namespace {

constexpr QByteArrayView signature4("Rar!\x1a\x07\0", 7);
constexpr QByteArrayView signature5("Rar!\x1a\x07\x01\0", 8);

/// Takes numbers from the front of a header.
class Fields {
public:
    explicit Fields(const QByteArray &header)
        : bytes(header)
    {
    }

    void skip(qsizetype count) { bytes = bytes.sliced(std::min(count, bytes.size())); }

    /// A number of seven bits a byte, the lowest first, which ends with the first byte whose top
    /// bit is 0. Nothing if the header ends before.
    std::optional<quint64> variable()
    {
        quint64 value = 0;
        for (int shift = 0; shift < 63 && !bytes.isEmpty(); shift += 7) {
            const auto byte = static_cast<quint8>(bytes.front());
            bytes = bytes.sliced(1);
            value |= quint64(byte & 0x7f) << shift;
            if ((byte & 0x80) == 0)
                return value;
        }
        return {};
    }

private:
    QByteArrayView bytes;
};

std::optional<RarVolume> readRar5(const QByteArray &start)
{
    constexpr quint64 mainHeader = 1;
    constexpr quint64 encryptionHeader = 4;
    constexpr quint64 hasExtraArea = 1;
    constexpr quint64 hasDataArea = 2;
    constexpr quint64 isVolume = 1;
    constexpr quint64 hasNumber = 2;

    Fields fields(start);
    fields.skip(signature5.size() + 4); // and the header's CRC-32
    static_cast<void>(fields.variable()); // its size
    const auto type = fields.variable();
    const auto flags = fields.variable();
    if (type == encryptionHeader)
        return RarVolume{.encryptedHeaders = true};
    if (type != mainHeader || !flags)
        return {};
    for (const quint64 area : {hasExtraArea, hasDataArea}) {
        if (*flags & area)
            static_cast<void>(fields.variable()); // its size
    }
    const auto archive = fields.variable();
    const auto number = archive && (*archive & hasNumber) ? fields.variable() : quint64(0);
    if (!archive || !number || *number >= quint64(std::numeric_limits<int>::max()))
        return {};
    RarVolume volume{.isVolume = (*archive & isVolume) != 0};
    if (volume.isVolume)
        volume.number = static_cast<int>(*number);
    return volume;
}

quint16 word(const QByteArray &bytes, qsizetype at)
{
    return qFromLittleEndian<quint16>(bytes.constData() + at);
}

/// The number of a volume of RAR 3 or 4, from the last block in @p end, the last bytes of the file.
std::optional<int> numberAtEnd(const QByteArray &end)
{
    constexpr char endBlock = 0x7b;
    constexpr unsigned hasChecksum = 2;
    constexpr unsigned hasNumber = 8;
    constexpr qsizetype blockHeader = 7; // CRC-16, type, flags, size
    for (qsizetype at = 0; at + blockHeader <= end.size(); ++at) {
        const unsigned flags = word(end, at + 3);
        const qsizetype numberAt = at + blockHeader + (flags & hasChecksum ? 4 : 0);
        if (end.at(at + 2) == endBlock && at + word(end, at + 5) == end.size()
            && (flags & hasNumber) && numberAt + 2 <= end.size())
            return word(end, numberAt);
    }
    return {};
}

std::optional<RarVolume> readRar4(const QByteArray &start, QIODevice &device)
{
    constexpr char mainHeader = 0x73;
    constexpr unsigned isVolume = 0x0001;
    constexpr unsigned hasNewNames = 0x0010;
    constexpr unsigned hasEncryptedHeaders = 0x0080;
    constexpr unsigned isFirstVolume = 0x0100;
    constexpr qsizetype typeAt = signature4.size() + 2;
    constexpr qint64 longestEnd = 64;

    if (start.size() < typeAt + 3 || start.at(typeAt) != mainHeader)
        return {};
    const unsigned flags = word(start, typeAt + 1);
    RarVolume volume{.isVolume = (flags & isVolume) != 0,
                     .oldNames = (flags & hasNewNames) == 0,
                     .encryptedHeaders = (flags & hasEncryptedHeaders) != 0};
    if (volume.encryptedHeaders || !volume.isVolume)
        return volume;
    if (flags & isFirstVolume) {
        volume.number = 0;
    } else if (device.seek(std::max<qint64>(0, device.size() - longestEnd))) {
        volume.number = numberAtEnd(device.read(longestEnd));
    }
    return volume;
}

} // namespace

bool startsRar(const QByteArray &start)
{
    return start.startsWith(signature4) || start.startsWith(signature5);
}

std::optional<RarVolume> readRarVolume(QIODevice &device)
{
    constexpr qint64 enough = 64;
    const QByteArray start = device.read(enough);
    if (start.startsWith(signature5))
        return readRar5(start);
    if (start.startsWith(signature4))
        return readRar4(start, device);
    return {};
}
