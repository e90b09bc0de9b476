// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class Nzb;
class NzbFile;

// The files of a job on disk, and their deletion. Nothing outside the job's folder is touched.
// Files that cannot be removed stay, without a message.

/// Removes the file or its parts that have arrived, and its leftovers, see removeLeftovers().
void removeFiles(const NzbFile *file);
/// The same for each file of the job, and for those that post-processing has made. Also removes the
/// folder unless it holds anything else.
void removeFiles(Nzb *nzb);

/// Removes the files that the PAR2 program sets aside as "name.1", "name.2" and so on when it
/// rewrites @p name, except for files of the job with such names.
void removeLeftovers(Nzb *nzb, const QString &name);
/// The same for each file of the job.
void removeLeftovers(Nzb *nzb);
