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
        Articles, ///< an archive of which each article has come whole
        Disk, ///< whatever is there
    };

    JobArchives(Nzb *nzb, QObject *parent);
    /// Waits until the unpacking has stopped, which is soon.
    ~JobArchives() override;

    /// Files that a repair has made and the job does not list.
    void setRestoredFiles(const QStringList &names) { restored = names; }
    /// There is an archive that has not been tried yet.
    [[nodiscard]] bool hasWork(Trust trust) const { return !untried(trust).isEmpty(); }
    /// Starts with the next one. It ends with ended(). False without one.
    [[nodiscard]] bool start(Trust trust);
    /// From start() to ended().
    [[nodiscard]] bool isBusy() const { return !archive.isEmpty(); }
    /// It is busy, and does not wait for a password.
    [[nodiscard]] bool isAtWork() const { return unpacker != nullptr; }
    [[nodiscard]] bool hasFailed() const { return anyFailed; }
    /// Remembers a password that the user has given, for any archive of the job. True if it was an
    /// answer to passwordNeeded(); empty to decline.
    bool setPassword(const QString &password);
    /// Stops at once. All that was written is known, and no signal follows.
    void end();

signals:
    void ended();
    /// Ahead of ended(); @p status tells the user why.
    void failed(QString status);
    /// Ahead of failed().
    void lowDiskspace(quint64 needed);
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
    QString archive; ///< the one that is dealt with
    Trust trusted = Trust::Articles; ///< with which it was taken
    QStringList tried;
    QStringList restored;
    QString givenPassword;
    bool asked = false; ///< for the password of this archive
    bool anyFailed = false;
};
