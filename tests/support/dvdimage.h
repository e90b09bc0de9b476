// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QtEndian>

#include <stdexcept>

constexpr quint32 leastTitle = 25 * 1024 * 1024;
constexpr qint64 scannedFrom = 34816;

/// A directory record of ISO 9660 9.1.
inline QByteArray dvdRecord(const QByteArray &name, quint32 sector, quint32 size = leastTitle)
{
    QByteArray record(33, '\0');
    record[0] = char(33 + name.size());
    qToLittleEndian(sector, record.data() + 2);
    qToBigEndian(sector, record.data() + 6);
    qToLittleEndian(size, record.data() + 10);
    qToBigEndian(size, record.data() + 14);
    record[32] = char(name.size());
    return record + name;
}

/// Makes the file if need be; what lies before @p offset reads as zeros.
inline void writeAt(const QString &path, qint64 offset, const QByteArray &data)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || !file.seek(offset) || file.write(data) != data.size())
        throw std::runtime_error("cannot write the test's file");
}
