// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Each kernel that the processor can run beside the plain way to do the same.
//
//     test_kernels [SEED]
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

#include "transfer/yencreference.h"

using namespace std::literals;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr std::size_t blockSize = 64; // of the wide walks
constexpr auto odd = "\r\n=.y\0x"sv;

void require(const char *wrong, std::span<const std::uint8_t> in)
{
    if (!wrong)
        return;
    std::printf("%s is wrong for:\n", wrong);
    for (const std::uint8_t byte : in)
        std::printf(" %02x", byte);
    std::exit(1);
}

/// All sequences of four odd bytes, at each place of a block and at the end of the data.
void walkThroughAllOddSequences()
{
    for (unsigned sequence = 0; sequence < 7 * 7 * 7 * 7; ++sequence) {
        for (std::size_t place = 0; place < blockSize + 2; ++place) {
            Bytes data(place + 2 * blockSize + 8, 'p');
            for (unsigned i = 0, digits = sequence; i < 4; ++i, digits /= 7)
                data[place + i] = std::uint8_t(odd[digits % odd.size()]);
            require(wrongKernel(data), data);
            require(wrongKernel(std::span(data).first(place + 4)), data);
        }
    }
}

/// What is odd in all combinations, among plain bytes.
void walkThroughOddData(std::mt19937 &random)
{
    Bytes data;
    const auto longestPlain = 1 + random() % 150;
    while (data.size() < 400) {
        data.insert(data.end(), random() % 8 ? 1 : random() % 40,
                    std::uint8_t(odd[random() % odd.size()]));
        if (random() % 3 == 0)
            std::generate_n(std::back_inserter(data), random() % longestPlain, std::ref(random));
    }
    data.resize(random() % 400);
    require(wrongKernel(data), data);
}

void compareChecksums(std::mt19937 &random)
{
    Bytes buffer(16 + random() % 1000);
    std::generate(buffer.begin(), buffer.end(), std::ref(random));
    const auto data = std::span(buffer).subspan(random() % 17); // unaligned, too
    const auto start = std::uint32_t(random());
    for (const auto &kernel : crc32Kernels()) {
        const bool right = kernel.run(start, data) == referenceCrc32(start, data);
        require(right ? nullptr : kernel.name, data);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const unsigned seed = argc > 1 ? unsigned(std::stoul(argv[1])) : std::random_device()();
    std::printf("Seed %u\n", seed);
    std::mt19937 random(seed);
    walkThroughAllOddSequences();
    for (int round = 0; round < 5000; ++round) {
        walkThroughOddData(random);
        compareChecksums(random);
    }
    return 0;
}
