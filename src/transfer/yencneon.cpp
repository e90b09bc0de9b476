// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#ifdef __aarch64__

#include <arm_neon.h>

#define YENC_TARGET
#include "transfer/yencwide.h"

namespace {

struct Neon {
    struct Block {
        explicit Block(const std::uint8_t *in)
        {
            const Quarter a(in);
            const Quarter b(in + 16);
            const Quarter c(in + 32);
            const Quarter d(in + 48);
            lanes[0] = a.decoded;
            lanes[1] = b.decoded;
            lanes[2] = c.decoded;
            lanes[3] = d.decoded;
            kept = ~maskOf(a.dropped, b.dropped, c.dropped, d.dropped);
            const uint8x16_t rare = vorrq_u8(vorrq_u8(a.rare, b.rare), vorrq_u8(c.rare, d.rare));
            isRare = vmaxvq_u8(rare) != 0;
        }

        uint8x16_t lanes[4];
        std::uint64_t kept;
        bool isRare;
    };

    static std::uint64_t find(const std::uint8_t *in, std::uint8_t byte)
    {
        return maskOf(is(vld1q_u8(in), byte), is(vld1q_u8(in + 16), byte),
                      is(vld1q_u8(in + 32), byte), is(vld1q_u8(in + 48), byte));
    }

    static void storeKept(uint8x16_t bytes, const std::uint8_t *positions, std::uint8_t *out)
    {
        vst1q_u8(out, vqtbl1q_u8(bytes, vld1q_u8(positions)));
    }

private:
    struct Quarter {
        explicit Quarter(const std::uint8_t *in)
        {
            const uint8x16_t bytes = vld1q_u8(in);
            const uint8x16_t next = vld1q_u8(in + 1);
            const uint8x16_t escaped = is(vld1q_u8(in - 1), '=');
            const uint8x16_t special =
                vorrq_u8(is(bytes, '='), vorrq_u8(is(bytes, '\r'), is(bytes, '\n')));
            const uint8x16_t nextSpecial =
                vorrq_u8(is(next, '='), vorrq_u8(is(next, '.'), is(next, 0)));
            decoded = vsubq_u8(bytes, vbslq_u8(escaped, vdupq_n_u8(106), vdupq_n_u8(42)));
            dropped = vbicq_u8(special, escaped);
            rare = vandq_u8(special, nextSpecial);
        }

        uint8x16_t decoded;
        uint8x16_t dropped;
        uint8x16_t rare;
    };

    static uint8x16_t is(uint8x16_t bytes, std::uint8_t byte)
    {
        return vceqq_u8(bytes, vdupq_n_u8(byte));
    }

    // One bit of each byte, brought together by adding neighbours three times.
    static std::uint64_t maskOf(uint8x16_t a, uint8x16_t b, uint8x16_t c, uint8x16_t d)
    {
        const uint8x16_t bit = vreinterpretq_u8_u64(vdupq_n_u64(0x8040201008040201));
        const uint8x16_t low = vpaddq_u8(vandq_u8(a, bit), vandq_u8(b, bit));
        const uint8x16_t high = vpaddq_u8(vandq_u8(c, bit), vandq_u8(d, bit));
        const uint8x16_t quarters = vpaddq_u8(low, high);
        return vgetq_lane_u64(vreinterpretq_u64_u8(vpaddq_u8(quarters, quarters)), 0);
    }
};

} // namespace

YencProgress walkYencByNeon(std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    return walkYencBy(in, out, WideYencWalk<Neon>::walk);
}

#endif
