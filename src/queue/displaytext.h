// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <algorithm>
#include <limits>

/// The share of @p done in @p total as text, rounded, such as "42 %". Byte counts read from a file
/// can be any numbers, so the result is kept within the range of int.
[[nodiscard]] inline QString percentage(quint64 done, quint64 total)
{
    const double percent = static_cast<double>(done) * 100.0 / static_cast<double>(total) + 0.5;
    constexpr double highest = std::numeric_limits<int>::max();
    return QString::number(static_cast<int>(std::min(percent, highest))) + QLatin1StringView(" %");
}

/// As much of a name or message as anyone reads: to lay out a hostile one of a million characters
/// would take seconds.
[[nodiscard]] inline QString shortened(const QString &text) { return text.left(1000); }
