// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/queue.h"

#include <algorithm>

#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

/// How many files ahead are loaded from memory: they are scattered, and the search would wait for
/// each of them.
constexpr int filesAhead = 32;

/// The first file in queue order that has something to fetch, or null. Takes time linear in the
/// files before it. Without an index, moving, pausing and deleting take effect at once.
NzbFile *firstWanted(const QList<Nzb *> &queue)
{
    for (const Nzb *nzb : queue) {
        const int count = nzb->fileCount();
        for (int i = 0; i < count; ++i) {
            nzb->fileAt(std::min(i + filesAhead, count - 1))->prefetch();
            NzbFile *file = nzb->fileAt(i);
            if (!file->isPaused() && file->hasPendingSegments())
                return file;
        }
    }
    return nullptr;
}

} // namespace

/// Jobs leave the queue, so most are found at their last known row or a little above it.
int Queue::rowOf(const Nzb *nzb) const
{
    const auto known = rows.constFind(nzb);
    qsizetype row = known == rows.cend() ? -1 : std::min(*known, nzbs.size() - 1);
    if (row >= 0 && nzbs[row] == nzb)
        return static_cast<int>(row);
    if (row >= 0)
        row = nzbs.lastIndexOf(nzb, row);
    if (row < 0)
        row = nzbs.indexOf(nzb);
    if (row >= 0)
        rows[nzb] = row;
    return static_cast<int>(row);
}

bool Queue::contains(NzbFile *file) const
{
    const Nzb *nzb = file->job();
    return contains(nzb) && nzb->indexOf(file) >= 0;
}

void Queue::reorder(const QList<int> &order)
{
    const QList<Nzb *> old = nzbs;
    for (qsizetype row = 0; row < order.size(); ++row)
        nzbs[row] = old.at(order[row]);
}

void Queue::remove(Nzb *nzb)
{
    emit beforeNzbDelete(nzb);
    nzbs.removeAll(nzb);
    rows.remove(nzb);
    emit nzbRemoved(nzb);
    if (!nzb->hasActiveSegments())
        delete nzb;
    emit NzbItemDeleted();
}

void Queue::remove(NzbFile *file)
{
    Nzb *nzb = file->job();
    const bool waitedFor = !nzb->isComplete();
    const bool underWay = file->hasActiveSegments();
    emit beforeNzbFileDelete(file);
    nzb->removeFile(file);
    if (waitedFor && !underWay)
        emit nzbFileRemoved(nzb);
    emit NzbItemDeleted();
}

void Queue::release(NzbFile *file)
{
    Nzb *nzb = file->job();
    if (!contains(nzb)) {
        if (!nzb->hasActiveSegments())
            delete nzb;
    } else if (nzb->indexOf(file) < 0 && !file->hasActiveSegments()) {
        delete file;
        emit nzbFileRemoved(nzb);
    }
}

void Queue::clear()
{
    emit beforeQueueReset();
    nzbs.clear();
    rows.clear();
    emit queueReset();
}

bool Queue::hasWork() const { return firstWanted(nzbs) != nullptr; }

bool Queue::nextArticle(NzbFile *&file, int &number, QString &messageId)
{
    file = firstWanted(nzbs);
    if (!file)
        return false;
    messageId = file->nextSegment(&number);
    return true;
}

bool Queue::allPaused() const
{
    return std::all_of(nzbs.cbegin(), nzbs.cend(), [](const Nzb *nzb) { return nzb->isPaused(); });
}

void Queue::pauseAll()
{
    for (Nzb *nzb : std::as_const(nzbs))
        nzb->setPaused(true);
}

quint64 Queue::bytesLeft() const
{
    quint64 left = 0;
    for (const Nzb *nzb : nzbs) {
        for (const NzbFile *file : nzb->allFiles()) {
            if (!file->isPaused())
                left += file->size() - std::min(file->size(), file->completedBytes());
        }
    }
    return left;
}
