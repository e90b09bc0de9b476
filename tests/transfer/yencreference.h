// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <vector>

#include "transfer/kernels.h"

// The plain way to do what the kernels do, a byte at a time. Without Qt, so that it can be compiled
// for another processor and run in an emulator.

/// What walkYenc() must do.
inline YencProgress referenceWalk(std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    std::size_t produced = 0;
    std::size_t at = 0;
    for (; at < in.size(); ++at) {
        const auto behind = in.subspan(at + 1);
        if (in[at] == '\n') {
            if (behind.size() < 2 || (behind[0] == '=' && behind[1] == 'y'))
                break;
            at += behind[0] == '.' && behind[1] == '.';
        } else if (in[at] == '=') {
            if (behind.empty() || behind[0] == 0)
                break;
            out[produced++] = static_cast<std::uint8_t>(in[++at] - 106);
        } else if (in[at] != '\r') {
            out[produced++] = static_cast<std::uint8_t>(in[at] - 42);
        }
    }
    return {at, produced};
}

/// Walks over all of @p data with each kernel: where a walk stops, the next one starts a byte
/// later. Sums it up as well, beside the tables, of which yEnc articles tell whether they are
/// right. The input ends where its memory does, for the address sanitizer; the output has a guard
/// behind it. Returns the name of a kernel that is wrong, null if none is.
inline const char *wrongKernel(std::span<const std::uint8_t> data)
{
    const std::vector<std::uint8_t> copy(data.begin(), data.end());
    const std::vector<std::uint8_t> guard(64, 0xa5);
    std::vector<std::uint8_t> expected(copy.size());
    for (std::size_t at = 0; at < copy.size(); ++at) {
        const auto in = std::span(copy).subspan(at);
        const YencProgress wanted = referenceWalk(in, expected);
        for (const auto &kernel : yencKernels()) {
            std::vector<std::uint8_t> out(in.size() + guard.size(), guard[0]);
            const YencProgress done = kernel.run(in, std::span(out).first(in.size()));
            if (done.consumed != wanted.consumed || done.produced != wanted.produced
                || !std::equal(out.data(), out.data() + done.produced, expected.data())
                || !std::equal(guard.begin(), guard.end(), out.data() + in.size()))
                return kernel.name;
        }
        for (const auto &kernel : crc32Kernels()) {
            const std::uint32_t start = in[0] * 0x1234567U;
            if (kernel.run(start, in) != updateCrc32ByTables(start, in))
                return kernel.name;
        }
        at += wanted.consumed;
    }
    return nullptr;
}
