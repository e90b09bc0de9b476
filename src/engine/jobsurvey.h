// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

#include <optional>

class Nzb;
class NzbFile;

// What the post-processing asks about the content of a job and its folder, and what it does to
// several files of a job at once.

/// The names of the files on disk of which nothing more is fetched, in the order of the NZB.
[[nodiscard]] QStringList arrivedNames(const Nzb *nzb);

/// No file of the job is being fetched, or will be unless the user wants it.
[[nodiscard]] bool isAtRest(const Nzb *nzb);
/// Pauses all files that have not arrived, except PAR2 files.
void pauseRest(const Nzb *nzb);
/// Marks the files @p names as whole, which has been proved.
void markWhole(const Nzb *nzb, const QStringList &names);

[[nodiscard]] bool hasPar2(const Nzb *nzb);
/// What the names of a set's PAR2 files begin with.
[[nodiscard]] QString par2StemOf(const NzbFile *file);
/// Whether a PAR2 file that is still to be fetched may be an index or a volume: its name has no
/// ".vol", and no volume belongs to it by name.
[[nodiscard]] bool isLoosePar2(const Nzb *nzb, const NzbFile *file);
/// The number of recovery blocks that a PAR2 file is expected to have: that in its name, or one for
/// a loose file. Nothing for other files, and for the smallest of the loose ones, which is probably
/// the index.
[[nodiscard]] std::optional<int> expectedBlocks(const Nzb *nzb, const NzbFile *file);
/// A PAR2 volume is on disk or on the server.
[[nodiscard]] bool isRepairable(const Nzb *nzb);
/// Whether a PAR2 file that has been asked for has not arrived yet, even if it is paused.
[[nodiscard]] bool awaitsOrdered(const Nzb *nzb);
/// The paths of the PAR2 volumes that have arrived. An index alone repairs nothing.
[[nodiscard]] QStringList par2Volumes(const Nzb *nzb);

/// The first volume of an archive is on disk.
[[nodiscard]] bool hasFirstVolume(const Nzb *nzb);
/// A later volume such as "x.part2.rar" or "x.r00" is on disk, but no first volume at all.
[[nodiscard]] bool hasOrphan(const Nzb *nzb);
/// A RAR volume is damaged or has not arrived.
[[nodiscard]] bool hasDamagedVolume(const Nzb *nzb);

/// A file of the job is on disk.
[[nodiscard]] bool hasFileOnDisk(const Nzb *nzb);
/// The file is on disk, in the folder of its job. Until articles tell another name, that of a file
/// comes from the NZB and may lead anywhere.
[[nodiscard]] bool isOnDisk(const NzbFile *file);
/// Something is at @p path, which lies in the job's folder.
[[nodiscard]] bool existsInJob(const Nzb *nzb, const QString &path);
