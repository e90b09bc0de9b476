// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

/// Bytes that an ordinary user may still write to the file system of @p path, a name in the file
/// system's encoding; -1.0 when that cannot be told, as for a folder that does not exist.
[[nodiscard]] double freeBytes(const char *path);
