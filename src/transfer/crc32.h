// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

using Crc32Update = std::uint32_t(std::uint32_t crc, std::span<const std::uint8_t> data);

/// Adds @p data to the running CRC-32 of IEEE 802.3 (reflected polynomial 0xEDB88320). @p crc
/// starts as 0xFFFFFFFF; the complement of the last result is the checksum. Takes the fastest of
/// crc32Kernels().
[[nodiscard]] Crc32Update updateCrc32;

/// The same with eight tables of 256 entries, eight bytes a step, on any processor.
[[nodiscard]] Crc32Update updateCrc32ByTables;

/// The same with carry-less multiplication of 128 or 256 bits, or with the instruction of 64-bit
/// Arm; only for a processor that has it.
[[nodiscard]] Crc32Update updateCrc32ByClmul;
[[nodiscard]] Crc32Update updateCrc32ByWideClmul;
[[nodiscard]] Crc32Update updateCrc32ByArm;
