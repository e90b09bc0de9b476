// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The information in the subject line of a post about its file.
struct Subject {
    QString filename;
    QString extension; ///< after the last dot, without it; lower case only from a quoted name
    int parts = 1; ///< articles announced by the last "(n/m)"; 1 without one
};

/// Reads the file name and the part count from a subject line, the free text that posters write,
/// such as `some post "movie.part01.rar" yEnc (1/33)`.
[[nodiscard]] Subject parseSubject(const QString &subject);
