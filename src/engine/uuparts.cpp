// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/uuparts.h"

#include <QDirIterator>
#include <QFileInfo>

using namespace Qt::StringLiterals;

QStringList uuParts(const QString &path, int partCount)
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
        const QString digits = name.sliced(prefix.size());
        const int number = digits.toInt();
        if (number >= 1 && number <= partCount && digits == QString::asprintf("%06d", number))
            found << entry;
    }
    return found;
}
