// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The repair of a damaged job: which volumes to fetch for it, the passes of the PAR2 program, and
// what follows from each.
#include <QDebug>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

#include "engine/jobfiles.h"
#include "engine/marlowick.h"
#include "post/par2process.h"
#include "post/rarhandler.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

namespace {

/// The PAR2 volumes of the job that have arrived. An index alone repairs nothing.
QStringList par2Volumes(const Nzb *nzb)
{
    QStringList paths;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        const QString path = pathOf(file);
        if (file->isPar2Volume() && file->isFinished() && QFile::exists(path)
            && isInsideFolder(nzb->folder(), path))
            paths << path;
    }
    return paths;
}

/// The number of damaged files of each set, by its base name.
QMap<QString, int> damagedSets(const Nzb *nzb)
{
    QMap<QString, int> sets;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        if (file->isIncomplete() && file->isFinished())
            ++sets[file->baseName()];
    }
    return sets;
}

/// The recovery blocks in a volume such as "x.vol007+10.par2"; nothing if @p file is no volume of
/// the set that @p volumeName stands for.
std::optional<int> blocksOf(const NzbFile *file, const QString &volumeName)
{
    const QString name = file->name();
    const auto blocks =
        file->isPar2() && name.contains(volumeName) ? recoveryBlocks(name) : std::nullopt;
    if (blocks)
        qDebug().nospace() << "PAR2 file: " << name << " has " << *blocks << " repair blocks";
    return blocks;
}

/// One block of each set that a volume is there or to be had of, by its base name.
QMap<QString, int> setsOf(const Nzb *nzb)
{
    QMap<QString, int> sets;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        if (blocksOf(nzb->fileAt(i), QString()))
            sets.insert(nzb->fileAt(i)->baseName(), 1);
    }
    return sets;
}

} // namespace

bool Marlowick::wantsRepair(const Nzb *nzb) const
{
    const JobWork job = work.value(nzb);
    return job.anew ? job.repairWanted
                    : nzb->hasIncompleteFiles() && settings_->get(Settings::autoPAR2);
}

/// The status that tells of a failed or suspended extraction comes back, whatever becomes of the
/// repair.
void Marlowick::showRepair(Nzb *nzb, const QString &status)
{
    const JobWork job = work.value(nzb);
    const bool stays =
        job.rarHandler && (job.rarHandler->hasFailed() || job.rarHandler->isSuspended());
    setStatus(nzb, stays ? job.failure : status);
}

void Marlowick::startRepair(Nzb *nzb)
{
    work[nzb].repairFailed = false;
    keepVolumes(nzb);
    const QStringList paths = par2Volumes(nzb);
    if (paths.isEmpty()) {
        requestFirstBlocks(nzb);
        return;
    }
    RarHandler *handler = work.value(nzb).rarHandler;
    work[nzb].repairWaits = handler && handler->isAtWork();
    if (work[nzb].repairWaits)
        return; // it writes and deletes what the repair would read
    setStatus(nzb, tr("Repairing"));
    try {
        auto *repair = new Par2Process(nzb, paths, this);
        work[nzb].repair = repair;
        connect(repair, &Par2Process::needMoreBlocks, this, &Marlowick::par2NeedMoreBlocks);
        connect(repair, &Par2Process::nothingToRepair, this, &Marlowick::par2Failed);
        connect(repair, &Par2Process::repairComplete, this, &Marlowick::par2RepairComplete);
        connect(repair, &Par2Process::passEnded, this, &Marlowick::par2PassEnded);
        repair->startNextGroup();
    } catch (const std::runtime_error &failure) {
        repairFailed(nzb, tr("Damaged: par2 program not found"));
        emit error(0, QString::fromUtf8(failure.what()));
    }
}

/// Without a PAR2 file on disk nobody knows yet how many blocks are lacking: one for each damaged
/// file is asked for.
void Marlowick::requestFirstBlocks(Nzb *nzb)
{
    QMap<QString, int> sets = damagedSets(nzb);
    if (sets.isEmpty() && work.value(nzb).anew)
        sets = setsOf(nzb);
    bool enough = true;
    for (auto set = sets.cbegin(); set != sets.cend(); ++set)
        enough = requestBlocks(nzb, set.value(), set.key()) && enough;
    if (!enough)
        par2Failed(nzb);
}

bool Marlowick::requestBlocks(Nzb *nzb, int number, const QString &volumeName)
{
    bool found = false;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        NzbFile *file = nzb->fileAt(i);
        const std::optional<int> blocks = blocksOf(file, volumeName);
        if (!blocks)
            continue;
        if (!file->isFinished() && *blocks > 0) {
            file->setOrdered(true);
            file->setPaused(false);
            startToDownloadQueue();
            number -= std::min(number, *blocks);
            if (number < 1)
                return true;
        }
        found = true;
    }
    // No volume bears the name of this set: any of the job will do.
    return !found && !volumeName.isEmpty() && requestBlocks(nzb, number, QString());
}

void Marlowick::par2NeedMoreBlocks(Nzb *nzb, int number, const QString &volumename)
{
    if (!queue_->contains(nzb))
        return;
    if (const Par2Process *pass = work.value(nzb).repair)
        takeNames(nzb, pass); // of sets before this one
    showRepair(nzb, QString());
    if (!requestBlocks(nzb, number, volumename))
        par2Failed(nzb);
}

void Marlowick::par2RepairComplete(Nzb *nzb)
{
    if (!queue_->contains(nzb))
        return;
    JobWork &job = work[nzb];
    if (job.anew)
        return settleRepair(nzb);
    takeNames(nzb, std::exchange(job.repair, nullptr));
    showRepair(nzb, u"Repaired"_s);
    for (int i = 0; i < nzb->fileCount(); ++i)
        nzb->fileAt(i)->markRepaired();
    removeLeftovers(nzb);
    processNzb(nzb);
}

/// Deliberate: a set that is in order outweighs the others, and counts as a failure. Not so for a
/// job that is taken anew.
void Marlowick::par2Failed(Nzb *nzb)
{
    if (!queue_->contains(nzb))
        return;
    const JobWork job = work.value(nzb);
    if (job.repair)
        takeNames(nzb, job.repair);
    if (job.anew && job.repair && job.repair->isInOrder())
        settleRepair(nzb);
    else
        repairFailed(nzb, tr("Damaged beyond repair"));
}

void Marlowick::repairFailed(Nzb *nzb, const QString &status)
{
    showRepair(nzb, status);
    JobWork &job = work[nzb];
    // A set that is in order has failed by the rule alone: taken anew, the job will read it again.
    job.repairFailed = job.anew || !(job.repair && job.repair->isInOrder());
    if (!job.anew)
        return keepVolumes(nzb);
    job.repairWanted = false;
    processNzb(nzb);
}

/// The program has given files their right names back, or has made one out of the damaged file of
/// another name, or one that the post lacks: the job knows them by these names from now on.
void Marlowick::takeNames(Nzb *nzb, const Par2Process *pass)
{
    QHash<QString, NzbFile *> files;
    for (int i = 0; i < nzb->fileCount(); ++i)
        files.insert(nzb->fileAt(i)->name(), nzb->fileAt(i));
    const QSet<QString> targets(pass->targets().cbegin(), pass->targets().cend());
    for (const QString &name : pass->targets()) {
        const QString path = nzb->folder() + u'/' + name;
        if (files.contains(name) || name.contains(u'/') || !QFileInfo(path).isFile()
            || !isInsideFolder(nzb->folder(), path))
            continue;
        const QString oldName = pass->foundIn().value(name);
        NzbFile *file = targets.contains(oldName) ? nullptr : files.value(oldName);
        const bool stays = file && !file->isIncomplete() && QFile::exists(pathOf(file));
        if (!file || stays) { // parts of a file may be found in another one that is whole
            nzb->addExtractedFile(name, static_cast<quint64>(QFileInfo(path).size()));
            work[nzb].restored << name;
            continue;
        }
        if (isInsideFolder(nzb->folder(), pathOf(file)))
            QFile::remove(pathOf(file));
        files.remove(oldName);
        file->setFilename(name);
        emit downloadProgresses(file);
    }
}

void Marlowick::par2PassEnded(Nzb *nzb, bool answered)
{
    sender()->deleteLater();
    if (!queue_->contains(nzb))
        return;
    JobWork &job = work[nzb];
    if (job.repair == sender())
        job.repair = nullptr;
    const bool again = std::exchange(job.lookAgain, false);
    if (!answered)
        repairFailed(nzb, tr("Damaged: repair failed"));
    if (!queue_->contains(nzb))
        return;
    if (again && isReady(nzb))
        processNzb(nzb);
    else
        keepVolumes(nzb);
}
