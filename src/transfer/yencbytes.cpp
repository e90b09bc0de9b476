// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/yencwide.h"

#include "transfer/yenckernel.h"

YencCursor walkBytes(YencCursor at, const std::uint8_t *until)
{
    while (at.in < until) {
        const std::uint8_t c = *at.in;
        if (c == '\r') {
            ++at.in;
        } else if (c == '=') {
            if (at.end - at.in < 2 || at.in[1] == 0)
                break;
            *at.out++ = std::uint8_t(at.in[1] - 64 - 42);
            at.in += 2;
        } else if (c == '\n') {
            if (at.end - at.in < 3 || (at.in[1] == '=' && at.in[2] == 'y'))
                break;
            at.in += at.in[1] == '.' && at.in[2] == '.' ? 2 : 1;
        } else {
            *at.out++ = std::uint8_t(c - 42);
            ++at.in;
        }
    }
    return at;
}

YencCursor walkBytesToBlock(YencCursor at, const std::uint8_t *until)
{
    at = walkBytes(at, until);
    while (at.in >= until && at.in[-1] == '=' && at.in < at.end) {
        until = at.in + 1;
        at = walkBytes(at, until);
    }
    return at;
}

const KeptPositions &keptPositions()
{
    static const auto table = [] {
        KeptPositions positions(1 << 15);
        for (unsigned kept = 0; kept < positions.size(); ++kept) {
            std::size_t count = 0;
            for (unsigned i = 0; i < 16; ++i) {
                if (i == 15 || (kept >> i & 1))
                    positions[kept][count++] = std::uint8_t(i);
            }
        }
        return positions;
    }();
    return table;
}

YencProgress walkYencByBytes(std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    return walkYencBy(in, out, [](YencCursor at) { return walkBytes(at, at.end); });
}
