// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "download_job.h"

#include <QFile>

#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include "support/articles.h"

using namespace Qt::StringLiterals;

namespace {

double wallTime()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double processorTime()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

qint64 residentKib()
{
    QFile statm(u"/proc/self/statm"_s);
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    return statm.readAll().split(' ').at(1).toLongLong() * sysconf(_SC_PAGESIZE) / 1024;
}

} // namespace

QByteArray DownloadJob::articleData() { return randomBytes(1, articleSize); }

CostMeter::CostMeter()
    : startTime(wallTime())
    , startProcessorTime(processorTime())
{
}

void CostMeter::reached(double share)
{
    static constexpr std::array<double, 3> at{0.25, 0.5, 1.0};
    while (marks < at.size() && share >= at[marks])
        resident[marks++] = residentKib();
}

DownloadCost CostMeter::cost() const
{
    return {.seconds = wallTime() - startTime,
            .processorSeconds = processorTime() - startProcessorTime,
            .resident = resident};
}
