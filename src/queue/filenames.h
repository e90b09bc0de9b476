// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// What the name of a file tells: its kind, its set and whether it may be deleted. Nothing here
// looks at the disk. Names are bare unless the parameter is called "path"; upper and lower case are
// distinguished unless an example shows otherwise.

/// The text after the last dot, in lower case; empty without a dot.
[[nodiscard]] QString extensionOf(const QString &name);

/// An NZB: "a.nzb", "a.NZB".
[[nodiscard]] bool isNzbName(const QString &path);

struct PasswordName {
    QString name; ///< without the password
    QString password; ///< empty without one
};
/// Splits "name{{password}}", as an NZB is called whose archives have a password.
[[nodiscard]] PasswordName splitPassword(const QString &name);

/// The extension of a PAR2 file, index or volume.
[[nodiscard]] bool isPar2Extension(const QString &extension);
/// Whether a PAR2 file is a volume with recovery blocks, as "a.vol007+10.par2", and no index.
[[nodiscard]] bool isPar2VolumeName(const QString &name);
/// The path of a PAR2 volume up to ".vol", which all volumes of a set share; empty for others.
[[nodiscard]] QString par2Stem(const QString &path);
/// The number of recovery blocks, 10 for "a.vol007+10.par2"; nothing if the name holds none.
[[nodiscard]] std::optional<int> recoveryBlocks(const QString &name);

/// Any volume of a RAR archive: "a.rar", "a.part2.rar", "a.r00", "a.S17".
[[nodiscard]] bool isRarVolume(const QString &name);
/// The volume with which an archive begins: "a.rar", "a.part1.rar", "a.PART001.RAR".
[[nodiscard]] bool isFirstRarVolume(const QString &name);
/// The extension of a second or later volume that goes with an "a.rar": "r00", "s12", but also
/// "001", for the first character may be any.
[[nodiscard]] bool isOldVolumeExtension(const QString &extension);

/// A ZIP or 7z archive: "a.zip", "a.7Z".
[[nodiscard]] bool isZipOr7z(const QString &name);

/// The extension of a piece of a split file, as "001" in "film.avi.001".
[[nodiscard]] bool isPieceExtension(const QString &extension);
/// The name that the pieces of a file or the old-style volumes of an archive share: without the
/// last four characters.
[[nodiscard]] QString seriesName(const QString &name);

/// @p stem, a name without its extension, also without the "part01" or "vol003+02" of a volume or
/// the "001" of a piece: "movie" for both "movie.part01" and "movie.Vol003+02".
[[nodiscard]] QString withoutVolumeTail(const QString &stem);

/// ".uu000001", which distinguishes the parts of a uuencoded file until they are joined.
[[nodiscard]] QString uuPartSuffix(int number);

/// Whether a file of a job may be deleted with it. Its path has to be checked as well.
[[nodiscard]] bool isDeletableName(const QString &name);

/// A name that does not tell what the file is: without an extension, or with one that is not usual,
/// as "3f2a9c" and "a.b7x9q2", but not "a.nfo" or "comic.cbr".
[[nodiscard]] bool tellsNothing(const QString &name);
/// A name with a word in it that stands alone, as "README" or "Film.Title-2024": a person may have
/// chosen it. A random name may have one by chance.
[[nodiscard]] bool hasWord(const QString &name);
/// A name that a machine has made up, whatever its extension: 24 and more hexadecimal digits, or 20
/// and more digits and letters of both cases in disorder. In doubt the answer is false.
[[nodiscard]] bool isRandomName(const QString &name);
/// A name that may be given to a file of a job: no separators, control characters or leading dot,
/// nothing that the queue file would not give back, and at most 255 bytes in UTF-8.
[[nodiscard]] bool isPlainName(const QString &name);
/// @p posted in composed form, without what isPlainName() forbids, and without the printable ASCII
/// characters that isKeptInNames() rejects; empty if it is not UTF-8, or nothing is left.
[[nodiscard]] QString plainName(const QByteArray &posted);
/// The name @p job of a job, changed and shortened so that with an extension it is a plain name.
[[nodiscard]] QString stemOfJob(const QString &job);
/// Characters that the name of a file keeps of an article's name: printable ASCII, but none that a
/// shell or another system reads in its own way.
[[nodiscard]] bool isKeptInNames(char c);

/// Whether a member of an archive must not be extracted. Deliberate: a dot as second byte is
/// enough, which stops ".." at the front, and "a.txt" as well.
[[nodiscard]] bool isSuspiciousMember(const QByteArray &name);
