// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>

#include "transfer/speedlimit.h"

class NNTP;
class NzbFile;
class Queue;
class Settings;

/// The connections to the news server: how many there are, which article each fetches next, what
/// becomes of that article, and what follows when a connection fails.
///
/// Nothing is scheduled in advance. A free connection asks for work, and the queue is searched from
/// the top. Without work the connection logs out and leaves the pool. The pool grows by one
/// connection after each login. Lives on the GUI thread, like the connections, which it owns.
class ConnectionPool final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectionPool)

public:
    /// @param queue,settings  must outlive the pool
    ConnectionPool(Queue &queue, const Settings &settings, QObject *parent = nullptr);
    ~ConnectionPool() override;

    [[nodiscard]] int connectionCount() const { return static_cast<int>(connections.size()); }
    /// True while an article is under way.
    [[nodiscard]] bool isFetching() const;
    /// Ends every connection; their articles go back to the queue.
    void closeAllConnections();
    /// Whether an error box is shown. While one asks for a password no connection is added; those
    /// in the pool go on retrying.
    void setErrorBoxShown(bool shown) { errorBoxShown = shown; }
    /// Puts a changed speed limit into effect at once.
    void applySpeedLimit();

public slots:
    /// Opens one more connection, if the limit and the queue allow it.
    void startToDownloadQueue();
    /// Ends the connections that have been silent for too long, and counts the bytes of all
    /// connections.
    void checkSockets();

signals:
    void error(int code, QString msg);
    void notice(int code, QString msg);
    /// An article of the file has been requested or has arrived.
    void downloadProgresses(NzbFile *file);
    /// The last article of the file has been decoded. @p filename is the decoder's name for it.
    void fileDecoded(NzbFile *file, QString filename);
    /// The server does not have the last article that the file has waited for.
    void fileEndsMissing(NzbFile *file);
    /// @p total  bytes that the connections now in the pool have received so far
    void bytesReceived(quint64 total);

protected slots:
    void dataDecoded(NzbFile *nzbfile, int seqnr, const QString &filename, quint64 bytes, bool ok,
                     bool yenc);
    void nntpLoggedIn();
    void nntpError(int error, const QString &msg, NzbFile *nzbfile, int seqnr);
    void articleNotFound(const QString &msgid, NzbFile *nzbfile, int seqnr);

private:
    [[nodiscard]] NNTP *makeConnection();
    [[nodiscard]] NNTP *senderConnection() const;
    void assignArticle(NNTP *connection);
    void dismiss(NNTP *connection);
    void drop(NNTP *connection);
    void decoderFailed(bool passing, const QString &msg);
    void retry(NNTP *connection, const QString &msg);

    Queue &queue;
    const Settings &settings;
    SpeedLimit speedLimit;
    QList<NNTP *> connections;
    bool errorShown = false; ///< an error that ends connections, since one was last opened
    bool errorBoxShown = false;
    bool passwordAsked = false; ///< the server has asked, since a connection was last opened
};
