// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTest>

#include <functional>
#include <utility>
#include <vector>

/// A test case that registers itself: a title and what to do, or a title, a table and what to do
/// with each row of it. A row's first field is `const char *name` and tells what is odd about it.
/// The program's main function, in case.cpp, runs all of them; `test_x test:'title'` runs one.
struct Case {
    Case(const char *title, std::function<void()> run)
    {
        all().emplace_back(title, std::move(run));
    }
    template <class Row, std::size_t count, class Check>
    Case(const char *title, const Row (&rows)[count], Check check)
    {
        for (const Row &row : rows)
            all().emplace_back(QByteArray(title) + ": " + row.name, [row, check] { check(row); });
    }

    using List = std::vector<std::pair<QByteArray, std::function<void()>>>;
    static List &all()
    {
        static List list;
        return list;
    }
};
