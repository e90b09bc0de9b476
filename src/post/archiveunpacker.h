// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>
#include <QSet>
#include <QString>
#include <QThread>

class Nzb;

/// Unpacks one ZIP or 7z archive of a job on a thread of its own, by libarchive, and deletes the
/// archive after a clean end.
///
/// Members that lead out of the folder, links, and members named like a file of the job with
/// another content are passed over: the rest is unpacked, the archive stays, and it counts as an
/// error. A member that cannot be unpacked whole leaves no file.
class ArchiveUnpacker final : public QThread {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ArchiveUnpacker)
    Q_MOC_INCLUDE("queue/nzb.h") // a queued signal needs the whole type

public:
    struct Order {
        QString folder; ///< of the job, where the archive lies
        QString archive; ///< its file name
        QSet<QString> protectedNames; ///< files of the job, which no member may replace
        QByteArrayList passwords; ///< to be tried in turn, for ZIP; libarchive decrypts no 7z
    };

    /// @param job  handed back in the signals, never looked into
    ArchiveUnpacker(Nzb *job, Order what, QObject *parent);
    ~ArchiveUnpacker() override { stop(); }

    void startProcessing() { start(QThread::LowPriority); }
    /// Ends the work at the next block and waits for that.
    void stop();

    void run() override;

signals:
    /// Before the first byte of a member is written; @p size in bytes, 0 if the archive does not
    /// tell.
    void memberBegun(Nzb *nzb, QString file, quint64 size);
    void processingComplete(Nzb *nzb);
    /// None of the passwords opens the archive; another one may.
    void passwordNeeded(Nzb *nzb);
    /// @p reason is a text for the user.
    void processingError(Nzb *nzb, QString reason);
    /// The disk lacks space for @p needed bytes and the reserve that stays free.
    void lowDiskspace(Nzb *nzb, quint64 needed);

private:
    [[nodiscard]] bool unpackAll();

    Nzb *nzb;
    Order order;
};
