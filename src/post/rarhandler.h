// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSet>
#include <QStringList>
#include <QThread>

#include <memory>

class Nzb;
class NzbFile;
class RarRun;

/// Unpacks the RAR archives of one job, one after another, on a thread of its own. What happens on
/// that thread is a RarRun. All operations here belong to the main thread; signals are emitted on
/// the worker thread and queued to their receivers.
///
/// It can do so while volumes are still arriving: for a volume that has not arrived whole the run
/// sleeps until fileCompleted() tells of it. Volumes are deleted once their archive is unpacked,
/// unless they are wanted for a repair.
///
/// Low disk space and a declined password suspend the handler for good: the thread ends without
/// another signal, and isProcessing() stays true.
class RarHandler final : public QThread {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RarHandler)
    Q_MOC_INCLUDE("queue/nzb.h") // a queued signal needs the whole type

public:
    /// The job becomes the parent as well.
    explicit RarHandler(Nzb *nzb);
    ~RarHandler() override;

    /// Starts a run if @p file is the first volume of a set, and wakes a run that sleeps for it. To
    /// be called for each finished file of the job, whatever its name.
    void fileCompleted(NzbFile *file);
    /// Forgets a failure and calls fileCompleted() for each file that has arrived whole.
    void checkCompletedFiles();
    /// The answer to passwordNeeded(); empty to decline.
    void setRarPassword(const QString &text);

    /// Whether the volumes of an archive stay when it is unpacked.
    void setKeepsVolumes(bool keeps);
    /// Deletes the volumes that have stayed.
    void removeKeptVolumes();
    /// Marks the volumes of unpacked archives as whole, which the extraction has proved.
    void markUnpackedWhole();
    /// Whether @p file has been a volume of an unpacked archive, or may be one of the archive that
    /// is being unpacked.
    [[nodiscard]] bool reads(const NzbFile *file) const;
    /// To be called when nothing more arrives. A run that waits for a volume which is no file of
    /// the job then fails, with that volume's name. One that waits for a damaged file goes on
    /// waiting, unless @p evenDamaged.
    void giveUpLostVolume(bool evenDamaged);
    /// Treats each file on disk as whole, whatever is known of its articles.
    void setTrustsDisk(bool trusts) { trustsDisk = trusts; }
    /// Files that a repair has made and the job does not list: an archive may begin with one.
    void setRestoredFiles(const QStringList &names) { restored = names; }

    /// Ends the run for good, and blocks until the thread has ended. A sleeping run ends at once,
    /// any other at the next volume that has not arrived or at the end of the archive.
    void stop() { end(false); }
    /// The same, but the run ends at once, even within a member.
    void abort() { end(true); }

    /// A run was started and has neither completed nor failed. Changes when the signal that tells
    /// so is delivered, not before: the job would count as complete in between.
    [[nodiscard]] bool isProcessing() const { return processing; }
    [[nodiscard]] bool hasFailed() const { return failed; }
    /// Given up for good, because of too little space or no password.
    [[nodiscard]] bool isSuspended() const { return suspended; }
    /// It reads or writes files: it is processing, and neither asleep nor suspended.
    [[nodiscard]] bool isAtWork() const;
    /// It sleeps for a volume.
    [[nodiscard]] bool isWaitingForVolume() const;

signals:
    /// @p rarfile is the full path of the volume that was being read.
    void errorProcessing(Nzb *nzb, QString rarfile);
    /// The archive is unpacked and its volumes are deleted, unless a repair may still need them.
    void processingComplete(Nzb *nzb);
    /// The thread sleeps until setRarPassword().
    void passwordNeeded(Nzb *nzb, QString rarfile);
    /// The run was given up: the next member unpacks to @p needed bytes.
    void lowDiskspace(quint64 needed);
    /// Deliberate: nothing of ours listens.
    void currentlyExtracting(QString filename);
    /// Emitted on the main thread: isAtWork() has become false, and no other signal says so.
    void resting(Nzb *nzb);

protected:
    void run() override;

private:
    [[nodiscard]] bool hasUnpacked(const NzbFile *file) const;
    void end(bool atOnce);
    [[nodiscard]] bool isWhole(const NzbFile *file) const;
    [[nodiscard]] bool startsRun(const QString &name) const;
    void startRun(const QString &name);
    void connectRun();
    void noteArrivals();
    [[nodiscard]] bool isPlacedByHand(const QString &name) const;
    void reviewVolume();
    void noteCompletion(const QStringList &volumes, bool kept);
    void noteFailure();
    void noteSuspension();

    Nzb *nzb;
    std::unique_ptr<RarRun> current; ///< or the last one; null before the first
    QByteArray password; ///< serves each archive of the job
    QStringList keptVolumes; ///< full paths, like the next ones
    QSet<QString> unpackedVolumes;
    QStringList restored;
    bool keepsVolumes = false;
    bool trustsDisk = false;
    bool processing = false;
    bool failed = false;
    bool suspended = false;
};
