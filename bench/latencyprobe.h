// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>

#include <thread>

/// Measures how long the event loop of its thread leaves an event waiting, as it would the user's
/// input. Another thread posts one each millisecond, whether or not those before it have been
/// delivered, so that a long gap counts for all that would have come in it.
class LatencyProbe final : public QObject {
public:
    void start();
    /// @returns all waits in milliseconds, ascending
    [[nodiscard]] QList<double> stop();
    /// Milliseconds of processor time that the thread has spent between two deliveries at the most:
    /// the longest wait without what other processes have added to it.
    [[nodiscard]] double longestTurn() const { return longestTurn_; }

protected:
    void customEvent(QEvent *event) override;

private:
    QList<double> waits;
    double processorMsec = 0; ///< of the thread at the last delivery
    double longestTurn_ = 0;
    std::jthread poster;
};
