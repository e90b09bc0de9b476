// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <algorithm>

/// True for the extension of a piece of a split file, as "001" in "film.avi.001".
[[nodiscard]] inline bool isPieceNumber(const QString &extension)
{
    return extension.size() == 3 && std::all_of(extension.cbegin(), extension.cend(), [](QChar c) {
               return c.isDigit();
           });
}
