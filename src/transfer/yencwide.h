// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

// The walk in blocks of 64 bytes that all wide kernels share. It subtracts, and squeezes out CR,
// LF, and the '=' of each escape, without a branch on the block's content. A dot or '=' after an LF
// and bytes that must not follow an '=' are rare, so one test looks for all of them. Such places
// and the last bytes are left to walkBytes(), since a block looks at two bytes after it. Writing
// whole blocks stays within the output, which never overtakes the input.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "transfer/yenckernel.h"

struct YencCursor {
    const std::uint8_t *in;
    const std::uint8_t *end;
    std::uint8_t *out;
};

/// Walks until `in` has reached @p until, or stops earlier at a byte that the caller has to judge.
/// An escape or a stuffed dot at the border takes it past @p until.
[[nodiscard]] YencCursor walkBytes(YencCursor at, const std::uint8_t *until);

/// The same, but on to where a block may start, which is not after an '=': the block would take
/// that for the start of an escape, even if it has been escaped itself.
[[nodiscard]] YencCursor walkBytesToBlock(YencCursor at, const std::uint8_t *until);

/// For each selection of bytes to keep among 16, their positions in order. The selection has 15
/// bits, since the last byte may always stand behind the others.
using KeptPositions = std::vector<std::array<std::uint8_t, 16>>;
[[nodiscard]] const KeptPositions &keptPositions();

template <typename Walk>
YencProgress walkYencBy(std::span<const std::uint8_t> in, std::span<std::uint8_t> out, Walk walk)
{
    const YencCursor end = walk({in.data(), in.data() + in.size(), out.data()});
    return {std::size_t(end.in - in.data()), std::size_t(end.out - out.data())};
}

#ifdef YENC_TARGET

// What follows is compiled once for each set of instructions, which YENC_TARGET names to the
// compiler. Isa has
//     Block        64 bytes from `in` on, each less 42, or less 106 if escaped; which of them are
//                  to be kept; and whether one of the others may have NUL, '.' or '=' behind it
//     find()       where in 64 bytes a byte stands
//     storeKept()  stores those of 16 bytes that stand at the positions, and scratch behind them
template <typename Isa> class WideYencWalk final {
public:
    YENC_TARGET static YencCursor walk(YencCursor at)
    {
        std::ptrdiff_t byBytes = 1; // since a block looks at the byte before it
        while (at.end - at.in >= byBytes + lookedAt) {
            const std::uint8_t *const until = at.in + byBytes;
            at = walkBytesToBlock(at, until);
            if (at.in < until || at.in[-1] == '=')
                return at;
            at = walkBlocks(at);
            at.in -= at.in[-1] == '=';
            byBytes = 1 + 64;
        }
        return walkBytes(at, at.end);
    }

private:
    static constexpr std::ptrdiff_t lookedAt = 64 + 2;

    // Stops at a block that walkBytes() must look at.
    YENC_TARGET static YencCursor walkBlocks(YencCursor at)
    {
        const auto *const positions = keptPositions().data();
        const std::uint8_t *const last = at.end - lookedAt;
        for (; at.in <= last; at.in += 64) {
            typename Isa::Block block(at.in);
            if (block.isRare) [[unlikely]] {
                const auto dots = stuffedDots(at.in);
                if (!dots)
                    break;
                block.kept &= ~*dots;
            }
            at.out = storeKept(block, positions, at.out);
        }
        return at;
    }

    // Nothing if the block holds a byte that walkBytes() must judge. Not inline: otherwise the
    // compiler keeps values that this could share with the common path, and runs out of registers
    // there.
    [[gnu::noinline]] YENC_TARGET static std::optional<std::uint64_t>
    stuffedDots(const std::uint8_t *in)
    {
        const std::uint64_t lf = Isa::find(in, '\n') & ~Isa::find(in - 1, '=');
        const std::uint64_t nextEquals = Isa::find(in + 1, '=');
        const std::uint64_t badEscape = Isa::find(in, '=') & (nextEquals | Isa::find(in + 1, 0));
        const std::uint64_t control = lf & nextEquals & Isa::find(in + 2, 'y');
        const std::uint64_t dots = lf & Isa::find(in + 1, '.') & Isa::find(in + 2, '.');
        if (badEscape | control | dots >> 63)
            return {};
        return dots << 1;
    }

    YENC_TARGET static std::uint8_t *storeKept(const typename Isa::Block &block,
                                               const KeptPositions::value_type *positions,
                                               std::uint8_t *out)
    {
        storeLane<0>(block, positions, out);
        storeLane<1>(block, positions, out);
        storeLane<2>(block, positions, out);
        storeLane<3>(block, positions, out);
        return out + std::popcount(block.kept);
    }

    template <int lane>
    YENC_TARGET static void storeLane(const typename Isa::Block &block,
                                      const KeptPositions::value_type *positions, std::uint8_t *out)
    {
        constexpr int first = 16 * lane;
        constexpr std::uint64_t before = (std::uint64_t(1) << first) - 1;
        Isa::storeKept(block.lanes[lane], positions[block.kept >> first & 0x7fff].data(),
                       out + std::popcount(block.kept & before));
    }
};

#endif
