// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/speedmeter.h"

#include <algorithm>
#include <limits>

#include "queue/queue.h"

namespace {

int clampedToInt(quint64 value)
{
    constexpr quint64 most = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(value, most));
}

} // namespace

SpeedMeter::SpeedMeter(const Queue &queue, QObject *parent)
    : QObject(parent)
    , queue(queue)
{
}

void SpeedMeter::update(quint64 total)
{
    // If the total shrinks, a connection has left the pool, and the speed is unknown.
    if (speedClock.isValid() && lastBytesReceived <= total) {
        const auto elapsed = static_cast<quint64>(std::max<qint64>(speedClock.elapsed(), 1));
        // Deliberate: whole bytes per millisecond first, so the speed moves in steps of 1000 bytes
        // per second.
        const int bytesPerSecond = clampedToInt((total - lastBytesReceived) / elapsed * 1000);
        const quint64 left = queue.bytesLeft();
        const quint64 secondsLeft =
            bytesPerSecond ? left / static_cast<quint64>(bytesPerSecond) : 0;
        emit downloadStatistics(bytesPerSecond, left, clampedToInt(secondsLeft));
    }
    lastBytesReceived = total;
    speedClock.start();
}
