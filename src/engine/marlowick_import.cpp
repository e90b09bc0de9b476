// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The way of an NZB file into the queue.
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <memory>
#include <stdexcept>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

namespace {

/// @p name itself, or followed by the first number from 2 on that is not in use in @p folder; 1000
/// is taken in any case.
QString unusedName(const QString &folder, const QString &name)
{
    QString candidate = name;
    for (int number = 2; number <= 1000 && QFileInfo::exists(folder + u'/' + candidate); ++number)
        candidate = name + QString::number(number);
    return candidate;
}

void makeFolder(const QString &folder)
{
    if (!QDir().mkpath(folder))
        throw std::runtime_error("Error creating folder for download");
}

} // namespace

Nzb *Marlowick::addNZB(const QString &nzbFile)
{
    queue_->beginAdd(nzbFile);
    Nzb *nzb = nullptr;
    try {
        nzb = importNzb(nzbFile);
    } catch (const std::runtime_error &) {
        queue_->endAdd(nullptr);
        throw;
    }
    queue_->append(nzb);
    queue_->endAdd(nzb);
    if (connections.isEmpty())
        startToDownloadQueue();
    return nzb;
}

/// The new job, with its folder on disk, but not in the queue yet.
Nzb *Marlowick::importNzb(const QString &nzbFile)
{
    const QString folder = downloadFolder();
    auto nzb = std::make_unique<Nzb>(queue_, folder, nzbFile);
    // The download folder comes first: names such as ".." exist in it, and so are never taken.
    makeFolder(folder);
    nzb->setName(unusedName(folder, nzb->name()));
    makeFolder(nzb->folder());
    qDebug().nospace() << "Created folder: " << nzb->folder();

    nzb->sortFiles();
    if (settings_->get(Settings::pausePAR2)) {
        for (int i = 0; i < nzb->fileCount(); ++i) {
            if (nzb->fileAt(i)->isPar2())
                nzb->fileAt(i)->setPaused(true);
        }
    }
    return nzb.release();
}
