// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "latencyprobe.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

using Clock = std::chrono::steady_clock;

namespace {

struct Stamp final : QEvent {
    Stamp()
        : QEvent(User)
    {
    }

    const Clock::time_point posted = Clock::now();
};

double processorMsecOfThread()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace

void LatencyProbe::start()
{
    processorMsec = processorMsecOfThread();
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
    const double before = std::exchange(processorMsec, processorMsecOfThread());
    longestTurn_ = std::max(longestTurn_, processorMsec - before);
}
