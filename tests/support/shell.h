// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QStringList>

#include <cstdlib>
#include <stdexcept>

/// Runs a program in @p folder to its end. Not by QProcess: the thread sanitizer reports nothing
/// more in a process that has forked.
/// @param words  the program and its arguments, without a single quote
/// @throws std::runtime_error  when it is missing or fails
inline void runInFolder(const QString &folder, const QStringList &words)
{
    const QString quote(u'\'');
    QString line = QStringLiteral("cd '%1' && ").arg(folder);
    for (const QString &word : words)
        line += quote + word + quote + u' ';
    line += QStringLiteral(">/dev/null");
    if (std::system(QFile::encodeName(line).constData()) != 0)
        throw std::runtime_error("this has failed: " + line.toStdString());
}
