// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What follows when a connection fails.
#include <QDebug>
#include <utility>

#include "engine/jobfolder.h"
#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

namespace {

/// Replies to AUTHINFO and to commands that want it (RFC 4643 2.2, 2.4).
enum ReplyCode {
    AuthenticationRequired = 480,
    AuthenticationRefused = 483,
};

} // namespace

void Marlowick::nntpError(int error, const QString &msg, NzbFile *nzbfile, int seqnr)
{
    qDebug().nospace() << "NNTP/socket error: " << error << ' ' << msg;
    Nzb *nzb = nzbfile ? qobject_cast<Nzb *>(nzbfile->parent()) : nullptr;
    const bool jobDeleted = nzb && !queue_->contains(nzb);
    if (nzbfile) {
        nzbfile->requeueSegment(seqnr);
        queue_->release(nzbfile);
    }
    NNTP *connection = senderConnection();
    if (!connection) { // it was logging out
        qobject_cast<NNTP *>(sender())->deleteLater();
        return;
    }

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
        const int seconds = settings_->get(Settings::networkRetry);
        emit notice(0, tr("Last error: ") + msg + tr(", retrying in ") + QString::number(seconds)
                           + tr(" seconds", nullptr, seconds));
        connection->retryAfter(seconds);
    }
}

/// A file could not be written. A full disk above all concerns the whole queue.
/// @param passing  only the folder was gone, of a deleted job or until now
void Marlowick::decoderFailed(bool passing, const QString &msg)
{
    if (passing) {
        QTimer::singleShot(1000, this, &Marlowick::startToDownloadQueue);
    } else if (!errorShown) {
        queue_->pauseAll();
        errorShown = true;
        emit error(0, msg + tr(". Pausing downloads"));
    }
}

void Marlowick::closeAllConnections()
{
    const QList<NNTP *> alive = connections;
    for (NNTP *connection : alive)
        connection->abortWithError(NNTP::ConnectionsClosed, u"Closing all connections"_s);
}
