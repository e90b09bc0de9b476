// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class NzbFile;

/// The name of a file that has arrived as its post has it, in whatever script, if the one on disk
/// is the rest that has remained of it while articles arrived: without the characters beyond ASCII,
/// or an "invalid-name-". Empty otherwise.
[[nodiscard]] QString postedName(const NzbFile *file);
