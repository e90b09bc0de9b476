// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>

/// Where a title file, "VTS_01_1.VOB" and so on, lies in a DVD image.
struct DvdTitle {
    quint32 sector; ///< its first logical block
    quint32 size; ///< in bytes

    /// Deliberate: in 32 bits. A title beyond 4 GiB is read from the wrong place instead of
    /// failing.
    [[nodiscard]] quint32 start() const;
};

/// Looks through @p stretch of an image for directory records (ISO 9660 9.1) of title files of
/// 25 MiB or more, and returns them by name. Looks at every place where a name may stand, whatever
/// the alignment of the records.
[[nodiscard]] QMap<QByteArray, DvdTitle> dvdTitles(const QByteArray &stretch);
