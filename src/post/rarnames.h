// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// True for the volume that a set is unpacked from: "a.rar", "a.part1.rar", "a.PART001.RAR".
[[nodiscard]] bool isFirstVolume(const QString &name);

/// True for the name of any volume: "a.rar", "a.r00", "a.s17".
[[nodiscard]] bool isVolumeName(const QString &name);

/// True for a member's name that is not to be extracted. The second byte is looked at alone: this
/// stops ".." at the front, and "a.txt" with it.
[[nodiscard]] bool isSuspiciousName(const QByteArray &name);
