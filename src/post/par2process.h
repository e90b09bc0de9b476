// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QStringList>

#include "post/par2output.h"

class Nzb;

/// One pass of the external PAR2 program over the files of a job.
///
/// Connect the signals, then call startNextGroup(). The program runs once for each set of volumes,
/// one set after another, in the folder of the volumes; what it prints decides what comes next.
/// Needs an event loop. There is no time-out. Deleting the object kills the running program, which
/// may leave a half-written file beside the damaged one. Any slot may delete the object.
class Par2Process : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Par2Process)
    Q_MOC_INCLUDE("queue/nzb.h")

public:
    /// @param nzb  handed back in the signals, never looked into; they carry null once it is gone
    /// @param files  full paths of PAR2 files known to lie in the job's folder: the program writes
    ///     beside them, and useless volumes are deleted. Only names with ".vol" are looked at.
    /// @throws std::runtime_error  with a text for the user when there is no PAR2 program
    Par2Process(Nzb *nzb, const QStringList &files, QObject *parent);
    ~Par2Process() override;

    /// Names the files, in the folder of the volumes, in which par2 looks for the data of the sets,
    /// whatever they are called. Otherwise, and if the names are too long for a command line, par2
    /// looks in all files of the folder.
    void setDataFiles(const QStringList &names);
    /// Starts on the next set; after the last one tells how the pass ended, before it returns.
    void startNextGroup();

    /// Each set was found correct or has been repaired.
    [[nodiscard]] bool isInOrder() const { return failed == 0 && repaired + allCorrect != 0; }
    [[nodiscard]] bool hasRepaired() const { return repaired != 0; }
    /// The names of the files of all sets that are in order; and for some of them, the name of
    /// another file in which the data was found. They come from the volumes and may be anything.
    [[nodiscard]] const QStringList &targets() const { return targets_; }
    [[nodiscard]] const QMap<QString, QString> &foundIn() const { return foundIn_; }

signals:
    /// All sets are done, one at least was repaired, none failed and none was found correct.
    void repairComplete(Nzb *nzb);
    /// All sets are done and one at least was found correct, whatever became of the others.
    void nothingToRepair(Nzb *nzb);
    /// The set needs @p number more recovery blocks. @p volumename is the path of its volumes up to
    /// ".vol". The pass may go on with other sets: it is over with passEnded().
    void needMoreBlocks(Nzb *nzb, int number, QString volumename);
    /// The pass is over. This is the last signal of each pass, unless the program never ends.
    /// @p answered is false when none of the other signals came: there was no set, the program
    /// could not be started, or a set failed with unknown output and none was found correct.
    void passEnded(Nzb *nzb, bool answered);

protected:
    /// The first of @p candidates that exists is the program.
    Par2Process(Nzb *nzb, const QStringList &files, QObject *parent, const QStringList &candidates);

protected slots:
    void onFinished();

private:
    void startVolume(const QString &group, const QString &file);
    void readOutput() { output.append(process->readAll()); }
    void onError(QProcess::ProcessError error);
    void finishGroup(int &counter);
    void stopForBlocks(int number);
    void dropCorruptVolume();
    [[nodiscard]] bool requestBlocks(int number);

    QPointer<Nzb> nzb;
    QMap<QString, QStringList> groups;
    QMap<QString, QStringList>::iterator nextGroup;
    QString executable;
    QStringList dataFiles{QStringLiteral("*")}; ///< as arguments of the program
    QProcess *process = nullptr; // while it runs
    Par2Output output;
    QString currentGroup;
    QStringList targets_;
    QMap<QString, QString> foundIn_;
    int repaired = 0;
    int failed = 0;
    int allCorrect = 0;
    bool answered = false;
};
