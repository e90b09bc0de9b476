// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "measurement.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QSslConfiguration>

#include <algorithm>
#include <cstdio>

#include "support/testcertificate.h"

using namespace Qt::StringLiterals;

namespace {

void write(const QString &path, const QByteArray &text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("%s cannot be written", qPrintable(path));
}

/// The server in its own process, for as long as this object lives.
class Server final {
public:
    Server(const QTemporaryDir &certificates, const Line &line)
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QStringList arguments{QString::number(line.delay), QString::number(line.rate), line.set};
        if (line.ssl)
            arguments << certificates.filePath(u"server.pem"_s)
                      << certificates.filePath(u"key.pem"_s);
        process.start(QCoreApplication::applicationDirPath() + u"/loopback_server"_s, arguments);
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

} // namespace

Measurements::Measurements()
{
    const TestCertificate certificate;
    write(certificates.filePath(u"server.pem"_s), certificate.server.localCertificate().toPem());
    write(certificates.filePath(u"key.pem"_s), certificate.server.privateKey().toPem());
    write(certificates.filePath(u"authority.pem"_s), certificate.authority.toPem());
}

QList<double> Measurements::run(const QString &client, const Line &line, qint64 articles) const
{
    const Server server(certificates, line);
    QTemporaryDir scratch(u"/dev/shm/marlowick-bench-XXXXXX"_s);
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {u"--measure"_s, client, line.ssl ? u"ssl"_s : u"plain"_s,
                 QString::fromLatin1(server.port), QString::number(articles),
                 certificates.filePath(u"authority.pem"_s), scratch.path(),
                 QString::number(line.connections), line.set});
    if (!child.waitForFinished(-1) || child.exitStatus() != QProcess::NormalExit
        || child.exitCode() != 0) {
        scratch.remove();
        qFatal("A measurement failed");
    }
    QList<double> numbers;
    const QList<QByteArray> fields = child.readAllStandardOutput().simplified().split(' ');
    for (const QByteArray &field : fields)
        numbers.append(field.toDouble());
    return numbers;
}

bool isClient() { return QCoreApplication::arguments().value(1) == "--measure"_L1; }

int runClient(Measure measure)
{
    const QStringList arguments = QCoreApplication::arguments();
    DownloadJob job;
    job.ssl = arguments.at(3) == "ssl"_L1;
    job.port = arguments.at(4).toUShort();
    job.articles = arguments.at(5).toLongLong();
    job.folder = arguments.at(7);
    job.connections = arguments.at(8).toInt();
    if (!arguments.at(9).isEmpty())
        job.readSet(arguments.at(9) + ".ids"_L1);
    trustOnly(QSslCertificate::fromPath(arguments.at(6)).constFirst());
    // What the program logs on stderr is formatted, but would only be in the table's way.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    const QList<double> numbers = measure(arguments.at(2), job);
    for (const double number : numbers)
        std::printf("%.6f ", number);
    return 0;
}

double medianOf(const QList<QList<double>> &rounds, int index)
{
    QList<double> column;
    for (const QList<double> &round : rounds)
        column.append(round.at(index));
    const auto middle = column.begin() + column.size() / 2;
    std::nth_element(column.begin(), middle, column.end());
    return *middle;
}
