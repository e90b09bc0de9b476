// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/freebytes.h"

#include <sys/statvfs.h>

double freeBytes(const char *path)
{
    struct statvfs info { };
    if (statvfs(path, &info) != 0)
        return -1.0;
    const auto unit = static_cast<double>(info.f_frsize ? info.f_frsize : info.f_bsize);
    return unit * static_cast<double>(info.f_bavail);
}
