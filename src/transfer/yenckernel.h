// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>
#include <span>

/// The ways to walk through yEnc data. All do the same; isSupported() tells which this processor
/// can run.
enum class YencKernel { Bytes, Ssse3, Avx2 };

[[nodiscard]] bool isSupported(YencKernel kernel);
[[nodiscard]] YencKernel fastestYencKernel();

struct YencProgress {
    size_t consumed; ///< bytes of the input that are done with
    size_t produced; ///< decoded bytes in the output
};

/// Decodes article data as it comes over the wire (yEnc 1.3 draft; dot stuffing of RFC 3977
/// 3.1.1) up to the end of @p in or to the first byte that needs its caller's judgement:
/// - an LF with fewer than two bytes behind it, or with "=y", which starts a control line;
/// - an '=' with NUL or nothing behind it.
///
/// A walk keeps no state: it is resumed with the rest of the data. An LF counts as one wherever
/// the walk starts.
///
/// @param out  at least as large as @p in; what lies behind the decoded bytes is scratch
[[nodiscard]] YencProgress walkYenc(std::span<const uchar> in, std::span<uchar> out,
                                    YencKernel kernel = fastestYencKernel());
