// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTest>

#include <tuple>

/// Begins a table of one column for each type. What is returned adds a row to it:
/// `const auto row = rows<QString, int>(); row("what is odd", {u"text"_s, 1});`
template <typename... Column> auto rows()
{
    QTest::addColumn<std::tuple<Column...>>("row");
    return [](const char *name, const std::tuple<Column...> &row) { QTest::newRow(name) << row; };
}

/// The row that the test runs for: `const auto [text, count] = thisRow<QString, int>();`
template <typename... Column> std::tuple<Column...> thisRow()
{
    using Row = std::tuple<Column...>;
    return *static_cast<const Row *>(QTest::qData("row", qMetaTypeId<Row>()));
}
