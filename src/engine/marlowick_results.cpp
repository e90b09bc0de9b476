// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What follows when the last article of a file has come in.
#include <QDebug>
#include <QElapsedTimer>

#include "engine/marlowick.h"
#include "engine/uuparts.h"
#include "post/filecombiner.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

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
