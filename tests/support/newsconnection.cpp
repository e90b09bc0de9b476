// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/newsconnection.h"

#include <QSslSocket>
#include <QTimer>

#include <sys/socket.h>

#include "support/newsserver.h"

namespace {

constexpr int pieceGap = 2; // milliseconds

} // namespace

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
        server->forget(this);
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
        if (reply.end == Reply::End::KeepOpen)
            handshake();
        else
            endReply();
    });
}

void NewsConnection::handshake()
{
    if (auto *secure = qobject_cast<QSslSocket *>(socket))
        secure->startServerEncryption();
    else
        greet();
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
    server->record(number, command);
    const Reply scripted = server->takeReply(number, command);
    const QByteArray id = NewsServer::articleOf(command);
    if (server->held.contains(id))
        waitingFor = id;
    send(scripted, scripted.replacement ? *scripted.replacement : ordinaryAnswer(command));
}

QByteArray NewsConnection::ordinaryAnswer(const QByteArray &command)
{
    static const QByteArray userCommand = "AUTHINFO USER ";
    static const QByteArray passwordCommand = "AUTHINFO PASS ";
    if (command.startsWith(userCommand)) {
        user = command.sliced(userCommand.size());
        return "381 password required\r\n";
    }
    if (command.startsWith(passwordCommand))
        return answerPassword(command.sliced(passwordCommand.size()));
    if (command.startsWith("BODY <"))
        return answerBody(NewsServer::articleOf(command));
    if (command == "QUIT") {
        quitting = true;
        return "205 bye\r\n";
    }
    return "500 unknown command\r\n";
}

QByteArray NewsConnection::answerPassword(const QByteArray &password)
{
    if (user.isEmpty())
        return "482 the user comes first\r\n";
    loggedIn = !server->loginNeeded || (user == server->user && password == server->password);
    return loggedIn ? "281 welcome\r\n" : "481 wrong user or password\r\n";
}

QByteArray NewsConnection::answerBody(const QByteArray &id) const
{
    if (server->loginNeeded && !loggedIn)
        return "480 login required\r\n";
    const auto article = server->articles.constFind(id);
    if (article == server->articles.constEnd())
        return "430 no such article\r\n";
    return "222 0 <" + id + ">\r\n" + *article + ".\r\n";
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
    switch (reply.end) {
    case Reply::End::KeepOpen:
        break;
    case Reply::End::Cut:
        return cut();
    case Reply::End::Close:
        return socket->disconnectFromHost();
    case Reply::End::Stall:
        return;
    case Reply::End::Reset:
        return resetLink();
    }
    if (quitting)
        return socket->disconnectFromHost();
    busy = false;
    readCommands();
}

void NewsConnection::cut() { socket->abort(); }

void NewsConnection::resetLink()
{
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
               sizeof atOnce);
    socket->abort();
}
