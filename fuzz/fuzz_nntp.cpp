// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A connection and its decoders against what a server may send. The input's first line says, by
// one character each: the article's number, how many its file has, what the receiver of the signals
// does (see React), and a 'p' if there is a password. The rest is sent, in pieces as it says;
// without a password from the reply to BODY on.
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTcpSocket>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "queue/nzbfile.h"
#include "support.h"
#include "transfer/abstractdecoder.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

namespace {

enum React : char {
    FetchNext = 'n', ///< as the engine does
    Quit = 'q',
    Delete = 'd',
    DeleteLater = 'l',
    Retry = 'r', ///< does nothing but to log in again after an error
};

constexpr int mostArticles = 5;

/// The other end of the connection, without an event loop or a buffer: what is sent over the
/// loopback interface has arrived at once.
class Server final {
    Q_DISABLE_COPY_MOVE(Server)

public:
    Server() = default;
    ~Server() { close(fd); }

    static quint16 port()
    {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getsockname(listener(), reinterpret_cast<sockaddr *>(&address), &size);
        return ntohs(address.sin_port);
    }
    /// Drops the connection before, if there is another one.
    void accept()
    {
        for (int next; (next = accept4(listener(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            close(fd);
            fd = next;
            const int on = 1;
            const linger reset{1, 0}; // so that no port lies in TIME_WAIT
            setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            setsockopt(fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
        }
    }
    /// Returns the bytes that there was room for.
    [[nodiscard]] qint64 send(const QByteArray &data) const
    {
        return std::max<qint64>(
            0, ::send(fd, data.constData(), size_t(data.size()), MSG_NOSIGNAL | MSG_DONTWAIT));
    }
    [[nodiscard]] QByteArray receive() const
    {
        QByteArray result(4096, '\0');
        const auto size = recv(fd, result.data(), size_t(result.size()), MSG_DONTWAIT);
        return result.first(std::max<qsizetype>(0, size));
    }
    void hangUp() { close(std::exchange(fd, -1)); }

private:
    static int listener()
    {
        static const int descriptor = [] {
            const int made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            sockaddr_in address{.sin_family = AF_INET,
                                .sin_port = 0,
                                .sin_addr = {htonl(INADDR_LOOPBACK)},
                                .sin_zero = {}};
            const auto *generic = reinterpret_cast<const sockaddr *>(&address);
            require(bind(made, generic, sizeof address) == 0 && listen(made, 100) == 0, "a port");
            return made;
        }();
        return descriptor;
    }

    int fd = -1;
};

const QString &jobFolder()
{
    static const QString folder = [] {
        const QString job = scratchFolder() + u"/job"_s;
        QDir().mkdir(job);
        QFile::link(scratchFolder() + u"/outside"_s, job + u"/link"_s);
        QFile::link(scratchFolder() + u"/outside"_s, job + u"/link.uu000002"_s);
        return job;
    }();
    return folder;
}

/// Owns the connection and receives its signals.
class Session final : public QObject {
public:
    explicit Session(const QByteArray &plan)
        : number(1 + plan[0] % 4)
        , reaction(plan[2])
        , file(nullptr, u"\"link\" (1/%1)"_s.arg(1 + plan[1] % 4), {}, 0, 0, 0, false, 0, false)
        , nntp(new NNTP(u"127.0.0.1"_s, Server::port(), u"joe"_s,
                        plan.contains('p') ? u"secret"_s : QString(), false, nullptr))
        , socket(nntp->findChild<QTcpSocket *>())
    {
        connect(nntp, &NNTP::dataDecoded, this, &Session::onDecoded);
        connect(nntp, &NNTP::error, this, &Session::onError);
        connect(nntp, &NNTP::articleNotFound, this, &Session::react);
        connect(nntp, &NNTP::loggedIn, this, [this] { fetch(number); });
        fetch(number);
        if (!plan.contains('p'))
            deliver("200\r\n");
    }
    ~Session() override { delete nntp; }

    void deliver(const QByteArray &piece)
    {
        settle();
        server.accept();
        sent += server.send(piece);
        settle();
        checkState();
    }
    void hangUp()
    {
        server.hangUp();
        settle();
        require(!socket || reaction == Retry || !socket->isOpen(), "a closed connection");
    }

private:
    void fetch(int article)
    {
        if (++wanted <= mostArticles)
            nntp->getArticle(u"a@b"_s, jobFolder(), &file, article);
    }

    void onDecoded(NzbFile *of, int article, const QString &name, quint64, bool ok)
    {
        require(of == &file && article >= number, "the file of the article");
        require(!name.startsWith(u'.') && !name.contains(u'/'), "a name that stays in the folder");
        good += ok;
        require(good <= wanted, "an article decoded once");
        react();
    }

    void onError(int, const QString &, NzbFile *of)
    {
        require(!of || of == &file, "the file of the article");
        require(!socket->isOpen() && decoders() == 0, "a connection that is reset");
        require(nntp->idleSeconds() == 0, "a clock that stands");
        if (reaction == Retry && ++wanted <= mostArticles)
            nntp->retryAfter(0);
        else if (reaction != FetchNext)
            react();
    }

    void react()
    {
        if (reaction == FetchNext)
            fetch(number + 1);
        else if (reaction == Quit)
            nntp->quit();
        else if (reaction == Delete)
            delete nntp;
        else if (reaction == DeleteLater)
            nntp->deleteLater();
    }

    /// Lets the connection read all that has arrived.
    void settle()
    {
        const auto isReadable = [this] {
            pollfd waiting{int(socket->socketDescriptor()), POLLIN, 0};
            return socket->state() == QAbstractSocket::ConnectingState || poll(&waiting, 1, 0) == 1;
        };
        do {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        } while (socket && isReadable());
    }

    void checkState()
    {
        commands += server.receive();
        const QByteArrayList complete = commands.first(commands.lastIndexOf('\n') + 1).split('\n');
        for (const QByteArray &command : complete) {
            require(command.isEmpty() || command == "BODY <a@b>\r" || command == "QUIT\r"
                        || command == "AUTHINFO USER joe\r" || command == "AUTHINFO PASS secret\r",
                    "a command that is known");
        }
        require(!nntp || nntp->bytesReceived() <= quint64(sent), "no byte more than was sent");
        require(!nntp || decoders() <= 1, "a decoder an article");
    }

    [[nodiscard]] qsizetype decoders() const
    {
        return nntp->findChildren<AbstractDecoder *>().size();
    }

    int number;
    char reaction;
    NzbFile file;
    QPointer<NNTP> nntp;
    QPointer<QTcpSocket> socket;
    Server server;
    QByteArray commands;
    int wanted = 0;
    int good = 0;
    qint64 sent = 0;
};

const Target target("nntp", [](const QByteArray &input) {
    const qsizetype lineEnd = input.indexOf('\n');
    if (lineEnd < 3)
        return;
    {
        Session session(input.first(lineEnd));
        for (const QByteArray &block : pieces(input.sliced(lineEnd + 1)))
            session.deliver(block);
        session.hangUp();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    requireOnly({"job"}, scratchFolder());
    clearFiles(jobFolder());
});

} // namespace
