// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#ifdef __x86_64__

#include <immintrin.h>

#define YENC_TARGET __attribute__((target("ssse3,popcnt")))
#include "transfer/yencwide.h"

namespace {

struct Ssse3 {
    struct Block {
        YENC_TARGET explicit Block(const std::uint8_t *in)
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
            const __m128i rare =
                _mm_or_si128(_mm_or_si128(a.rare, b.rare), _mm_or_si128(c.rare, d.rare));
            isRare = _mm_movemask_epi8(rare) != 0;
        }

        __m128i lanes[4];
        std::uint64_t kept;
        bool isRare;
    };

    YENC_TARGET static std::uint64_t find(const std::uint8_t *in, char byte)
    {
        return maskOf(is(load(in), byte), is(load(in + 16), byte), is(load(in + 32), byte),
                      is(load(in + 48), byte));
    }

    YENC_TARGET static void storeKept(__m128i bytes, const std::uint8_t *positions,
                                      std::uint8_t *out)
    {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out),
                         _mm_shuffle_epi8(bytes, load(positions)));
    }

private:
    struct Quarter {
        YENC_TARGET explicit Quarter(const std::uint8_t *in)
        {
            const __m128i bytes = load(in);
            const __m128i escaped = is(load(in - 1), '=');
            const __m128i special = _mm_or_si128(is(bytes, '='), isIn(bytes, -1, '\n', '\r', 0));
            const __m128i more = _mm_and_si128(escaped, _mm_set1_epi8(64));
            decoded = _mm_sub_epi8(_mm_sub_epi8(bytes, _mm_set1_epi8(42)), more);
            dropped = _mm_andnot_si128(escaped, special);
            rare = _mm_and_si128(special, isIn(load(in + 1), 0, 0, '=', '.'));
        }

        __m128i decoded;
        __m128i dropped;
        __m128i rare;
    };

    YENC_TARGET static __m128i load(const std::uint8_t *in)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
    }

    YENC_TARGET static __m128i is(__m128i bytes, char byte)
    {
        return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte));
    }

    // Whether a byte is the one given for its last hexadecimal digit, which is 0, 10, 13 or 14. The
    // shuffle gives 0 for bytes above 127, and the table has 0 for all other digits.
    YENC_TARGET static __m128i isIn(__m128i bytes, char for0, char for10, char for13, char for14)
    {
        const __m128i table =
            _mm_setr_epi8(for0, 0, 0, 0, 0, 0, 0, 0, 0, 0, for10, 0, 0, for13, for14, 0);
        return _mm_cmpeq_epi8(bytes, _mm_shuffle_epi8(table, bytes));
    }

    YENC_TARGET static std::uint64_t maskOf(__m128i a, __m128i b, __m128i c, __m128i d)
    {
        return std::uint64_t(_mm_movemask_epi8(a)) | std::uint64_t(_mm_movemask_epi8(b)) << 16
               | std::uint64_t(_mm_movemask_epi8(c)) << 32
               | std::uint64_t(_mm_movemask_epi8(d)) << 48;
    }
};

} // namespace

YencProgress walkYencBySsse3(std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    return walkYencBy(in, out, WideYencWalk<Ssse3>::walk);
}

#endif
