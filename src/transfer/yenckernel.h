// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

struct YencProgress {
    std::size_t consumed; ///< bytes of the input that have been processed
    std::size_t produced; ///< decoded bytes in the output
};

using YencWalk = YencProgress(std::span<const std::uint8_t> in, std::span<std::uint8_t> out);

/// Decodes article data as it comes over the wire (yEnc 1.3 draft; dot stuffing of RFC 3977
/// 3.1.1) up to the end of @p in or to the first byte that needs its caller's judgement:
/// - an LF with fewer than two bytes behind it, or with "=y", which starts a control line;
/// - an '=' with NUL or nothing behind it.
///
/// A walk keeps no state: it is resumed with the rest of the data. An LF counts as one wherever
/// the walk starts. Takes the fastest of yencKernels().
///
/// @param out  at least as large as @p in; what lies behind the decoded bytes is scratch
[[nodiscard]] YencWalk walkYenc;

/// The same with one set of instructions each; only for a processor that has them.
[[nodiscard]] YencWalk walkYencByBytes;
[[nodiscard]] YencWalk walkYencBySse2;
[[nodiscard]] YencWalk walkYencBySsse3;
[[nodiscard]] YencWalk walkYencByAvx2;
[[nodiscard]] YencWalk walkYencByNeon;
