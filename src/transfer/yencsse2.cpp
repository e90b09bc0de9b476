// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#ifdef __x86_64__

#include <bit>
#include <emmintrin.h>

#include "transfer/yencwide.h"

namespace {

__m128i is(__m128i bytes, char byte) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte)); }

// Without a shuffle nothing can be squeezed out of a block, so this copies the runs between special
// bytes, 16 bytes at a time. Whole stores stay within the output, which never overtakes the input.
YencCursor walkRuns(YencCursor at)
{
    while (at.end - at.in >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at.in));
        const __m128i special =
            _mm_or_si128(is(bytes, '='), _mm_or_si128(is(bytes, '\r'), is(bytes, '\n')));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(at.out),
                         _mm_sub_epi8(bytes, _mm_set1_epi8(42)));
        const int run = std::countr_zero(unsigned(_mm_movemask_epi8(special)) | 1U << 16);
        at.in += run;
        at.out += run;
        if (run == 16)
            continue;
        const std::uint8_t *const behind = at.in + 1;
        at = walkBytes(at, behind);
        if (at.in < behind)
            return at;
    }
    return walkBytes(at, at.end);
}

} // namespace

YencProgress walkYencBySse2(std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    return walkYencBy(in, out, walkRuns);
}

#endif
