// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What a distant server leaves of the line: many connections, each of which waits for 20 ms before
// every article. Beside it stand a client that does nothing but receive, and what the line can
// carry by arithmetic: connections times article size over delay plus transfer.
//
//     bench_distance [bytes] [rounds]
#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

#include "measurement.h"

using namespace Qt::StringLiterals;

namespace {

enum Column { Seconds, ProcessorSeconds };

/// A line of 2 Gbit/s, shared by all connections.
const Line line{.connections = 50, .delay = 20, .rate = 5'000'000};
/// A yEnc article is so much longer than what it holds: escapes, line ends, headers.
constexpr double encoding = 1.033;

QList<double> measure(const QString &client, const DownloadJob &job)
{
    const DownloadCost cost = client == "engine"_L1 ? downloadWithEngine(job) : downloadBare(job);
    return {cost.seconds, cost.processorSeconds};
}

/// Decoded bytes a second.
double arithmeticLimit()
{
    const double transfer = DownloadJob::articleSize * encoding / line.rate;
    return line.connections * DownloadJob::articleSize / (line.delay / 1e3 + transfer);
}

void printRow(const char *client, const QList<QList<double>> &rounds, double bytes)
{
    const double rate = bytes / medianOf(rounds, Seconds);
    std::printf("%-7s %6.0f MB/s = %.2f of the limit, %.3f s/GB\n", client, rate / 1e6,
                rate / arithmeticLimit(), medianOf(rounds, ProcessorSeconds) / (bytes / 1e9));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (isClient())
        return runClient(measure);

    const QStringList arguments = QCoreApplication::arguments();
    const qint64 bytes = arguments.value(1, u"2000000000"_s).toLongLong();
    const int rounds = std::max(1, arguments.value(2, u"3"_s).toInt());
    const qint64 articles = std::max<qint64>(1, bytes / DownloadJob::articleSize);
    const Measurements measurements;
    QList<QList<double>> bare;
    QList<QList<double>> engine;
    for (int round = 0; round < rounds; ++round) {
        bare.append(measurements.run(u"bare"_s, line, articles));
        engine.append(measurements.run(u"engine"_s, line, articles));
    }
    const auto decoded = static_cast<double>(articles * DownloadJob::articleSize);
    std::printf(
        "%.0f bytes, %d connections, %d ms before each article, then %.1f MB/s each, median "
        "of %d\nlimit   %6.0f MB/s\n",
        decoded, line.connections, line.delay, line.rate / 1e6, rounds, arithmeticLimit() / 1e6);
    printRow("bare", bare, decoded);
    printRow("engine", engine, decoded);
    return 0;
}
