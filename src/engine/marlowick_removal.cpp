// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Taking items out of the queue, and their files off the disk.
#include <QCoreApplication>
#include <QDirIterator>
#include <QFileInfo>

#include "engine/jobfiles.h"
#include "engine/marlowick.h"
#include "engine/uuparts.h"
#include "post/filecombiner.h"
#include "post/par2process.h"
#include "post/rarhandler.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

namespace {

void removeInside(const QString &folder, const QString &path)
{
    if (QFile::exists(path) && isInsideFolder(folder, path))
        QFile::remove(path);
}

void removeFilesOf(const NzbFile *file)
{
    const QString folder = qobject_cast<Nzb *>(file->parent())->folder();
    if (!isDeletableName(file->name()))
        return;
    const QString path = folder + u'/' + file->name();
    removeInside(folder, path);
    if (file->isFinished() || file->completedBytes() == 0 || file->isYenc())
        return;
    const QStringList parts = uuParts(path, file->partCount());
    for (const QString &part : parts)
        removeInside(folder, part);
}

/// Folders that hold anything else stay.
void removeEmptyFolders(const QString &root)
{
    QStringList folders(root);
    QDirIterator below(root, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (below.hasNext())
        folders << below.next();
    for (auto folder = folders.crbegin(); folder != folders.crend(); ++folder)
        QDir().rmdir(*folder);
}

void removeFilesOf(Nzb *nzb)
{
    if (!isInsideFolder(nzb->downloadFolder(), nzb->folder()))
        return;
    for (int i = 0; i < nzb->fileCount(); ++i)
        removeFilesOf(nzb->fileAt(i));
    const QString folder = nzb->folder();
    for (auto it = nzb->extractedFiles().cbegin(); it != nzb->extractedFiles().cend(); ++it)
        removeInside(folder, folder + u'/' + it.key());
    removeLeftovers(nzb);
    removeEmptyFolders(folder);
}

} // namespace

void Marlowick::deleteFiles(INzbItem *item)
{
    if (auto *nzb = qobject_cast<Nzb *>(item)) {
        endProcessing(nzb);
        removeFilesOf(nzb);
    } else if (const auto *file = qobject_cast<NzbFile *>(item)) {
        removeFilesOf(file);
        removeLeftovers(qobject_cast<Nzb *>(file->parent()), file->name());
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
