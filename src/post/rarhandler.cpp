// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/rarhandler.h"

#include <QDebug>
#include <QFile>
#include <QMutexLocker>

#include <utility>

#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

RarHandler::RarHandler(Nzb *nzb)
    : QThread(nzb)
    , nzb(nzb)
{
    // By way of this object: whoever stops the handler can have delivered what is still under way
    // to it.
    connect(this, &RarHandler::memberBegun, this,
            [nzb](const QString &file, quint64 size) { nzb->addExtractedFile(file, size); });
    connect(this, &RarHandler::volumeMissed, this, &RarHandler::reviewVolume);
    // Connected first, called first: whoever hears of the end finds isProcessing() changed.
    connect(this, &RarHandler::processingComplete, this, &RarHandler::noteCompletion);
    connect(this, &RarHandler::errorProcessing, this, &RarHandler::noteFailure);
    connect(this, &RarHandler::suspended, this, &RarHandler::noteSuspension);
}

void RarHandler::stop()
{
    {
        const QMutexLocker lock(&passwordMutex);
        stopRequested = true;
        passwordCondition.wakeOne();
    }
    {
        const QMutexLocker lock(&volumeMutex);
        volumeCondition.wakeOne();
    }
    qDebug() << "Waiting for thread to finish";
    awaitEnd();
    qDebug() << "Thread finished";
}

void RarHandler::abort()
{
    abortRequested = true;
    stop();
}

void RarHandler::awaitEnd()
{
    wait();
    QtTsan::futexAcquire(this); // see run()
}

void RarHandler::fileCompleted(NzbFile *file)
{
    if (file->parent() != nzb || (file->isIncomplete() && !trustsDisk))
        return;
    const QMutexLocker lock(&volumeMutex);
    if (startsRun(file->name()))
        return startRun(file->name());
    if (processing)
        noteArrivals();
    if (file->name() == waitingFor)
        volumeCondition.wakeOne();
}

void RarHandler::checkCompletedFiles()
{
    failed = false;
    const QMutexLocker lock(&volumeMutex);
    noteArrivals();
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        if (!isWhole(file))
            continue;
        if (startsRun(file->name()))
            startRun(file->name());
        else if (file->name() == waitingFor)
            volumeCondition.wakeOne();
    }
    for (const QString &name : std::as_const(restored)) {
        if (startsRun(name))
            startRun(name);
    }
}

QString RarHandler::pathOf(const NzbFile *file) const
{
    return nzb->folder() + u'/' + file->name();
}

bool RarHandler::isWhole(const NzbFile *file) const
{
    return trustsDisk ? QFile::exists(pathOf(file)) : file->isFinished() && !file->isIncomplete();
}

/// With volumeMutex held.
bool RarHandler::startsRun(const QString &name) const
{
    const QString path = nzb->folder() + u'/' + name;
    return !processing && isFirstRarVolume(name) && QFile::exists(path)
           && isInsideFolder(nzb->folder(), path) && !keptVolumes.contains(path);
}

/// With volumeMutex held.
void RarHandler::startRun(const QString &name)
{
    awaitEnd(); // It has reported, but start() does nothing before the thread has ended.
    folder = nzb->folder();
    rarFile = folder + u'/' + name;
    lost = false;
    noteArrivals();
    processing = true;
    start(QThread::LowPriority);
}

/// Writes down, by file name, whether all files of that name have arrived whole: the worker must
/// not read the files themselves while articles change them. Wakes it if it sleeps for a volume
/// that was placed by hand, and that may count as ready only now. With volumeMutex held.
void RarHandler::noteArrivals()
{
    arrived.clear();
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        arrived[file->name()] = arrived.value(file->name(), true) && isWhole(file);
    }
    if (!waitingFor.isEmpty() && isPlacedByHand(waitingFor)) {
        arrived.insert(waitingFor, true);
        volumeCondition.wakeOne();
    }
}

/// Whether the volume @p name has been put there by the user: no file of the job bears its name,
/// and none can still get it, as a file does with its first article.
bool RarHandler::isPlacedByHand(const QString &name) const
{
    if (!QFile::exists(folder + u'/' + name))
        return false;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        const bool named = file->isFinished() || file->completedBytes() != 0 || file->isHeldBack();
        if (file->name() == name || !named)
            return false;
    }
    return true;
}

/// Called through the event loop by a worker that goes to sleep for a volume which, as far as it
/// knows, has not arrived. A volume that no file of the job is named after was put there by the
/// user.
void RarHandler::reviewVolume()
{
    {
        const QMutexLocker lock(&volumeMutex);
        if (waitingFor.isEmpty())
            return;
        noteArrivals();
        if (volumeReady(waitingFor))
            return volumeCondition.wakeOne();
    }
    emit resting(nzb);
}

void RarHandler::giveUpLostVolume(bool evenDamaged)
{
    const QMutexLocker lock(&volumeMutex);
    if (waitingFor.isEmpty())
        return;
    noteArrivals();
    if (volumeReady(waitingFor) || !(evenDamaged || arrived.value(waitingFor, true)))
        return;
    lost = true;
    volumeCondition.wakeOne();
}

bool RarHandler::isAtWork()
{
    if (!processing || suspended_)
        return false;
    const bool asks = [this] {
        const QMutexLocker lock(&passwordMutex);
        return asksPassword;
    }();
    const QMutexLocker lock(&volumeMutex);
    return !asks && (waitingFor.isEmpty() || lost || volumeReady(waitingFor));
}

bool RarHandler::isWaitingForVolume()
{
    const QMutexLocker lock(&volumeMutex);
    return !waitingFor.isEmpty();
}

void RarHandler::setKeepsVolumes(bool keeps)
{
    const QMutexLocker lock(&volumeMutex);
    keepsVolumes = keeps;
}

bool RarHandler::hasUnpacked(const NzbFile *file)
{
    const QMutexLocker lock(&volumeMutex);
    return unpackedVolumes.contains(pathOf(file));
}

void RarHandler::removeKeptVolumes()
{
    const QStringList kept = [this] {
        const QMutexLocker lock(&volumeMutex);
        return std::exchange(keptVolumes, {});
    }();
    for (const QString &volume : kept)
        QFile::remove(volume);
}

void RarHandler::noteCompletion() { processing = false; }

void RarHandler::noteFailure()
{
    processing = false;
    failed = true;
}

void RarHandler::noteSuspension()
{
    suspended_ = true;
    emit resting(nzb);
}

void RarHandler::setRarPassword(const QString &text)
{
    const QMutexLocker lock(&passwordMutex);
    password = text.toLocal8Bit(); // as the library reads it
    asksPassword = false;
    passwordCondition.wakeOne();
}
