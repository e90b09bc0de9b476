// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QMap>
#include <QTemporaryDir>

#include <cstdlib>

#include "support/files.h"
#include "support/rar4writer.h"

/// The volumes of the set "x" that the program `rar` makes of @p files, each by its name.
/// @param options  such as "-m0" or "-v20k"; like the names, without a single quote
[[nodiscard]] inline RarVolumes packWithRar(const QMap<QString, QByteArray> &files,
                                            const QStringList &options)
{
    const QTemporaryDir folder;
    QDir(folder.path()).mkdir(QStringLiteral("packed"));
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        QDir(folder.path()).mkpath(QFileInfo(file.key()).path());
        writeFile(folder.filePath(file.key()), file.value());
    }
    QStringList command{QStringLiteral("rar a -idq packed/x.rar")};
    for (const QString &word : options + files.keys())
        command << u'\'' + word + u'\'';
    // Not by QProcess: the thread sanitizer reports nothing more in a program that has forked.
    const QString line = QStringLiteral("cd '%1' && ").arg(folder.path()) + command.join(u' ');
    if (std::system(QFile::encodeName(line).constData()) != 0)
        throw std::runtime_error("the program rar is missing or has failed");
    RarVolumes volumes;
    const QDir packed(folder.filePath(QStringLiteral("packed")));
    for (const QString &name : packed.entryList(QDir::Files, QDir::Name))
        volumes.append({name, contentsOf(packed.filePath(name))});
    return volumes;
}
