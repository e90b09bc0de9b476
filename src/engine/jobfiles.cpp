// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobfiles.h"

#include <QFile>
#include <QSet>

#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

QSet<QString> namesOf(Nzb *nzb)
{
    const QStringList extracted = nzb->extractedFiles().keys();
    QSet<QString> names(extracted.cbegin(), extracted.cend());
    for (int i = 0; i < nzb->fileCount(); ++i)
        names << nzb->fileAt(i)->name();
    return names;
}

void removeBeside(const QString &folder, const QString &name, const QSet<QString> &ours)
{
    for (int number = 1;; ++number) {
        const QString leftover = name + u'.' + QString::number(number);
        const QString path = folder + u'/' + leftover;
        if (!QFile::exists(path) || !isInsideFolder(folder, path))
            return;
        if (!ours.contains(leftover) && !QFile::remove(path))
            return;
    }
}

} // namespace

QString pathOf(const NzbFile *file)
{
    return qobject_cast<const Nzb *>(file->parent())->folder() + u'/' + file->name();
}

void removeLeftovers(Nzb *nzb, const QString &name)
{
    removeBeside(nzb->folder(), name, namesOf(nzb));
}

void removeLeftovers(Nzb *nzb)
{
    const QSet<QString> names = namesOf(nzb);
    for (const QString &name : names)
        removeBeside(nzb->folder(), name, names);
}
