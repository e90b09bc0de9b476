// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The way of an NZB file into the queue.
#include <memory>
#include <stdexcept>

#include "engine/jobfolder.h"
#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

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
    if (connectionCount() == 0)
        startToDownloadQueue();
    return nzb;
}

/// The new job, with its folder on disk, but not in the queue yet.
Nzb *Marlowick::importNzb(const QString &nzbFile)
{
    auto nzb = std::make_unique<Nzb>(queue_, downloadFolder(), nzbFile);
    makeFolder(nzb.get());
    nzb->sortFiles();
    if (settings_->get(Settings::pausePAR2)) {
        for (int i = 0; i < nzb->fileCount(); ++i) {
            if (nzb->fileAt(i)->isPar2())
                nzb->fileAt(i)->setPaused(true);
        }
    }
    return nzb.release();
}
