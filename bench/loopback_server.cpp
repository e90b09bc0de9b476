// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A news server that costs its clients as little as possible: one prepared article, sent from
// memory by one thread a connection. It writes its port to stdout and ends when stdin is closed.
//
//     loopback_server <delay> <rate> <file> [certificate.pem key.pem]
//
// waits for so many milliseconds before it sends an article, and sends no more bytes a second over
// one connection than that; 0 is no limit. With a file, the message ids tell which of its bytes are
// the article.
#include <openssl/ssl.h>

#include <QByteArray>
#include <QFile>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "download_job.h"
#include "support/articles.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Line {
    std::chrono::milliseconds delay;
    int rate;
};

/// A connection's link, plain when there is no TLS context.
class Link final {
public:
    Link(int descriptor, SSL_CTX *context, const Line &theLine)
        : link(descriptor)
        , line(theLine)
        , ssl(context ? SSL_new(context) : nullptr)
    {
        const int on = 1;
        setsockopt(link, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (ssl)
            SSL_set_fd(ssl, link);
    }
    ~Link()
    {
        SSL_free(ssl);
        close(link);
    }
    Q_DISABLE_COPY_MOVE(Link)

    [[nodiscard]] bool open() { return !ssl || SSL_accept(ssl) == 1; }
    [[nodiscard]] int receive(char *buffer, int size)
    {
        return ssl ? SSL_read(ssl, buffer, size)
                   : static_cast<int>(recv(link, buffer, static_cast<size_t>(size), 0));
    }
    [[nodiscard]] bool sendAll(const QByteArray &data)
    {
        if (line.rate == 0)
            return send(data.constData(), static_cast<int>(data.size()));
        constexpr qsizetype piece = 32 * 1024;
        for (qsizetype at = 0; at < data.size(); at += piece) {
            const auto size = static_cast<int>(std::min(piece, data.size() - at));
            std::this_thread::sleep_until(free);
            if (!send(data.constData() + at, size))
                return false;
            free += std::chrono::nanoseconds(size * std::nano::den / line.rate);
        }
        return true;
    }
    void waitBeforeArticle()
    {
        if (line.delay.count() > 0)
            std::this_thread::sleep_for(line.delay);
        free = std::max(free, Clock::now());
    }

private:
    [[nodiscard]] bool send(const char *data, int size)
    {
        if (ssl)
            return SSL_write(ssl, data, size) == size;
        // A blocking send() takes all of it or fails.
        return ::send(link, data, static_cast<size_t>(size), 0) == size;
    }

    const int link;
    const Line line;
    Clock::time_point free; ///< from when on the line can take the next bytes
    SSL *const ssl;
};

struct PreparedArticle {
    explicit PreparedArticle(const char *fileName)
        : file(QFile::decodeName(fileName))
    {
        if (*fileName && file.open(QIODevice::ReadOnly))
            mapped = reinterpret_cast<const char *>(file.map(0, file.size()));
        const QByteArray data = DownloadJob::articleData();
        lines = yencLines(data);
        checksum = QByteArray::number(crc32Of(data), 16).rightJustified(8, '0');
    }

    QByteArray lines;
    QByteArray checksum;
    QFile file;
    const char *mapped = nullptr;
};

QByteArray headOf(const QByteArray &id, qint64 file, qint64 part, qint64 total)
{
    const auto number = [](qint64 value) { return QByteArray::number(value); };
    const qint64 end = part * DownloadJob::articleSize;
    return "222 0 <" + id + ">\r\n=ybegin part=" + number(part) + " total=" + number(total)
           + " line=128 size=" + number(total * DownloadJob::articleSize)
           + " name=" + DownloadJob::fileName(file) + "\r\n=ypart begin="
           + number(end - DownloadJob::articleSize + 1) + " end=" + number(end) + "\r\n";
}

bool sendArticle(Link &link, const QByteArray &id, const PreparedArticle &article)
{
    const QList<QByteArray> fields = id.left(id.indexOf('@')).split('.');
    if (fields.size() == 2 && article.mapped)
        return link.sendAll("222 0 <" + id + ">\r\n")
               && link.sendAll(QByteArray::fromRawData(article.mapped + fields[0].toLongLong(),
                                                       fields[1].toLongLong()));
    if (fields.size() != 3)
        return link.sendAll("430 no such article\r\n");
    const QByteArray head =
        headOf(id, fields[0].toLongLong(), fields[1].toLongLong(), fields[2].toLongLong());
    const QByteArray trailer = "=yend size=" + QByteArray::number(DownloadJob::articleSize)
                               + " part=" + fields[1] + " pcrc32=" + article.checksum + "\r\n.\r\n";
    return link.sendAll(head) && link.sendAll(article.lines) && link.sendAll(trailer);
}

bool answer(Link &link, const QByteArray &command, const PreparedArticle &article)
{
    if (command.startsWith("BODY <")) {
        link.waitBeforeArticle();
        return sendArticle(link, command.sliced(6).chopped(1), article);
    }
    static_cast<void>(link.sendAll("205 bye\r\n"));
    return false;
}

void serve(int descriptor, SSL_CTX *context, const Line &line, const PreparedArticle &article)
{
    Link link(descriptor, context, line);
    if (!link.open() || !link.sendAll("200 ready\r\n"))
        return;
    QByteArray pending;
    char buffer[4096];
    for (int size = 0; (size = link.receive(buffer, sizeof buffer)) > 0;) {
        pending.append(buffer, size);
        while (pending.contains('\n')) {
            const qsizetype end = pending.indexOf('\n');
            if (!answer(link, pending.left(end).trimmed(), article))
                return;
            pending.remove(0, end + 1);
        }
    }
}

/// @returns the listening socket
int listenOnLoopback(quint16 &port)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (bind(listener, generic, size) != 0 || listen(listener, 128) != 0
        || getsockname(listener, generic, &size) != 0)
        qFatal("The server cannot listen");
    port = ntohs(address.sin_port);
    return listener;
}

SSL_CTX *contextOf(const char *certificate, const char *key)
{
    SSL_CTX *context = SSL_CTX_new(TLS_server_method());
    if (SSL_CTX_use_certificate_file(context, certificate, SSL_FILETYPE_PEM) != 1
        || SSL_CTX_use_PrivateKey_file(context, key, SSL_FILETYPE_PEM) != 1)
        qFatal("The certificate cannot be used");
    return context;
}

} // namespace

int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    if (argc < 4)
        qFatal("How long is the delay, how fast the line, and which file?");
    const Line line{std::chrono::milliseconds(std::atoi(argv[1])), std::atoi(argv[2])};
    SSL_CTX *context = argc == 6 ? contextOf(argv[4], argv[5]) : nullptr;
    const PreparedArticle article(argv[3]);
    quint16 port = 0;
    const int listener = listenOnLoopback(port);
    std::thread([&] {
        for (int link; (link = accept(listener, nullptr, nullptr)) >= 0;)
            std::thread(serve, link, context, line, std::cref(article)).detach();
    }).detach();

    std::printf("%d\n", port);
    std::fflush(stdout);
    char byte;
    while (read(STDIN_FILENO, &byte, 1) > 0) { }
    _exit(0);
}
