// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Each kernel that the processor can run beside the plain way to do the same. Without Qt, so that
// it can be compiled for another processor and run in an emulator.
//
//     test_kernels [SEED]
#include "transfer/kernels.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "transfer/yencreference.h"

using namespace std::literals;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr std::size_t blockSize = 64; // of the wide walks
constexpr auto odd = "\r\n=.y\0x"sv;

[[noreturn]] void fail(const char *kernel, const Bytes &in)
{
    std::printf("%s is wrong for:\n", kernel);
    for (const std::uint8_t byte : in)
        std::printf(" %02x", byte);
    std::printf("\n");
    std::exit(1);
}

/// The input is as small as it may be, for the address sanitizer; so is the output, with a guard
/// behind it.
void compareWalk(const Kernel<YencWalk> &kernel, const Bytes &in, const Bytes &expected,
                 YencProgress wanted)
{
    constexpr std::uint8_t guard = 0xa5;
    Bytes out(in.size() + blockSize, guard);
    const YencProgress done = kernel.run(in, std::span(out).first(in.size()));
    const auto guards = std::span(out).subspan(in.size());
    if (done.consumed != wanted.consumed || done.produced != wanted.produced
        || !std::equal(out.begin(), out.begin() + std::ptrdiff_t(wanted.produced), expected.begin())
        || std::any_of(guards.begin(), guards.end(), [](auto byte) { return byte != guard; }))
        fail(kernel.name, in);
}

/// Over all of @p data: where a walk stops, the next one starts a byte later.
void compareWalks(std::span<const std::uint8_t> data)
{
    Bytes expected(data.size());
    while (!data.empty()) {
        const Bytes in(data.begin(), data.end());
        const YencProgress wanted = referenceWalk(in, expected);
        for (const auto &kernel : yencKernels())
            compareWalk(kernel, in, expected, wanted);
        data = data.subspan(std::min(wanted.consumed + 1, data.size()));
    }
}

/// All sequences of four odd bytes, at each place of a block and at the end of the data.
void walkThroughAllOddSequences()
{
    constexpr unsigned sequences = 7 * 7 * 7 * 7;
    for (unsigned sequence = 0; sequence < sequences; ++sequence) {
        for (std::size_t place = 0; place < blockSize + 2; ++place) {
            Bytes data(place + 2 * blockSize + 8, 'p');
            for (unsigned i = 0, digits = sequence; i < 4; ++i, digits /= 7)
                data[place + i] = std::uint8_t(odd[digits % odd.size()]);
            compareWalks(data);
            compareWalks(std::span(data).first(place + 4));
        }
    }
}

/// What is odd in all combinations, among plain bytes.
Bytes oddData(std::mt19937 &random)
{
    Bytes result;
    const auto longestPlain = 1 + random() % 150;
    for (auto count = random() % 200; count > 0; --count) {
        result.push_back(std::uint8_t(odd[random() % odd.size()]));
        if (random() % 3 == 0)
            std::generate_n(std::back_inserter(result), random() % longestPlain, std::ref(random));
    }
    result.resize(std::min<std::size_t>(result.size(), 400));
    return result;
}

std::uint32_t referenceCrc32(std::uint32_t crc, std::span<const std::uint8_t> data)
{
    for (const std::uint8_t byte : data) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return crc;
}

void compareChecksums(std::mt19937 &random)
{
    Bytes buffer(16 + random() % 1000);
    std::generate(buffer.begin(), buffer.end(), std::ref(random));
    const auto data = std::span(buffer).subspan(random() % 17); // unaligned, too
    const auto start = std::uint32_t(random());
    for (const auto &kernel : crc32Kernels()) {
        if (kernel.run(start, data) != referenceCrc32(start, data))
            fail(kernel.name, buffer);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const unsigned seed = argc > 1 ? unsigned(std::stoul(argv[1])) : std::random_device()();
    std::printf("Seed %u; kernels:", seed);
    for (const auto &kernel : yencKernels())
        std::printf(" %s,", kernel.name);
    for (const auto &kernel : crc32Kernels())
        std::printf(" %s,", kernel.name);
    std::printf("\n");

    std::mt19937 random(seed);
    walkThroughAllOddSequences();
    for (int round = 0; round < 3000; ++round)
        compareWalks(oddData(random));
    for (int round = 0; round < 5000; ++round)
        compareChecksums(random);
    return 0;
}
