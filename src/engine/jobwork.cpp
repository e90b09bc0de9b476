// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobwork.h"

#include <QCoreApplication>
#include <QPointer>

#include <stdexcept>
#include <utility>

#include "engine/jobsurvey.h"
#include "engine/postprocessor.h"
#include "engine/settings.h"
#include "post/rarhandler.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

JobWork::JobWork(PostProcessor &post, const Settings &settings, Nzb *nzb)
    : QObject(&post)
    , post(post)
    , settings(settings)
    , nzb(nzb)
    , names(nzb, this)
    , repair(nzb, this)
    , join(nzb, post, this)
    , archives(nzb, this)
{
    connect(&names, &JobNames::par2Ordered, &post, &PostProcessor::volumeOrdered);
    connect(&names, &JobNames::fileRenamed, &post, &PostProcessor::downloadProgresses);
    connect(&repair, &JobRepair::volumeOrdered, &post, &PostProcessor::volumeOrdered);
    connect(&repair, &JobRepair::fileRenamed, &post, &PostProcessor::downloadProgresses);
    connect(&repair, &JobRepair::blocksMissing, this, [this] { showRepair(QString()); });
    connect(&repair, &JobRepair::ended, this, &JobWork::endRepair);
    connect(&repair, &JobRepair::passEnded, this, &JobWork::passEnded);
    connect(&join, &JobJoin::ended, this, &JobWork::joinEnded);
    connect(&archives, &JobArchives::ended, this, &JobWork::processIfReady);
    connect(&archives, &JobArchives::failed, this, &JobWork::showFailure);
    connect(&archives, &JobArchives::lowDiskspace, &post, &PostProcessor::archiveLowDiskspace);
    connect(&archives, &JobArchives::passwordNeeded, &post, &PostProcessor::passwordNeeded);
}

JobWork::~JobWork() { delete rarHandler; }

void JobWork::end(bool atOnce)
{
    repair.abort();
    if (RarHandler *handler = std::exchange(rarHandler, nullptr)) {
        atOnce ? handler->abort() : handler->stop();
        handler->disconnect(this);
        QCoreApplication::sendPostedEvents(handler, QEvent::MetaCall);
        handler->deleteLater(); // we may be inside one of its signals
    }
    join.end();
    archives.end();
}

void JobWork::setStatus(const QString &status)
{
    nzb->setStatus(status);
    emit post.statusChanged(nzb);
}

/// Without a status a job that is not unpacked would look finished.
void JobWork::showFailure(const QString &reason)
{
    setStatus(failure = reason);
    emit post.nzbFailed(nzb, reason);
}

bool JobWork::isReady() const { return anew == Anew::No ? nzb->isComplete() : isAtRest(nzb); }

void JobWork::processIfReady()
{
    if (isReady())
        processNzb();
}

void JobWork::processNzb()
{
    if (join.isRunning() || archives.isBusy())
        return; // the end of it comes back here
    if (repair.isRunning()) {
        lookAgain = true;
        return;
    }
    if (names.orderPar2())
        return; // their arrival comes back here
    takeTrueNames();
    if (wantsRepair())
        return startRepair();
    keepVolumes();
    if (rarHandler)
        rarHandler->giveUpLostVolume(anew != Anew::No);
    if (mayUnpack() && unpack())
        return;
    // A job whose extraction has failed is not complete, and keeps its status.
    if (hasFailed() || (rarHandler && rarHandler->isProcessing()))
        return;
    if (anew != Anew::No && !endAnew())
        return;
    names.takeFilmName();
    emit post.notice(0, tr("NZB complete: ") + nzb->name());
    emit post.nzbComplete(nzb);
}

/// A job that is whole under names that tell something stays as it is. Volumes that are being
/// unpacked keep their names. A failed extraction is tried again: the names may have caused it.
void JobWork::takeTrueNames()
{
    const auto isInUse = [this](auto file) { return rarHandler && rarHandler->reads(file); };
    if ((!isWrong() && !names.areObscure()) || !names.takeTrueNames(isInUse))
        return;
    emit post.filesRenamed();
    if (!rarHandler || !rarHandler->hasFailed())
        return;
    setStatus(failure = QString());
    rarHandler->checkCompletedFiles();
}

bool JobWork::isWrong() const
{
    return nzb->hasIncompleteFiles() || !nzb->isComplete() || hasOrphan(nzb) || hasFailed()
           || (rarHandler && rarHandler->isWaitingForVolume() && !rarHandler->isAtWork());
}

JobWork::Anew JobWork::whatIsWanted() const
{
    if (!isWrong())
        return Anew::Unpack;
    return isRepairable(nzb) ? Anew::Repair : Anew::UnpackUnproved;
}

void JobWork::startAnew(Anew wanted)
{
    anew = wanted;
    if (anew == Anew::UnpackUnproved)
        repairState = RepairState::Failed;
    pauseRest(nzb); // no file may change now, except for volumes that a repair has asked for
    setStatus(QString());
    processNzb();
}

/// False if the job is still not complete.
bool JobWork::endAnew()
{
    const bool unproved = std::exchange(anew, Anew::No) == Anew::UnpackUnproved;
    const bool failed = repairState == RepairState::Failed;
    if (failed && nzb->hasIncompleteFiles()) {
        if (unproved)
            setStatus(tr("Damaged beyond repair"));
        emit post.nzbFailed(nzb, nzb->status());
        return false;
    }
    if (failed)
        setStatus(QString());
    return nzb->isComplete();
}

bool JobWork::wantsRepair() const
{
    return anew == Anew::No ? nzb->hasIncompleteFiles() && settings.get(Settings::autoPAR2)
                            : anew == Anew::Repair;
}

void JobWork::startRepair()
{
    repairState = RepairState::Open;
    keepVolumes();
    const QStringList paths = par2Volumes(nzb);
    if (paths.isEmpty())
        return repair.requestFirstBlocks(anew != Anew::No);
    if (rarHandler && rarHandler->isAtWork()) { // it changes files that the repair would read
        repairState = RepairState::Waits;
        return;
    }
    setStatus(tr("Repairing"));
    try {
        repair.start(paths);
    } catch (const std::runtime_error &failure) {
        PostProcessor &owner = post; // it stays, even if repairFailed() has this object destroyed
        repairFailed(tr("Damaged: par2 program not found"));
        emit owner.error(0, QString::fromUtf8(failure.what()));
    }
}

/// After a failed or suspended extraction its status is restored, however the repair ends.
void JobWork::showRepair(const QString &status)
{
    const bool stays = hasFailed() || (rarHandler && rarHandler->isSuspended());
    setStatus(stays ? failure : status);
}

void JobWork::endRepair(bool repaired)
{
    // Deliberate: one set that is in order counts as a failure, whatever the others are. Only a
    // repeated post-processing accepts it.
    if (anew != Anew::No && (repaired || repair.isInOrder()))
        return settleRepair();
    if (!repaired)
        return repairFailed(tr("Damaged beyond repair"));
    repair.bookRepair();
    showRepair(u"Repaired"_s);
    processNzb();
}

void JobWork::settleRepair()
{
    anew = Anew::Unpack;
    const bool repaired = repair.bookProof();
    setStatus(repaired && !nzb->hasIncompleteFiles() ? u"Repaired"_s : QString());
    processNzb();
}

void JobWork::repairFailed(const QString &status)
{
    showRepair(status);
    // A set that is in order has not really failed: a repeated post-processing reads it again.
    const bool failed = anew != Anew::No || !repair.isInOrder();
    repairState = failed ? RepairState::Failed : RepairState::Open;
    if (anew == Anew::No) {
        emit post.nzbFailed(nzb, status);
        return keepVolumes();
    }
    if (anew == Anew::Repair)
        anew = Anew::Unpack;
    processNzb();
}

void JobWork::passEnded(bool answered)
{
    const bool again = std::exchange(lookAgain, false);
    const QPointer<JobWork> self(this);
    if (!answered)
        repairFailed(tr("Damaged: repair failed"));
    if (self && again && isReady())
        processNzb();
    else if (self)
        keepVolumes();
}

RarHandler *JobWork::rarHandlerFor(Nzb *job)
{
    if (rarHandler)
        return rarHandler;
    rarHandler = new RarHandler(job);
    rarHandler->setTrustsDisk(anew == Anew::UnpackUnproved);
    connect(rarHandler, &RarHandler::errorProcessing, this, &JobWork::rarErrorProcessing);
    connect(rarHandler, &RarHandler::processingComplete, this, &JobWork::rarProcessingComplete);
    connect(rarHandler, &RarHandler::lowDiskspace, this,
            [this] { showFailure(tr("Not unpacked: not enough disk space")); });
    connect(rarHandler, &RarHandler::lowDiskspace, &post, &PostProcessor::rarLowDiskspace);
    connect(rarHandler, &RarHandler::passwordNeeded, this, &JobWork::rarPasswordNeeded);
    connect(rarHandler, &RarHandler::resting, this, &JobWork::rarResting);
    keepVolumes();
    return rarHandler;
}

void JobWork::feedExtraction(NzbFile *nzbfile)
{
    if (repair.isRunning() || anew == Anew::Repair)
        return; // when the repair ends, all files are handled
    keepVolumes();
    if (rarHandler)
        rarHandler->fileCompleted(nzbfile);
    else if (settings.rarHandling() == RarHandling::During)
        rarHandlerFor(nzb)->checkCompletedFiles();
}

bool JobWork::mayUnpack() const
{
    if (anew != Anew::No)
        return repairState != RepairState::Failed || anew == Anew::UnpackUnproved
               || !hasDamagedVolume(nzb);
    return !nzb->hasIncompleteFiles() && settings.rarHandling() != RarHandling::Disabled;
}

/// True if an archive is being unpacked or split files are being joined.
bool JobWork::unpack()
{
    RarHandler *handler = rarHandlerFor(nzb);
    handler->setRestoredFiles(repair.restoredFiles());
    archives.setRestoredFiles(repair.restoredFiles());
    if (!handler->hasFailed())
        handler->checkCompletedFiles();
    if (handler->isProcessing())
        emit post.notice(0, tr("Download complete, starting unrar"));
    else if (join.start())
        emit post.notice(0, tr("Download complete, combining files"));
    else if (archives.start(trust()))
        emit post.notice(0, tr("Download complete, unpacking archives"));
    else
        return false;
    return true;
}

/// The volumes of an unpacked archive stay as long as a repair may read them: while it runs or may
/// still come, and while a file is missing that may be damaged or that the repair has asked for.
void JobWork::keepVolumes()
{
    if (!rarHandler)
        return;
    const bool damaged =
        nzb->hasIncompleteFiles() && (repairState != RepairState::Failed || awaitsOrdered(nzb));
    const bool repairs = anew != Anew::No || settings.get(Settings::autoPAR2);
    const bool keeps =
        hasPar2(nzb) && repairs && (repair.isRunning() || damaged || !nzb->isComplete());
    rarHandler->setKeepsVolumes(keeps);
    if (!keeps)
        rarHandler->removeKeptVolumes();
}

void JobWork::rarErrorProcessing(Nzb * /*nzb*/, const QString &rarfile)
{
    anew = Anew::No;
    showFailure(tr("Error extracting RAR: %1").arg(rarfile));
    if (repairState == RepairState::Waits)
        processNzb();
}

void JobWork::rarProcessingComplete()
{
    if (anew != Anew::No)
        rarHandler->markUnpackedWhole();
    processIfReady();
}

/// The extraction sleeps or is suspended: a repair may begin, and the awaited volume may be lost.
void JobWork::rarResting()
{
    if (!isReady())
        return;
    if (repairState == RepairState::Waits)
        processNzb();
    else if (!repair.isRunning() && !wantsRepair())
        rarHandler->giveUpLostVolume(anew != Anew::No);
}

void JobWork::rarPasswordNeeded(Nzb *job, const QString &rarfile)
{
    const QPointer<JobWork> self(this);
    emit post.passwordNeeded(job, rarfile);
    if (self)
        rarResting();
}

void JobWork::setRarPassword(const QString &password)
{
    if (password.isEmpty())
        showFailure(tr("Not unpacked: no password"));
    if (!archives.setPassword(password))
        rarHandlerFor(nzb)->setRarPassword(password);
}

void JobWork::joinEnded(bool joined)
{
    if (anewAfterJoin)
        return post.repairAndUnpack(nzb); // which destroys this object
    if (joined)
        processNzb();
}

bool JobWork::hasFailed() const
{
    return archives.hasFailed() || (rarHandler && rarHandler->hasFailed());
}

bool JobWork::isBusy() const
{
    return repair.isRunning() || join.isRunning() || archives.isAtWork()
           || (rarHandler && rarHandler->isAtWork());
}

/// An archive can be unpacked although another file is damaged, as during the download.
bool JobWork::unpacksDamaged() const
{
    return nzb->hasIncompleteFiles() && !hasDamagedVolume(nzb) && hasFirstVolume(nzb)
           && settings.rarHandling() == RarHandling::During;
}

bool JobWork::hasWorkLeft() const
{
    if (names.hasWork())
        return true;
    if (wantsRepair() && !unpacksDamaged())
        return isRepairable(nzb) && hasFileOnDisk(nzb);
    return unpacksDamaged()
           || (mayUnpack() && (hasFirstVolume(nzb) || join.hasWork() || archives.hasWork(trust())));
}

void JobWork::resume()
{
    if (unpacksDamaged())
        rarHandlerFor(nzb)->checkCompletedFiles();
    processNzb();
}
