// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QMap>
#include <QTemporaryDir>

#include "support/files.h"
#include "support/rar4writer.h"
#include "support/shell.h"

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
    runInFolder(folder.path(), QStringList{QStringLiteral("rar"), QStringLiteral("a"),
                                           QStringLiteral("-idq"), QStringLiteral("packed/x.rar")}
                                   + options + files.keys());
    RarVolumes volumes;
    const QDir packed(folder.filePath(QStringLiteral("packed")));
    for (const QString &name : packed.entryList(QDir::Files, QDir::Name))
        volumes.append({name, contentsOf(packed.filePath(name))});
    return volumes;
}
