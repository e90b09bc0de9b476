// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The throughput of a whole download beside the least that receiving the same bytes costs.
//
//     bench_download [bytes] [rounds]
//
// Each measurement is a process of its own, and so is the server, so that processor time and
// memory are those of the client alone. All files go to /dev/shm and are removed.
#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QSslConfiguration>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "download_job.h"
#include "support/testcertificate.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double megabyte = 1e6;

void write(const QString &path, const QByteArray &text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("%s cannot be written", qPrintable(path));
}

/// The server in its own process, for as long as this object lives.
class Server final {
public:
    Server(const QString &certificates, bool ssl)
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(
            QCoreApplication::applicationDirPath() + u"/loopback_server"_s,
            ssl ? QStringList{certificates + u"/server.pem"_s, certificates + u"/key.pem"_s}
                : QStringList());
        if (!process.waitForReadyRead(30'000))
            qFatal("The server does not start: %s", qPrintable(process.errorString()));
        port = process.readLine().trimmed();
    }
    ~Server()
    {
        process.closeWriteChannel();
        process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Server)

    QByteArray port;

private:
    QProcess process;
};

/// The child's half: measures one download and prints its cost.
int measure(const QStringList &arguments)
{
    const QString client = arguments.at(2);
    DownloadJob job;
    job.ssl = arguments.at(3) == "ssl"_L1;
    job.port = arguments.at(4).toUShort();
    job.articles = arguments.at(5).toLongLong();
    job.folder = arguments.at(7);
    const TrustedAuthority trusted(QSslCertificate::fromPath(arguments.at(6)).constFirst());
    // What the program logs on stderr is formatted, but would only be in the table's way.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    const auto download = client == "engine"_L1 ? downloadWithEngine
                          : job.ssl             ? downloadBareSsl
                                                : downloadBarePlain;
    const DownloadCost cost = download(job);
    std::printf("%.6f %.6f %lld %lld %lld\n", cost.seconds, cost.processorSeconds, cost.resident[0],
                cost.resident[1], cost.resident[2]);
    return 0;
}

DownloadCost measureInChild(const QString &client, bool ssl, qint64 articles,
                            const QString &certificates)
{
    const Server server(certificates, ssl);
    QTemporaryDir scratch(u"/dev/shm/marlowick-bench-XXXXXX"_s);
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {u"--measure"_s, client, ssl ? u"ssl"_s : u"plain"_s,
                 QString::fromLatin1(server.port), QString::number(articles),
                 certificates + u"/authority.pem"_s, scratch.path()});
    if (!child.waitForFinished(-1) || child.exitStatus() != QProcess::NormalExit
        || child.exitCode() != 0) {
        scratch.remove();
        qFatal("A measurement failed");
    }
    const QList<QByteArray> fields = child.readAllStandardOutput().simplified().split(' ');
    return {.seconds = fields.at(0).toDouble(),
            .processorSeconds = fields.at(1).toDouble(),
            .resident = {fields.at(2).toLongLong(), fields.at(3).toLongLong(),
                         fields.at(4).toLongLong()}};
}

DownloadCost median(std::vector<DownloadCost> costs)
{
    const auto middle = costs.begin() + static_cast<std::ptrdiff_t>(costs.size() / 2);
    std::nth_element(costs.begin(), middle, costs.end(),
                     [](const auto &a, const auto &b) { return a.seconds < b.seconds; });
    return *middle;
}

void printRow(const char *link, const char *client, const DownloadCost &cost, double bytes)
{
    std::printf("%-6s %-7s %8.0f MB/s %7.3f s/GB   %6.1f %6.1f %6.1f MiB\n", link, client,
                bytes / megabyte / cost.seconds, cost.processorSeconds / (bytes / 1e9),
                static_cast<double>(cost.resident[0]) / 1024,
                static_cast<double>(cost.resident[1]) / 1024,
                static_cast<double>(cost.resident[2]) / 1024);
}

void compare(bool ssl, qint64 articles, int rounds, const QString &certificates)
{
    std::vector<DownloadCost> bare;
    std::vector<DownloadCost> engine;
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(measureInChild(u"bare"_s, ssl, articles, certificates));
        engine.push_back(measureInChild(u"engine"_s, ssl, articles, certificates));
    }
    const char *link = ssl ? "TLS" : "plain";
    const auto bytes = static_cast<double>(articles * DownloadJob::articleSize);
    const DownloadCost least = median(bare);
    const DownloadCost whole = median(engine);
    printRow(link, "bare", least, bytes);
    printRow(link, "engine", whole, bytes);
    std::printf("%-6s engine/bare: %.2f of the throughput, %.2f times the processor time\n", link,
                least.seconds / whole.seconds, whole.processorSeconds / least.processorSeconds);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--measure"_L1)
        return measure(arguments);

    const qint64 bytes = arguments.value(1, u"2000000000"_s).toLongLong();
    const int rounds = std::max(1, arguments.value(2, u"3"_s).toInt());
    const qint64 articles = std::max<qint64>(1, bytes / DownloadJob::articleSize);
    QString reason;
    const auto certificate =
        TestCertificate::signedByAuthority(u"127.0.0.1"_s, {u"IP:127.0.0.1"_s}, &reason);
    if (!certificate)
        qFatal("%s", qPrintable(reason));
    const QTemporaryDir certificates;
    write(certificates.filePath(u"server.pem"_s), certificate->certificate.toPem());
    write(certificates.filePath(u"key.pem"_s), certificate->key.toPem());
    write(certificates.filePath(u"authority.pem"_s), certificate->authority.toPem());

    std::printf("%lld bytes in %lld articles, %d connections, median of %d\n"
                "link   client      throughput    processor   resident at 25 %%, 50 %%, 100 %%\n",
                articles * DownloadJob::articleSize, articles, DownloadJob::connections, rounds);
    std::fflush(stdout);
    for (const bool ssl : {false, true})
        compare(ssl, articles, rounds, certificates.path());
    return 0;
}
