// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#ifdef __x86_64__

#include <immintrin.h>

#define YENC_TARGET __attribute__((target("avx2,popcnt")))
#include "transfer/yencwide.h"

namespace {

struct Avx2 {
    struct Block {
        YENC_TARGET explicit Block(const std::uint8_t *in)
        {
            const Half low(in);
            const Half high(in + 32);
            lanes[0] = _mm256_castsi256_si128(low.decoded);
            lanes[1] = _mm256_extracti128_si256(low.decoded, 1);
            lanes[2] = _mm256_castsi256_si128(high.decoded);
            lanes[3] = _mm256_extracti128_si256(high.decoded, 1);
            kept = ~maskOf(low.dropped, high.dropped);
            isRare = _mm256_movemask_epi8(_mm256_or_si256(low.rare, high.rare)) != 0;
        }

        __m128i lanes[4];
        std::uint64_t kept;
        bool isRare;
    };

    YENC_TARGET static std::uint64_t find(const std::uint8_t *in, char byte)
    {
        const __m256i wanted = _mm256_set1_epi8(byte);
        return maskOf(_mm256_cmpeq_epi8(load(in), wanted),
                      _mm256_cmpeq_epi8(load(in + 32), wanted));
    }

    YENC_TARGET static void storeKept(__m128i bytes, const std::uint8_t *positions,
                                      std::uint8_t *out)
    {
        const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i *>(positions));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_shuffle_epi8(bytes, order));
    }

private:
    struct Half {
        YENC_TARGET explicit Half(const std::uint8_t *in)
        {
            const __m256i bytes = load(in);
            const __m256i equals = _mm256_set1_epi8('=');
            const __m256i escaped = _mm256_cmpeq_epi8(load(in - 1), equals);
            const __m256i special =
                _mm256_or_si256(_mm256_cmpeq_epi8(bytes, equals), isIn(bytes, -1, '\n', '\r', 0));
            decoded = _mm256_sub_epi8(
                bytes, _mm256_blendv_epi8(_mm256_set1_epi8(42), _mm256_set1_epi8(106), escaped));
            dropped = _mm256_andnot_si256(escaped, special);
            rare = _mm256_and_si256(special, isIn(load(in + 1), 0, 0, '=', '.'));
        }

        __m256i decoded;
        __m256i dropped;
        __m256i rare;
    };

    YENC_TARGET static __m256i load(const std::uint8_t *in)
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(in));
    }

    // Whether a byte is the one given for its last four bits, which are 0, 10, 13 or 14. The
    // shuffle gives 0 for bytes above 127, and the table has 0 for all other digits.
    YENC_TARGET static __m256i isIn(__m256i bytes, char for0, char for10, char for13, char for14)
    {
        const __m256i table = _mm256_broadcastsi128_si256(
            _mm_setr_epi8(for0, 0, 0, 0, 0, 0, 0, 0, 0, 0, for10, 0, 0, for13, for14, 0));
        return _mm256_cmpeq_epi8(bytes, _mm256_shuffle_epi8(table, bytes));
    }

    YENC_TARGET static std::uint64_t maskOf(__m256i low, __m256i high)
    {
        return std::uint32_t(_mm256_movemask_epi8(low))
               | std::uint64_t(std::uint32_t(_mm256_movemask_epi8(high))) << 32;
    }
};

} // namespace

YencProgress walkYencByAvx2(std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    return walkYencBy(in, out, WideYencWalk<Avx2>::walk);
}

#endif
