// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobsurvey.h"

#include <QFile>
#include <QMap>

#include "engine/jobfiles.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

template <class Condition> bool anyFile(const Nzb *nzb, Condition condition)
{
    for (int i = 0; i < nzb->fileCount(); ++i) {
        if (condition(nzb->fileAt(i)))
            return true;
    }
    return false;
}

bool isOnDisk(const NzbFile *file) { return QFile::exists(pathOf(file)); }

bool isInsideJob(const Nzb *nzb, const QString &path)
{
    return QFile::exists(path) && isInsideFolder(nzb->folder(), path);
}

} // namespace

bool hasPar2(const Nzb *nzb)
{
    return anyFile(nzb, [](const NzbFile *file) { return file->isPar2(); });
}

bool isRepairable(const Nzb *nzb)
{
    return anyFile(nzb, [](const NzbFile *file) {
        return file->isPar2Volume() && (file->hasPendingSegments() || isOnDisk(file));
    });
}

bool awaitsOrdered(const Nzb *nzb)
{
    return anyFile(nzb,
                   [](const NzbFile *file) { return file->isOrdered() && !file->isFinished(); });
}

QStringList par2Volumes(const Nzb *nzb)
{
    QStringList paths;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        const QString path = pathOf(file);
        if (file->isPar2Volume() && file->isFinished() && isInsideJob(nzb, path))
            paths << path;
    }
    return paths;
}

bool hasFirstVolume(const Nzb *nzb)
{
    return anyFile(
        nzb, [](const NzbFile *file) { return isFirstRarVolume(file->name()) && isOnDisk(file); });
}

bool hasOrphan(const Nzb *nzb)
{
    return !hasFirstVolume(nzb) && anyFile(nzb, [](const NzbFile *file) {
        return isRarVolume(file->name()) && isOnDisk(file);
    });
}

bool hasDamagedVolume(const Nzb *nzb)
{
    return anyFile(nzb, [](const NzbFile *file) {
        return isRarVolume(file->name()) && (file->isIncomplete() || !file->isFinished());
    });
}

bool hasFileOnDisk(const Nzb *nzb) { return anyFile(nzb, isOnDisk); }

QList<QStringList> splitSeries(const Nzb *nzb)
{
    QMap<QString, QStringList> series;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        const QString path = pathOf(file);
        if (isPieceExtension(file->extension()) && isInsideJob(nzb, path))
            series[seriesName(file->name())] << path;
    }
    return series.values();
}
