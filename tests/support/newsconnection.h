// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include "support/reply.h"

class NewsServer;
class QTcpSocket;

/// The server's end of one connection. It answers one command at a time: the next command of a
/// client that does not wait stays unread until the reply has left.
class NewsConnection final : public QObject {
    Q_OBJECT

public:
    /// Takes @p socket over: a QSslSocket not yet encrypted stands for implicit TLS.
    NewsConnection(NewsServer *server, QTcpSocket *socket, int number);

    /// Does what the script says about the accept, then greets the client.
    void start();
    void cut();
    /// The held article that the client waits for; empty when there is none.
    [[nodiscard]] QByteArray heldArticle() const { return waitingFor; }

private:
    void handshake();
    void greet();
    void readCommands();
    void answer(const QByteArray &command);
    [[nodiscard]] QByteArray ordinaryAnswer(const QByteArray &command);
    [[nodiscard]] QByteArray answerPassword(const QByteArray &password);
    [[nodiscard]] QByteArray answerBody(const QByteArray &id) const;
    void send(const Reply &reply, const QByteArray &text);
    void sendHeld();
    void sendPiece();
    void pieceWritten();
    void endReply();
    void resetLink();

    NewsServer *server;
    QTcpSocket *socket;
    const int number;
    QByteArray user;
    bool loggedIn = false;
    bool quitting = false;
    bool busy = true; ///< a reply, the greeting's too, is under way
    bool writing = false; ///< a piece of it is still in the socket's buffer
    QByteArray waitingFor;
    Reply reply;
    QList<QByteArray> pieces;
};
