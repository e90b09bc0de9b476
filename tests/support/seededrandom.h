// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDebug>
#include <QRandomGenerator>

/// Other numbers in each run; prints the seed that gives them again.
[[nodiscard]] inline QRandomGenerator seededRandom()
{
    const quint32 seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    return QRandomGenerator(seed);
}
