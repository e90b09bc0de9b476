// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/postprocessor.h"

#include <QDebug>
#include <QDir>
#include <QElapsedTimer>

#include <algorithm>

#include "engine/jobwork.h"
#include "engine/uuparts.h"
#include "post/filecombiner.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

namespace {

constexpr int busyMsec = 200;

} // namespace

PostProcessor::PostProcessor(Queue &queue, const Settings &settings, QObject *parent)
    : QObject(parent)
    , queue(queue)
    , settings(settings)
{
    connect(&queue, &Queue::nzbRemoved, this, [this](Nzb *nzb) { work.erase(nzb); });
    connect(&queue, &Queue::nzbFileRemoved, this, &PostProcessor::processLater);
    connect(&queue, &Queue::queueReset, this, [this] { work.clear(); });
    resumeTimer.setSingleShot(true);
    connect(&resumeTimer, &QTimer::timeout, this, &PostProcessor::resumeNext);
}

PostProcessor::~PostProcessor() = default;

JobWork &PostProcessor::workOf(Nzb *nzb)
{
    std::unique_ptr<JobWork> &job = work[nzb];
    if (!job)
        job = std::make_unique<JobWork>(*this, settings, nzb);
    return *job;
}

void PostProcessor::finishFile(NzbFile *nzbfile, const QString &filename)
{
    if (!nzbfile->isYenc())
        joinParts(nzbfile);
    workOf(nzbfile->job()).takePostedName(nzbfile);
    emit notice(0, tr("File download complete: ") + filename);
    emit fileComplete(nzbfile);
    JobWork &job = workOf(nzbfile->job());
    job.feedExtraction(nzbfile);
    job.processIfReady();
}

void PostProcessor::noteMissing(NzbFile *nzbfile)
{
    Nzb *nzb = nzbfile->job();
    if (nzbfile->isPar2() && nzbfile->isOrdered() && workOf(nzb).hasObscureNames())
        processLater(nzb);
    else if (nzb->isComplete() && !workOf(nzb).isBusy())
        emit nzbFailed(nzb, tr("Articles are missing"));
}

/// Joins the parts of a uuencoded file on this thread; a part that is missing leaves it shorter.
void PostProcessor::joinParts(const NzbFile *nzbfile) const
{
    const QString path = nzbfile->path();
    if (!isInsideFolder(nzbfile->job()->folder(), path))
        return;
    FileCombiner combiner(nullptr, nullptr);
    const QStringList parts = uuParts(path, nzbfile->partCount());
    for (const QString &part : parts)
        combiner.addFile(part);
    QElapsedTimer clock;
    clock.start();
    connect(&combiner, &FileCombiner::processingError, this, &PostProcessor::splitCombinerError);
    combiner.run();
    qDebug() << "Combined in" << clock.elapsed() << "miliseconds"; // deliberate: the spelling
}

void PostProcessor::splitCombinerError(Nzb * /*nzb*/, const QString & /*file*/,
                                       const QString &error)
{
    qDebug().nospace() << "Split file combiner error: " << error;
    if (!error.isEmpty())
        emit notice(0, error);
}

void PostProcessor::rarLowDiskspace(quint64 needed)
{
    emit error(0, tr("RAR processing suspended. Not enough disk space to extract %1 MB file")
                      .arg(needed >> 20));
}

void PostProcessor::archiveLowDiskspace(quint64 needed)
{
    emit error(
        0,
        tr("Archive not unpacked. Not enough disk space to extract %1 MB file").arg(needed >> 20));
}

void PostProcessor::setRarPassword(Nzb *nzb, const QString &password)
{
    if (queue.contains(nzb))
        workOf(nzb).setRarPassword(password);
}

/// Checks a job that has lost a file, which may have been the last one that it waited for. Not at
/// once: we may be inside a signal of a connection, or the queue may be about to be saved.
void PostProcessor::processLater(Nzb *nzb)
{
    QTimer::singleShot(0, nzb, [this, nzb] {
        if (queue.contains(nzb) && nzb->fileCount() > 0)
            workOf(nzb).processIfReady();
    });
}

void PostProcessor::endProcessing(Nzb *nzb, bool atOnce)
{
    if (const auto ended = work.extract(nzb))
        ended.mapped()->end(atOnce);
}

bool PostProcessor::isBusy() const
{
    return std::any_of(work.cbegin(), work.cend(),
                       [](const auto &job) { return job.second->isBusy(); });
}

bool PostProcessor::canRepairAndUnpack(const Nzb *nzb) const
{
    return queue.contains(nzb) && !nzb->hasActiveSegments() && !QDir(nzb->folder()).isEmpty();
}

void PostProcessor::repairAndUnpack(Nzb *nzb)
{
    if (!canRepairAndUnpack(nzb))
        return;
    JobWork &old = workOf(nzb);
    if (old.isJoining())
        return old.takeAnewAfterJoin();
    old.takeTrueNames();
    const JobWork::Anew wanted = old.whatIsWanted();
    endProcessing(nzb, true);
    workOf(nzb).startAnew(wanted);
}

void PostProcessor::resumeLater(const QList<Nzb *> &jobs)
{
    toResume += QList<QPointer<Nzb>>(jobs.cbegin(), jobs.cend());
    resumeTimer.start(0);
}

/// One job at a time, and only one step in each turn of the event loop.
void PostProcessor::resumeNext()
{
    if (resumed && work.contains(resumed) && workOf(resumed).isBusy())
        return resumeTimer.start(busyMsec);
    resumed = nullptr;
    if (toResume.isEmpty())
        return;
    resumeTimer.start(0);
    Nzb *nzb = toResume.takeFirst();
    if (!nzb || !queue.contains(nzb) || !nzb->isComplete())
        return;
    JobWork &job = workOf(nzb);
    if (job.isBusy() || !job.hasWorkLeft())
        return;
    resumed = nzb;
    job.resume();
}
