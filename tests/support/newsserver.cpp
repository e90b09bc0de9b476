// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/newsserver.h"

#include <QSslSocket>

#include <algorithm>

#include "support/newsconnection.h"

NewsServer::NewsServer(QObject *parent)
    : QTcpServer(parent)
{
    start();
}

NewsServer::NewsServer(const QSslConfiguration &configuration, QObject *parent)
    : QTcpServer(parent)
    , ssl(configuration)
{
    start();
}

NewsServer::~NewsServer() { qDeleteAll(std::exchange(connections, {})); }

void NewsServer::start()
{
    clock.start();
    if (!listen(QHostAddress::LocalHost))
        qFatal("The news server cannot listen: %s", qPrintable(errorString()));
}

void NewsServer::requireLogin(const QByteArray &wantedUser, const QByteArray &wantedPassword)
{
    loginNeeded = true;
    user = wantedUser;
    password = wantedPassword;
}

void NewsServer::script(const When &when, const Reply &reply, int uses)
{
    rules.append({when, reply, uses});
}

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

void NewsServer::holdAll()
{
    for (auto article = articles.cbegin(); article != articles.cend(); ++article)
        held.insert(article.key());
}

void NewsServer::release(const QByteArray &id)
{
    held.remove(id);
    emit released();
}

void NewsServer::releaseAll()
{
    held.clear();
    emit released();
}

QList<QByteArray> NewsServer::waiting() const
{
    QList<QByteArray> ids;
    for (const NewsConnection *connection : connections) {
        if (!connection->heldArticle().isEmpty())
            ids.append(connection->heldArticle());
    }
    return ids;
}

void NewsServer::takeOffline()
{
    close();
    dropConnections();
}

void NewsServer::dropConnections()
{
    const QList<NewsConnection *> open = connections;
    for (NewsConnection *connection : open)
        connection->cut();
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

void NewsServer::record(int connection, const QByteArray &command)
{
    log_.append({clock.elapsed(), connection, command});
    const QByteArray id = articleOf(command);
    if (!id.isEmpty())
        ++bodyCounts[id];
}

QByteArray NewsServer::articleOf(const QByteArray &command)
{
    static const QByteArray start = "BODY <";
    return command.startsWith(start) && command.endsWith('>')
               ? command.sliced(start.size()).chopped(1)
               : QByteArray();
}

void NewsServer::incomingConnection(qintptr descriptor)
{
    acceptTimes_.append(clock.elapsed());
    auto *secure = ssl ? new QSslSocket : nullptr;
    auto *socket = secure ? secure : new QTcpSocket;
    socket->setSocketDescriptor(descriptor);
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    if (secure)
        secure->setSslConfiguration(*ssl);
    auto *connection = new NewsConnection(this, socket, acceptedConnections());
    connections.append(connection);
    most = std::max(most, openConnections());
    connection->start();
}
