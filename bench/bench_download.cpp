// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The throughput of a whole download beside the least that receiving the same bytes costs.
//
//     bench_download [bytes] [rounds] [connections]
#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

#include "measurement.h"

using namespace Qt::StringLiterals;

namespace {

enum Column { Seconds, ProcessorSeconds, FirstResident, LastResident = FirstResident + 3 };

QList<double> measure(const QString &client, const DownloadJob &job)
{
    const auto download = client == "engine"_L1    ? downloadWithEngine
                          : client == "watched"_L1 ? downloadWatched
                                                   : downloadBare;
    const DownloadCost cost = download(job);
    QList<double> numbers{cost.seconds, cost.processorSeconds};
    for (const qint64 kib : cost.resident)
        numbers.append(static_cast<double>(kib) / 1024);
    return numbers;
}

void printRow(const char *link, const char *client, const QList<QList<double>> &rounds,
              double bytes)
{
    std::printf("%-6s %-7s %8.0f MB/s %7.3f s/GB   %6.1f %6.1f MiB\n", link, client,
                bytes / 1e6 / medianOf(rounds, Seconds),
                medianOf(rounds, ProcessorSeconds) / (bytes / 1e9), medianOf(rounds, FirstResident),
                medianOf(rounds, LastResident));
}

void compare(const Measurements &measurements, const Line &line, qint64 articles, int rounds)
{
    QList<QList<double>> bare;
    QList<QList<double>> engine;
    QList<QList<double>> watched;
    for (int round = 0; round < rounds; ++round) {
        bare.append(measurements.run(u"bare"_s, line, articles));
        engine.append(measurements.run(u"engine"_s, line, articles));
        watched.append(measurements.run(u"watched"_s, line, articles));
    }
    const char *link = line.ssl ? "TLS" : "plain";
    const auto bytes = static_cast<double>(articles * DownloadJob::articleSize);
    printRow(link, "bare", bare, bytes);
    printRow(link, "engine", engine, bytes);
    printRow(link, "watched", watched, bytes);
    std::printf("%-6s engine/bare: %.2f of the throughput, %.2f times the processor time\n", link,
                medianOf(bare, Seconds) / medianOf(engine, Seconds),
                medianOf(engine, ProcessorSeconds) / medianOf(bare, ProcessorSeconds));
    std::printf("%-6s watched/engine: %.2f of the throughput\n", link,
                medianOf(engine, Seconds) / medianOf(watched, Seconds));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (isClient())
        return runClient(measure);

    const QStringList arguments = QCoreApplication::arguments();
    const qint64 bytes = arguments.value(1, u"2000000000"_s).toLongLong();
    const int rounds = std::max(1, arguments.value(2, u"3"_s).toInt());
    const qint64 articles = std::max<qint64>(1, bytes / DownloadJob::articleSize);
    const int connections = arguments.value(3, u"8"_s).toInt();
    const Measurements measurements;
    std::printf("%lld bytes in %lld articles, %d connections, median of %d\n"
                "link   client      throughput    processor   resident at the beginning and end\n",
                articles * DownloadJob::articleSize, articles, connections, rounds);
    std::fflush(stdout);
    for (const bool ssl : {false, true})
        compare(measurements, {.ssl = ssl, .connections = connections}, articles, rounds);
    return 0;
}
