// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/connectionpool.h"

#include <QDebug>
#include <QTimer>

#include <algorithm>
#include <utility>

#include "engine/jobfolder.h"
#include "engine/settings.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

namespace {

/// The longest wait for a server that does not close the connection after QUIT.
constexpr int farewellMsec = 30000;

/// Replies to AUTHINFO and to commands that need it (RFC 4643 2.2, 2.4).
enum ReplyCode {
    AuthenticationRequired = 480,
    AuthenticationRefused = 483,
};

} // namespace

ConnectionPool::ConnectionPool(Queue &queue, const Settings &settings, QObject *parent)
    : QObject(parent)
    , queue(queue)
    , settings(settings)
{
}

ConnectionPool::~ConnectionPool() { qDeleteAll(connections); }

void ConnectionPool::startToDownloadQueue()
{
    const int threads = settings.get(Settings::threads);
    if (threads <= connectionCount() || !queue.hasWork() || (errorBoxShown && passwordAsked))
        return;
    errorShown = false;
    passwordAsked = false;
    if (connections.isEmpty())
        emit notice(0, tr("Connecting to server..."));
    NNTP *connection = makeConnection();
    connections.append(connection);
    connection->login();
}

NNTP *ConnectionPool::makeConnection()
{
    auto *connection = new NNTP(settings.get(Settings::hostname), settings.get(Settings::port),
                                settings.get(Settings::username), settings.password(),
                                settings.get(Settings::ssl), this);
    connection->setSpeedLimit(&speedLimit);
    connect(connection, &NNTP::dataDecoded, this, &ConnectionPool::dataDecoded);
    connect(connection, &NNTP::loggedIn, this, &ConnectionPool::nntpLoggedIn);
    connect(connection, &NNTP::articleNotFound, this, &ConnectionPool::articleNotFound);
    connect(connection, &NNTP::error, this, &ConnectionPool::nntpError);
    return connection;
}

/// The connection whose signal is being delivered, or null when it has left the pool: one that has
/// been told to quit gets no more work, whatever its server still says.
NNTP *ConnectionPool::senderConnection() const
{
    auto *connection = qobject_cast<NNTP *>(sender());
    return connections.contains(connection) ? connection : nullptr;
}

void ConnectionPool::nntpLoggedIn()
{
    const int count = connectionCount();
    if (queue.hasWork())
        emit notice(0, tr("Connected (%1)").arg(count));
    assignArticle(senderConnection());
    // If the server asks for a password, it would ask the next connection as well, box after box.
    if (settings.get(Settings::threads) > count && queue.hasWork() && !passwordAsked)
        startToDownloadQueue();
}

void ConnectionPool::assignArticle(NNTP *connection)
{
    if (!connection)
        return;
    NzbFile *file = nullptr;
    int number = 0;
    QString messageId;
    if (!queue.nextArticle(file, number, messageId)) {
        qDebug() << "Queue empty, telling NNTP to logout";
        dismiss(connection);
        return;
    }
    Nzb *nzb = file->job();
    makeFolderAnew(nzb);
    connection->getArticle(messageId, nzb->folder(), file, number);
    emit downloadProgresses(file);
}

void ConnectionPool::dataDecoded(NzbFile *nzbfile, int seqnr, const QString &filename,
                                 quint64 bytes, bool ok, bool yenc)
{
    NNTP *connection = senderConnection();
    if (!connection || !nzbfile)
        return assignArticle(connection);
    passwordAsked = passwordAsked && errorBoxShown; // login worked: the server no longer asks
    nzbfile->segmentDecoded(seqnr, filename, bytes, ok, yenc);
    if (queue.contains(nzbfile)) {
        emit downloadProgresses(nzbfile);
        if (nzbfile->isFinished())
            emit fileDecoded(nzbfile, filename);
    } else {
        queue.release(nzbfile); // no listener still refers to this file
    }
    assignArticle(senderConnection());
}

void ConnectionPool::articleNotFound(const QString &msgid, NzbFile *nzbfile, int seqnr)
{
    qDebug().nospace() << "Article <" << msgid << "> not found on server";
    NNTP *connection = senderConnection();
    if (nzbfile && connection) {
        nzbfile->segmentNotFound(seqnr);
        if (nzbfile->isFinished() && queue.contains(nzbfile))
            emit fileEndsMissing(nzbfile);
        queue.release(nzbfile);
    }
    // Deliberate: completion is not checked here. A file whose last article is missing looks
    // finished, but is neither joined nor announced.
    assignArticle(connection);
}

/// In any case the article goes back to its file, which hands it out next, to the first connection
/// that asks. The rest depends on the kind of error.
void ConnectionPool::nntpError(int error, const QString &msg, NzbFile *nzbfile, int seqnr)
{
    qDebug().nospace() << "NNTP/socket error: " << error << ' ' << msg;
    Nzb *nzb = nzbfile ? nzbfile->job() : nullptr;
    const bool jobDeleted = nzb && !queue.contains(nzb);
    if (nzbfile) {
        nzbfile->requeueSegment(seqnr);
        queue.release(nzbfile);
    }
    NNTP *connection = senderConnection();
    if (!connection)
        return;
    switch (error) {
    case AuthenticationRequired:
        drop(connection);
        passwordAsked = true;
        emit this->error(
            0, tr("Server asks for password. Please specify password in 'settings' window."));
        break;
    case AuthenticationRefused:
        drop(connection);
        if (!std::exchange(errorShown, true))
            emit this->error(0, tr("Supplied password not accepted. Check server settings"));
        break;
    case NNTP::DecoderFailed:
        drop(connection);
        decoderFailed(jobDeleted || (nzb && makeFolderAnew(nzb)), msg);
        break;
    case NNTP::ConnectionsClosed:
        emit notice(0, tr("Server settings changed"));
        drop(connection);
        break;
    default:
        retry(connection, msg);
    }
}

void ConnectionPool::retry(NNTP *connection, const QString &msg)
{
    const int seconds = settings.get(Settings::networkRetry);
    emit notice(0, tr("Last error: ") + msg + tr(", retrying in ") + QString::number(seconds)
                       + tr(" seconds", nullptr, seconds));
    connection->retryAfter(seconds);
}

/// A file could not be written. The usual reason, a full disk, concerns the whole queue.
/// @param passing  the job was deleted, or only its folder was missing and has been made again
void ConnectionPool::decoderFailed(bool passing, const QString &msg)
{
    if (passing) {
        QTimer::singleShot(1000, this, &ConnectionPool::startToDownloadQueue);
    } else if (!errorShown) {
        queue.pauseAll();
        errorShown = true;
        emit error(0, msg + tr(". Pausing downloads"));
    }
}

bool ConnectionPool::isFetching() const
{
    return std::any_of(connections.cbegin(), connections.cend(),
                       [](const NNTP *connection) { return connection->isFetching(); });
}

void ConnectionPool::closeAllConnections()
{
    const QList<NNTP *> alive = connections;
    for (NNTP *connection : alive)
        connection->abortWithError(NNTP::ConnectionsClosed, u"Closing all connections"_s);
}

/// Makes a connection log out. It leaves the pool at once and deletes itself later.
void ConnectionPool::dismiss(NNTP *connection)
{
    connections.removeAll(connection);
    QTimer::singleShot(farewellMsec, connection, &NNTP::deleteLater);
    connect(connection, &NNTP::error, connection, &NNTP::deleteLater);
    connection->quit();
}

/// Takes a failed connection out of the pool for good.
void ConnectionPool::drop(NNTP *connection)
{
    connections.removeAll(connection);
    connection->deleteLater();
}

void ConnectionPool::applySpeedLimit() { speedLimit.setRate(settings.speedLimit()); }

void ConnectionPool::checkSockets()
{
    applySpeedLimit();
    const int timeout = settings.get(Settings::networkTimeout);
    quint64 total = 0;
    const QList<NNTP *> alive = connections;
    for (NNTP *connection : alive) {
        total += connection->bytesReceived();
        if (timeout <= connection->idleSeconds())
            connection->abortWithError(NNTP::NetworkTimeout, u"Network time-out"_s);
    }
    emit bytesReceived(total);
}
