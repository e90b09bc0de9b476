// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobsurvey.h"

#include <QFile>
#include <QSet>

#include <algorithm>
#include <utility>

#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

QStringList arrivedNames(const Nzb *nzb)
{
    QList<const NzbFile *> files(nzb->allFiles().cbegin(), nzb->allFiles().cend());
    files.removeIf([](const NzbFile *file) { return !file->isFinished() || !isOnDisk(file); });
    std::ranges::stable_sort(files, {}, &NzbFile::place);
    QStringList names;
    for (const NzbFile *file : std::as_const(files))
        names << file->name();
    return names;
}

QString par2StemOf(const NzbFile *file)
{
    const QString name = file->name();
    return file->isPar2Volume() ? par2Stem(name) : name.chopped(file->extension().size() + 1);
}

bool isLoosePar2(const Nzb *nzb, const NzbFile *file)
{
    if (!file->isPar2() || file->isPar2Volume() || file->isFinished())
        return false;
    const QString stem = par2StemOf(file);
    return std::ranges::none_of(nzb->allFiles(), [&stem](const NzbFile *other) {
        return other->isPar2Volume() && par2StemOf(other) == stem;
    });
}

std::optional<int> expectedBlocks(const Nzb *nzb, const NzbFile *file)
{
    if (file->isPar2Volume())
        return recoveryBlocks(file->name());
    if (!isLoosePar2(nzb, file))
        return {};
    const bool isSmallest = std::ranges::none_of(nzb->allFiles(), [&](const NzbFile *other) {
        return other->isPar2() && !other->isPar2Volume() && other->size() < file->size();
    });
    return isSmallest ? std::nullopt : std::optional(1);
}

bool isAtRest(const Nzb *nzb)
{
    return std::ranges::all_of(nzb->allFiles(), [](const NzbFile *file) {
        return file->isFinished() || file->isPaused();
    });
}

void pauseRest(const Nzb *nzb)
{
    for (NzbFile *file : nzb->allFiles()) {
        if (!file->isFinished() && !file->isPar2())
            file->setPaused(true);
    }
}

void markWhole(const Nzb *nzb, const QStringList &names)
{
    const QSet<QString> whole(names.cbegin(), names.cend());
    for (NzbFile *file : nzb->allFiles()) {
        if (whole.contains(file->name()))
            file->markWhole();
    }
}

bool hasPar2(const Nzb *nzb)
{
    return std::ranges::any_of(nzb->allFiles(), [](const NzbFile *file) { return file->isPar2(); });
}

bool isRepairable(const Nzb *nzb)
{
    return std::ranges::any_of(nzb->allFiles(),
                               [](const NzbFile *file) {
                                   return file->isPar2Volume()
                                          && (file->hasPendingSegments() || isOnDisk(file));
                               })
           || std::ranges::any_of(nzb->allFiles(), [nzb](const NzbFile *file) {
                  return file->hasPendingSegments() && expectedBlocks(nzb, file);
              });
}

bool awaitsOrdered(const Nzb *nzb)
{
    return std::ranges::any_of(nzb->allFiles(), [](const NzbFile *file) {
        return file->isOrdered() && !file->isFinished();
    });
}

QStringList par2Volumes(const Nzb *nzb)
{
    QStringList paths;
    for (const NzbFile *file : nzb->allFiles()) {
        if (file->isPar2Volume() && file->isFinished() && isOnDisk(file))
            paths << file->path();
    }
    return paths;
}

bool hasFirstVolume(const Nzb *nzb)
{
    return std::ranges::any_of(nzb->allFiles(), [](const NzbFile *file) {
        return isFirstRarVolume(file->name()) && isOnDisk(file);
    });
}

bool hasOrphan(const Nzb *nzb)
{
    return !hasFirstVolume(nzb) && std::ranges::any_of(nzb->allFiles(), [](const NzbFile *file) {
        return isRarVolume(file->name()) && isOnDisk(file);
    });
}

bool hasDamagedVolume(const Nzb *nzb)
{
    return std::ranges::any_of(nzb->allFiles(), [](const NzbFile *file) {
        return isRarVolume(file->name()) && (file->isIncomplete() || !file->isFinished());
    });
}

bool hasFileOnDisk(const Nzb *nzb) { return std::ranges::any_of(nzb->allFiles(), isOnDisk); }

bool isOnDisk(const NzbFile *file) { return existsInJob(file->job(), file->path()); }

bool existsInJob(const Nzb *nzb, const QString &path)
{
    return QFile::exists(path) && isInsideFolder(nzb->folder(), path);
}
