// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include "engine/jobarchives.h"
#include "engine/jobjoin.h"
#include "engine/jobnames.h"
#include "engine/jobrepair.h"

class PostProcessor;
class RarHandler;
class Settings;

/// The post-processing of one job: owns the running steps, and decides what comes next: repair,
/// extraction of RAR, joining, ZIP and 7z archives, completion, in this order. Names come first.
///
/// No stage is kept: when a step ends, processNzb() decides again from the state of the job and the
/// disk. Emits the signals of the PostProcessor, since a receiver may cause this object to be
/// destroyed. Lives on the GUI thread.
class JobWork final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(JobWork)

public:
    /// What the user has asked for, whatever the settings say.
    enum class Anew {
        No,
        Repair, ///< and then to unpack
        Unpack,
        UnpackUnproved, ///< only the archives themselves can show what is whole
    };

    JobWork(PostProcessor &post, const Settings &settings, Nzb *nzb);
    /// Waits until no archive of the job is being unpacked. A join goes on, but is not reported.
    ~JobWork() override;

    /// Gives a file that has arrived the name of its post. To be called before fileComplete().
    void takePostedName(NzbFile *nzbfile) { names.takePostedName(nzbfile); }
    /// Gives the files that have arrived the names that their content tells, if that may help.
    void takeTrueNames();
    /// Whether names of files tell nothing, see JobNames::areObscure().
    [[nodiscard]] bool hasObscureNames() const { return names.areObscure(); }
    /// A file has arrived: an archive may be unpacked during the download.
    void feedExtraction(NzbFile *nzbfile);
    /// Does what comes next, if everything that was wanted has arrived. If the post-processing is
    /// repeated, it is enough that no file is being fetched.
    void processIfReady();
    /// The answer to passwordNeeded(), empty to decline.
    void setRarPassword(const QString &password);

    /// The first step of repeating the post-processing.
    [[nodiscard]] Anew whatIsWanted() const;
    void startAnew(Anew wanted);
    [[nodiscard]] bool isJoining() const { return join.isRunning(); }
    /// Repeats the post-processing when the join has ended, which cannot be stopped.
    void takeAnewAfterJoin() { anewAfterJoin = true; }
    /// Blocks until nothing writes in the job's folder any more, and the job knows all its files.
    /// Delete this object next: calls that are already queued to it would still be delivered.
    /// @param atOnce  even within an archive
    void end(bool atOnce);

    /// Whether files can be renamed, a repair can be tried, an archive unpacked, or a series
    /// joined.
    [[nodiscard]] bool hasWorkLeft() const;
    /// Goes on with a job that an earlier run of the program did not finish.
    void resume();
    [[nodiscard]] bool isBusy() const;

protected slots:
    void rarErrorProcessing(Nzb *nzb, const QString &rarfile);
    void rarProcessingComplete();
    void rarPasswordNeeded(Nzb *nzb, const QString &rarfile);
    void rarResting();

private:
    enum class RepairState {
        Open,
        Waits, ///< until the extraction sleeps or has ended
        Failed, ///< the last repair failed, or none was possible
    };

    [[nodiscard]] bool isReady() const;
    void processNzb();
    [[nodiscard]] bool isWrong() const;
    [[nodiscard]] bool endAnew();

    [[nodiscard]] bool wantsRepair() const;
    void startRepair();
    void endRepair(bool repaired);
    void settleRepair();
    void repairFailed(const QString &status);
    void passEnded(bool answered);
    void showRepair(const QString &status);

    [[nodiscard]] RarHandler *rarHandlerFor(Nzb *job);
    /// When the post-processing is repeated and the repair has failed, only an archive with whole
    /// volumes is unpacked. Without PAR2 files any archive is tried.
    [[nodiscard]] bool mayUnpack() const;
    [[nodiscard]] bool unpack();
    [[nodiscard]] JobArchives::Trust trust() const
    {
        return anew == Anew::UnpackUnproved ? JobArchives::Trust::Disk
                                            : JobArchives::Trust::Articles;
    }
    [[nodiscard]] bool unpacksDamaged() const;
    void keepVolumes();

    void joinEnded(bool joined);
    [[nodiscard]] bool hasFailed() const;

    void setStatus(const QString &status);
    void showFailure(const QString &reason);

    PostProcessor &post;
    const Settings &settings;
    Nzb *nzb;
    JobNames names;
    JobRepair repair;
    JobJoin join;
    JobArchives archives;
    RarHandler *rarHandler = nullptr; ///< a child of the job; made when it is first needed
    Anew anew = Anew::No;
    RepairState repairState = RepairState::Open;
    bool anewAfterJoin = false;
    bool lookAgain = false; ///< call processNzb() when the repair has ended
    QString failure; ///< the status text of a failed or suspended extraction
};
