// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

class QIODevice;

/// What a PAR2 file tells of the set that it belongs to.
/// Source: "Parity Volume Set", version 2.0 (2003), which describes PAR2 files.
struct Par2Packets {
    /// One file that the set protects.
    struct File {
        QString name; ///< as on the poster's disk, so perhaps a path; not to be trusted
        quint64 size = 0; ///< in bytes
        QByteArray md5Start; ///< of its first 16 KiB, or of all of a shorter one, 16 bytes
    };

    QByteArray setId; ///< 16 bytes; empty if there is no packet
    QList<File> files; ///< those whose description is in this file and undamaged, each once
    int recoveryBlocks = 0; ///< in this file; counted by their headers, not checked
    quint32 firstBlock = 0; ///< the exponent of the first of them
};

/// Whether @p start, of 8 bytes at least, is how a PAR2 file begins.
[[nodiscard]] bool startsPar2(const QByteArray &start);

/// Reads all packets of @p device, which is open and can seek. Packets of other sets and damaged
/// ones are passed over. Never fails; the number of packets and the bytes between them are limited.
[[nodiscard]] Par2Packets readPar2Packets(QIODevice &device);
