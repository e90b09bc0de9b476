// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QList>
#include <QObject>

class Nzb;
class NzbFile;

/// The jobs in the order of download and display. Signals announce each change of the list before
/// and after.
///
/// Its jobs are its children. An item that is removed while a connection still fetches one of its
/// articles leaves the queue at once but stays allocated, so that the late result finds a living
/// object; release() frees it then. Lives on the GUI thread; nothing here fails.
class Queue final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Queue)

public:
    using QObject::QObject;

    [[nodiscard]] const QList<Nzb *> &jobs() const { return nzbs; }
    [[nodiscard]] bool contains(const Nzb *nzb) const { return rowOf(nzb) >= 0; }
    /// False for a file that has been removed, alone or with its job.
    [[nodiscard]] bool contains(NzbFile *file) const;

    /// -1 for a job that is not in the queue; it may even have been deleted. Mostly takes constant
    /// time.
    [[nodiscard]] int rowOf(const Nzb *nzb) const;

    /// Announces a job that is called @p name, or is made from the NZB file @p name.
    void beginAdd(const QString &name) { emit beforeAddNZB(name); }
    void append(Nzb *nzb) { nzbs.append(nzb); }
    /// Ends what beginAdd() began; @p nzb is null if there is no whole job.
    void endAdd(Nzb *nzb) { emit NZBadded(nzb); }
    /// Without a signal: only the model moves jobs, and notifies the view itself.
    void move(int from, int to) { nzbs.move(from, to); }
    /// The same for several jobs.
    /// @param order  the present row for each new one
    void reorder(const QList<int> &order);
    void remove(Nzb *nzb);
    void remove(NzbFile *file);
    /// To be called when an article of @p file has come back. Frees a removed item once its last
    /// article has come back; afterwards file and job may be gone.
    void release(NzbFile *file);
    /// Empties the queue. The jobs stay allocated.
    void clear();

    /// True when some unpaused file has a pending segment.
    [[nodiscard]] bool hasWork() const;
    /// The scheduling decision: the first unpaused file from the top of the queue that has a
    /// pending segment, and of it the lowest one, which becomes active. False without one.
    [[nodiscard]] bool nextArticle(NzbFile *&file, int &number, QString &messageId);
    /// True when every job is paused, and for an empty queue.
    [[nodiscard]] bool allPaused() const;
    void pauseAll();
    /// Bytes still to be fetched for all files that are not paused.
    [[nodiscard]] quint64 bytesLeft() const;

signals:
    void beforeAddNZB(QString name);
    void NZBadded(Nzb *nzb);
    void beforeNzbDelete(Nzb *nzb);
    void beforeNzbFileDelete(NzbFile *file);
    void NzbItemDeleted();
    /// Emitted before and after a change of the whole queue, without any other signal.
    void beforeQueueReset();
    void queueReset();
    /// The job has left the list and is about to be deleted, at once or with its last article.
    void nzbRemoved(Nzb *nzb);
    /// A file for which the job may have waited has been removed, and no article of it is under
    /// way.
    void nzbFileRemoved(Nzb *nzb);

    // Emitted by other parts: a row has new content.
    void downloadProgresses(NzbFile *file);
    void statusChanged(Nzb *nzb);

private:
    QList<Nzb *> nzbs;
    mutable QHash<const Nzb *, qsizetype> rows; ///< where jobs have been found
};
