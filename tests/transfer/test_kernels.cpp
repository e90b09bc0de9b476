// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Each kernel that the processor can run beside the plain way to do the same.
//
//     test_kernels [SEED]
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

#include "transfer/yencreference.h"

using namespace std::literals;
using Bytes = std::vector<std::uint8_t>;

namespace {

/// What is odd in all combinations, among plain bytes.
Bytes oddData(std::mt19937 &random)
{
    constexpr auto odd = "\r\n=.y\0x"sv;
    Bytes data;
    const auto longestPlain = 1 + random() % 150;
    while (data.size() < 400) {
        data.insert(data.end(), random() % 8 ? 1 : random() % 40,
                    std::uint8_t(odd[random() % odd.size()]));
        if (random() % 4 == 0)
            std::generate_n(std::back_inserter(data), random() % longestPlain, std::ref(random));
    }
    data.resize(random() % 400);
    return data;
}

} // namespace

int main(int argc, char **argv)
{
    const unsigned seed = argc > 1 ? unsigned(std::stoul(argv[1])) : std::random_device()();
    std::mt19937 random(seed);
    for (int round = 0; round < 50'000; ++round) {
        if (const char *wrong = wrongKernel(oddData(random))) {
            std::printf("%s is wrong with seed %u\n", wrong, seed);
            return 1;
        }
    }
    return 0;
}
