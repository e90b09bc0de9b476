// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobfiles.h"

#include <QDirIterator>
#include <QFile>
#include <QSet>

#include <utility>

#include "engine/uuparts.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

QSet<QString> namesOf(Nzb *nzb)
{
    const QStringList extracted = nzb->extractedFiles().keys();
    QSet<QString> names(extracted.cbegin(), extracted.cend());
    for (NzbFile *file : nzb->allFiles())
        names << file->name();
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

void removeInside(const QString &folder, const QString &path)
{
    if (QFile::exists(path) && isInsideFolder(folder, path))
        QFile::remove(path);
}

void removeFilesOf(const NzbFile *file)
{
    if (!isDeletableName(file->name()))
        return;
    const QString folder = file->job()->folder();
    const QString path = file->path();
    removeInside(folder, path);
    if (file->isFinished() || file->completedBytes() == 0 || file->isYenc())
        return;
    const QStringList parts = uuParts(path, file->partCount());
    for (const QString &part : parts)
        removeInside(folder, part);
}

/// Folders that are not empty stay.
void removeEmptyFolders(const QString &root)
{
    QStringList folders(root);
    QDirIterator below(root, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (below.hasNext())
        folders.prepend(below.next()); // the deepest go first
    for (const QString &folder : std::as_const(folders))
        QDir().rmdir(folder);
}

} // namespace

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

void removeFiles(const NzbFile *file)
{
    removeFilesOf(file);
    removeLeftovers(file->job(), file->name());
}

void removeFiles(Nzb *nzb)
{
    if (!isInsideFolder(nzb->downloadFolder(), nzb->folder()))
        return;
    for (NzbFile *file : nzb->allFiles())
        removeFilesOf(file);
    const QString folder = nzb->folder();
    for (auto it = nzb->extractedFiles().cbegin(); it != nzb->extractedFiles().cend(); ++it)
        removeInside(folder, folder + u'/' + it.key());
    removeLeftovers(nzb);
    removeEmptyFolders(folder);
}
