// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QSet>
#include <QSslConfiguration>
#include <QTcpServer>

#include <functional>
#include <optional>
#include <utility>

#include "support/reply.h"

class NewsConnection;

/// A scripted news server on 127.0.0.1 for tests: the part of RFC 3977 and RFC 4643 that a reader
/// of article bodies uses, plain or with implicit TLS, which misbehaves where the script says so.
/// It lives in the thread that made it and needs that thread's event loop.
class NewsServer final : public QTcpServer {
    Q_OBJECT

public:
    struct Command {
        qint64 time; ///< in milliseconds since the server was made
        int connection; ///< from 1, in order of accept
        QByteArray text; ///< without the line end
    };

    /// Listens at once, on a port that the system chooses; with a configuration by implicit TLS,
    /// see TestCertificate::serverConfiguration().
    explicit NewsServer(std::optional<QSslConfiguration> configuration = {});
    ~NewsServer() override;

    /// @param id    without angle brackets
    /// @param body  as it goes over the wire: CR LF line ends, dot-stuffed (see dotStuffed()),
    ///     without the final dot line
    void addArticle(const QByteArray &id, const QByteArray &body) { articles.insert(id, body); }
    void removeAllArticles() { articles.clear(); }

    /// Demands this login: BODY is answered with 480 without it, another one with 481. Without a
    /// demand every login is accepted.
    void requireLogin(const QByteArray &name, const QByteArray &secret)
    {
        user = name;
        password = secret;
        loginNeeded = true;
    }

    /// Adds a rule. Of the rules that match an event the first added with uses left is carried
    /// out and loses one use. @p uses below 0 is without end.
    void script(const When &when, const Reply &reply, int uses = -1)
    {
        rules.append({when, reply, uses});
    }
    void clearScript() { rules.clear(); }
    /// Asks @p chooser at each event that no rule is for, with a text that starts as When's does.
    void chooseReplies(const std::function<Reply(const QByteArray &)> &chooser)
    {
        choose = chooser;
    }

    /// A held article's reply waits for release() or releaseAll(); other rules still apply to it.
    void hold(const QByteArray &id) { held.insert(id); }
    /// Holds every article that the server has now.
    void holdAll() { held = {articles.keyBegin(), articles.keyEnd()}; }
    void release(const QByteArray &id)
    {
        held.remove(id);
        emit released();
    }
    void releaseAll()
    {
        held.clear();
        emit released();
    }
    /// The held articles that a connection waits for at present.
    [[nodiscard]] QList<QByteArray> waiting() const;

    [[nodiscard]] const QList<Command> &log() const { return log_; }
    /// What connection @p number sent, in order, without line ends; 0 stands for all connections.
    [[nodiscard]] QList<QByteArray> commands(int number = 0) const;
    [[nodiscard]] int bodyCount(const QByteArray &id) const;
    [[nodiscard]] int openConnections() const { return static_cast<int>(connections.size()); }
    [[nodiscard]] int mostConnections() const { return most; }
    /// Connections since the start, refused ones included.
    [[nodiscard]] int acceptedConnections() const { return static_cast<int>(acceptTimes_.size()); }
    /// When each of them came, in milliseconds since the server was made.
    [[nodiscard]] const QList<qint64> &acceptTimes() const { return acceptTimes_; }
    /// Bytes of replies, before encryption.
    [[nodiscard]] qint64 bytesSent() const { return sent; }

signals:
    void released();

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    friend class NewsConnection;

    struct Rule {
        When when;
        Reply reply;
        int usesLeft;
    };

    [[nodiscard]] Reply takeReply(int connection, const QByteArray &event);
    [[nodiscard]] bool knows(const QByteArray &name, const QByteArray &secret) const
    {
        return !loginNeeded || (name == user && secret == password);
    }

    std::optional<QSslConfiguration> ssl;
    QHash<QByteArray, QByteArray> articles;
    QByteArray user;
    QByteArray password;
    bool loginNeeded = false;
    QList<Rule> rules;
    std::function<Reply(const QByteArray &)> choose;
    QSet<QByteArray> held;
    QList<NewsConnection *> connections;
    QElapsedTimer clock;
    QList<Command> log_;
    QList<qint64> acceptTimes_;
    int most = 0;
    qint64 sent = 0;
};
