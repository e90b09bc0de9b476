// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <openssl/ssl.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <deque>
#include <vector>

#include "download_job.h"

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
    return link;
}

/// A connection's descriptor, with OpenSSL upon it if there is a context.
class Link final {
public:
    Link(quint16 port, SSL_CTX *context)
        : descriptor(connectTo(port))
        , ssl(context ? SSL_new(context) : nullptr)
    {
        if (ssl && (SSL_set_fd(ssl, descriptor) != 1 || SSL_connect(ssl) != 1))
            qFatal("No TLS connection to the server");
        fcntl(descriptor, F_SETFL, O_NONBLOCK);
    }
    ~Link()
    {
        SSL_free(ssl);
        close(descriptor);
    }
    Q_DISABLE_COPY_MOVE(Link)

    /// Takes what is there, with TLS a record at a time, and answers it.
    void serve(Transfer &transfer)
    {
        static std::vector<char> buffer(64 * 1024);
        int size = 0;
        do {
            size = ssl ? SSL_read(ssl, buffer.data(), static_cast<int>(buffer.size()))
                       : static_cast<int>(recv(descriptor, buffer.data(), buffer.size(), 0));
            if (size > 0)
                sendCommand(transfer.take(buffer.data(), size));
        } while (ssl && size > 0);
        if (ssl ? SSL_get_error(ssl, size) != SSL_ERROR_WANT_READ : size <= 0)
            qFatal("A connection was lost");
    }

    const int descriptor;

private:
    void sendCommand(const QByteArray &command)
    {
        const auto size = static_cast<int>(command.size());
        if (size > 0
            && (ssl ? SSL_write(ssl, command.constData(), size)
                    : send(descriptor, command.constData(), command.size(), 0))
                   != size)
            qFatal("A command was not sent");
    }

    SSL *const ssl;
};

} // namespace

DownloadCost downloadBare(const DownloadJob &job)
{
    Progress progress(job);
    SSL_CTX *context = job.ssl ? SSL_CTX_new(TLS_client_method()) : nullptr;
    std::deque<Link> links;
    std::vector<pollfd> polled;
    std::vector<Transfer> transfers(static_cast<std::size_t>(job.connections), Transfer(progress));
    for (int i = 0; i < job.connections; ++i) {
        const Link &link = links.emplace_back(job.port, context);
        polled.push_back({.fd = link.descriptor, .events = POLLIN, .revents = 0});
    }
    while (!progress.complete() && poll(polled.data(), polled.size(), -1) > 0) {
        for (std::size_t i = 0; i < links.size(); ++i) {
            if (polled[i].revents)
                links[i].serve(transfers[i]);
        }
    }
    const DownloadCost cost = progress.meter.cost();
    SSL_CTX_free(context);
    return cost;
}
