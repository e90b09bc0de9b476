// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#ifdef __aarch64__

#include <arm_acle.h>
#include <cstring>

#include "transfer/crc32.h"

__attribute__((target("+crc"))) std::uint32_t updateCrc32ByArm(std::uint32_t crc,
                                                               std::span<const std::uint8_t> data)
{
    for (; data.size() >= 8; data = data.subspan(8)) {
        std::uint64_t eightBytes;
        std::memcpy(&eightBytes, data.data(), 8);
        crc = __crc32d(crc, eightBytes);
    }
    for (const std::uint8_t byte : data)
        crc = __crc32b(crc, byte);
    return crc;
}

#endif
