// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "download_job.h"

#include <QCoreApplication>
#include <QSslSocket>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// What the connections of one download share.
struct Progress {
    explicit Progress(const DownloadJob &theJob)
        : job(theJob)
        , file(open(qPrintable(theJob.folder + u"/bare"_s), O_CREAT | O_TRUNC | O_WRONLY, 0600))
    {
        if (file < 0)
            qFatal("No output file in %s", qPrintable(theJob.folder));
    }
    ~Progress() { close(file); }
    Q_DISABLE_COPY_MOVE(Progress)

    [[nodiscard]] bool complete() const { return done == job.articles; }

    const DownloadJob &job;
    const int file;
    qint64 next = 0;
    qint64 done = 0;
    CostMeter meter;
};

/// One connection's way through greeting and articles, without the socket.
class Transfer final {
public:
    explicit Transfer(Progress &theProgress)
        : progress(theProgress)
    {
    }

    /// Takes what was received. @returns the next command, or an empty array
    QByteArray take(const char *data, qint64 size)
    {
        if (article < 0)
            return nextCommand(); // the greeting
        if (pwrite(progress.file, data, static_cast<size_t>(size), articlePlace * article + at)
            != size)
            qFatal("The output file cannot be written");
        at += size;
        const qint64 ending = qMin<qint64>(size, 5);
        tail.append(data + size - ending, ending);
        tail = tail.right(5);
        if (tail != "\r\n.\r\n")
            return {};
        if (at < DownloadJob::articleSize)
            qFatal("An article came out short");
        ++progress.done;
        progress.meter.reached(static_cast<double>(progress.done)
                               / static_cast<double>(progress.job.articles));
        return nextCommand();
    }

private:
    /// Encoded articles are longer than decoded ones; each gets a place of its own.
    static constexpr qint64 articlePlace = DownloadJob::articleSize * 11 / 10;

    QByteArray nextCommand()
    {
        at = 0;
        tail.clear();
        if (progress.next == progress.job.articles)
            return {};
        article = progress.next++;
        return "BODY <" + progress.job.messageId(article) + ">\r\n";
    }

    Progress &progress;
    qint64 article = -1;
    qint64 at = 0;
    QByteArray tail;
};

int connectTo(quint16 port)
{
    const int link = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(link, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        qFatal("No connection to the server");
    const int on = 1;
    setsockopt(link, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    fcntl(link, F_SETFL, O_NONBLOCK);
    return link;
}

void sendCommand(int link, const QByteArray &command)
{
    if (send(link, command.constData(), static_cast<size_t>(command.size()), 0) != command.size())
        qFatal("A command was not sent");
}

} // namespace

DownloadCost downloadBarePlain(const DownloadJob &job)
{
    Progress progress(job);
    std::vector<pollfd> links;
    std::vector<Transfer> transfers;
    for (int i = 0; i < job.connections; ++i) {
        links.push_back({.fd = connectTo(job.port), .events = POLLIN, .revents = 0});
        transfers.emplace_back(progress);
    }
    std::vector<char> buffer(64 * 1024);
    while (!progress.complete() && poll(links.data(), links.size(), -1) > 0) {
        for (std::size_t i = 0; i < links.size(); ++i) {
            if (!links[i].revents)
                continue;
            const ssize_t size = recv(links[i].fd, buffer.data(), buffer.size(), 0);
            if (size <= 0)
                qFatal("A connection was lost");
            sendCommand(links[i].fd, transfers[i].take(buffer.data(), size));
        }
    }
    const DownloadCost cost = progress.meter.cost();
    for (const pollfd &link : links)
        close(link.fd);
    return cost;
}

DownloadCost downloadBareSsl(const DownloadJob &job)
{
    Progress progress(job);
    std::vector<Transfer> transfers(static_cast<std::size_t>(job.connections), Transfer(progress));
    std::vector<std::unique_ptr<QSslSocket>> sockets;
    for (Transfer &transfer : transfers) {
        auto *socket = sockets.emplace_back(std::make_unique<QSslSocket>()).get();
        QObject::connect(socket, &QSslSocket::readyRead, socket, [socket, &transfer, &progress] {
            const QByteArray data = socket->read(socket->bytesAvailable());
            socket->write(transfer.take(data.constData(), data.size()));
            if (progress.complete())
                QCoreApplication::quit();
        });
        socket->setReadBufferSize(256 * 1024); // as the program does
        QObject::connect(socket, &QSslSocket::errorOccurred, socket, [socket] {
            qFatal("A connection was lost: %s", qPrintable(socket->errorString()));
        });
        socket->connectToHostEncrypted(u"127.0.0.1"_s, job.port);
    }
    QCoreApplication::exec();
    const DownloadCost cost = progress.meter.cost();
    for (const auto &socket : sockets)
        socket->disconnect();
    return cost;
}
