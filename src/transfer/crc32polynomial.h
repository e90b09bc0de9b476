// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Multiplies a polynomial of CRC-32 by x. In the reflected form the highest power stands in the
/// lowest bit.
constexpr std::uint32_t timesX(std::uint32_t value)
{
    return (value >> 1) ^ ((value & 1) ? 0xEDB88320 : 0);
}
