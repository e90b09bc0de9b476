// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

#include <memory>
#include <optional>

class FileCombiner;
class Nzb;
class NzbFile;
class QObject;

// Questions of the post-processing about the content of a job and its folder, and what it tells the
// files of a job together.

/// The names of the files on disk of which nothing more is fetched, in the order of the NZB.
[[nodiscard]] QStringList arrivedNames(const Nzb *nzb);

/// No file of the job is being fetched, or will be unless the user wants it.
[[nodiscard]] bool isAtRest(const Nzb *nzb);
/// Pauses all files that have not arrived but PAR2 files.
void pauseRest(const Nzb *nzb);
/// It has been proved that the files @p names are whole.
void markWhole(const Nzb *nzb, const QStringList &names);

[[nodiscard]] bool hasPar2(const Nzb *nzb);
/// What the names of a set's PAR2 files begin with.
[[nodiscard]] QString par2SetOf(const NzbFile *file);
/// A PAR2 file still to be fetched whose name does not tell if it is an index or a volume, since
/// no other one belongs to it by name.
[[nodiscard]] bool isLoosePar2(const Nzb *nzb, const NzbFile *file);
/// Blocks that can be counted on to be in a PAR2 file, be it on the server yet: by its name, or one
/// in a loose file unless that is the smallest of them, and so probably the index.
[[nodiscard]] std::optional<int> expectedBlocks(const Nzb *nzb, const NzbFile *file);
/// A PAR2 volume is on disk or on the server.
[[nodiscard]] bool isRepairable(const Nzb *nzb);
/// A volume that a repair has asked for has not arrived yet, even if it is paused.
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
/// The join of the first series of split files on disk without gaps, not started yet; null if there
/// is none.
[[nodiscard]] std::unique_ptr<FileCombiner> nextJoin(Nzb *nzb, QObject *parent);
