// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Whether the program's memory grows with what it has downloaded. The files are emptied as they are
// completed.
//
//     bench_endurance [bytes]
#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

#include "measurement.h"

using namespace Qt::StringLiterals;

namespace {

QList<double> measure(const QString & /*client*/, const DownloadJob &job)
{
    const DownloadCost cost = downloadDiscarded(job);
    QList<double> numbers{cost.seconds};
    for (const qint64 kib : cost.resident)
        numbers.append(static_cast<double>(kib) / 1024);
    return numbers;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (isClient())
        return runClient(measure);

    const qint64 bytes = QCoreApplication::arguments().value(1, u"100000000000"_s).toLongLong();
    const qint64 articles = std::max<qint64>(1, bytes / DownloadJob::articleSize);
    const QList<double> numbers = Measurements().run(u"engine"_s, {}, articles);
    std::printf("%lld bytes in %lld articles, %.0f s\n"
                "resident after the first file %.1f MiB, at 25 %% %.1f, at 50 %% %.1f, at the end "
                "%.1f MiB\n",
                articles * DownloadJob::articleSize, articles, numbers[0], numbers[1], numbers[2],
                numbers[3], numbers[4]);
    return 0;
}
