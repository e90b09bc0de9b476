// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>

#include <stdexcept>

/// What is in the file @p path; "(no file)" when it cannot be read.
[[nodiscard]] inline QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

/// Returns @p path.
inline QString writeFile(const QString &path, const QByteArray &content = {})
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write the test's file");
    return path;
}
