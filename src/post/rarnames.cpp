// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/rarnames.h"

using namespace Qt::StringLiterals;

bool isFirstVolume(const QString &name)
{
    if (!name.endsWith(".rar"_L1, Qt::CaseInsensitive))
        return false;
    const QStringView stem = QStringView(name).chopped(4);
    const qsizetype dot = stem.lastIndexOf(u'.');
    if (dot < 0 || !stem.mid(dot).startsWith(".part"_L1, Qt::CaseInsensitive))
        return true;
    return stem.mid(dot + 5).toInt() == 1;
}

bool isSuspiciousName(const QByteArray &name)
{
    return name.startsWith('/') || name.startsWith('\\') || (name.size() > 1 && name.at(1) == '.')
           || name.contains(':');
}
