// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QMap>
#include <QTemporaryDir>

#include <cstdlib>

#include "support/rar4writer.h"

/// Runs a line of the shell in @p folder to its end. Not by QProcess: the thread sanitizer reports
/// nothing more in a process that has forked.
/// @param words  more arguments, without a single quote
/// @throws std::runtime_error  when the program is missing or fails
inline void runInFolder(const QString &folder, const QString &line, const QStringList &words = {})
{
    QString all = QString("cd '%1' && %2").arg(folder, line);
    for (const QString &word : words)
        all += " '" + word + '\'';
    if (std::system(QFile::encodeName(all + " >/dev/null").constData()) != 0)
        throw std::runtime_error("this has failed: " + all.toStdString());
}

/// The files of @p folder that @p pattern fits, each by its name.
inline RarVolumes filesIn(const QDir &folder, const QString &pattern)
{
    RarVolumes files;
    for (const QString &name : folder.entryList({pattern}, QDir::Files, QDir::Name))
        files.append({name, contentsOf(folder.filePath(name))});
    return files;
}

/// The volumes of the set "x" that the program `rar` makes of @p files.
/// @param options  such as "-m0" or "-v20k"; like the names, without a single quote
inline RarVolumes packWithRar(const QMap<QString, QByteArray> &files, const QStringList &options)
{
    const QTemporaryDir folder;
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        QDir(folder.path()).mkpath(QFileInfo(file.key()).path());
        writeFile(folder.filePath(file.key()), file.value());
    }
    runInFolder(folder.path(), "mkdir packed && rar a -idq packed/x.rar", options + files.keys());
    return filesIn(folder.filePath("packed"), "*");
}

/// The PAR2 files "x.par2", "x.vol00+01.par2" and so on that the program `par2` makes of @p files.
/// @param options  such as "-s2000" for blocks of so many bytes and "-c12" for so many of them
inline RarVolumes recoveryOf(const RarVolumes &files, const QStringList &options)
{
    const QTemporaryDir folder;
    QStringList names("x.par2");
    for (const auto &[name, content] : files)
        names << QFileInfo(writeFile(folder.filePath(name), content)).fileName();
    runInFolder(folder.path(), "par2 create -q", options + names);
    return filesIn(folder.path(), "*.par2");
}
