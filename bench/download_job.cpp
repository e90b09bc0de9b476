// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "download_job.h"

#include <QFile>
#include <QSettings>

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

void DownloadJob::readSet(const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read", qPrintable(name));
    set = file.readAll().split('\n');
}

void DownloadJob::configure(QSettings &settings) const
{
    settings.setValue("hostname"_L1, u"127.0.0.1"_s);
    settings.setValue("port"_L1, port);
    settings.setValue("ssl"_L1, ssl);
    settings.setValue("threads"_L1, connections);
    settings.setValue("networkTimeout"_L1, 30);
    settings.setValue("downloadFolder"_L1, folder);
    settings.setValue("rarHandling"_L1, u"during"_s);
}

void DownloadJob::verify(const QString &downloads) const
{
    const QByteArray expected = articleData();
    for (qint64 number = 0; number < files(); ++number) {
        QFile file(downloads + u'/' + QString::fromLatin1(fileName(number)));
        if (!file.open(QIODevice::ReadOnly) || file.size() != parts(number) * articleSize)
            qFatal("%s has the wrong size", qPrintable(file.fileName()));
        while (!file.atEnd()) {
            if (file.read(articleSize) != expected)
                qFatal("%s has wrong bytes", qPrintable(file.fileName()));
        }
    }
}

CostMeter::CostMeter()
    : startTime(wallTime())
    , startProcessorTime(processorTime())
{
}

void CostMeter::reached(double share)
{
    static constexpr std::array<double, 4> at{0, 0.25, 0.5, 1};
    while (marks < at.size() && share >= at[marks])
        resident[marks++] = residentKib();
}

DownloadCost CostMeter::cost() const
{
    return {.seconds = wallTime() - startTime,
            .processorSeconds = processorTime() - startProcessorTime,
            .resident = resident};
}
