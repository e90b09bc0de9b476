// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QStringList>

class Nzb;
class NzbFile;
class Par2Process;

/// The repair of one job: orders PAR2 volumes, runs the passes of the PAR2 program, and takes over
/// the names that it gives to files. JobWork decides what follows. Lives on the GUI thread. A
/// receiver may delete the object in any of its signals.
class JobRepair final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(JobRepair)

public:
    JobRepair(Nzb *nzb, QObject *parent);

    /// Starts a pass with the PAR2 files @p paths. It ends with passEnded().
    /// @throws std::runtime_error  with a text for the user when there is no PAR2 program
    void start(const QStringList &paths);
    /// Orders one block for each damaged file: without a PAR2 volume on disk it is unknown how many
    /// are needed. Emits ended() if there are too few.
    /// @param anyway  order one block of each set if no file is known to be damaged
    void requestFirstBlocks(bool anyway);
    /// True from start() until the pass has ended or been let go.
    [[nodiscard]] bool isRunning() const { return pass != nullptr; }
    /// The running pass has found each set correct, or has made it so.
    [[nodiscard]] bool isInOrder() const;
    /// Forgets the running pass, which has repaired all sets: all files of the job are whole.
    void bookRepair();
    /// Forgets the running pass, whose sets are in order or have been repaired: their files are
    /// whole, and others need not be. Returns whether any set has been repaired.
    bool bookProof();
    /// Ends the running pass without another signal.
    void abort();
    /// Files that the program has made and the job does not list.
    [[nodiscard]] const QStringList &restoredFiles() const { return restored; }

signals:
    /// The download of a volume may begin.
    void volumeOrdered();
    void fileRenamed(NzbFile *file);
    /// The sets need more blocks, and volumes are about to be ordered.
    void blocksMissing();
    /// The sets are @p repaired, or cannot be, or are in order if isInOrder() says so.
    void ended(bool repaired);
    /// @param answered  false if the pass has emitted no other signal
    void passEnded(bool answered);

protected slots:
    void par2RepairComplete();
    void par2Failed();
    void par2NeedMoreBlocks(Nzb *nzb, int number, const QString &volumename);

private:
    [[nodiscard]] bool requestBlocks(int number, const QString &volumeName);
    void takeNames();

    Nzb *nzb;
    Par2Process *pass = nullptr; ///< a child; it deletes itself when it has ended
    QStringList restored;
};
