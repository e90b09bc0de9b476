// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <string>
#include <unistd.h>

/// As long as it lives, files whose path ends in @p name are refused when they are closed, as a
/// quota or a disk in the network refuses what has been written.
///
/// To be included in the one source file of a test, where it takes the place of close() for all
/// libraries of the process.
struct FailingClose {
    explicit FailingClose(const char *name) { suffix = name; }
    ~FailingClose() { suffix = nullptr; }
    inline static std::atomic<const char *> suffix{nullptr};
};

extern "C" __attribute__((visibility("default"))) int close(int descriptor)
{
    static const auto proper = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
    bool refused = false;
    if (const char *const name = FailingClose::suffix) {
        std::string path(4096, '\0');
        const auto link = "/proc/self/fd/" + std::to_string(descriptor);
        path.resize(std::max<ssize_t>(0, readlink(link.c_str(), path.data(), path.size())));
        refused = path.ends_with(name);
    }
    const int result = proper(descriptor);
    errno = refused ? EDQUOT : errno;
    return refused ? -1 : result;
}
