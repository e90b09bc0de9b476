// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include "engine/jobrepair.h"

class FileCombiner;
class PostProcessor;
class RarHandler;
class Settings;

/// What is at work on one job after its download, and the decision what comes next: repair,
/// extraction, joining, completion, in this order.
///
/// No stage is kept: each step that ends has processNzb() take the whole decision again, by what
/// the job and the disk hold then. It speaks by the signals of the PostProcessor, whose receivers
/// may have it destroyed. Lives on the GUI thread.
class JobWork final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(JobWork)

public:
    /// What the user has asked for, whatever the settings say.
    enum class Anew {
        No,
        Repair, ///< and then to unpack
        Unpack,
        UnpackUnproved, ///< nothing but the archives themselves can tell what is whole
    };

    JobWork(PostProcessor &post, const Settings &settings, Nzb *nzb);
    /// Waits until no archive of the job is being unpacked. A join goes on unheard.
    ~JobWork() override;

    /// A file has come whole: an archive may be unpacked while the job arrives.
    void feedExtraction(NzbFile *nzbfile);
    /// All that was wanted has arrived. Of a job that is taken anew that is what is there.
    [[nodiscard]] bool isReady() const;
    void processNzb();
    /// The answer to passwordNeeded(), empty to decline.
    void setRarPassword(const QString &password);

    /// What taking the job anew has to begin with.
    [[nodiscard]] Anew whatIsWanted() const;
    void startAnew(Anew wanted);
    [[nodiscard]] bool isJoining() const { return join != nullptr; }
    /// Has the job taken anew when its join has ended, for that cannot be stopped.
    void takeAnewAfterJoin() { anewAfterJoin = true; }
    /// Waits until nothing writes in the job's folder any more, and all that was written is known.
    /// Nothing else may be called afterwards.
    /// @param atOnce  in the midst of an archive
    void end(bool atOnce);

    /// A repair can be tried, or there is an archive to be unpacked or a series to be joined.
    [[nodiscard]] bool hasWorkLeft() const;
    /// Goes on with a job that an earlier run of the program did not finish.
    void resume();
    [[nodiscard]] bool isBusy() const;

protected slots:
    void rarErrorProcessing(Nzb *nzb, const QString &rarfile);
    void rarProcessingComplete();
    void rarPasswordNeeded(Nzb *nzb, const QString &rarfile);
    void rarResting();
    void splitCombinerFinished(Nzb *nzb, const QString &file);

private:
    enum class RepairState {
        Open,
        Waits, ///< for the extraction to rest
        Failed, ///< the last one, or there could be none
    };

    [[nodiscard]] bool endAnew();

    [[nodiscard]] bool wantsRepair() const;
    void startRepair();
    void endRepair(bool repaired);
    void settleRepair();
    void repairFailed(const QString &status);
    void passEnded(bool answered);
    void showRepair(const QString &status);

    [[nodiscard]] RarHandler *rarHandlerFor(Nzb *job);
    [[nodiscard]] bool mayUnpack() const;
    [[nodiscard]] bool unpack();
    [[nodiscard]] bool unpacksDamaged() const;
    void keepVolumes();

    [[nodiscard]] bool startCombiners();
    bool endJoin();

    void setStatus(const QString &status);
    void showFailure(const QString &reason);

    PostProcessor &post;
    const Settings &settings;
    Nzb *nzb;
    JobRepair repair;
    RarHandler *rarHandler = nullptr; ///< a child of the job; from the first need of it on
    FileCombiner *join = nullptr; ///< while it runs; it deletes itself
    Anew anew = Anew::No;
    RepairState repairState = RepairState::Open;
    bool anewAfterJoin = false;
    bool lookAgain = false; ///< at the job, once the repair has ended
    QString failure; ///< or suspension of the extraction, as the status tells it
};
