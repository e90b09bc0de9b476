// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// PAR2 files: lengths that lie, packets cut short, garbage between them.
#include <QBuffer>
#include <QCryptographicHash>
#include <QtEndian>

#include "post/par2packets.h"
#include "support.h"

namespace {

/// @p input with the hash of each packet made right, or nearly all would be passed over.
QByteArray withHashes(QByteArray input)
{
    for (qsizetype at = input.indexOf("PAR2"); at >= 0; at = input.indexOf("PAR2", at + 1)) {
        const qsizetype room = input.size() - at;
        const quint64 length =
            room < 64 ? 0 : qFromLittleEndian<quint64>(input.constData() + at + 8);
        if (length < 64 || length > quint64(room))
            continue;
        const QByteArray hashed = input.sliced(at + 32, qsizetype(length) - 32);
        input.replace(at + 16, 16, QCryptographicHash::hash(hashed, QCryptographicHash::Md5));
    }
    return input;
}

const Target target("par2packets", [](const QByteArray &input) {
    QBuffer device;
    device.setData(withHashes(input));
    device.open(QIODevice::ReadOnly);
    const Par2Packets packets = readPar2Packets(device);
    require(packets.recoveryBlocks * 64 <= input.size(), "no more blocks than there is room for");
    for (const Par2Packets::File &file : packets.files) {
        require(file.md5Start.size() == 16, "a whole hash");
        require(!file.name.contains(QChar::Null), "a name that ends before its filling");
    }
});

} // namespace
