// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

class QByteArray;
class QIODevice;

/// What a file's own headers tell of its place in a RAR set, whatever its name is.
/// Sources: RAR 5.0 archive format; technote.txt of RAR 2.9 to 4.
struct RarVolume {
    bool isVolume = false; ///< one of several, as opposed to an archive in one file
    bool oldNames = false; ///< the library seeks "x.r00" behind "x.rar", not "x.part2.rar"
    bool encryptedHeaders = false; ///< then the other members may have no meaning
    std::optional<int> number = {}; ///< from 0 on; old sets need not tell it
};

/// Whether @p start, of 8 bytes at least, is how an archive of RAR 2.9 to 5 begins.
[[nodiscard]] bool startsRar(const QByteArray &start);

/// Reads the headers of @p device, which is open and can seek: at most 128 bytes. Returns nothing
/// if it is no RAR archive, or if these headers are damaged.
[[nodiscard]] std::optional<RarVolume> readRarVolume(QIODevice &device);
