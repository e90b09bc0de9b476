// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QSet>
#include <QSslConfiguration>
#include <QTcpServer>

#include <functional>

#include "support/reply.h"

class NewsConnection;

/// A scripted news server on 127.0.0.1 for tests: the part of RFC 3977 and RFC 4643 that a reader
/// of article bodies uses, plain or with implicit TLS, which misbehaves where the script says so.
/// It lives in the thread that made it and needs that thread's event loop. Message ids are without
/// angle brackets.
class NewsServer final : public QTcpServer {
public:
    /// Listens at once, on a port that the system chooses; with a configuration by implicit TLS,
    /// see TestCertificate::server.
    explicit NewsServer(const std::optional<QSslConfiguration> &configuration = {})
    {
        ssl = configuration;
        listen(QHostAddress::LocalHost);
    }

    /// @param body  as it goes over the wire: CR LF line ends, dot-stuffed (see dotStuffed()),
    ///     without the final dot line
    void addArticle(const QByteArray &id, const QByteArray &body) { articles.insert(id, body); }
    void removeAllArticles() { articles.clear(); }

    /// Demands this login: BODY is answered with 480 without it, another one with 481. Without a
    /// demand every login is accepted.
    void requireLogin(const QByteArray &name, const QByteArray &secret)
    {
        login = "AUTHINFO USER " + name + "\nAUTHINFO PASS " + secret + '\n';
    }

    /// Adds a rule for events that start with @p when. Of the rules that match an event the first
    /// added with uses left is carried out and loses one use. @p uses below 0 is without end.
    void script(const QByteArray &when, const Reply &how, int uses = -1)
    {
        rules.append({when, how, uses});
    }
    /// Asks @p chooser at each event that no rule is for.
    void chooseReplies(const std::function<Reply(const QByteArray &)> &chooser)
    {
        choose = chooser;
    }

    /// A held article's reply waits for its release; other rules still apply to it.
    void hold(const QByteArray &id) { held.insert(id); }
    /// Holds every article that the server has now.
    void holdAll() { held = {articles.keyBegin(), articles.keyEnd()}; }
    void release(const QByteArray &id);
    void releaseAll()
    {
        held.clear();
        release({});
    }
    /// The held articles that a connection waits for at present.
    QList<QByteArray> waiting() const;

    /// What all connections have sent, in order, without line ends.
    const QByteArrayList &commands() const { return log; }
    /// The message ids asked for so far, in order.
    const QByteArrayList &requested() const { return asked; }
    int openConnections() const { return int(connections.size()); }
    int mostConnections() const { return most; }
    /// Connections since the start, refused ones included.
    int acceptedConnections() const { return accepted; }

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    friend class NewsConnection;
    Reply replyTo(const QByteArray &event);

    std::optional<QSslConfiguration> ssl;
    QHash<QByteArray, QByteArray> articles;
    QByteArray login; ///< the lines that are demanded
    QList<std::tuple<QByteArray, Reply, int>> rules; ///< when, what and how often
    std::function<Reply(const QByteArray &)> choose;
    QSet<QByteArray> held;
    QList<NewsConnection *> connections;
    QByteArrayList log;
    QByteArrayList asked;
    int most = 0;
    int accepted = 0;
};
