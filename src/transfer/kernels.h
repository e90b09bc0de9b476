// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "transfer/crc32.h"
#include "transfer/yenckernel.h"

/// One of several functions that do the same with different instructions.
template <typename Function> struct Kernel {
    const char *name;
    bool (*isSupported)(); ///< whether this processor has the instructions
    Function *run;
};

/// The kernels that this processor can run, the fastest first. The last one runs on any processor.
[[nodiscard]] const std::vector<Kernel<YencWalk>> &yencKernels();
[[nodiscard]] const std::vector<Kernel<Crc32Update>> &crc32Kernels();
