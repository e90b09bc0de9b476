// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class Nzb;
class NzbFile;

// The files of a job on disk, and what may be deleted of them. Nothing outside the job's folder is
// touched, and what cannot be removed stays, without a message.

/// Where the file lies, once it is there.
[[nodiscard]] QString pathOf(const NzbFile *file);

/// Removes the file, or the parts of it that have arrived, and what removeLeftovers() does.
void removeFiles(const NzbFile *file);
/// The same for each file of the job, and for those that post-processing has made. Removes the
/// folder, too, unless it holds anything else.
void removeFiles(Nzb *nzb);

/// Removes what the PAR2 program puts aside as "name.1", "name.2" and so on when it writes @p name
/// anew, but for files of the job that are called so.
void removeLeftovers(Nzb *nzb, const QString &name);
/// The same for each file of the job.
void removeLeftovers(Nzb *nzb);
