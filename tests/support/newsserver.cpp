// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/newsserver.h"

#include <QSslSocket>
#include <QTimer>

#include <algorithm>
#include <sys/socket.h>

namespace {

constexpr int pieceGap = 2; // milliseconds

/// The id that a BODY command names; empty for other commands.
QByteArray articleOf(const QByteArray &command)
{
    return command.startsWith("BODY <") ? command.sliced(6).chopped(1) : QByteArray();
}

} // namespace

/// The server's end of one connection. It answers one command at a time: the next command of a
/// client that does not wait stays unread until the reply has left.
class NewsConnection final : public QObject {
public:
    /// A QSslSocket not yet encrypted stands for implicit TLS.
    NewsConnection(NewsServer *owner, QTcpSocket *link, int order);

    /// Does what the script says about the accept, then greets the client.
    void start();
    void cut() { socket->abort(); }

    QByteArray waitingFor; ///< the held article that the client waits for

private:
    void greet();
    void readCommands();
    void answer(const QByteArray &command);
    [[nodiscard]] QByteArray ordinaryAnswer(const QByteArray &command);
    void send(const Reply &how, const QByteArray &ordinary);
    void sendHeld();
    void sendPiece();
    void pieceWritten();
    void endReply();

    NewsServer *server;
    QTcpSocket *socket;
    const int number;
    QByteArray user;
    bool loggedIn = false;
    bool quitting = false;
    bool busy = true; ///< a reply, the greeting's too, is under way
    bool writing = false; ///< a piece of it is still in the socket's buffer
    Reply reply;
    QList<QByteArray> pieces;
};

NewsConnection::NewsConnection(NewsServer *owner, QTcpSocket *link, int order)
    : QObject(owner)
    , server(owner)
    , socket(link)
    , number(order)
{
    socket->setParent(this);
    connect(socket, &QTcpSocket::readyRead, this, &NewsConnection::readCommands);
    connect(socket, &QTcpSocket::bytesWritten, this, &NewsConnection::pieceWritten);
    connect(server, &NewsServer::released, this, &NewsConnection::sendHeld);
    connect(socket, &QTcpSocket::disconnected, this, [this] {
        waitingFor.clear();
        server->connections.removeOne(this);
        deleteLater();
    });
    if (auto *secure = qobject_cast<QSslSocket *>(socket)) {
        connect(secure, &QSslSocket::encryptedBytesWritten, this, &NewsConnection::pieceWritten);
        connect(secure, &QSslSocket::encrypted, this, &NewsConnection::greet);
    }
}

void NewsConnection::start()
{
    reply = server->takeReply(number, "(accept)");
    QTimer::singleShot(reply.delay, this, [this] {
        auto *secure = qobject_cast<QSslSocket *>(socket);
        if (reply.end != Reply::End::KeepOpen)
            endReply();
        else if (secure)
            secure->startServerEncryption();
        else
            greet();
    });
}

void NewsConnection::greet()
{
    send(server->takeReply(number, "(greeting)"), "200 test news server ready\r\n");
}

void NewsConnection::readCommands()
{
    while (!busy && socket->canReadLine())
        answer(socket->readLine().trimmed());
}

void NewsConnection::answer(const QByteArray &command)
{
    busy = true;
    server->log_.append({server->clock.elapsed(), number, command});
    const Reply scripted = server->takeReply(number, command);
    if (const QByteArray id = articleOf(command); server->held.contains(id))
        waitingFor = id;
    send(scripted, scripted.replacement ? *scripted.replacement : ordinaryAnswer(command));
}

QByteArray NewsConnection::ordinaryAnswer(const QByteArray &command)
{
    if (command.startsWith("AUTHINFO USER ")) {
        user = command.sliced(14);
        return "381 password required\r\n";
    }
    if (command.startsWith("AUTHINFO PASS ")) {
        loggedIn = !user.isEmpty() && server->knows(user, command.sliced(14));
        return user.isEmpty() ? "482 the user comes first\r\n"
               : loggedIn     ? "281 welcome\r\n"
                              : "481 wrong user or password\r\n";
    }
    quitting = command == "QUIT";
    if (quitting)
        return "205 bye\r\n";
    const QByteArray id = articleOf(command);
    if (id.isEmpty())
        return "500 unknown command\r\n";
    if (!loggedIn && server->loginNeeded)
        return "480 login required\r\n";
    if (!server->articles.contains(id))
        return "430 no such article\r\n";
    return "222 0 <" + id + ">\r\n" + server->articles.value(id) + ".\r\n";
}

void NewsConnection::send(const Reply &how, const QByteArray &ordinary)
{
    reply = how;
    pieces = how.pieces(how.replacement.value_or(ordinary));
    if (waitingFor.isEmpty())
        QTimer::singleShot(how.delay, this, &NewsConnection::sendPiece);
}

void NewsConnection::sendHeld()
{
    if (waitingFor.isEmpty() || server->held.contains(waitingFor))
        return;
    waitingFor.clear();
    QTimer::singleShot(reply.delay, this, &NewsConnection::sendPiece);
}

void NewsConnection::sendPiece()
{
    if (pieces.isEmpty())
        return endReply();
    if (socket->state() != QAbstractSocket::ConnectedState)
        return;
    const QByteArray piece = pieces.takeFirst();
    server->sent += piece.size();
    writing = true;
    socket->write(piece);
    socket->flush();
    pieceWritten();
}

void NewsConnection::pieceWritten()
{
    const auto *secure = qobject_cast<QSslSocket *>(socket);
    if (!writing || socket->bytesToWrite() > 0 || (secure && secure->encryptedBytesToWrite() > 0))
        return;
    writing = false;
    // What follows must not run from here: this may be a signal from within flush(), and a TLS
    // socket that is aborted there crashes on its return.
    const auto next = [this] {
        QMetaObject::invokeMethod(this, &NewsConnection::sendPiece, Qt::QueuedConnection);
    };
    if (pieces.isEmpty() && reply.end != Reply::End::Reset)
        next();
    else // The timer alone may run ahead of a peer in this event loop that is still to read.
        QTimer::singleShot(pieceGap, this, next);
}

void NewsConnection::endReply()
{
    if (reply.end == Reply::End::Reset) {
        const linger atOnce{.l_onoff = 1, .l_linger = 0};
        setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
                   sizeof atOnce);
    }
    if (reply.end == Reply::End::Reset || reply.end == Reply::End::Cut) {
        cut();
    } else if (reply.end == Reply::End::Close || (reply.end == Reply::End::KeepOpen && quitting)) {
        socket->disconnectFromHost();
    } else if (reply.end == Reply::End::KeepOpen) {
        busy = false;
        readCommands();
    }
}

NewsServer::NewsServer(std::optional<QSslConfiguration> configuration)
    : ssl(std::move(configuration))
{
    clock.start();
    if (!listen(QHostAddress::LocalHost))
        qFatal("The news server cannot listen: %s", qPrintable(errorString()));
}

NewsServer::~NewsServer() { qDeleteAll(std::exchange(connections, {})); }

Reply NewsServer::takeReply(int connection, const QByteArray &event)
{
    const auto rule = std::find_if(rules.begin(), rules.end(), [&](const Rule &candidate) {
        return candidate.usesLeft != 0 && candidate.when.matches(event, connection);
    });
    if (rule == rules.end())
        return choose ? choose(event) : Reply::ordinary();
    if (rule->usesLeft > 0)
        --rule->usesLeft;
    return rule->reply;
}

QList<QByteArray> NewsServer::waiting() const
{
    QList<QByteArray> ids;
    for (const NewsConnection *connection : connections) {
        if (!connection->waitingFor.isEmpty())
            ids.append(connection->waitingFor);
    }
    return ids;
}

QList<QByteArray> NewsServer::commands(int number) const
{
    QList<QByteArray> texts;
    for (const Command &command : log_) {
        if (number == 0 || command.connection == number)
            texts.append(command.text);
    }
    return texts;
}

int NewsServer::bodyCount(const QByteArray &id) const
{
    return static_cast<int>(commands().count("BODY <" + id + ">"));
}

void NewsServer::incomingConnection(qintptr descriptor)
{
    acceptTimes_.append(clock.elapsed());
    auto *socket = ssl ? new QSslSocket : new QTcpSocket;
    socket->setSocketDescriptor(descriptor);
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    if (auto *secure = qobject_cast<QSslSocket *>(socket))
        secure->setSslConfiguration(*ssl);
    auto *connection = new NewsConnection(this, socket, acceptedConnections());
    connections.append(connection);
    most = std::max(most, openConnections());
    connection->start();
}
