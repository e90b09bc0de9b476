// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class Nzb;
class NzbFile;

/// Where the file lies, once it is there.
[[nodiscard]] QString pathOf(const NzbFile *file);

/// Removes what the PAR2 program puts aside as "name.1", "name.2" and so on when it writes @p name
/// anew, but for files of the job that are called so.
void removeLeftovers(Nzb *nzb, const QString &name);
/// The same for each file of the job.
void removeLeftovers(Nzb *nzb);
