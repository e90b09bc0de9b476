// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>

#include "queue/filenames.h"
#include "queue/inzbitem.h"

class Nzb;
struct SavedFile;

/// One file of a job, and the articles from which it is made.
///
/// A segment is one article, known by its number (from 1) and its message id. It waits in
/// `pendingSegments`, moves to `activeSegments` when a connection takes it, and is in neither once
/// its result, good or bad, is booked.
class NzbFile final : public INzbItem {
    Q_OBJECT

public:
    /// @param done  bytes decoded by an earlier run
    /// @param partsDone  segments that an earlier run decoded well
    NzbFile(QObject *parent, const QString &subjectLine, const QString &postedBy, int postDate,
            quint64 bytes, quint64 done, bool hold, int partsDone, bool viaYenc);

    [[nodiscard]] QString name() const override { return filename; }
    [[nodiscard]] quint64 size() const override { return size_; }
    [[nodiscard]] QString status() const override;
    [[nodiscard]] bool isPaused() const override { return paused; }
    void setPaused(bool hold) override { paused = hold; }
    /// True for a PAR2 file that a repair, the search for names or the user has asked for. It is
    /// not held back again when its job goes on after a pause.
    [[nodiscard]] bool isOrdered() const { return ordered; }
    void setOrdered(bool wanted) { ordered = wanted; }
    /// Whether it goes on when its job does while PAR2 files are held back.
    [[nodiscard]] bool goesOnWithJob() const { return !isPar2() || ordered; }

    /// The job that the file belongs to, even if it has been removed from its list.
    [[nodiscard]] Nzb *job() const;
    /// The full path of the file, which need not exist yet.
    [[nodiscard]] QString path() const;
    /// Where the NZB lists the file, from 0 on, whatever its row is now. Volumes whose names tell
    /// nothing are mostly posted in their order.
    [[nodiscard]] int place() const { return place_; }
    void setPlace(int place) { place_ = place; }
    /// The name as the post has it, in whatever encoding, if it differs from the one on disk, which
    /// is ASCII while articles arrive; empty otherwise.
    [[nodiscard]] QByteArray postedName() const { return posted; }
    void setPostedName(const QByteArray &name) { posted = name; }
    [[nodiscard]] QString subjectLine() const { return subject; }

    [[nodiscard]] QString extension() const { return extension_; }
    [[nodiscard]] bool isPar2() const { return isPar2Extension(extension_); }
    [[nodiscard]] bool isPar2Volume() const { return isPar2() && isPar2VolumeName(filename); }
    /// True for a PAR2 file that is not fetched until a repair asks for it.
    [[nodiscard]] bool isHeldBack() const { return isPar2() && paused && !isFinished(); }
    [[nodiscard]] quint64 completedBytes() const { return completed; }
    [[nodiscard]] bool isIncomplete() const { return incomplete; }
    [[nodiscard]] bool isYenc() const { return yenc; }
    /// Parts announced by the subject line; not the number of segments listed.
    [[nodiscard]] int partCount() const { return parts; }
    [[nodiscard]] bool hasPendingSegments() const { return !pendingSegments.isEmpty(); }
    [[nodiscard]] bool hasActiveSegments() const { return !activeSegments.isEmpty(); }
    [[nodiscard]] bool isFinished() const
    {
        return pendingSegments.isEmpty() && activeSegments.isEmpty();
    }
    /// Makes the processor load what isPaused() and hasPendingSegments() read, without waiting.
    void prefetch() const { __builtin_prefetch(&pendingSegments); }

    void addSegment(int number, int bytes, const QString &messageId);
    /// Hands out the lowest pending segment: its message id, and its number in @p seqnr. An empty
    /// text, and @p seqnr left alone, when none is pending.
    QString nextSegment(int *seqnr);
    /// Back to pending after a failed connection; no effect unless the segment is active.
    void requeueSegment(int seqnr);
    /// The server does not have the article: the segment is given up.
    void segmentNotFound(int seqnr);
    /// Books a decoded article. @p name is the decoder's, empty to keep the present one;
    /// @p ok is false for a damaged article, whose bytes count all the same.
    void segmentDecoded(int seqnr, const QString &name, quint64 bytes, bool ok, bool viaYenc);
    void markRepaired();
    /// Nothing more of the file is fetched: it is whole on disk, or was.
    void markWhole();
    /// What has been decoded so far is no longer on disk.
    void markLost();
    /// For a file that has got its right name on disk.
    void setFilename(const QString &name);

    /// The name without its extension and without a volume tail: "movie" for both
    /// "movie.part01.rar" and "movie.vol003+02.par2". Deliberate: cuts one character more than the
    /// extension even without a dot.
    [[nodiscard]] QString baseName() const;

    /// For the queue file.
    [[nodiscard]] SavedFile saved() const;

private:
    QString subject;
    QString poster;
    QString filename;
    QString extension_;
    QByteArray posted;
    int place_ = 0;
    int date = 0;
    int completedparts = 0;
    int parts = 1;
    quint64 size_ = 0;
    quint64 completed = 0;
    bool paused = false;
    bool ordered = false;
    bool incomplete = false;
    bool yenc = false;
    QMap<int, QString> pendingSegments;
    QMap<int, QString> activeSegments;
};
