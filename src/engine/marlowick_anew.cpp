// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The post-processing of a job taken anew at the user's wish: the way out of all that is final for
// the automatic one. And that of jobs which a former run of the program has not got to the end of.
#include <QDir>

#include <memory>
#include <utility>

#include "engine/jobfiles.h"
#include "engine/marlowick.h"
#include "post/filecombiner.h"
#include "post/par2process.h"
#include "post/rarhandler.h"
#include "queue/filenames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int busyMsec = 200;

template <class Condition> bool anyFile(const Nzb *nzb, Condition condition)
{
    for (int i = 0; i < nzb->fileCount(); ++i) {
        if (condition(nzb->fileAt(i)))
            return true;
    }
    return false;
}

/// Whether a PAR2 volume is on disk or on the server.
bool isRepairable(const Nzb *nzb)
{
    return anyFile(nzb, [](const NzbFile *file) {
        return file->isPar2Volume() && (file->hasPendingSegments() || QFile::exists(pathOf(file)));
    });
}

/// Whether there is a volume "x.part2.rar" or "x.r00", but no file at all that an archive starts
/// with.
bool hasOrphan(const Nzb *nzb)
{
    const auto isThere = [](const NzbFile *file, bool first) {
        return isRarVolume(file->name()) && isFirstRarVolume(file->name()) == first
               && QFile::exists(pathOf(file));
    };
    return anyFile(nzb, [&](const NzbFile *file) { return isThere(file, false); })
           && !anyFile(nzb, [&](const NzbFile *file) { return isThere(file, true); });
}

/// Whether a volume has not come whole.
bool hasDamagedVolume(const Nzb *nzb)
{
    return anyFile(nzb, [](const NzbFile *file) {
        return isRarVolume(file->name()) && (file->isIncomplete() || !file->isFinished());
    });
}

/// Whether an archive can be begun.
bool hasFirstVolume(const Nzb *nzb)
{
    return anyFile(nzb, [](const NzbFile *file) {
        return isFirstRarVolume(file->name()) && QFile::exists(pathOf(file));
    });
}

/// Nothing more of the file is fetched: it is whole on disk, or was.
void settle(NzbFile *file)
{
    int number = 0;
    do { // once at least: a file whose last article is missing never got to its full size
        static_cast<void>(file->nextSegment(&number));
        file->segmentDecoded(number, QString(), 0, true, false);
    } while (file->hasPendingSegments());
    file->markRepaired();
    file->setPaused(false);
}

} // namespace

bool Marlowick::canRepairAndUnpack(const Nzb *nzb) const
{
    return queue_->contains(nzb) && !nzb->hasActiveSegments() && !QDir(nzb->folder()).isEmpty();
}

void Marlowick::repairAndUnpack(Nzb *nzb)
{
    if (!canRepairAndUnpack(nzb))
        return;
    const JobWork old = work.value(nzb);
    if (old.join) {
        work[nzb].anewAfterJoin = true;
        return;
    }
    RarHandler *handler = old.rarHandler;
    const bool wrong = nzb->hasIncompleteFiles() || !nzb->isComplete() || hasOrphan(nzb)
                       || (handler && (handler->hasFailed() || handler->isWaitingForVolume()));
    JobWork job;
    job.anew = true;
    job.repairWanted = wrong && isRepairable(nzb);
    job.trustsDisk = job.repairFailed = wrong && !job.repairWanted;
    if (handler)
        handler->abort();
    endProcessing(nzb);
    work.insert(nzb, job);
    // What is there is to be looked at in peace. Volumes that a repair has asked for may come.
    for (int i = 0; i < nzb->fileCount(); ++i) {
        NzbFile *file = nzb->fileAt(i);
        if (!file->isFinished() && !file->isPar2())
            file->setPaused(true);
    }
    setStatus(nzb, QString());
    processNzb(nzb);
}

/// par2 has found the sets correct, or made them so. That holds for their files and for no other.
void Marlowick::settleRepair(Nzb *nzb)
{
    JobWork &job = work[nzb];
    const Par2Process *pass = std::exchange(job.repair, nullptr);
    job.repairWanted = false;
    takeNames(nzb, pass);
    const QSet<QString> whole(pass->targets().cbegin(), pass->targets().cend());
    for (int i = 0; i < nzb->fileCount(); ++i) {
        if (whole.contains(nzb->fileAt(i)->name()))
            settle(nzb->fileAt(i));
    }
    removeLeftovers(nzb); // perhaps of an earlier pass
    setStatus(nzb, pass->hasRepaired() && !nzb->hasIncompleteFiles() ? u"Repaired"_s : QString());
    processNzb(nzb);
}

/// Without a repair, only an archive of which each volume has come whole; without PAR2 files at all
/// the archives themselves have to tell.
bool Marlowick::mayUnpackAnew(const Nzb *nzb) const
{
    const JobWork job = work.value(nzb);
    return !job.repairFailed || job.trustsDisk || !hasDamagedVolume(nzb);
}

/// The archive has proved that its volumes were whole.
void Marlowick::settleUnpacked(Nzb *nzb)
{
    RarHandler *handler = work.value(nzb).rarHandler;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        if (handler->hasUnpacked(nzb->fileAt(i)))
            settle(nzb->fileAt(i));
    }
}

/// False when the job is not complete for all that.
bool Marlowick::endAnew(Nzb *nzb)
{
    JobWork &job = work[nzb];
    job.anew = false;
    if (job.repairFailed && nzb->hasIncompleteFiles()) {
        if (job.trustsDisk)
            setStatus(nzb, tr("Damaged beyond repair"));
        return false;
    }
    if (job.repairFailed)
        setStatus(nzb, QString());
    return nzb->isComplete();
}

void Marlowick::resumeLater(const QList<Nzb *> &jobs)
{
    toResume += QList<QPointer<Nzb>>(jobs.cbegin(), jobs.cend());
    resumeTimer.start(0);
}

/// One job at a time, and one look at each turn of the event loop.
void Marlowick::resumeNext()
{
    if (resumed && isBusy(resumed))
        return resumeTimer.start(busyMsec);
    resumed = nullptr;
    if (toResume.isEmpty())
        return;
    resumeTimer.start(0);
    Nzb *nzb = toResume.takeFirst();
    if (!nzb || !queue_->contains(nzb) || !nzb->isComplete() || isBusy(nzb) || !hasWorkLeft(nzb))
        return;
    resumed = nzb;
    if (unpacksDamaged(nzb))
        rarHandlerFor(nzb)->checkCompletedFiles();
    processNzb(nzb);
}

bool Marlowick::isBusy(const Nzb *nzb) const
{
    const JobWork job = work.value(nzb);
    return job.repair || job.join || (job.rarHandler && job.rarHandler->isAtWork());
}

/// Whether there is an archive to be unpacked although something beside it is damaged, as happens
/// while a job arrives.
bool Marlowick::unpacksDamaged(const Nzb *nzb) const
{
    return nzb->hasIncompleteFiles() && !hasDamagedVolume(nzb) && hasFirstVolume(nzb)
           && settings_->rarHandling() == RarHandling::During;
}

/// Whether a repair can be tried, or there is an archive to be unpacked or a series to be joined.
bool Marlowick::hasWorkLeft(Nzb *nzb)
{
    if (unpacksDamaged(nzb))
        return true;
    if (wantsRepair(nzb))
        return isRepairable(nzb)
               && anyFile(nzb, [](const NzbFile *file) { return QFile::exists(pathOf(file)); });
    return mayUnpack(nzb) && (nextJoin(nzb) || hasFirstVolume(nzb));
}
