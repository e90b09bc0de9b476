// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

#include <memory>

class FileCombiner;
class Nzb;
class QObject;

// What a job and its folder hold, as its post-processing asks.

[[nodiscard]] bool hasPar2(const Nzb *nzb);
/// A PAR2 volume is on disk or on the server.
[[nodiscard]] bool isRepairable(const Nzb *nzb);
/// A volume that a repair has asked for is still to come, be it paused meanwhile.
[[nodiscard]] bool awaitsOrdered(const Nzb *nzb);
/// The paths of the PAR2 volumes that have arrived. An index alone repairs nothing.
[[nodiscard]] QStringList par2Volumes(const Nzb *nzb);

/// An archive can be begun.
[[nodiscard]] bool hasFirstVolume(const Nzb *nzb);
/// There is a volume "x.part2.rar" or "x.r00", but no file at all that an archive starts with.
[[nodiscard]] bool hasOrphan(const Nzb *nzb);
/// A RAR volume has not come whole.
[[nodiscard]] bool hasDamagedVolume(const Nzb *nzb);

/// A file of the job is on disk.
[[nodiscard]] bool hasFileOnDisk(const Nzb *nzb);
/// The join of the first series of split files on disk that has no gaps, not started yet; null
/// without one.
[[nodiscard]] std::unique_ptr<FileCombiner> nextJoin(Nzb *nzb, QObject *parent);
