// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What becomes of a job when all that was wanted of it has arrived: repair, extraction, joining, in
// this order. No stage is kept: each step that ends has the whole decision taken again, by what the
// job and the disk hold then.
#include <QFileInfo>

#include <memory>
#include <utility>

#include "engine/jobfiles.h"
#include "engine/marlowick.h"
#include "post/filecombiner.h"
#include "post/rarhandler.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

namespace {

bool hasPar2(const Nzb *nzb)
{
    for (int i = 0; i < nzb->fileCount(); ++i) {
        if (nzb->fileAt(i)->isPar2())
            return true;
    }
    return false;
}

/// Whether a volume that a repair has asked for is still to come, be it paused meanwhile.
bool awaitsOrdered(const Nzb *nzb)
{
    for (int i = 0; i < nzb->fileCount(); ++i) {
        if (nzb->fileAt(i)->isOrdered() && !nzb->fileAt(i)->isFinished())
            return true;
    }
    return false;
}

} // namespace

void Marlowick::feedExtraction(NzbFile *nzbfile)
{
    auto *nzb = qobject_cast<Nzb *>(nzbfile->parent());
    const JobWork job = work.value(nzb);
    if (job.repair || (job.anew && job.repairWanted))
        return; // the end of the repair comes back to all files
    keepVolumes(nzb);
    if (RarHandler *handler = job.rarHandler)
        handler->fileCompleted(nzbfile);
    else if (settings_->rarHandling() == RarHandling::During)
        rarHandlerFor(nzb)->checkCompletedFiles();
}

void Marlowick::processNzb(Nzb *nzb)
{
    JobWork &job = work[nzb];
    if (job.join)
        return; // the end of the join comes back here
    if (job.repair) {
        job.lookAgain = true;
        return;
    }
    if (wantsRepair(nzb))
        return startRepair(nzb);
    keepVolumes(nzb);
    if (job.rarHandler)
        job.rarHandler->giveUpLostVolume(job.anew);
    if (mayUnpack(nzb) && unpack(nzb))
        return;
    // A job whose extraction has failed is not complete, and keeps the status that tells it.
    const RarHandler *handler = work.value(nzb).rarHandler;
    if (!extractionFailed(nzb) && !(handler && handler->isProcessing()))
        completeNzb(nzb);
}

/// All that was wanted has arrived. Of a job that is taken anew that is what is there.
bool Marlowick::isReady(const Nzb *nzb) const
{
    if (!work.value(nzb).anew)
        return nzb->isComplete();
    for (int i = 0; i < nzb->fileCount(); ++i) {
        if (!nzb->fileAt(i)->isFinished() && !nzb->fileAt(i)->isPaused())
            return false;
    }
    return true;
}

void Marlowick::completeNzb(Nzb *nzb)
{
    if (work.value(nzb).anew && !endAnew(nzb))
        return;
    emit notice(0, tr("NZB complete: ") + nzb->name());
    emit nzbComplete(nzb);
}

bool Marlowick::mayUnpack(const Nzb *nzb) const
{
    if (work.value(nzb).anew)
        return mayUnpackAnew(nzb);
    return !nzb->hasIncompleteFiles() && settings_->rarHandling() != RarHandling::Disabled;
}

/// Whether a repair may still read the volumes of an archive that is unpacked: it runs, or is to
/// come, or a file is on its way that may be damaged or that it has asked for.
bool Marlowick::mayNeedVolumes(const Nzb *nzb) const
{
    const JobWork job = work.value(nzb);
    if (!hasPar2(nzb) || !(job.anew || settings_->get(Settings::autoPAR2)))
        return false;
    return job.repair || !nzb->isComplete()
           || (nzb->hasIncompleteFiles() && (!job.repairFailed || awaitsOrdered(nzb)));
}

/// The volumes of an unpacked archive stay until the repair has ended, well or badly.
void Marlowick::keepVolumes(Nzb *nzb)
{
    RarHandler *handler = work.value(nzb).rarHandler;
    if (!handler)
        return;
    const bool keeps = mayNeedVolumes(nzb);
    handler->setKeepsVolumes(keeps);
    if (!keeps)
        handler->removeKeptVolumes();
}

/// Returns true as long as an archive is being unpacked or split files are being joined.
bool Marlowick::unpack(Nzb *nzb)
{
    RarHandler *handler = rarHandlerFor(nzb);
    handler->setRestoredFiles(work.value(nzb).restored);
    if (!handler->hasFailed())
        handler->checkCompletedFiles();
    if (handler->isProcessing()) {
        emit notice(0, tr("Download complete, starting unrar"));
        return true;
    }
    if (!startCombiners(nzb))
        return false;
    emit notice(0, tr("Download complete, combining files"));
    return true;
}

bool Marlowick::extractionFailed(const Nzb *nzb) const
{
    const RarHandler *handler = work.value(nzb).rarHandler;
    return handler && handler->hasFailed();
}

RarHandler *Marlowick::rarHandlerFor(Nzb *nzb)
{
    RarHandler *&handler = work[nzb].rarHandler;
    if (!handler) {
        handler = new RarHandler(nzb);
        handler->setTrustsDisk(work[nzb].trustsDisk);
        connect(handler, &RarHandler::errorProcessing, this, &Marlowick::rarErrorProcessing);
        connect(handler, &RarHandler::processingComplete, this, &Marlowick::rarProcessingComplete);
        connect(handler, &RarHandler::lowDiskspace, this, &Marlowick::rarLowDiskspace);
        connect(handler, &RarHandler::passwordNeeded, this, &Marlowick::rarPasswordNeeded);
        connect(handler, &RarHandler::resting, this, &Marlowick::rarResting);
        keepVolumes(nzb);
    }
    return handler;
}

void Marlowick::setStatus(Nzb *nzb, const QString &status)
{
    nzb->setStatus(status);
    emit statusChanged(nzb);
}

/// For what a handler says: the job is gone, or has been given another handler.
bool Marlowick::isStale(const Nzb *nzb) const
{
    const auto *handler = qobject_cast<RarHandler *>(sender());
    return !queue_->contains(nzb) || (handler && handler != work.value(nzb).rarHandler);
}

void Marlowick::rarErrorProcessing(Nzb *nzb, const QString &rarfile)
{
    if (isStale(nzb))
        return;
    JobWork &job = work[nzb];
    job.anew = false;
    job.failure = tr("Error extracting RAR: %1").arg(rarfile);
    setStatus(nzb, job.failure);
    if (job.repairWaits)
        processNzb(nzb);
}

void Marlowick::rarProcessingComplete(Nzb *nzb)
{
    if (isStale(nzb))
        return;
    if (work.value(nzb).anew)
        settleUnpacked(nzb);
    if (isReady(nzb))
        processNzb(nzb);
}

/// It sleeps, or has been suspended: a repair may begin, and what it sleeps for may be lost.
void Marlowick::rarResting(Nzb *nzb)
{
    if (isStale(nzb) || !isReady(nzb))
        return;
    JobWork &job = work[nzb];
    if (job.repairWaits)
        processNzb(nzb);
    else if (!job.repair && !wantsRepair(nzb))
        job.rarHandler->giveUpLostVolume(job.anew);
}

void Marlowick::rarPasswordNeeded(Nzb *nzb, const QString &rarfile)
{
    if (isStale(nzb))
        return;
    emit passwordNeeded(nzb, rarfile);
    rarResting(nzb);
}

void Marlowick::setRarPassword(Nzb *nzb, const QString &password)
{
    if (!queue_->contains(nzb))
        return;
    if (password.isEmpty())
        showSuspended(nzb, tr("Not unpacked: no password"));
    rarHandlerFor(nzb)->setRarPassword(password);
}

/// Without a word the job would read as finished, and its film not be there.
void Marlowick::showSuspended(Nzb *nzb, const QString &reason)
{
    work[nzb].failure = reason;
    setStatus(nzb, reason);
}

void Marlowick::rarLowDiskspace(quint64 needed)
{
    const auto *handler = qobject_cast<RarHandler *>(sender());
    auto *nzb = handler ? qobject_cast<Nzb *>(handler->parent()) : nullptr;
    if (nzb && !isStale(nzb))
        showSuspended(nzb, tr("Not unpacked: not enough disk space"));
    emit error(0, tr("RAR processing suspended. Not enough disk space to extract %1 MB file")
                      .arg(needed >> 20));
}

/// The join of the first series of split files that has no gaps, not started yet; null without one.
std::unique_ptr<FileCombiner> Marlowick::nextJoin(Nzb *nzb)
{
    QMap<QString, QStringList> series;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        const QString path = pathOf(file);
        if (isPieceExtension(file->extension()) && QFile::exists(path)
            && isInsideFolder(nzb->folder(), path))
            series[seriesName(file->name())] << path;
    }
    for (const QStringList &pieces : std::as_const(series)) {
        auto combiner = std::make_unique<FileCombiner>(nzb, this);
        for (const QString &piece : pieces)
            combiner->addFile(piece);
        if (!combiner->hasGaps())
            return combiner;
    }
    return nullptr;
}

/// One series at a time; the rest have their turn when it is done.
bool Marlowick::startCombiners(Nzb *nzb)
{
    FileCombiner *combiner = nextJoin(nzb).release();
    if (!combiner)
        return false;
    connect(combiner, &FileCombiner::processingComplete, this, &Marlowick::splitCombinerFinished);
    connect(combiner, &FileCombiner::processingError, this, &Marlowick::splitCombinerError);
    work[nzb].join = combiner;
    combiner->startProcessing();
    return true;
}

void Marlowick::splitCombinerFinished(Nzb *nzb, const QString &file)
{
    if (!endJoin(nzb))
        return;
    const QFileInfo joined(file);
    nzb->addExtractedFile(joined.fileName(), static_cast<quint64>(joined.size()));
    if (work.value(nzb).anewAfterJoin)
        repairAndUnpack(nzb);
    else
        processNzb(nzb);
}

/// False when the job was deleted meanwhile, perhaps with the combiner; another may lie where it
/// lay.
bool Marlowick::endJoin(Nzb *nzb)
{
    QObject *combiner = sender();
    if (!combiner)
        return false;
    combiner->deleteLater();
    if (work.value(nzb).join != combiner)
        return false;
    work[nzb].join = nullptr;
    return true;
}
