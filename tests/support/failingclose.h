// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <string>
#include <string_view>
#include <unistd.h>

/// As long as it lives, files whose path ends in @p name are refused when they are closed, as a
/// quota or a disk in the network refuses what has been written.
///
/// To be included in the one source file of a test, where it takes the place of close() for all
/// libraries of the process.
class FailingClose final {
public:
    explicit FailingClose(const char *name) { suffix = name; }
    ~FailingClose() { suffix = nullptr; }
    Q_DISABLE_COPY_MOVE(FailingClose)

    [[nodiscard]] static bool refuses(int descriptor)
    {
        const char *name = suffix;
        if (!name)
            return false;
        char path[4096];
        const auto link = "/proc/self/fd/" + std::to_string(descriptor);
        const ssize_t length = readlink(link.c_str(), path, sizeof path);
        return length > 0 && std::string_view(path, size_t(length)).ends_with(name);
    }

private:
    inline static std::atomic<const char *> suffix{nullptr};
};

extern "C" __attribute__((visibility("default"))) int close(int descriptor)
{
    static const auto proper = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
    const bool refused = FailingClose::refuses(descriptor);
    const int result = proper(descriptor);
    if (!refused)
        return result;
    errno = EDQUOT;
    return -1;
}
