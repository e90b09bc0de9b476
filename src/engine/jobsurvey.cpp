// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobsurvey.h"

#include <QFile>
#include <QMap>

#include <algorithm>
#include <utility>

#include "post/filecombiner.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

bool isOnDisk(const NzbFile *file) { return QFile::exists(file->path()); }

bool isInsideJob(const Nzb *nzb, const QString &path)
{
    return QFile::exists(path) && isInsideFolder(nzb->folder(), path);
}

} // namespace

bool hasPar2(const Nzb *nzb)
{
    return std::ranges::any_of(nzb->allFiles(), [](const NzbFile *file) { return file->isPar2(); });
}

bool isRepairable(const Nzb *nzb)
{
    return std::ranges::any_of(nzb->allFiles(), [](const NzbFile *file) {
        return file->isPar2Volume() && (file->hasPendingSegments() || isOnDisk(file));
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
        const QString path = file->path();
        if (file->isPar2Volume() && file->isFinished() && isInsideJob(nzb, path))
            paths << path;
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

std::unique_ptr<FileCombiner> nextJoin(Nzb *nzb, QObject *parent)
{
    QMap<QString, QStringList> series;
    for (const NzbFile *file : nzb->allFiles()) {
        const QString path = file->path();
        if (isPieceExtension(file->extension()) && isInsideJob(nzb, path))
            series[seriesName(file->name())] << path;
    }
    for (const QStringList &pieces : std::as_const(series)) {
        auto combiner = std::make_unique<FileCombiner>(nzb, parent);
        for (const QString &piece : pieces)
            combiner->addFile(piece);
        if (!combiner->hasGaps())
            return combiner;
    }
    return nullptr;
}
