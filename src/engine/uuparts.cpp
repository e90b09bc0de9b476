// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/uuparts.h"

#include <QDirIterator>
#include <QFileInfo>

#include "queue/filenames.h"

using namespace Qt::StringLiterals;

namespace {

/// For more parts than this, the folder is listed, which may be long as well.
constexpr int mostAskedFor = 1000;

QStringList askForParts(const QString &path, int partCount)
{
    QStringList found;
    for (int number = 1; number <= partCount; ++number) {
        const QString part = path + uuPartSuffix(number);
        if (QFileInfo::exists(part))
            found << part;
    }
    return found;
}

QStringList listParts(const QString &path, int partCount)
{
    const QFileInfo whole(path);
    const QString prefix = whole.fileName() + ".uu"_L1;
    QStringList found;
    QDirIterator entries(whole.path(), QDir::Files | QDir::Hidden);
    while (entries.hasNext()) {
        const QString entry = entries.next();
        const QString name = entries.fileName();
        if (!name.startsWith(prefix))
            continue;
        const int number = name.sliced(prefix.size()).toInt();
        if (number >= 1 && number <= partCount && name == whole.fileName() + uuPartSuffix(number))
            found << entry;
    }
    return found;
}

} // namespace

QStringList uuParts(const QString &path, int partCount)
{
    return partCount <= mostAskedFor ? askForParts(path, partCount) : listParts(path, partCount);
}
