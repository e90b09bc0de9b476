// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// @p text without characters that an XML document cannot hold. Half a surrogate pair, which an
/// .nzb can bring in as a character reference, would make the whole document unreadable. At a
/// control character, U+FFFE or U+FFFF the writer reports an error as if the disk were full.
[[nodiscard]] inline QString writableXml(const QString &text)
{
    QString result = text.isValidUtf16() ? text : QString::fromUtf8(text.toUtf8());
    result.removeIf([](QChar c) {
        return (c < u' ' && c != u'\t' && c != u'\n' && c != u'\r') || c >= u'\xFFFE';
    });
    return result;
}
