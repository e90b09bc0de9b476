// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// What the program reads out of file names: every rule, and no other file has one. None of them
// looks at the disk. They take bare names unless they say "path", and tell upper from lower case
// unless an example shows otherwise.

/// What stands behind the last dot, in lower case; empty without a dot.
[[nodiscard]] QString extensionOf(const QString &name);

/// An NZB: "a.nzb", "a.NZB".
[[nodiscard]] bool isNzbName(const QString &path);

/// The extension of a PAR2 file, be it an index or a volume.
[[nodiscard]] bool isPar2Extension(const QString &extension);
/// Of a PAR2 file: it holds recovery blocks, such as "a.vol007+10.par2", and is no mere index.
[[nodiscard]] bool isPar2VolumeName(const QString &name);
/// The path of a PAR2 volume up to its ".vol", which all volumes of a set share; empty for others.
[[nodiscard]] QString par2Set(const QString &path);
/// The number of recovery blocks, 10 in "a.vol007+10.par2"; nothing if the name does not tell.
[[nodiscard]] std::optional<int> recoveryBlocks(const QString &name);

/// Any volume of a RAR archive: "a.rar", "a.part2.rar", "a.r00", "a.S17".
[[nodiscard]] bool isRarVolume(const QString &name);
/// The volume with which an archive begins: "a.rar", "a.part1.rar", "a.PART001.RAR".
[[nodiscard]] bool isFirstRarVolume(const QString &name);
/// The extension of a second or later volume that goes with an "a.rar": "r00", "s12", but also
/// "001", for the first character may be any.
[[nodiscard]] bool isOldVolumeExtension(const QString &extension);

/// The extension of a piece of a split file, as "001" in "film.avi.001".
[[nodiscard]] bool isPieceExtension(const QString &extension);
/// The name that the pieces of a file, or the old-style volumes of an archive, share: without the
/// dot and the three characters behind it.
[[nodiscard]] QString seriesName(const QString &name);

/// @p stem, a name without its extension, less the "part01" or "vol003+02" of a volume or the "001"
/// of a piece: "movie" for both "movie.part01" and "movie.Vol003+02".
[[nodiscard]] QString withoutVolumeTail(const QString &stem);

/// ".uu000001", by which the parts of a uuencoded file are told apart until they are joined.
[[nodiscard]] QString uuPartSuffix(int number);

/// A file of a job that may be deleted with it. Where its path leads is to be checked besides.
[[nodiscard]] bool isDeletableName(const QString &name);

/// A member of an archive that is not to be extracted. Deliberate: the second byte is looked at
/// alone, which stops ".." at the front, and "a.txt" with it.
[[nodiscard]] bool isSuspiciousMember(const QByteArray &name);
