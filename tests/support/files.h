// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>

#include <stdexcept>

/// File names and contents; of an archive the first volume first.
using RarVolumes = QList<std::pair<QString, QByteArray>>;

/// What is in the file @p path; "(no file)" when it cannot be read.
inline QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

/// Returns @p path. @tparam File  such as QuaGzipFile, for another form
template <class File = QFile> QString writeFile(const QString &path, const QByteArray &content = {})
{
    File file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write the test's file");
    return path;
}
