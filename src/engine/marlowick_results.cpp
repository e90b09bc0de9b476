// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What follows when an article has come in, up to the whole file.
#include <QDebug>
#include <QElapsedTimer>

#include "engine/marlowick.h"
#include "engine/uuparts.h"
#include "post/filecombiner.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

void Marlowick::dataDecoded(NzbFile *nzbfile, int seqnr, const QString &filename, quint64 bytes,
                            bool ok, bool yenc)
{
    NNTP *connection = senderConnection();
    if (!connection || !nzbfile)
        return assignArticle(connection);
    passwordAsked = passwordAsked && errorBoxShown; // the server does no longer
    nzbfile->segmentDecoded(seqnr, filename, bytes, ok, yenc);
    if (queue_->contains(nzbfile)) {
        emit downloadProgresses(nzbfile);
        if (nzbfile->isFinished())
            finishFile(nzbfile, filename);
    } else {
        queue_->release(nzbfile); // nobody who listens knows it any more
    }
    assignArticle(senderConnection());
}

void Marlowick::articleNotFound(const QString &msgid, NzbFile *nzbfile, int seqnr)
{
    qDebug().nospace() << "Article <" << msgid << "> not found on server";
    NNTP *connection = senderConnection();
    if (nzbfile && connection) {
        nzbfile->segmentNotFound(seqnr);
        queue_->release(nzbfile);
    }
    // No look at completion here: a file whose last article is missing reads as finished, but is
    // neither joined nor announced.
    assignArticle(connection);
}

void Marlowick::finishFile(NzbFile *nzbfile, const QString &filename)
{
    auto *nzb = qobject_cast<Nzb *>(nzbfile->parent());
    if (!nzbfile->isYenc())
        joinParts(nzbfile);
    emit notice(0, tr("File download complete: ") + filename);
    emit fileComplete(nzbfile);
    feedExtraction(nzbfile);
    if (isReady(nzb))
        processNzb(nzb);
}

/// Joins the parts of a uuencoded file on this thread; a part that is missing leaves it shorter.
void Marlowick::joinParts(NzbFile *nzbfile)
{
    const QString folder = qobject_cast<Nzb *>(nzbfile->parent())->folder();
    const QString path = folder + u'/' + nzbfile->name();
    if (!isInsideFolder(folder, path))
        return;
    FileCombiner combiner(nullptr, nullptr);
    const QStringList parts = uuParts(path, nzbfile->partCount());
    for (const QString &part : parts)
        combiner.addFile(part);
    QElapsedTimer clock;
    clock.start();
    connect(&combiner, &FileCombiner::processingError, this, &Marlowick::splitCombinerError);
    combiner.run();
    qDebug() << "Combined in" << clock.elapsed() << "miliseconds"; // deliberate: the spelling
}

void Marlowick::splitCombinerError(Nzb *nzb, const QString & /*file*/, const QString &error)
{
    qDebug().nospace() << "Split file combiner error: " << error;
    if (!error.isEmpty())
        emit notice(0, error);
    if (endJoin(nzb) && work.value(nzb).anewAfterJoin)
        repairAndUnpack(nzb);
}
