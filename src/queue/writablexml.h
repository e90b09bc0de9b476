// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// @p text fit for a document: half a surrogate pair, which an .nzb can smuggle in as a character
/// reference, would make the whole document unreadable. Control characters are dropped by Qt.
[[nodiscard]] inline QString writableXml(const QString &text)
{
    return text.isValidUtf16() ? text : QString::fromUtf8(text.toUtf8());
}
