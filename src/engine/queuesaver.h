// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <future>
#include <optional>

#include "engine/queuefile.h"

class Nzb;

/// Writes the queue file on a thread, one save after another, so that the window and the
/// connections need not wait for it. Lives on the GUI thread.
class QueueSaver final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueSaver)

public:
    /// @param queueFile  must outlive the object; others may use it only after wait()
    explicit QueueSaver(QueueFile &queueFile);
    /// Waits, and reports no failure.
    ~QueueSaver() override;

    /// Saves the queue as it is now. A save that is under way is ended first; of several that wait
    /// for it, only the last is written.
    void save(const QList<Nzb *> &jobs);
    /// Returns when nothing is left to be written, and all failures have been reported.
    void wait();

signals:
    /// The file could not be opened.
    void failed();

private:
    void start();
    void finish();

    QueueFile &file;
    std::optional<QList<SavedNzb>> waiting; ///< what is to be written next
    std::future<QueueFile::Written> underWay; ///< valid while a save is under way
    int started = 0; ///< tells the end of the save under way from that of an earlier one
};
