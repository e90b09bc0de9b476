// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

/// The ".uu%06d" parts of the uuencoded file @p path that are on disk, numbers 1 to @p partCount,
/// in no particular order. The count comes from a subject line and may be any number.
[[nodiscard]] QStringList uuParts(const QString &path, int partCount);
