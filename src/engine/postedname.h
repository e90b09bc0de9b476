// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class NzbFile;

/// The name that the post of @p file, which has arrived, has for it, in whatever script. While
/// articles arrive, the file has only the ASCII characters of that name, or an "invalid-name-" if
/// these would be empty or hidden. Empty if the present name is not made of the posted one in this
/// way, or is the same.
[[nodiscard]] QString postedName(const NzbFile *file);
