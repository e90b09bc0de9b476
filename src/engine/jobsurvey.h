// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

#include <memory>

class FileCombiner;
class Nzb;
class QObject;

// Questions of the post-processing about the content of a job and its folder.

[[nodiscard]] bool hasPar2(const Nzb *nzb);
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
