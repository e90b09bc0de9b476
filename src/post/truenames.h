// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

/// A better name for a file of a job.
struct Renaming {
    QString from;
    QString to; ///< in the folder, and free, or the name of a leftover
    QString reason; ///< for the log
};

/// Finds the names that files of a job should have, out of their content: PAR2 descriptions by
/// length and the hash of the first 16 KiB, PAR2 files by their packets, RAR volumes by their
/// headers. Reads at most 16 KiB of each file and the packet headers of PAR2 files.
///
/// A file whose name is in order keeps it, and so does one of which it is not certain.
/// @param folder  where the files lie
/// @param job  the name that PAR2 files and RAR volumes take if nothing else tells one
/// @param names  of the files that have arrived, in the order of the NZB
[[nodiscard]] QList<Renaming> trueNames(const QString &folder, const QString &job,
                                        const QStringList &names);

/// Whether @p old, which no file of the job has, is what the file @p path was before the program
/// was killed: it has been fetched again then, and has the same length and the same first 16 KiB.
[[nodiscard]] bool isLeftover(const QString &old, const QString &path);

/// The names of the files that PAR2 sets describe, out of those of @p names that are PAR2 files.
/// They may be anything.
[[nodiscard]] QSet<QString> describedNames(const QString &folder, const QStringList &names);
