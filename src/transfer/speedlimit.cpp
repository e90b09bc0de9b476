// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/speedlimit.h"

#include <algorithm>
#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr auto refillInterval = 50ms;
constexpr std::chrono::microseconds longestSaving = 250ms; ///< of unused rate, after a pause
constexpr qint64 leastShare = 1024; ///< bytes; less is not worth a turn
/// A few bytes could cut the end of an article a second time, which would not be recognised then.
constexpr qint64 leastGrant = 16;

} // namespace

SpeedLimit::SpeedLimit(QObject *parent)
    : QObject(parent)
{
    timer.setInterval(refillInterval);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, [this] {
        refill(std::chrono::microseconds(sinceRefill.nsecsElapsed() / 1000));
        sinceRefill.start();
    });
}

void SpeedLimit::setRate(qint64 bytesPerSecond)
{
    if (std::exchange(rate, bytesPerSecond) == bytesPerSecond)
        return;
    allowance = 0;
    share = 0;
    sinceRefill.start();
    if (isActive()) {
        timer.start();
    } else {
        timer.stop();
        refill({}); // for those who wait
    }
}

qint64 SpeedLimit::take(qint64 wanted, QObject *reader, const std::function<void()> &resume)
{
    if (!isActive())
        return wanted;
    const qint64 most = std::min(allowance, share);
    const qint64 granted = most < std::min(wanted, leastGrant) ? 0 : std::min(wanted, most);
    allowance -= granted;
    if (granted < wanted && !isWaiting(reader))
        waiting.append({reader, resume});
    return granted;
}

bool SpeedLimit::isWaiting(const QObject *reader) const
{
    return std::any_of(waiting.cbegin(), waiting.cend(),
                       [reader](const Waiting &entry) { return entry.reader == reader; });
}

/// Readers for whom nothing is left stay ahead of those that wait again.
void SpeedLimit::refill(std::chrono::microseconds passed)
{
    const qint64 most = rate * longestSaving.count() / 1'000'000;
    const qint64 more = rate * std::min(passed, longestSaving).count() / 1'000'000;
    allowance = std::min(allowance + more, most);
    QList<Waiting> readers = std::exchange(waiting, {});
    share = std::max(leastShare, allowance / std::max<qint64>(1, readers.size()));
    while (!readers.isEmpty() && (allowance >= leastGrant || !isActive())) {
        const Waiting first = readers.takeFirst();
        if (first.reader)
            first.resume();
    }
    waiting = readers + waiting;
}
