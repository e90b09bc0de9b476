// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

/// Bytes that an ordinary user may still write to the file system of @p path, a name in the file
/// system's encoding; -1.0 when that is unknown, for instance if the folder does not exist.
[[nodiscard]] double freeBytes(const char *path);
