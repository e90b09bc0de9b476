// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What becomes of a job when all that was wanted of it has arrived: repair, extraction, joining, in
// this order. No stage is kept: each step that ends has the whole decision taken again, by what the
// job and the disk hold then.
#include <QDebug>
#include <QFileInfo>

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "engine/leftovers.h"
#include "engine/marlowick.h"
#include "post/filecombiner.h"
#include "post/par2process.h"
#include "post/rarhandler.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/splitpiece.h"

using namespace Qt::StringLiterals;

namespace {

QString pathOf(const Nzb *nzb, const NzbFile *file) { return nzb->folder() + u'/' + file->name(); }

/// The PAR2 volumes of the job that have arrived. An index alone repairs nothing.
QStringList par2Volumes(const Nzb *nzb)
{
    QStringList paths;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        const NzbFile *file = nzb->fileAt(i);
        const QString path = pathOf(nzb, file);
        if (file->extension() == "par2"_L1 && file->name().contains(".vol"_L1) && file->isFinished()
            && QFile::exists(path) && isInsideFolder(nzb->folder(), path))
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
std::optional<int> recoveryBlocks(const NzbFile *file, const QString &volumeName)
{
    const QString name = file->name();
    const qsizetype plus = name.lastIndexOf(u'+');
    const qsizetype dot = name.indexOf(u'.', plus + 1);
    if (plus < 0 || dot < 0 || file->extension() != "par2"_L1 || !name.contains(volumeName)
        || !name.contains(".vol"_L1))
        return {};
    const int blocks = name.sliced(plus + 1, dot - plus - 1).toInt();
    qDebug().nospace() << "PAR2 file: " << name << " has " << blocks << " repair blocks";
    return blocks;
}

} // namespace

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

/// The status that tells of a failed extraction stays, whatever becomes of the repair.
void Marlowick::showRepair(Nzb *nzb, const QString &status)
{
    if (!extractionFailed(nzb))
        nzb->setStatus(status);
}

void Marlowick::startRepair(Nzb *nzb)
{
    const QStringList paths = par2Volumes(nzb);
    if (paths.isEmpty()) {
        requestFirstBlocks(nzb);
        return;
    }
    showRepair(nzb, tr("Repairing"));
    try {
        auto *repair = new Par2Process(nzb, paths, this);
        work[nzb].repair = repair;
        connect(repair, &Par2Process::needMoreBlocks, this, &Marlowick::par2NeedMoreBlocks);
        connect(repair, &Par2Process::nothingToRepair, this, &Marlowick::par2Failed);
        connect(repair, &Par2Process::repairComplete, this, &Marlowick::par2RepairComplete);
        connect(repair, &Par2Process::passEnded, this, &Marlowick::par2PassEnded);
        repair->startNextGroup();
    } catch (const std::runtime_error &failure) {
        showRepair(nzb, tr("Damaged: par2 program not found"));
        emit error(0, QString::fromUtf8(failure.what()));
    }
}

/// Without a PAR2 file on disk nobody knows yet how many blocks are lacking: one for each damaged
/// file is asked for.
void Marlowick::requestFirstBlocks(Nzb *nzb)
{
    const QMap<QString, int> sets = damagedSets(nzb);
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
        const std::optional<int> blocks = recoveryBlocks(file, volumeName);
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
    if (!nzbs.contains(nzb))
        return;
    showRepair(nzb, QString());
    if (!requestBlocks(nzb, std::max(number, 1), volumename))
        par2Failed(nzb);
}

void Marlowick::par2RepairComplete(Nzb *nzb)
{
    if (!nzbs.contains(nzb))
        return;
    work[nzb].repair = nullptr;
    showRepair(nzb, u"Repaired"_s);
    for (int i = 0; i < nzb->fileCount(); ++i)
        nzb->fileAt(i)->markRepaired();
    removeLeftovers(nzb);
    processNzb(nzb);
}

void Marlowick::par2Failed(Nzb *nzb)
{
    if (nzbs.contains(nzb))
        showRepair(nzb, tr("Damaged beyond repair"));
}

void Marlowick::par2PassEnded(Nzb *nzb, bool answered)
{
    sender()->deleteLater();
    if (!nzbs.contains(nzb))
        return;
    JobWork &job = work[nzb];
    if (job.repair == sender())
        job.repair = nullptr;
    if (!answered)
        showRepair(nzb, tr("Damaged: repair failed"));
    if (std::exchange(work[nzb].lookAgain, false) && nzb->isComplete())
        processNzb(nzb);
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
        const QString path = pathOf(nzb, file);
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
