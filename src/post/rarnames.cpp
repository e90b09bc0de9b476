// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/rarnames.h"

#include <QRegularExpression>

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

bool isVolumeName(const QString &name)
{
    static const QRegularExpression pattern(u"\\.(rar|[r-z][0-9]{2})$"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern.match(name).hasMatch();
}

bool isSuspiciousName(const QByteArray &name)
{
    return name.startsWith('/') || name.startsWith('\\') || (name.size() > 1 && name.at(1) == '.')
           || name.contains(':');
}
