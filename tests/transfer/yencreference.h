// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include "transfer/yenckernel.h"

/// What walkYenc() must do, one byte at a time.
inline YencProgress referenceWalk(std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    std::size_t produced = 0;
    std::size_t at = 0;
    for (; at < in.size(); ++at) {
        const std::size_t behind = in.size() - at - 1;
        switch (in[at]) {
        case '\r':
            break;
        case '\n':
            if (behind < 2 || (in[at + 1] == '=' && in[at + 2] == 'y'))
                return {at, produced};
            if (in[at + 1] == '.' && in[at + 2] == '.')
                ++at;
            break;
        case '=':
            if (behind < 1 || in[at + 1] == 0)
                return {at, produced};
            out[produced++] = static_cast<std::uint8_t>(in[++at] - 106);
            break;
        default:
            out[produced++] = static_cast<std::uint8_t>(in[at] - 42);
        }
    }
    return {at, produced};
}
