// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobjoin.h"

#include <QFileInfo>
#include <QMap>

#include <memory>
#include <utility>

#include "engine/jobsurvey.h"
#include "engine/postprocessor.h"
#include "post/filecombiner.h"
#include "queue/filenames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

/// The join of the first series of split files on disk without gaps, not started yet; null if there
/// is none.
std::unique_ptr<FileCombiner> nextJoin(Nzb *nzb, QObject *parent)
{
    QMap<QString, QStringList> series;
    for (const NzbFile *file : nzb->allFiles()) {
        const QString path = file->path();
        if (isPieceExtension(file->extension()) && existsInJob(nzb, path))
            series[seriesName(file->name())] << path;
    }
    for (const QStringList &pieces : std::as_const(series)) {
        auto combiner = std::make_unique<FileCombiner>(nzb, parent);
        for (const QString &piece : pieces)
            combiner->addFile(piece);
        if (!combiner->hasGaps())
            return combiner;
    }
    return nullptr;
}

} // namespace

JobJoin::JobJoin(Nzb *nzb, PostProcessor &post, QObject *parent)
    : QObject(parent)
    , nzb(nzb)
    , post(post)
{
}

bool JobJoin::hasWork() const { return nextJoin(nzb, nullptr) != nullptr; }

bool JobJoin::start()
{
    join = nextJoin(nzb, &post).release();
    if (!join)
        return false;
    connect(join, &FileCombiner::processingComplete, this, &JobJoin::splitCombinerFinished);
    connect(join, &FileCombiner::processingError, &post, &PostProcessor::splitCombinerError);
    connect(join, &FileCombiner::processingError, this, [this] {
        join = nullptr;
        emit ended(false);
    });
    // Connected last, so that it is deleted after this object has forgotten it.
    connect(join, &FileCombiner::processingComplete, join, &QObject::deleteLater);
    connect(join, &FileCombiner::processingError, join, &QObject::deleteLater);
    join->startProcessing();
    return true;
}

void JobJoin::end()
{
    if (!join)
        return;
    join->disconnect(this);
    nzb->addExtractedFile(QFileInfo(std::exchange(join, nullptr)->finish()).fileName(), 0);
}

void JobJoin::splitCombinerFinished(Nzb * /*nzb*/, const QString &file)
{
    const QFileInfo joined(file);
    nzb->addExtractedFile(joined.fileName(), static_cast<quint64>(joined.size()));
    join = nullptr;
    emit ended(true);
}
