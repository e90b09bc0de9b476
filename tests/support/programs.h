// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QMap>
#include <QTemporaryDir>

#include <cstdlib>

#include "support/files.h"
#include "support/rar4writer.h"

/// Runs a program in @p folder to its end. Not by QProcess: the thread sanitizer reports nothing
/// more in a process that has forked.
/// @param words  the program and its arguments, without a single quote
/// @throws std::runtime_error  when it is missing or fails
inline void runInFolder(const QString &folder, const QStringList &words)
{
    const QString line =
        QStringLiteral("cd '%1' && '%2' >/dev/null").arg(folder, words.join(QStringLiteral("' '")));
    if (std::system(QFile::encodeName(line).constData()) != 0)
        throw std::runtime_error("this has failed: " + line.toStdString());
}

/// The files of @p folder that @p pattern fits, each by its name.
[[nodiscard]] inline RarVolumes filesIn(const QDir &folder, const QString &pattern)
{
    RarVolumes files;
    for (const QString &name : folder.entryList({pattern}, QDir::Files, QDir::Name))
        files.append({name, contentsOf(folder.filePath(name))});
    return files;
}

/// The volumes of the set "x" that the program `rar` makes of @p files.
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
    runInFolder(folder.path(),
                QStringLiteral("rar,a,-idq,packed/x.rar").split(u',') + options + files.keys());
    return filesIn(folder.filePath(QStringLiteral("packed")), QStringLiteral("*"));
}

/// The PAR2 files "x.par2", "x.vol00+01.par2" and so on that the program `par2` makes of @p files.
/// @param options  such as "-s2000" for blocks of so many bytes and "-c12" for so many of them
[[nodiscard]] inline RarVolumes recoveryOf(const RarVolumes &files, const QStringList &options)
{
    const QTemporaryDir folder;
    QStringList names(QStringLiteral("x.par2"));
    for (const auto &[name, content] : files) {
        writeFile(folder.filePath(name), content);
        names << name;
    }
    runInFolder(folder.path(), QStringLiteral("par2,create,-q").split(u',') + options + names);
    return filesIn(folder.path(), QStringLiteral("*.par2"));
}
