// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/yenckernel.h"

#include <array>
#include <bit>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace {

struct Cursor {
    const uchar *in;
    const uchar *end;
    uchar *out;
};

// Walks until `in` has reached `until`, or less far if it meets a byte that it must not judge. An
// escape or a stuffed dot at the border takes it past `until`.
Cursor walkBytes(Cursor at, const uchar *until)
{
    while (at.in < until) {
        const uchar c = *at.in;
        if (c == '\r') {
            ++at.in;
        } else if (c == '=') {
            if (at.end - at.in < 2 || at.in[1] == 0)
                break;
            *at.out++ = uchar(at.in[1] - 64 - 42);
            at.in += 2;
        } else if (c == '\n') {
            if (at.end - at.in < 3 || (at.in[1] == '=' && at.in[2] == 'y'))
                break;
            at.in += at.in[1] == '.' && at.in[2] == '.' ? 2 : 1;
        } else {
            *at.out++ = uchar(c - 42);
            ++at.in;
        }
    }
    return at;
}

#ifdef __x86_64__

// The wide walks take a block at a time without a branch on what is in it: subtract, and squeeze
// out CR, LF and the '=' of each escape. A block with something rare in it (a dot or '=' behind an
// LF, NUL or another '=' behind an '=') is left to walkBytes. So are the last bytes, since a block
// looks at the byte behind it. Writing whole blocks stays within the output, which never overtakes
// the input.

#define SSSE3 __attribute__((target("ssse3")))
#define AVX2 __attribute__((target("avx2")))

constexpr auto keptPositions = [] {
    std::array<std::array<uchar, 8>, 256> table{};
    for (unsigned drop = 0; drop < 256; ++drop) {
        size_t kept = 0;
        for (unsigned i = 0; i < 8; ++i) {
            if (!(drop >> i & 1))
                table[drop][kept++] = uchar(i);
        }
    }
    return table;
}();

constexpr auto keptCount = [] {
    std::array<uchar, 256> table{};
    for (unsigned drop = 0; drop < 256; ++drop)
        table[drop] = uchar(8 - std::popcount(drop));
    return table;
}();

SSSE3 inline uchar *storeKept8(__m128i bytes, unsigned drop, uchar *out)
{
    const auto *positions = reinterpret_cast<const __m128i *>(keptPositions[drop].data());
    _mm_storel_epi64(reinterpret_cast<__m128i *>(out),
                     _mm_shuffle_epi8(bytes, _mm_loadl_epi64(positions)));
    return out + keptCount[drop];
}

SSSE3 inline uchar *storeKept16(__m128i bytes, unsigned drop, uchar *out)
{
    out = storeKept8(bytes, drop & 0xff, out);
    return storeKept8(_mm_srli_si128(bytes, 8), drop >> 8 & 0xff, out);
}

SSSE3 inline __m128i load16(const uchar *p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}

SSSE3 inline __m128i where(__m128i bytes, char is)
{
    return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(is));
}

SSSE3 Cursor walkSsse3(Cursor at)
{
    __m128i equalsBefore = _mm_setzero_si128();
    while (at.end - at.in >= 16 + 2) {
        const __m128i bytes = load16(at.in);
        const __m128i next = load16(at.in + 1);
        const __m128i equals = where(bytes, '=');
        const __m128i lf = where(bytes, '\n');
        const __m128i nextEquals = where(next, '=');
        const __m128i rare =
            _mm_or_si128(_mm_and_si128(lf, _mm_or_si128(nextEquals, where(next, '.'))),
                         _mm_and_si128(equals, _mm_or_si128(nextEquals, where(next, 0))));
        if (_mm_movemask_epi8(rare)) [[unlikely]] {
            const uchar *const blockEnd = at.in + 16;
            at.in -= _mm_movemask_epi8(equalsBefore) >> 15 & 1;
            at = walkBytes(at, blockEnd);
            if (at.in < blockEnd)
                return at;
            equalsBefore = _mm_setzero_si128();
            continue;
        }
        const __m128i escaped = _mm_alignr_epi8(equals, equalsBefore, 15);
        const __m128i breaks = _mm_andnot_si128(escaped, _mm_or_si128(where(bytes, '\r'), lf));
        const int drop = _mm_movemask_epi8(_mm_or_si128(equals, breaks));
        const __m128i offset =
            _mm_add_epi8(_mm_set1_epi8(42), _mm_and_si128(escaped, _mm_set1_epi8(64)));
        at.out = storeKept16(_mm_sub_epi8(bytes, offset), unsigned(drop), at.out);
        at.in += 16;
        equalsBefore = equals;
    }
    at.in -= _mm_movemask_epi8(equalsBefore) >> 15 & 1;
    return walkBytes(at, at.end);
}

AVX2 inline __m256i load32(const uchar *p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
}

AVX2 inline __m256i where(__m256i bytes, char is)
{
    return _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(is));
}

AVX2 Cursor walkAvx2(Cursor at)
{
    __m256i equalsBefore = _mm256_setzero_si256();
    while (at.end - at.in >= 32 + 2) {
        const __m256i bytes = load32(at.in);
        const __m256i next = load32(at.in + 1);
        const __m256i equals = where(bytes, '=');
        const __m256i lf = where(bytes, '\n');
        const __m256i nextEquals = where(next, '=');
        const __m256i rare =
            _mm256_or_si256(_mm256_and_si256(lf, _mm256_or_si256(nextEquals, where(next, '.'))),
                            _mm256_and_si256(equals, _mm256_or_si256(nextEquals, where(next, 0))));
        if (_mm256_movemask_epi8(rare)) [[unlikely]] {
            const uchar *const blockEnd = at.in + 32;
            at.in -= _mm256_movemask_epi8(equalsBefore) >> 31 & 1;
            at = walkBytes(at, blockEnd);
            if (at.in < blockEnd)
                return at;
            equalsBefore = _mm256_setzero_si256();
            continue;
        }
        const __m256i carried = _mm256_permute2x128_si256(equalsBefore, equals, 0x21);
        const __m256i escaped = _mm256_alignr_epi8(equals, carried, 15);
        const __m256i breaks =
            _mm256_andnot_si256(escaped, _mm256_or_si256(where(bytes, '\r'), lf));
        const auto drop = unsigned(_mm256_movemask_epi8(_mm256_or_si256(equals, breaks)));
        const __m256i offset =
            _mm256_add_epi8(_mm256_set1_epi8(42), _mm256_and_si256(escaped, _mm256_set1_epi8(64)));
        const __m256i decoded = _mm256_sub_epi8(bytes, offset);
        at.out = storeKept16(_mm256_castsi256_si128(decoded), drop, at.out);
        at.out = storeKept16(_mm256_extracti128_si256(decoded, 1), drop >> 16, at.out);
        at.in += 32;
        equalsBefore = equals;
    }
    at.in -= _mm256_movemask_epi8(equalsBefore) >> 31 & 1;
    return walkBytes(at, at.end);
}

#endif

Cursor walk(Cursor at, YencKernel kernel)
{
    switch (kernel) {
#ifdef __x86_64__
    case YencKernel::Ssse3:
        return walkSsse3(at);
    case YencKernel::Avx2:
        return walkAvx2(at);
#endif
    default:
        return walkBytes(at, at.end);
    }
}

} // namespace

bool isSupported(YencKernel kernel)
{
#ifdef __x86_64__
    switch (kernel) {
    case YencKernel::Ssse3:
        return __builtin_cpu_supports("ssse3");
    case YencKernel::Avx2:
        return __builtin_cpu_supports("avx2");
    case YencKernel::Bytes:
        break;
    }
#endif
    return kernel == YencKernel::Bytes;
}

YencKernel fastestYencKernel()
{
    static const YencKernel fastest = isSupported(YencKernel::Avx2)    ? YencKernel::Avx2
                                      : isSupported(YencKernel::Ssse3) ? YencKernel::Ssse3
                                                                       : YencKernel::Bytes;
    return fastest;
}

YencProgress walkYenc(std::span<const uchar> in, std::span<uchar> out, YencKernel kernel)
{
    const Cursor end = walk({in.data(), in.data() + in.size(), out.data()}, kernel);
    return {size_t(end.in - in.data()), size_t(end.out - out.data())};
}
