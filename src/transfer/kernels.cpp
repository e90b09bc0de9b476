// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/kernels.h"

#include <algorithm>
#include <iterator>

#ifdef __aarch64__
#include <sys/auxv.h>
#endif

namespace {

bool always() { return true; }

// x86-64 always has SSE2, 64-bit Arm always NEON.
constexpr Kernel<YencWalk> allYencKernels[] = {
#if defined(__x86_64__)
    {"avx2", [] { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt"); },
     walkYencByAvx2},
    {"ssse3", [] { return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("popcnt"); },
     walkYencBySsse3},
    {"sse2", always, walkYencBySse2},
#elif defined(__aarch64__)
    {"neon", always, walkYencByNeon},
#endif
    {"bytes", always, walkYencByBytes},
};

constexpr Kernel<Crc32Update> allCrc32Kernels[] = {
#if defined(__x86_64__)
    {"wide clmul",
     [] { return __builtin_cpu_supports("vpclmulqdq") && __builtin_cpu_supports("avx2"); },
     updateCrc32ByWideClmul},
    {"clmul", [] { return bool(__builtin_cpu_supports("pclmul")); }, updateCrc32ByClmul},
#elif defined(__aarch64__)
    {"arm", [] { return (getauxval(AT_HWCAP) & HWCAP_CRC32) != 0; }, updateCrc32ByArm},
#endif
    {"tables", always, updateCrc32ByTables},
};

template <typename Function, std::size_t count>
std::vector<Kernel<Function>> supported(const Kernel<Function> (&all)[count])
{
    std::vector<Kernel<Function>> result;
    std::copy_if(std::begin(all), std::end(all), std::back_inserter(result),
                 [](const auto &kernel) { return kernel.isSupported(); });
    return result;
}

} // namespace

const std::vector<Kernel<YencWalk>> &yencKernels()
{
    static const auto kernels = supported(allYencKernels);
    return kernels;
}

const std::vector<Kernel<Crc32Update>> &crc32Kernels()
{
    static const auto kernels = supported(allCrc32Kernels);
    return kernels;
}

YencProgress walkYenc(std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    return yencKernels().front().run(in, out);
}

std::uint32_t updateCrc32(std::uint32_t crc, std::span<const std::uint8_t> data)
{
    return crc32Kernels().front().run(crc, data);
}
