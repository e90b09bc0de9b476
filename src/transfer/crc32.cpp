// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/crc32.h"

#include <array>
#include <bit>
#include <cstddef>

#include "transfer/crc32polynomial.h"

namespace {

using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

// Table k holds the effect of a byte that k more bytes follow within the step.
constexpr Tables buildTables()
{
    Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = timesX(value);
        tables[0][byte] = value;
    }
    for (std::size_t k = 1; k < 8; ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t value = tables[k - 1][byte];
            tables[k][byte] = (value >> 8) ^ tables[0][value & 0xff];
        }
    }
    return tables;
}

constexpr Tables tables = buildTables();

std::uint32_t addByte(std::uint32_t crc, std::uint8_t byte)
{
    return (crc >> 8) ^ tables[0][(crc ^ byte) & 0xff];
}

std::uint32_t addEightBytes(std::uint32_t crc, const std::uint8_t *p)
{
    std::uint32_t result = 0;
    for (std::size_t k = 0; k < 8; ++k) {
        const std::uint8_t ofCrc = k < 4 ? std::uint8_t(crc >> (8 * k)) : std::uint8_t(0);
        result ^= tables[7 - k][p[k] ^ ofCrc];
    }
    return result;
}

} // namespace

std::uint32_t updateCrc32ByTables(std::uint32_t crc, std::span<const std::uint8_t> data)
{
    const std::uint8_t *p = data.data();
    const std::uint8_t *const end = p + data.size();
    while (p != end && std::bit_cast<std::uintptr_t>(p) % 8 != 0)
        crc = addByte(crc, *p++);
    for (; end - p >= 8; p += 8)
        crc = addEightBytes(crc, p);
    while (p != end)
        crc = addByte(crc, *p++);
    return crc;
}
