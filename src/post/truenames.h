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
    QString to; ///< relative to the folder; free, or that of a file for which isLeftover() is true
    QString reason; ///< for the log
};

/// Finds the names that files of a job should have, out of their content: PAR2 descriptions by
/// length and the hash of the first 16 KiB, PAR2 files by their packets, RAR volumes by their
/// headers. Reads at most 16 KiB of each file and the packet headers of PAR2 files; a file that
/// cannot be read is passed over.
///
/// A file whose name is in order keeps it, and so does a file whose right name is not certain.
/// @param folder  where the files lie
/// @param job  the name of the job, for PAR2 files and RAR volumes if nothing else tells a name
/// @param names  of the files that have arrived, in the order of the NZB
[[nodiscard]] QList<Renaming> trueNames(const QString &folder, const QString &job,
                                        const QStringList &names);

/// Whether the file @p old is an earlier download of the file @p path: they have the same length
/// and the same first 16 KiB. If the program is killed before it has saved the queue, a renamed
/// file is fetched again under its first name, and @p old lies under the new one. False if either
/// cannot be read.
/// @param old  a path that no file of the job has
[[nodiscard]] bool isLeftover(const QString &old, const QString &path);

/// The names that the PAR2 files among @p names have for the files that they protect. They are not
/// checked: each may be any text.
[[nodiscard]] QSet<QString> describedNames(const QString &folder, const QStringList &names);
