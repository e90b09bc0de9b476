// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QSslError>
#include <QTcpSocket>
#include <QTimer>

class AbstractDecoder;
class NzbFile;
class SpeedLimit;

/// One connection to the news server: logs in and fetches one article at a time (RFC 3977, RFC
/// 4643).
///
/// Lives on the GUI thread; its signals are direct calls. A receiver may call getArticle(), quit()
/// or deleteLater() from within any of them. After error() the object is reset but usable: login()
/// or getArticle() connects again. It has no time-out of its own; its owner watches idleSeconds().
class NNTP final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NNTP)

public:
    /// First argument of error() beside socket error numbers and reply codes.
    enum ErrorCode {
        NetworkTimeout = 9997,
        ConnectionsClosed = 9998,
        DecoderFailed = 9999,
    };

    /// @param password  an empty one switches authentication off, whatever @p username is
    /// @param ssl  implicit SSL, from the first byte on
    NNTP(const QString &host, int port, const QString &username, const QString &password, bool ssl,
         QObject *parent);
    ~NNTP() override;

    /// @param limit  for the bodies of articles, shared with other connections; must live as long
    void setSpeedLimit(SpeedLimit *limit) { speedLimit = limit; }
    /// Fetches an article once the connection is ready, connecting first if need be.
    /// @param msgid  message id without angle brackets
    /// @param folder  the job's folder, where the decoder writes
    /// @param seqnr  number of the article within @p nzbfile, from 1
    void getArticle(const QString &msgid, const QString &folder, NzbFile *nzbfile, int seqnr);
    /// Logs out; the object deletes itself when the server has closed the connection. If the socket
    /// is closed already, the object is deleted before this returns.
    void quit();
    /// Calls login() after @p seconds, or earlier if a wait is under way already.
    void retryAfter(int seconds);
    /// Closes the connection and reports it as failed, by error() with @p code and @p msg.
    void abortWithError(int code, const QString &msg);
    /// Bytes read from the socket since construction, protocol text included.
    [[nodiscard]] quint64 bytesReceived() const { return bytesReceived_; }
    /// True from the request for an article until its end.
    [[nodiscard]] bool isFetching() const
    {
        return state == StateSentBody || state == StateReadingBody;
    }
    /// Whole seconds without data since the last reception or login(); 0 after a reset, and while
    /// the speed limit holds back what has come.
    [[nodiscard]] int idleSeconds() const;

public slots:
    void login();
    /// Hides QObject's: a connection that waits for its retry lives on until the wait is over.
    void deleteLater();

signals:
    /// An article has ended. @p filename is what the decoder wrote to, empty when there was no
    /// usable encoding; @p bytes its decoded bytes; @p ok whether it proved undamaged.
    void dataDecoded(NzbFile *nzbfile, int seqnr, QString filename, quint64 bytes, bool ok,
                     bool yenc);
    /// The connection has failed and is closed. @p nzbfile is null when it never held an article;
    /// otherwise it names the article to be fetched again, or the last one fetched.
    void error(int error, QString msg, NzbFile *nzbfile, int seqnr);
    /// The server does not have the article (430); the connection is ready for the next.
    void articleNotFound(QString msgid, NzbFile *nzbfile, int seqnr);
    /// Logged in, with no article waiting.
    void loggedIn();

protected slots:
    void onConnected();
    void onReadyRead();
    void onError(QAbstractSocket::SocketError socketError);
    void onSSLerror(const QSslError &sslError);

private:
    enum ConnectionState {
        StateDisconnected,
        StateConnecting,
        StateSentUser,
        StateSentPassword,
        StateReady,
        StateSentBody,
        StateReadingBody,
        StateQuitting,
    };

    void resetConnection();
    [[nodiscard]] bool provesFamilyDead(int code) const;
    void abortForEndlessLine();
    void dropDecoder();
    void sendCommand(const QString &command);
    void requestBody();
    void finishLogin();

    void readDecrypted();
    void readAvailable();
    void readReply();
    [[nodiscard]] QByteArray takeLine();
    [[nodiscard]] qint64 readRoom() const;
    void setReadRoom();
    [[nodiscard]] QString withoutPassword(const QByteArray &reply) const;
    void handleReply(const QByteArray &line);
    void advance();
    void readBodyLines(QByteArray line);
    void examineBodyLine(QByteArray &line);
    [[nodiscard]] bool isUuencode(const QByteArray &line);
    void startDecoder(AbstractDecoder *newDecoder, QByteArray &line);
    void finishUnknownArticle();

    [[nodiscard]] qint64 grantedBytes(qint64 available);
    void readChunk();
    [[nodiscard]] bool abortedForEndlessArticle();
    void decode(QByteArray &data);
    void finishArticle();

    QString host;
    int port;
    QString username;
    QString password;
    bool ssl;
    QAbstractSocket *socket = nullptr;
    SpeedLimit *speedLimit = nullptr;
    QAbstractSocket::NetworkLayerProtocol family = QAbstractSocket::AnyIPProtocol; ///< last tried
    QString msgid;
    QString folder;
    int seqnr = 0;
    AbstractDecoder *decoder = nullptr;
    QPointer<NzbFile> nzbfile;
    QElapsedTimer lastActivity;
    quint64 bytesReceived_ = 0;
    quint64 bytesBeforeArticle = 0; ///< bytesReceived_ when the article was requested
    QTimer retryTimer;
    bool readQueued = false; ///< a call of readDecrypted() is on its way
    bool retryPending = false;
    bool deletePending = false;
    int terminatorMatch = 0;
    ConnectionState state = StateDisconnected;
};
