// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#ifdef __x86_64__

#include <array>
#include <cstddef>
#include <immintrin.h>

#include "transfer/crc32.h"
#include "transfer/crc32polynomial.h"

// A multiplication that keeps the remainder carries bytes over later ones. Four chains of
// 16 or 32 bytes each hide its latency.

#define CLMUL __attribute__((target("pclmul")))
#define WIDE_CLMUL __attribute__((target("avx2,pclmul,vpclmulqdq")))

namespace {

// x to the power of @p bits modulo the polynomial, shifted by one place: the product of two
// reflected numbers is one place short.
constexpr long long powerOfX(int bits)
{
    std::uint32_t value = 0x80000000;
    for (int i = 0; i < bits; ++i)
        value = timesX(value);
    return static_cast<long long>(value) << 1;
}

// Factors that carry 16 bytes @p distance bits ahead: for their first eight bytes, which are the
// higher powers, and for the last eight.
template <int distance> CLMUL __m128i factors()
{
    constexpr long long first = powerOfX(distance + 32);
    constexpr long long last = powerOfX(distance - 32);
    return _mm_set_epi64x(last, first);
}

CLMUL __m128i load(const std::uint8_t *p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}

CLMUL __m128i fold(__m128i value, __m128i by, __m128i onto)
{
    return _mm_xor_si128(onto, _mm_xor_si128(_mm_clmulepi64_si128(value, by, 0x00),
                                             _mm_clmulepi64_si128(value, by, 0x11)));
}

WIDE_CLMUL __m256i loadWide(const std::uint8_t *p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
}

WIDE_CLMUL __m256i fold(__m256i value, __m256i by, __m256i onto)
{
    return _mm256_xor_si256(onto, _mm256_xor_si256(_mm256_clmulepi64_epi128(value, by, 0x00),
                                                   _mm256_clmulepi64_epi128(value, by, 0x11)));
}

// The tables process the rest: @p value has the same remainder as all bytes before it.
CLMUL std::uint32_t finish(__m128i value, std::span<const std::uint8_t> data)
{
    for (; data.size() >= 16; data = data.subspan(16))
        value = fold(value, factors<128>(), load(data.data()));
    std::array<std::uint8_t, 16> rest;
    _mm_storeu_si128(reinterpret_cast<__m128i *>(rest.data()), value);
    return updateCrc32ByTables(updateCrc32ByTables(0, rest), data);
}

} // namespace

CLMUL std::uint32_t updateCrc32ByClmul(std::uint32_t crc, std::span<const std::uint8_t> data)
{
    if (data.size() < 64)
        return updateCrc32ByTables(crc, data);
    const std::uint8_t *p = data.data();
    __m128i a = _mm_xor_si128(load(p), _mm_cvtsi32_si128(int(crc)));
    __m128i b = load(p + 16);
    __m128i c = load(p + 32);
    __m128i d = load(p + 48);
    std::size_t left = data.size() - 64;
    for (p += 64; left >= 64; p += 64, left -= 64) {
        const __m128i by = factors<512>();
        a = fold(a, by, load(p));
        b = fold(b, by, load(p + 16));
        c = fold(c, by, load(p + 32));
        d = fold(d, by, load(p + 48));
    }
    const __m128i by = factors<128>();
    return finish(fold(fold(fold(a, by, b), by, c), by, d), {p, left});
}

WIDE_CLMUL std::uint32_t updateCrc32ByWideClmul(std::uint32_t crc,
                                                std::span<const std::uint8_t> data)
{
    if (data.size() < 128)
        return updateCrc32ByClmul(crc, data);
    const std::uint8_t *p = data.data();
    const __m256i start = _mm256_zextsi128_si256(_mm_cvtsi32_si128(int(crc)));
    __m256i a = _mm256_xor_si256(loadWide(p), start);
    __m256i b = loadWide(p + 32);
    __m256i c = loadWide(p + 64);
    __m256i d = loadWide(p + 96);
    std::size_t left = data.size() - 128;
    for (p += 128; left >= 128; p += 128, left -= 128) {
        const __m256i by = _mm256_broadcastsi128_si256(factors<1024>());
        a = fold(a, by, loadWide(p));
        b = fold(b, by, loadWide(p + 32));
        c = fold(c, by, loadWide(p + 64));
        d = fold(d, by, loadWide(p + 96));
    }
    const __m256i by = _mm256_broadcastsi128_si256(factors<256>());
    d = fold(fold(fold(a, by, b), by, c), by, d);
    const __m128i high = _mm256_extracti128_si256(d, 1);
    return finish(fold(_mm256_castsi256_si128(d), factors<128>(), high), {p, left});
}

#endif
