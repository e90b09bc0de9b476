// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Taking items out of the queue, and their files off the disk.
#include <QCoreApplication>
#include <QFileInfo>

#include "engine/jobfiles.h"
#include "engine/marlowick.h"
#include "post/filecombiner.h"
#include "post/par2process.h"
#include "post/rarhandler.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

void Marlowick::deleteFiles(INzbItem *item)
{
    if (auto *nzb = qobject_cast<Nzb *>(item)) {
        endProcessing(nzb);
        removeFiles(nzb);
    } else if (const auto *file = qobject_cast<NzbFile *>(item)) {
        removeFiles(file);
    }
}

/// Waits until nothing writes in the job's folder any more, and all that was written is known.
void Marlowick::endProcessing(Nzb *nzb)
{
    const JobWork job = work.take(nzb);
    delete job.repair;
    if (RarHandler *handler = job.rarHandler) {
        handler->stop();
        QCoreApplication::sendPostedEvents(handler, QEvent::MetaCall);
        handler->deleteLater(); // as below
    }
    if (job.join) {
        nzb->addExtractedFile(QFileInfo(job.join->finish()).fileName(), 0);
        job.join->deleteLater(); // behind its report, which would be taken for another's
    }
}

void Marlowick::deleteItem(INzbItem *item)
{
    if (auto *nzb = qobject_cast<Nzb *>(item))
        queue_->remove(nzb);
    else if (auto *file = qobject_cast<NzbFile *>(item))
        queue_->remove(file);
}

/// The job has left the queue.
void Marlowick::forget(Nzb *nzb)
{
    const JobWork job = work.take(nzb);
    delete job.rarHandler;
    delete job.repair;
}

/// Looks at a job that has lost a file, which may have been the last one that it waited for. Not at
/// once: a connection may be in the midst of its report, or the queue about to be saved and closed.
void Marlowick::processLater(Nzb *nzb)
{
    QTimer::singleShot(0, nzb, [this, nzb] {
        if (queue_->contains(nzb) && nzb->fileCount() > 0 && isReady(nzb))
            processNzb(nzb);
    });
}
