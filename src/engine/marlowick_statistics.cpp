// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The look at all connections every two seconds: time-outs, speed and time left.
#include <algorithm>
#include <limits>

#include "engine/marlowick.h"
#include "queue/queue.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

namespace {

int clampedToInt(quint64 value)
{
    constexpr quint64 most = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(value, most));
}

} // namespace

void Marlowick::checkSockets() { updateStatistics(checkTimeouts()); }

/// Ends the connections that have been silent for too long; returns the bytes that all of them have
/// received so far.
quint64 Marlowick::checkTimeouts()
{
    const int timeout = settings_->get(Settings::networkTimeout);
    quint64 total = 0;
    const QList<NNTP *> alive = connections;
    for (NNTP *connection : alive) {
        total += connection->bytesReceived();
        if (timeout <= connection->idleSeconds())
            connection->abortWithError(NNTP::NetworkTimeout, u"Network time-out"_s);
    }
    return total;
}

void Marlowick::updateStatistics(quint64 total)
{
    // A total that shrinks means that a connection has left the pool: there is no speed to tell.
    const bool comparable = speedClock.isValid() && lastBytesReceived <= total;
    if (comparable) {
        const auto elapsed = static_cast<quint64>(std::max<qint64>(speedClock.elapsed(), 1));
        // Whole bytes per millisecond first: the speed moves in steps of 1000 bytes per second.
        bytesPerSecond = clampedToInt((total - lastBytesReceived) / elapsed * 1000);
        const quint64 left = queue_->bytesLeft();
        const quint64 secondsLeft =
            bytesPerSecond ? left / static_cast<quint64>(bytesPerSecond) : 0;
        emit downloadStatistics(bytesPerSecond, left, clampedToInt(secondsLeft));
    }
    lastBytesReceived = total;
    speedClock.start();
}
