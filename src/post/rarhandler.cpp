// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/rarhandler.h"

#include <QDebug>
#include <QFile>

#include <utility>

#include "post/rarrun.h"
#include "post/threadsanitizer.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

RarHandler::RarHandler(Nzb *nzb)
    : QThread(nzb)
    , nzb(nzb)
{
}

RarHandler::~RarHandler() { stop(); }

void RarHandler::end(bool atOnce)
{
    if (current)
        current->stop(atOnce);
    qDebug() << "Waiting for thread to finish";
    awaitEnd(this);
    qDebug() << "Thread finished";
}

void RarHandler::run()
{
    current->unpack();
    announceEnd(this);
}

void RarHandler::fileCompleted(NzbFile *file)
{
    if (file->parent() != nzb || (file->isIncomplete() && !trustsDisk))
        return;
    if (startsRun(file->name()))
        return startRun(file->name());
    if (processing)
        noteArrivals();
    if (current)
        current->wake(file->name());
}

void RarHandler::checkCompletedFiles()
{
    failed = false;
    noteArrivals();
    for (const NzbFile *file : nzb->allFiles()) {
        if (!isWhole(file))
            continue;
        if (startsRun(file->name()))
            startRun(file->name());
        else if (current)
            current->wake(file->name());
    }
    for (const QString &name : std::as_const(restored)) {
        if (startsRun(name))
            startRun(name);
    }
}

bool RarHandler::isWhole(const NzbFile *file) const
{
    return trustsDisk ? QFile::exists(file->path()) : file->isFinished() && !file->isIncomplete();
}

bool RarHandler::startsRun(const QString &name) const
{
    const QString path = nzb->folder() + u'/' + name;
    return !processing && isFirstRarVolume(name) && QFile::exists(path)
           && isInsideFolder(nzb->folder(), path) && !keptVolumes.contains(path);
}

void RarHandler::startRun(const QString &name)
{
    awaitEnd(this); // The last run has reported, but start() does nothing until its thread ends.
    current = std::make_unique<RarRun>(nzb->folder(), name);
    connectRun();
    current->setPassword(password);
    QByteArrayList known;
    for (const QString &text : nzb->passwords())
        known << text.toLocal8Bit();
    current->setKnownPasswords(known);
    current->setKeepsVolumes(keepsVolumes);
    noteArrivals();
    processing = true;
    start(QThread::LowPriority);
}

void RarHandler::connectRun()
{
    RarRun *run = current.get();
    // Queued to this object, so that pending signals can be delivered after the thread has ended.
    connect(run, &RarRun::memberBegun, this,
            [this](const QString &file, quint64 size) { nzb->addExtractedFile(file, size); });
    connect(run, &RarRun::volumeMissed, this, &RarHandler::reviewVolume);
    // Connected first, so called first: isProcessing() has changed when receivers hear of the end.
    connect(run, &RarRun::completed, this, &RarHandler::noteCompletion);
    connect(run, &RarRun::failed, this, &RarHandler::noteFailure);
    connect(run, &RarRun::suspended, this, &RarHandler::noteSuspension);
    // These are emitted on the worker thread, and queued to their receivers from there.
    const auto relay = [this, run](auto signal, auto function) {
        connect(run, signal, this, function, Qt::DirectConnection);
    };
    relay(&RarRun::memberBegun, [this](const QString &file) { emit currentlyExtracting(file); });
    relay(&RarRun::completed, [this] { emit processingComplete(nzb); });
    relay(&RarRun::failed, [this](const QString &file) { emit errorProcessing(nzb, file); });
    relay(&RarRun::passwordNeeded, [this](const QString &file) { emit passwordNeeded(nzb, file); });
    relay(&RarRun::lowDiskspace, [this](quint64 needed) { emit lowDiskspace(needed); });
}

/// Tells the run which volumes have arrived: it must not read the files itself while articles
/// change them.
void RarHandler::noteArrivals()
{
    if (!current)
        return;
    QHash<QString, bool> arrived;
    for (const NzbFile *file : nzb->allFiles()) {
        arrived[file->name()] = arrived.value(file->name(), true) && isWhole(file);
    }
    if (const QString volume = current->waitingFor(); !volume.isEmpty() && isPlacedByHand(volume))
        arrived.insert(volume, true);
    current->setArrived(arrived);
}

/// Whether the volume @p name has been put there by the user: no file of the job bears its name,
/// and none can still get it, as a file does with its first article.
bool RarHandler::isPlacedByHand(const QString &name) const
{
    if (!QFile::exists(nzb->folder() + u'/' + name))
        return false;
    for (const NzbFile *file : nzb->allFiles()) {
        const bool named = file->isFinished() || file->completedBytes() != 0 || file->isHeldBack();
        if (file->name() == name || !named)
            return false;
    }
    return true;
}

/// The run goes to sleep for a volume that has not arrived as far as it knows. The user may have
/// put it there.
void RarHandler::reviewVolume()
{
    noteArrivals();
    if (current->isAsleep())
        emit resting(nzb);
}

void RarHandler::giveUpLostVolume(bool evenDamaged)
{
    if (!isWaitingForVolume())
        return;
    noteArrivals();
    current->giveUpVolume(evenDamaged);
}

bool RarHandler::isAtWork() const { return processing && !suspended && !current->isAsleep(); }

bool RarHandler::isWaitingForVolume() const { return current && !current->waitingFor().isEmpty(); }

void RarHandler::setKeepsVolumes(bool keeps)
{
    keepsVolumes = keeps;
    if (current)
        current->setKeepsVolumes(keeps);
}

bool RarHandler::hasUnpacked(const NzbFile *file) const
{
    return unpackedVolumes.contains(file->path());
}

void RarHandler::markUnpackedWhole()
{
    for (NzbFile *file : nzb->allFiles()) {
        if (hasUnpacked(file))
            file->markWhole();
    }
}

bool RarHandler::reads(const NzbFile *file) const
{
    return hasUnpacked(file) || (isProcessing() && isRarVolume(file->name()));
}

void RarHandler::removeKeptVolumes()
{
    const QStringList kept = std::exchange(keptVolumes, {});
    for (const QString &volume : kept)
        QFile::remove(volume);
}

void RarHandler::noteCompletion(const QStringList &volumes, bool kept)
{
    processing = false;
    unpackedVolumes.unite({volumes.cbegin(), volumes.cend()});
    if (kept)
        keptVolumes += volumes;
    if (!keepsVolumes)
        removeKeptVolumes(); // the repair has ended since the run looked
}

void RarHandler::noteFailure()
{
    processing = false;
    failed = true;
}

void RarHandler::noteSuspension()
{
    suspended = true;
    emit resting(nzb);
}

void RarHandler::setRarPassword(const QString &text)
{
    password = text.toLocal8Bit(); // the encoding that the library expects
    if (current)
        current->setPassword(password);
}
