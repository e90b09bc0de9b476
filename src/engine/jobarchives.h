// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>

class ArchiveUnpacker;
class Nzb;

/// The unpacking of the ZIP and 7z archives of one job, one after another and each of them once.
/// Lives on the GUI thread; an ArchiveUnpacker works on another.
class JobArchives final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(JobArchives)

public:
    enum class Trust {
        Articles, ///< only archives all of whose articles have arrived whole
        Disk, ///< whatever is on the disk
    };

    JobArchives(Nzb *nzb, QObject *parent);
    /// Waits until the unpacking has stopped, which is soon.
    ~JobArchives() override;

    /// Tells the names of files that a repair has made and the job does not list.
    void setRestoredFiles(const QStringList &names) { restored = names; }
    /// Whether there is an archive that has not been tried yet.
    [[nodiscard]] bool hasWork(Trust trust) const { return !untried(trust).isEmpty(); }
    /// Starts to unpack the next archive, which ends with ended(). False if there is none.
    [[nodiscard]] bool start(Trust trust);
    /// From start() to ended().
    [[nodiscard]] bool isBusy() const { return !archive.isEmpty(); }
    /// Busy, and not waiting for a password.
    [[nodiscard]] bool isAtWork() const { return unpacker != nullptr; }
    [[nodiscard]] bool hasFailed() const { return anyFailed; }
    /// Remembers a password that the user has given, for any archive of the job; an empty one
    /// declines. True if this object has asked for it.
    bool setPassword(const QString &password);
    /// Blocks until the unpacking has stopped, which is soon. The job knows all files that were
    /// written, and no signal follows.
    void end();

signals:
    void ended();
    /// Comes before ended(); @p status tells the user why.
    void failed(QString status);
    /// Comes before failed(). @p needed is in bytes.
    void lowDiskspace(quint64 needed);
    /// @p archive is a full path; setPassword() is the answer.
    void passwordNeeded(Nzb *nzb, QString archive);

private:
    [[nodiscard]] QStringList untried(Trust trust) const;
    [[nodiscard]] QSet<QString> protectedNames() const;
    void startUnpacker();
    void unpackerDone();
    void unpackerLocked();
    void unpackerLacksSpace(Nzb *nzb, quint64 needed);
    void fail(const QString &status);
    void finish();

    Nzb *nzb;
    std::unique_ptr<ArchiveUnpacker> unpacker;
    QString archive; ///< the name of the one that is being unpacked; empty for none
    Trust trusted = Trust::Articles; ///< with which it was chosen
    QStringList tried; ///< names, the present one among them
    QStringList restored; ///< see setRestoredFiles()
    QString givenPassword; ///< the last one that the user has given
    bool asked = false; ///< for the password of the present archive
    bool anyFailed = false;
};
