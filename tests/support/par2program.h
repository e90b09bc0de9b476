// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QTemporaryDir>

#include "support/files.h"
#include "support/rar4writer.h"
#include "support/shell.h"

/// The PAR2 files "x.par2", "x.vol00+01.par2" and so on that the program `par2` makes of @p files.
/// @param options  such as "-s2000" for blocks of so many bytes and "-c12" for so many of them
[[nodiscard]] inline RarVolumes recoveryOf(const RarVolumes &files, const QStringList &options)
{
    const QTemporaryDir folder;
    QStringList names;
    for (const auto &[name, content] : files) {
        writeFile(folder.filePath(name), content);
        names << name;
    }
    runInFolder(folder.path(),
                QStringList{QStringLiteral("par2"), QStringLiteral("create"), QStringLiteral("-q")}
                    + options + QStringList{QStringLiteral("x.par2")} + names);
    RarVolumes made;
    const QStringList found =
        QDir(folder.path()).entryList({QStringLiteral("*.par2")}, QDir::Files, QDir::Name);
    for (const QString &name : found)
        made.append({name, contentsOf(folder.filePath(name))});
    return made;
}
