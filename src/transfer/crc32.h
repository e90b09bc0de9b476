// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>
#include <span>

/// Takes @p data into the running CRC-32 of IEEE 802.3 (reflected polynomial 0xEDB88320), by the
/// fastest way this processor has. @p crc starts as 0xFFFFFFFF; the complement of the last result
/// is the checksum.
[[nodiscard]] quint32 updateCrc32(quint32 crc, std::span<const uchar> data);

/// The same by eight tables of 256 entries, eight bytes a step, on any processor.
[[nodiscard]] quint32 updateCrc32ByTables(quint32 crc, std::span<const uchar> data);

/// The same by carry-less multiplication; only where canFoldCrc32() is true.
[[nodiscard]] quint32 updateCrc32ByFolding(quint32 crc, std::span<const uchar> data);
[[nodiscard]] bool canFoldCrc32();
