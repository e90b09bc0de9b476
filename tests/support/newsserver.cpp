// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/newsserver.h"

#include <QSslSocket>
#include <QTimer>

/// The server's end of one connection. It answers one command at a time: the next command of a
/// client that does not wait stays unread until the reply has left.
class NewsConnection final : public QObject {
public:
    NewsConnection(NewsServer *owner, qintptr descriptor)
        : QObject(owner)
        , server(owner)
    {
        socket->setSocketDescriptor(descriptor);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(socket, &QSslSocket::readyRead, this, &NewsConnection::readCommands);
        connect(socket, &QSslSocket::disconnected, this, [this] {
            server->connections.removeOne(this);
            deleteLater();
        });
        connect(socket, &QSslSocket::encrypted, this, [this] { answer("(greeting)"); });
        if (server->ssl) {
            socket->setSslConfiguration(*server->ssl);
            socket->startServerEncryption();
        } else {
            answer("(greeting)");
        }
    }

    /// Lets the reply leave, unless the server holds its article back.
    void proceed()
    {
        if (waiting && !server->held.contains(article))
            QTimer::singleShot(reply.delay, this, &NewsConnection::send);
        waiting = waiting && server->held.contains(article);
    }

    QByteArray article; ///< asked for last
    bool waiting = false; ///< for its release

private:
    void readCommands()
    {
        while (!busy && socket->canReadLine()) {
            const QByteArray command = socket->readLine().trimmed();
            server->log << command;
            said += command + '\n';
            article = command.startsWith("BODY <") ? command.sliced(6).chopped(1) : "";
            if (!article.isEmpty())
                server->asked << article;
            answer(command);
        }
    }

    void answer(const QByteArray &event)
    {
        busy = waiting = true;
        reply = server->replyTo(event);
        text = reply.replacement ? *reply.replacement : ordinaryAnswer(event);
        sent = 0;
        proceed();
    }

    QByteArray ordinaryAnswer(const QByteArray &event)
    {
        const bool known = said.contains(server->login);
        quitting = event == "QUIT";
        if (event == "(greeting)" || quitting)
            return quitting ? "205 bye\r\n" : "200 test news server ready\r\n";
        if (event.startsWith("AUTHINFO USER "))
            return "381 password required\r\n";
        if (event.startsWith("AUTHINFO PASS "))
            return known ? "281 welcome\r\n" : "481 wrong user or password\r\n";
        if (article.isEmpty() || !known)
            return known ? "500 unknown command\r\n" : "480 login required\r\n";
        if (!server->articles.contains(article))
            return "430 no such article\r\n";
        return "222 0 <" + article + ">\r\n" + server->articles[article] + ".\r\n";
    }

    /// The next piece, once the one before has left. Never within a signal of the socket, which
    /// would crash on its return if it was aborted there.
    void send()
    {
        const auto offset = [&](qsizetype at) {
            return std::clamp<qsizetype>(at < 0 ? text.size() + at : at, 0, text.size());
        };
        const qsizetype end = offset(reply.endAt);
        if (socket->bytesToWrite() + socket->encryptedBytesToWrite() == 0) {
            if (sent >= end)
                return endReply();
            qsizetype next = end;
            for (const qsizetype split : reply.splits)
                next = offset(split) > sent ? std::min(next, offset(split)) : next;
            socket->write(text.sliced(sent, next - sent));
            socket->flush();
            sent = next;
        }
        if (sent == end && reply.end == Reply::KeepOpen)
            endReply();
        else // The peer may be in this event loop and is to read before.
            QTimer::singleShot(2, this, &NewsConnection::send);
    }

    void endReply()
    {
        if (reply.end == Reply::Cut)
            return socket->abort();
        if (reply.end == Reply::Close || (reply.end == Reply::KeepOpen && quitting))
            return socket->disconnectFromHost();
        busy = reply.end == Reply::Stall;
        readCommands();
    }

    NewsServer *server;
    QSslSocket *const socket = new QSslSocket(this);
    QByteArray said; ///< all commands so far
    bool quitting = false;
    bool busy = true; ///< a reply, the greeting's too, is under way
    Reply reply;
    QByteArray text;
    qsizetype sent = 0; ///< of the text
};

void NewsServer::release(const QByteArray &id)
{
    held.remove(id);
    for (NewsConnection *connection : std::as_const(connections))
        connection->proceed();
}

QList<QByteArray> NewsServer::waiting() const
{
    QList<QByteArray> ids;
    for (const NewsConnection *connection : connections) {
        if (connection->waiting)
            ids << connection->article;
    }
    return ids;
}

Reply NewsServer::replyTo(const QByteArray &event)
{
    for (auto &[when, reply, uses] : rules) {
        if (uses != 0 && event.startsWith(when)) {
            uses -= uses > 0 ? 1 : 0;
            return reply;
        }
    }
    return choose ? choose(event) : Reply();
}

void NewsServer::incomingConnection(qintptr descriptor)
{
    ++accepted;
    connections << new NewsConnection(this, descriptor);
    most = std::max(most, openConnections());
}
