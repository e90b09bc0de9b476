// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class FileCombiner;
class Nzb;
class PostProcessor;

/// The joining of the split files of one job, one series at a time. A join cannot be stopped: it
/// belongs to the PostProcessor, and so outlives the job if need be. Lives on the GUI thread.
class JobJoin final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(JobJoin)

public:
    JobJoin(Nzb *nzb, PostProcessor &post, QObject *parent);

    /// Whether there is a series without gaps.
    [[nodiscard]] bool hasWork() const;
    /// Starts the join of the next series without gaps, which ends with ended(). False if there is
    /// none.
    [[nodiscard]] bool start();
    [[nodiscard]] bool isRunning() const { return join != nullptr; }
    /// Waits until the join has ended. No signal follows.
    void end();

signals:
    /// @p joined is false after a failure, which the PostProcessor has reported.
    void ended(bool joined);

protected slots:
    void splitCombinerFinished(Nzb *nzb, const QString &file);

private:
    Nzb *nzb;
    PostProcessor &post;
    FileCombiner *join = nullptr; ///< while it runs; it deletes itself
};
