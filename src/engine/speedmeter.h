// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QObject>

class Queue;

/// Tells the speed of the download, and the time left, from one look at the connections to the
/// next. Lives on the GUI thread.
class SpeedMeter final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SpeedMeter)

public:
    /// @param queue  must outlive the meter
    explicit SpeedMeter(const Queue &queue, QObject *parent = nullptr);

    /// @param total  bytes that the connections now in the pool have received so far
    void update(quint64 total);

signals:
    /// As the engine's. Not the first time, nor when a connection has left the pool.
    void downloadStatistics(int speedinbytespsec, quint64 bytesleft, int secondsleft);

private:
    const Queue &queue;
    QElapsedTimer speedClock; ///< since the last measurement
    quint64 lastBytesReceived = 0;
};
