// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <algorithm>
#include <limits>

/// The rounded share of @p done in @p total as text, such as "42 %". Byte counts from a file can be
/// any numbers, so the result is limited to the range of int.
[[nodiscard]] inline QString percentage(quint64 done, quint64 total)
{
    const double percent = static_cast<double>(done) * 100.0 / static_cast<double>(total) + 0.5;
    constexpr double highest = std::numeric_limits<int>::max();
    return QString::number(static_cast<int>(std::min(percent, highest))) + QLatin1StringView(" %");
}

/// The beginning of a name or message: to lay out a hostile one of a million characters would take
/// seconds.
[[nodiscard]] inline QString shortened(const QString &text) { return text.left(1000); }
