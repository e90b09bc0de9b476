// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>
#include <QHash>
#include <QMutex>
#include <QObject>
#include <QStringList>
#include <QWaitCondition>

#include <atomic>
#include <memory>

#include "post/rararchive.h"

/// The unpacking of one archive, on a worker thread: what a RarHandler starts and then talks to.
///
/// Knows the job's folder and the names that the handler tells it, never the job itself. unpack()
/// and the signals belong to the worker, all else to the main thread. Each run ends with
/// completed() or failed(), or with suspended() when it was given up.
class RarRun final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RarRun)

public:
    /// @param folder  where the volumes lie and the members go
    /// @param firstVolume  the bare name of the volume that the archive begins with
    RarRun(QString folder, const QString &firstVolume);

    /// Passwords to be tried in turn before the user is asked. To be called before unpack().
    void setKnownPasswords(const QByteArrayList &texts) { knownPasswords = texts; }
    /// The whole run. Sleeps for each volume that has not arrived whole, and for a password.
    void unpack();

    /// By bare name, whether all files of that name have arrived whole. Wakes a run that sleeps for
    /// a volume which is ready now.
    void setArrived(const QHash<QString, bool> &files);
    /// Wakes a run that sleeps for the volume @p name, which fails if that is not ready.
    void wake(const QString &name);
    /// Makes a run fail that sleeps for a volume which is no file of the job, or for any
    /// volume with @p evenDamaged.
    void giveUpVolume(bool evenDamaged);
    /// An empty password ends a run that asks for one.
    void setPassword(const QByteArray &text);
    /// Whether the volumes stay when the archive is unpacked.
    void setKeepsVolumes(bool keeps);
    /// Ends the run at the next volume that is not ready or, with @p atOnce, even within a member.
    void stop(bool atOnce);

    /// The bare name of the volume that the run sleeps for; empty when it does not.
    [[nodiscard]] QString waitingFor();
    /// It sleeps, and nothing has happened that wakes it.
    [[nodiscard]] bool isAsleep();

signals:
    void memberBegun(QString file, quint64 size);
    /// It goes to sleep for a volume.
    void volumeMissed();
    /// It sleeps until setPassword().
    void passwordNeeded(QString rarfile);
    /// @p volumes have been deleted, unless they are @p kept.
    void completed(QStringList volumes, bool kept);
    void failed(QString rarfile);
    void lowDiskspace(quint64 needed);
    void suspended();

private:
    enum class Outcome { Complete, Failed, NoSpace, NoPassword, WrongPassword };

    [[nodiscard]] Outcome processArchive();
    [[nodiscard]] Outcome processMembers();
    [[nodiscard]] bool lacksSpace() const;
    [[nodiscard]] bool lacksMemory() const;
    [[nodiscard]] bool isUnsafe() const;
    [[nodiscard]] bool overwritesVolume();
    [[nodiscard]] RarArchive::Result skip();
    [[nodiscard]] RarArchive::Result extract();
    void complete();
    void askPassword(const QString &rarfile);
    [[nodiscard]] bool unlock();

    static int rarCallback(unsigned msg, long userData, long p1, long p2);
    [[nodiscard]] int onRarCallback(unsigned msg, long p1, long p2);
    [[nodiscard]] bool changeVolume(const QString &path);
    [[nodiscard]] bool waitForVolume(const QString &name);
    [[nodiscard]] bool volumeReady(const QString &name) const;

    const QString folder;
    QString rarFile; ///< the full path of the volume that is being read
    QStringList volumes; ///< all that have been read
    std::unique_ptr<RarArchive> archive;
    RarArchive::Member member; ///< the one being handled
    QString currentFile; ///< its name
    QByteArrayList knownPasswords; ///< those that may still be right; the first one is in use
    bool proved = false; ///< the password in use has opened something
    quint64 bytesProcessed = 0; ///< of the member

    // Shared with the main thread. The mutexes are never held together.
    QMutex volumeMutex;
    QWaitCondition volumeCondition;
    QString awaited; ///< see waitingFor(); this and the next ones are guarded by volumeMutex
    QHash<QString, bool> arrived;
    bool lost = false; ///< what is awaited will not come
    bool keepsVolumes = false;
    QMutex passwordMutex;
    QWaitCondition passwordCondition;
    QByteArray password; ///< guarded by passwordMutex, like the next one
    bool asksPassword = false;
    std::atomic<bool> stopRequested = false;
    std::atomic<bool> abortRequested = false;
};
