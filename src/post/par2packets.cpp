// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/par2packets.h"

#include <QCryptographicHash>
#include <QIODevice>
#include <QSet>
#include <QtEndian>

namespace {

constexpr QByteArrayView magic("PAR2\0PKT", 8);
constexpr QByteArrayView fileDescription("PAR 2.0\0FileDesc", 16);
constexpr QByteArrayView recoverySlice("PAR 2.0\0RecvSlic", 16);

constexpr qint64 headerSize = 64; // magic, length, MD5 of the packet, set, type
constexpr qint64 hashedFrom = 32; // the MD5 of a packet covers all from here on
constexpr qint64 nameAt = headerSize + 56; // behind id, two MD5s and the length of the file
constexpr qint64 maxDescription = nameAt + 4096;

/// The format allows no more than 32,768 files and 65,536 blocks, each in one or two packets.
constexpr int maxPackets = 200'000;
constexpr qint64 maxGarbage = 1024 * 1024;

struct Header {
    explicit Header(const QByteArray &bytes)
        : length(qFromLittleEndian<quint64>(bytes.constData() + 8))
        , md5(bytes.sliced(16, 16))
        , set(bytes.sliced(32, 16))
        , type(bytes.sliced(48, 16))
    {
    }

    quint64 length; ///< of the packet in bytes, this header included
    QByteArray md5;
    QByteArray set;
    QByteArray type;
};

/// The name ends at the first of the NUL bytes that fill it up to a multiple of four.
QString nameIn(const QByteArray &description)
{
    const QByteArray name = description.sliced(nameAt);
    return QString::fromUtf8(name.constData());
}

class Reader {
public:
    explicit Reader(QIODevice &input)
        : device(input)
    {
    }

    Par2Packets read()
    {
        for (int packet = 0; packet < maxPackets && findPacket(); ++packet)
            readPacket();
        return result;
    }

private:
    /// Seeks the next packet, over whatever damage lies before it. False at the end, or after too
    /// much damage.
    bool findPacket()
    {
        constexpr qint64 window = 64 * 1024;
        while (garbage <= maxGarbage) {
            if (startsPar2(device.peek(magic.size())))
                return true;
            const QByteArray ahead = device.peek(window);
            if (ahead.size() < headerSize)
                return false;
            const qsizetype at = ahead.indexOf(magic);
            const qint64 useless = at >= 0 ? at : ahead.size() - magic.size() + 1;
            garbage += useless;
            device.skip(useless);
            if (at >= 0)
                return true;
        }
        return false;
    }

    void readPacket()
    {
        const qint64 start = device.pos();
        const QByteArray bytes = device.read(headerSize);
        if (bytes.size() < headerSize)
            return;
        const Header header(bytes);
        if (header.length < quint64(headerSize) || header.length % 4 != 0
            || header.length > quint64(device.size() - start)) {
            garbage += magic.size();
            device.seek(start + magic.size());
            return;
        }
        if (result.setId.isEmpty())
            result.setId = header.set;
        if (header.set == result.setId)
            take(header, bytes);
        device.seek(start + qint64(header.length));
    }

    void take(const Header &header, const QByteArray &bytes)
    {
        if (header.type == recoverySlice)
            takeBlock();
        else if (header.type == fileDescription && header.length > quint64(nameAt)
                 && header.length <= quint64(maxDescription))
            takeDescription(header, bytes + device.read(qint64(header.length) - headerSize));
    }

    void takeBlock()
    {
        const QByteArray exponent = device.read(4);
        if (++result.recoveryBlocks == 1 && exponent.size() == 4)
            result.firstBlock = qFromLittleEndian<quint32>(exponent.constData());
    }

    void takeDescription(const Header &header, const QByteArray &packet)
    {
        const QByteArray hashed = packet.sliced(hashedFrom);
        if (QCryptographicHash::hash(hashed, QCryptographicHash::Md5) != header.md5)
            return;
        const QByteArray id = packet.sliced(headerSize, 16);
        if (seen.contains(id))
            return;
        seen.insert(id);
        result.files << Par2Packets::File{
            .name = nameIn(packet),
            .size = qFromLittleEndian<quint64>(packet.constData() + nameAt - 8),
            .md5Start = packet.sliced(headerSize + 32, 16),
        };
    }

    QIODevice &device;
    Par2Packets result;
    QSet<QByteArray> seen; ///< ids of the files that are described already
    qint64 garbage = 0; ///< bytes between packets so far
};

} // namespace

bool startsPar2(const QByteArray &start) { return start.startsWith(magic); }

Par2Packets readPar2Packets(QIODevice &device) { return Reader(device).read(); }
