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
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/splitpiece.h"

using namespace Qt::StringLiterals;

void Marlowick::feedExtraction(NzbFile *nzbfile)
{
    auto *nzb = qobject_cast<Nzb *>(nzbfile->parent());
    if (RarHandler *handler = work.value(nzb).rarHandler)
        handler->fileCompleted(nzbfile);
    else if (settings_->value("rarHandling"_L1).toString() == "during"_L1)
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
    const bool damaged = nzb->hasIncompleteFiles();
    if (damaged && settings_->value("autoPAR2"_L1).toBool()) {
        startRepair(nzb);
        return;
    }
    if (!damaged && settings_->value("rarHandling"_L1).toString() != "disabled"_L1 && unpack(nzb))
        return;
    // A job whose extraction has failed is not complete, and keeps the status that tells it.
    const RarHandler *handler = work.value(nzb).rarHandler;
    if (extractionFailed(nzb) || (handler && handler->isProcessing()))
        return;
    emit notice(0, tr("NZB complete: ") + nzb->name());
    emit nzbComplete(nzb);
}

/// Returns true as long as an archive is being unpacked or split files are being joined.
bool Marlowick::unpack(Nzb *nzb)
{
    RarHandler *handler = rarHandlerFor(nzb);
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

bool Marlowick::extractionFailed(Nzb *nzb) const
{
    const RarHandler *handler = work.value(nzb).rarHandler;
    return handler && handler->hasFailed();
}

RarHandler *Marlowick::rarHandlerFor(Nzb *nzb)
{
    RarHandler *&handler = work[nzb].rarHandler;
    if (!handler) {
        handler = new RarHandler(nzb);
        connect(handler, &RarHandler::errorProcessing, this, &Marlowick::rarErrorProcessing);
        connect(handler, &RarHandler::processingComplete, this, &Marlowick::rarProcessingComplete);
        connect(handler, &RarHandler::lowDiskspace, this, &Marlowick::rarLowDiskspace);
        connect(handler, &RarHandler::passwordNeeded, this, &Marlowick::rarPasswordNeeded);
    }
    return handler;
}

void Marlowick::rarErrorProcessing(Nzb *nzb, const QString &rarfile)
{
    if (nzbs.contains(nzb))
        nzb->setStatus(tr("Error extracting RAR: %1").arg(rarfile));
}

void Marlowick::rarProcessingComplete(Nzb *nzb)
{
    if (nzbs.contains(nzb) && nzb->isComplete())
        processNzb(nzb);
}

void Marlowick::rarPasswordNeeded(Nzb *nzb, const QString &rarfile)
{
    if (nzbs.contains(nzb))
        emit passwordNeeded(nzb, rarfile);
}

void Marlowick::setRarPassword(Nzb *nzb, const QString &password)
{
    if (nzbs.contains(nzb))
        rarHandlerFor(nzb)->setRarPassword(password);
}

void Marlowick::rarLowDiskspace(quint64 needed)
{
    emit error(0, tr("RAR processing suspended. Not enough disk space to extract %1 MB file")
                      .arg(needed >> 20));
}

/// Joins the first series of split files that has no gaps; the rest have their turn when it is
/// done.
bool Marlowick::startCombiners(Nzb *nzb)
{
    QMap<QString, QStringList> series;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        const QString path = pathOf(file);
        if (isPieceNumber(file->extension()) && QFile::exists(path)
            && isInsideFolder(nzb->folder(), path))
            series[file->name().chopped(4)] << path;
    }
    for (const QStringList &pieces : std::as_const(series)) {
        auto combiner = std::make_unique<FileCombiner>(nzb, this);
        for (const QString &piece : pieces)
            combiner->addFile(piece);
        if (combiner->hasGaps())
            continue;
        connect(combiner.get(), &FileCombiner::processingComplete, this,
                &Marlowick::splitCombinerFinished);
        connect(combiner.get(), &FileCombiner::processingError, this,
                &Marlowick::splitCombinerError);
        work[nzb].join = combiner.release();
        work[nzb].join->startProcessing();
        return true;
    }
    return false;
}

void Marlowick::splitCombinerFinished(Nzb *nzb, const QString &file)
{
    if (!endJoin(nzb))
        return;
    const QFileInfo joined(file);
    nzb->addExtractedFile(joined.fileName(), static_cast<quint64>(joined.size()));
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
