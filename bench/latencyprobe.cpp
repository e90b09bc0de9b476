// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "latencyprobe.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <chrono>

using Clock = std::chrono::steady_clock;

namespace {

struct Stamp final : QEvent {
    Stamp()
        : QEvent(User)
    {
    }

    const Clock::time_point posted = Clock::now();
};

} // namespace

void LatencyProbe::start()
{
    poster = std::jthread([this](const std::stop_token &stopped) {
        while (!stopped.stop_requested()) {
            QCoreApplication::postEvent(this, new Stamp);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
}

QList<double> LatencyProbe::stop()
{
    poster.request_stop();
    poster.join();
    QCoreApplication::sendPostedEvents(this); // the last wait may be the longest
    std::sort(waits.begin(), waits.end());
    return waits;
}

void LatencyProbe::customEvent(QEvent *event)
{
    const auto *stamp = static_cast<Stamp *>(event);
    const std::chrono::duration<double, std::milli> wait = Clock::now() - stamp->posted;
    waits.append(wait.count());
}
