// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/crc32.h"

#include <QtEndian>
#include <array>
#include <bit>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace {

constexpr quint32 polynomial = 0xEDB88320;

// Multiplies by x: in the reflected form the highest power stands in the lowest bit.
constexpr quint32 timesX(quint32 value) { return (value >> 1) ^ ((value & 1) ? polynomial : 0); }

using Tables = std::array<std::array<quint32, 256>, 8>;

// Table k holds the effect of a byte that k more bytes follow within the step.
constexpr Tables buildTables()
{
    Tables tables{};
    for (quint32 byte = 0; byte < 256; ++byte) {
        quint32 value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = timesX(value);
        tables[0][byte] = value;
    }
    for (size_t k = 1; k < 8; ++k) {
        for (size_t byte = 0; byte < 256; ++byte) {
            const quint32 value = tables[k - 1][byte];
            tables[k][byte] = (value >> 8) ^ tables[0][value & 0xff];
        }
    }
    return tables;
}

constexpr Tables tables = buildTables();

quint32 addByte(quint32 crc, uchar byte) { return (crc >> 8) ^ tables[0][(crc ^ byte) & 0xff]; }

quint32 addEightBytes(quint32 crc, const uchar *p)
{
    const quint64 step = qFromLittleEndian<quint64>(p) ^ crc;
    quint32 result = 0;
    for (size_t k = 0; k < 8; ++k)
        result ^= tables[7 - k][(step >> (8 * k)) & 0xff];
    return result;
}

} // namespace

quint32 updateCrc32ByTables(quint32 crc, std::span<const uchar> data)
{
    const uchar *p = data.data();
    const uchar *const end = p + data.size();
    while (p != end && std::bit_cast<quintptr>(p) % 8 != 0)
        crc = addByte(crc, *p++);
    for (; end - p >= 8; p += 8)
        crc = addEightBytes(crc, p);
    while (p != end)
        crc = addByte(crc, *p++);
    return crc;
}

#ifdef __x86_64__

#define CLMUL __attribute__((target("pclmul")))

namespace {

// x to the power of @p bits modulo the polynomial, one place up, which makes good for the place
// that a product of two reflected numbers is short of.
constexpr quint64 powerOfX(int bits)
{
    quint32 value = 0x80000000;
    for (int i = 0; i < bits; ++i)
        value = timesX(value);
    return quint64(value) << 1;
}

// Factors that carry 16 bytes @p distance bits ahead: for their first eight bytes, which are the
// higher powers, and for the last eight.
template <int distance> CLMUL __m128i factors()
{
    return _mm_set_epi64x(powerOfX(distance - 32), powerOfX(distance + 32));
}

CLMUL __m128i load(const uchar *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }

CLMUL __m128i fold(__m128i value, __m128i by, __m128i onto)
{
    return _mm_xor_si128(onto, _mm_xor_si128(_mm_clmulepi64_si128(value, by, 0x00),
                                             _mm_clmulepi64_si128(value, by, 0x11)));
}

} // namespace

// Four chains of 16 bytes hide the latency of the multiplication. What they leave has the same
// remainder as all bytes so far, and the tables take it from there.
CLMUL quint32 updateCrc32ByFolding(quint32 crc, std::span<const uchar> data)
{
    if (data.size() < 64)
        return updateCrc32ByTables(crc, data);
    const uchar *p = data.data();
    __m128i a = _mm_xor_si128(load(p), _mm_cvtsi32_si128(int(crc)));
    __m128i b = load(p + 16);
    __m128i c = load(p + 32);
    __m128i d = load(p + 48);
    size_t left = data.size() - 64;
    for (p += 64; left >= 64; p += 64, left -= 64) {
        const __m128i by = factors<512>();
        a = fold(a, by, load(p));
        b = fold(b, by, load(p + 16));
        c = fold(c, by, load(p + 32));
        d = fold(d, by, load(p + 48));
    }
    const __m128i by = factors<128>();
    d = fold(fold(fold(a, by, b), by, c), by, d);
    std::array<uchar, 16> rest;
    _mm_storeu_si128(reinterpret_cast<__m128i *>(rest.data()), d);
    return updateCrc32ByTables(updateCrc32ByTables(0, rest), {p, left});
}

bool canFoldCrc32() { return __builtin_cpu_supports("pclmul"); }

#else

quint32 updateCrc32ByFolding(quint32 crc, std::span<const uchar> data)
{
    return updateCrc32ByTables(crc, data);
}

bool canFoldCrc32() { return false; }

#endif

quint32 updateCrc32(quint32 crc, std::span<const uchar> data)
{
    static const auto update = canFoldCrc32() ? updateCrc32ByFolding : updateCrc32ByTables;
    return update(crc, data);
}
