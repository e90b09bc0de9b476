// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The connection pool: how many there are, and which article each fetches next.
#include <QDebug>

#include "engine/jobfolder.h"
#include "engine/marlowick.h"
#include "engine/speedmeter.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

namespace {

/// A server that does not close after QUIT is not waited for any longer than this.
constexpr int farewellMsec = 30000;

} // namespace

void Marlowick::startToDownloadQueue()
{
    const int threads = settings_->get(Settings::threads);
    if (threads <= connectionCount() || !queue_->hasWork() || (errorBoxShown && passwordAsked))
        return;
    errorShown = false;
    passwordAsked = false;
    if (connections.isEmpty())
        emit notice(0, tr("Connecting to server..."));
    NNTP *connection = makeConnection();
    connections.append(connection);
    connection->login();
}

NNTP *Marlowick::makeConnection()
{
    const Settings &set = *settings_;
    auto *connection =
        new NNTP(set.get(Settings::hostname), set.get(Settings::port), set.get(Settings::username),
                 set.password(), set.get(Settings::ssl), this);
    connect(connection, &NNTP::dataDecoded, this, &Marlowick::dataDecoded);
    connect(connection, &NNTP::loggedIn, this, &Marlowick::nntpLoggedIn);
    connect(connection, &NNTP::articleNotFound, this, &Marlowick::articleNotFound);
    connect(connection, &NNTP::error, this, &Marlowick::nntpError);
    return connection;
}

/// The connection whose signal is being delivered, or null when it has left the pool: one that has
/// been told to quit gets no more work, whatever its server still says.
NNTP *Marlowick::senderConnection() const
{
    auto *connection = qobject_cast<NNTP *>(sender());
    return connections.contains(connection) ? connection : nullptr;
}

void Marlowick::nntpLoggedIn()
{
    const int count = connectionCount();
    if (queue_->hasWork())
        emit notice(0, tr("Connected (%1)").arg(count));
    assignArticle(senderConnection());
    // A server that asks for a password would ask the next connection too, box after box.
    if (settings_->get(Settings::threads) > count && queue_->hasWork() && !passwordAsked)
        startToDownloadQueue();
}

void Marlowick::assignArticle(NNTP *connection)
{
    if (!connection)
        return;
    NzbFile *file = nullptr;
    int number = 0;
    QString messageId;
    if (!queue_->nextArticle(file, number, messageId)) {
        qDebug() << "Queue empty, telling NNTP to logout";
        dismiss(connection);
        return;
    }
    auto *nzb = qobject_cast<Nzb *>(file->parent());
    makeFolderAnew(nzb);
    connection->getArticle(messageId, nzb->folder(), file, number);
    emit downloadProgresses(file);
}

/// Lets a connection log out. It belongs to nobody from here on and ends itself.
void Marlowick::dismiss(NNTP *connection)
{
    connections.removeAll(connection);
    QTimer::singleShot(farewellMsec, connection, &NNTP::deleteLater);
    connection->quit();
}

/// Takes a failed connection out of the pool for good.
void Marlowick::drop(NNTP *connection)
{
    connections.removeAll(connection);
    connection->deleteLater();
}

void Marlowick::checkSockets() { meter->update(checkTimeouts()); }

/// Ends the connections that have been silent for too long; returns the bytes that all of them have
/// received so far.
quint64 Marlowick::checkTimeouts()
{
    const int timeout = settings_->get(Settings::networkTimeout);
    quint64 total = 0;
    const QList<NNTP *> alive = connections;
    for (NNTP *connection : alive) {
        total += connection->bytesReceived();
        if (timeout <= connection->idleSeconds())
            connection->abortWithError(NNTP::NetworkTimeout, u"Network time-out"_s);
    }
    return total;
}
