// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QObject>

class Queue;

/// Measures the speed of the download, between two looks at the connections, and from it the time
/// that is left. Lives on the GUI thread.
class SpeedMeter final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SpeedMeter)

public:
    /// @param queue  must outlive the meter
    explicit SpeedMeter(const Queue &queue, QObject *parent = nullptr);

    /// @param total  bytes that the connections now in the pool have received so far
    void update(quint64 total);

signals:
    /// See the engine's signal. Not emitted the first time, nor after a connection left the pool.
    void downloadStatistics(int speedinbytespsec, quint64 bytesleft, int secondsleft);

private:
    const Queue &queue;
    QElapsedTimer speedClock; ///< since the last measurement
    quint64 lastBytesReceived = 0;
};
