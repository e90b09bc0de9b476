// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QStringList>

class Nzb;
class NzbFile;
class Par2Process;

/// The repair of one job: the volumes to be fetched for it, the passes of the PAR2 program, and the
/// names that the program gives to files. What is to follow is not decided here. Lives on the GUI
/// thread. A receiver may delete the object in any of its signals.
class JobRepair final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(JobRepair)

public:
    JobRepair(Nzb *nzb, QObject *parent);

    /// Starts a pass with the PAR2 files @p paths. It ends with passEnded().
    /// @throws std::runtime_error  with a text for the user when there is no PAR2 program
    void start(const QStringList &paths);
    /// Without a PAR2 file on disk nobody knows yet how many blocks are missing: asks for one for
    /// each damaged file. ended() tells if there are not so many.
    /// @param anyway  for one of each set if no file is known to be damaged
    void requestFirstBlocks(bool anyway);
    /// True from start() until the pass has ended or been let go.
    [[nodiscard]] bool isRunning() const { return pass != nullptr; }
    /// The running pass has found each set correct, or has made it so.
    [[nodiscard]] bool isInOrder() const;
    /// All that the running pass had to tell is known. It is valid until it has ended.
    const Par2Process *letGo();
    /// Ends the running pass without another signal.
    void abort();
    /// Files that the program has made and the job does not list.
    [[nodiscard]] const QStringList &restoredFiles() const { return restored; }

signals:
    /// The download of a volume may begin.
    void volumeOrdered();
    void fileRenamed(NzbFile *file);
    /// The sets lack blocks; volumes are about to be ordered.
    void blocksMissing();
    /// The sets are repaired, or cannot be: or are in order, if isInOrder() says so.
    void ended(bool repaired);
    /// @param answered  false when the pass has told none of the others
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
