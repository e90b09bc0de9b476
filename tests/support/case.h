// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTest>

#include <functional>

/// A test case that registers itself: a title and what to do, or a title, a table and what to do
/// with each row of it. A row's first field is `const char *name` and tells what is odd about it.
/// The program's main function, in case.cpp, runs all of them; `test_x test:'title'` runs one.
struct Case {
    Case(const QByteArray &title, std::function<void()> run) { all << std::pair(title, run); }
    template <class Row, std::size_t count, class Check>
    Case(const QByteArray &title, const Row (&rows)[count], Check check)
    {
        for (const Row &row : rows)
            all.emplaceBack(title + ": " + row.name, [row, check] { check(row); });
    }
    inline static QList<std::pair<QByteArray, std::function<void()>>> all;
};
