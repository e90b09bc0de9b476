// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QMutex>
#include <QSet>
#include <QStringList>
#include <QThread>
#include <QWaitCondition>

#include <atomic>
#include <memory>

#include "post/rararchive.h"

class Nzb;
class NzbFile;

/// The thread that unpacks the RAR archives of one job, one after another.
///
/// It can do so while volumes are still arriving: for a volume that has not arrived whole it sleeps
/// until fileCompleted() tells of it. Volumes are deleted once their archive is unpacked, unless
/// they are wanted for a repair. All public operations belong to the main thread, the signals come
/// from the worker.
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
    ~RarHandler() override { stop(); }

    /// Starts a run if @p file is the first volume of a set, and wakes a run that sleeps for it. To
    /// be called for each finished file of the job, whatever its name.
    void fileCompleted(NzbFile *file);
    /// Forgets a failure and calls fileCompleted() for each file that has arrived whole.
    void checkCompletedFiles();
    /// The answer to passwordNeeded(); empty to decline.
    void setRarPassword(const QString &text);

    /// Whether the volumes of an archive stay when it is unpacked.
    void setKeepsVolumes(bool keeps);
    /// Deletes those that have stayed.
    void removeKeptVolumes();
    /// Whether @p file has been a volume of an archive that is unpacked.
    [[nodiscard]] bool hasUnpacked(const NzbFile *file);
    /// To be called when nothing more arrives: a run that sleeps for a volume which no file of the
    /// job is fails with that volume's name. One that sleeps for a damaged file sleeps on, unless
    /// @p evenDamaged.
    void giveUpLostVolume(bool evenDamaged);
    /// Takes each file that lies there for whole, whatever is known of its articles.
    void setTrustsDisk(bool trusts) { trustsDisk = trusts; }
    /// Files that a repair has made and the job does not list: an archive may begin with one.
    void setRestoredFiles(const QStringList &names) { restored = names; }

    /// Ends the run for good, and blocks until the thread has ended: at once if it sleeps, at the
    /// next volume that has not arrived otherwise, or at the end of the archive.
    void stop();
    /// The same at once, in the midst of a member.
    void abort();

    /// A run was started and has neither completed nor failed. Changes when the signal that tells
    /// so is delivered, not before: whoever asks meanwhile would take the job for complete.
    [[nodiscard]] bool isProcessing() const { return processing; }
    [[nodiscard]] bool hasFailed() const { return failed; }
    /// Given up for good, for want of space or of a password.
    [[nodiscard]] bool isSuspended() const { return suspended_; }
    /// It reads or writes files: it is processing, and neither asleep nor suspended.
    [[nodiscard]] bool isAtWork();
    /// It sleeps for a volume.
    [[nodiscard]] bool isWaitingForVolume();

signals:
    /// @p rarfile is the full path of the volume that was being read.
    void errorProcessing(Nzb *nzb, QString rarfile);
    /// The archive is unpacked and its volumes are deleted.
    void processingComplete(Nzb *nzb);
    /// The thread sleeps until setRarPassword().
    void passwordNeeded(Nzb *nzb, QString rarfile);
    /// The run was given up: the next member unpacks to @p needed bytes.
    void lowDiskspace(quint64 needed);
    void currentlyExtracting(QString filename);
    /// From the main thread: isAtWork() has become false, and nothing else told so.
    void resting(Nzb *nzb);

    // To itself, by way of the event loop of the main thread. A functor sent by invokeMethod()
    // would do, but the thread sanitizer cannot see which thread is done with it first.
    void memberBegun(QString file, quint64 size);
    void volumeMissed();
    void suspended();

protected:
    void run() override;

private:
    enum class Outcome { Complete, Failed, NoSpace, NoPassword };

    void awaitEnd();
    [[nodiscard]] QString pathOf(const NzbFile *file) const;
    [[nodiscard]] bool isWhole(const NzbFile *file) const;
    [[nodiscard]] bool startsRun(const QString &name) const;
    void startRun(const QString &name);
    void noteArrivals();
    [[nodiscard]] bool isPlacedByHand(const QString &name) const;
    void reviewVolume();
    void noteCompletion();
    void noteFailure();
    void noteSuspension();

    [[nodiscard]] Outcome unpack();
    [[nodiscard]] Outcome processMembers();
    [[nodiscard]] bool lacksSpace() const;
    [[nodiscard]] bool lacksMemory() const;
    [[nodiscard]] bool isUnsafe() const;
    [[nodiscard]] bool overwritesVolume();
    [[nodiscard]] RarArchive::Result skip();
    [[nodiscard]] RarArchive::Result extract();
    void keepOrRemoveVolumes();
    void askPassword(const QString &rarfile);
    [[nodiscard]] bool unlock();

    static int rarCallback(unsigned msg, long userData, long p1, long p2);
    [[nodiscard]] int onRarCallback(unsigned msg, long p1, long p2);
    [[nodiscard]] bool changeVolume(const QString &path);
    [[nodiscard]] bool waitForVolume(const QString &name);
    [[nodiscard]] bool volumeReady(const QString &name) const;

    QStringList volumes; ///< of this run, to be deleted at its end
    Nzb *nzb = nullptr; ///< the worker never looks into it
    QString folder; ///< of the job, for the worker; set while it does not run, as the next one
    QString rarFile;
    QString currentFile;
    QString waitingFor; ///< guarded by volumeMutex; a bare name, empty when none is wanted
    QHash<QString, bool> arrived; ///< guarded by volumeMutex; see noteArrivals()
    bool lost = false; ///< guarded by volumeMutex; waitingFor will not come
    bool keepsVolumes = false; ///< guarded by volumeMutex
    QStringList keptVolumes; ///< guarded by volumeMutex, like the next one
    QSet<QString> unpackedVolumes;
    QByteArray password; ///< guarded by passwordMutex; serves each archive of the job
    bool asksPassword = false; ///< guarded by passwordMutex
    quint64 bytesProcessed = 0;
    // Never held together.
    QMutex volumeMutex;
    QMutex passwordMutex;
    QWaitCondition volumeCondition;
    QWaitCondition passwordCondition;
    std::atomic<bool> stopRequested = false;
    std::atomic<bool> abortRequested = false;
    bool processing = false; ///< like the next ones for the main thread alone
    bool failed = false;
    bool suspended_ = false;
    bool trustsDisk = false;
    QStringList restored;
    std::unique_ptr<RarArchive> archive; ///< during a run
    RarArchive::Member member; ///< the one being handled
};
