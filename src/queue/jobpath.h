// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// True when @p path, after all symbolic links, lies strictly below @p folder.
///
/// The last guard before anything is written or deleted under a name that came from outside. The
/// path itself need not exist; a dangling symbolic link counts as outside, as does everything when
/// @p folder does not exist.
[[nodiscard]] bool isInsideFolder(const QString &folder, const QString &path);
