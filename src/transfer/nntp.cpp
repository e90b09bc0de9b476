// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/nntp.h"

#include <QDebug>
#include <QSslCertificate>
#include <QSslSocket>

#include <malloc.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "queue/nzbfile.h"
#include "transfer/abstractdecoder.h"
#include "transfer/addressfamily.h"
#include "transfer/speedlimit.h"

using namespace Qt::StringLiterals;

namespace {

/// A network read takes blocks of up to readRoom() bytes, which come and go. By default the C
/// library hands each of them back to the system, only to be given zeroed pages for the next one:
/// over TLS, that takes a third of the processor time.
void keepFreedMemory()
{
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 4 * 1024 * 1024);
    mallopt(M_TRIM_THRESHOLD, 8 * 1024 * 1024);
#endif
}

/// A message id from an NZB must not smuggle in a command of its own.
QString withoutControlCharacters(const QString &text)
{
    QString result = text;
    result.removeIf([](QChar c) { return c < u' '; });
    return result;
}

} // namespace

NNTP::NNTP(const QString &hostName, int portNumber, const QString &user, const QString &pass,
           bool useSsl, QObject *parent)
    : QObject(parent)
    , host(hostName)
    , port(portNumber)
    , username(user)
    , password(pass)
    , ssl(useSsl)
{
    keepFreedMemory();
    if (ssl) {
        auto *sslSocket = new QSslSocket(this);
        connect(sslSocket, &QSslSocket::encrypted, this, &NNTP::onConnected);
        connect(sslSocket, &QSslSocket::peerVerifyError, this, &NNTP::onSSLerror);
        socket = sslSocket;
    } else {
        socket = new QTcpSocket(this);
        connect(socket, &QTcpSocket::connected, this, &NNTP::onConnected);
    }
    setReadRoom();
    connect(socket, &QAbstractSocket::readyRead, this, &NNTP::onReadyRead);
    connect(socket, &QAbstractSocket::errorOccurred, this, &NNTP::onError);

    retryTimer.setSingleShot(true);
    connect(&retryTimer, &QTimer::timeout, this, &NNTP::login);
}

NNTP::~NNTP()
{
    // This may run inside a signal of the socket, which must see its own function end.
    socket->disconnect(this);
    socket->abort();
    socket->setParent(nullptr);
    socket->deleteLater();
}

void NNTP::login()
{
    nzbfile = nullptr;
    retryTimer.stop();
    retryPending = false;
    if (deletePending) {
        deleteLater();
        return;
    }
    if (socket->isOpen())
        return;

    state = StateConnecting;
    family = AddressFamily::of(host);
    qDebug().nospace() << "Connecting to server: " << host << " port: " << port << " SSL: " << ssl;
    lastActivity.start(); // before the connect, which may fail at once and stop the clock
    if (auto *sslSocket = qobject_cast<QSslSocket *>(socket))
        sslSocket->connectToHostEncrypted(host, quint16(port), QIODevice::ReadWrite, family);
    else
        socket->connectToHost(host, quint16(port), QIODevice::ReadWrite, family);
}

void NNTP::getArticle(const QString &messageId, const QString &jobFolder, NzbFile *file, int number)
{
    if (!socket->isOpen())
        login();
    msgid = messageId;
    folder = jobFolder;
    nzbfile = file;
    seqnr = number;
    if (state == StateReady)
        requestBody();
}

void NNTP::requestBody()
{
    state = StateSentBody;
    bytesBeforeArticle = bytesReceived_;
    dropDecoder();
    sendCommand("BODY <"_L1 + msgid.trimmed() + u'>');
}

void NNTP::quit()
{
    if (!socket->isOpen()) {
        delete this;
        return;
    }
    state = StateQuitting;
    sendCommand(u"QUIT"_s);
}

void NNTP::retryAfter(int seconds)
{
    constexpr int longest = std::numeric_limits<int>::max() / 1000;
    retryPending = true;
    // A running wait is not restarted: repeated aborts must not put the retry off for ever.
    if (!retryTimer.isActive())
        retryTimer.start(std::clamp(seconds, 0, longest) * 1000);
    qDebug() << "retry after" << seconds;
}

void NNTP::deleteLater()
{
    if (retryPending)
        deletePending = true;
    else
        QObject::deleteLater();
}

int NNTP::idleSeconds() const
{
    if (!lastActivity.isValid() || (speedLimit && speedLimit->isWaiting(this)))
        return 0;
    return static_cast<int>(lastActivity.elapsed() / 1000);
}

void NNTP::abortWithError(int code, const QString &msg)
{
    const QPointer<NNTP> self(this);
    if (provesFamilyDead(code))
        AddressFamily::avoid(host, family);
    resetConnection();
    emit error(code, msg, nzbfile, seqnr);
    if (self)
        nzbfile = nullptr;
}

/// A refusal proves it only if the attempt was limited to one family: without a limit, all
/// addresses have refused.
bool NNTP::provesFamilyDead(int code) const
{
    const bool connecting =
        state == StateConnecting && socket->state() < QTcpSocket::ConnectedState;
    const bool refused = family != QTcpSocket::AnyIPProtocol && code != ConnectionsClosed;
    return connecting && (code == NetworkTimeout || refused);
}

void NNTP::abortForEndlessLine() { abortWithError(0, tr("The server sent a line without an end")); }

void NNTP::resetConnection()
{
    msgid.clear();
    state = StateDisconnected;
    dropDecoder();
    lastActivity.invalidate();
    // abort() leaves a socket that the server has closed open for reading; close() alone would wait
    // for unsent bytes, and the socket would refuse to connect again.
    socket->abort();
    socket->close();
}

void NNTP::dropDecoder()
{
    delete decoder;
    decoder = nullptr;
}

void NNTP::sendCommand(const QString &command)
{
    const QString line = withoutControlCharacters(command);
    if (state == StateSentPassword)
        qDebug() << "Sending password (not logged)";
    else
        qDebug().nospace() << "Sending: " << line;
    socket->write((line + "\r\n"_L1).toLatin1());
}

void NNTP::onConnected()
{
    qDebug() << "Connected";
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
}

void NNTP::onError(QAbstractSocket::SocketError socketError)
{
    const QString text = socket->errorString();
    const QPointer<NNTP> self(this);
    // What came before the failure may end the article, even if the speed limit has held it back.
    SpeedLimit *limit = std::exchange(speedLimit, nullptr);
    readQueued = readQueued || (limit && limit->isWaiting(this) && state == StateReadingBody);
    readDecrypted();
    if (!self)
        return;
    speedLimit = limit;
    if (state == StateDisconnected)
        return;
    if (socketError == QAbstractSocket::RemoteHostClosedError && state == StateQuitting) {
        qDebug() << "Disconnected";
        deleteLater();
        return;
    }
    qDebug().nospace() << "Socket error: (" << static_cast<int>(socketError) << ") " << text;
    abortWithError(socketError, text);
}

void NNTP::onSSLerror(const QSslError &sslError)
{
    QString message = tr("SSL verification error");
    switch (sslError.error()) {
    case QSslError::SelfSignedCertificate:
    case QSslError::NoError:
        message += tr(".<p>This could mean something bad, like a man-in-the-middle attack."
                      "<p>However it is more likely that your provider forgot to install a proper "
                      "SSL certificate issued by a 'real' Certificate Authority on their Usenet "
                      "server. Contact them to have this fixed!");
        break;
    case QSslError::HostNameMismatch: {
        const QSslCertificate certificate = sslError.certificate();
        QStringList names = certificate.subjectInfo(QSslCertificate::CommonName);
        if (names.isEmpty())
            names = certificate.subjectAlternativeNames().values();
        message += tr(": You entered hostname '%1' but the server's SSL certificate is only valid "
                      "for '%2'")
                       .arg(host, names.join(", "_L1));
        break;
    }
    default:
        message += ": "_L1 + sslError.errorString();
    }
    abortWithError(0, message);
}

/// A TLS socket emits this for each 4096 bytes that it has decrypted of a network read. All of them
/// are read at once, afterwards: a chunk then ends where a TLS record does, not within a line end.
void NNTP::onReadyRead()
{
    lastActivity.start();
    if (!ssl)
        readAvailable();
    else if (!std::exchange(readQueued, true))
        QMetaObject::invokeMethod(this, &NNTP::readDecrypted, Qt::QueuedConnection);
}

void NNTP::readDecrypted()
{
    if (std::exchange(readQueued, false) && state != StateDisconnected)
        readAvailable();
}

void NNTP::readAvailable()
{
    if (decoder)
        readChunk();
    else
        readReply();
}

void NNTP::readReply()
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() > AbstractDecoder::maximalLine)
            abortForEndlessLine();
        else if (const qint64 room = readRoom(); room > 0 && socket->bytesAvailable() >= room)
            socket->setReadBufferSize(0); // otherwise the rest of a long line never finds room
        return;
    }
    QByteArray line = takeLine();
    if (state == StateReadingBody) {
        readBodyLines(line);
        return;
    }
    qDebug().nospace() << "Received: " << withoutPassword(line).trimmed();
    const QPointer<NNTP> self(this);
    if (line.size() > 2)
        handleReply(line);
    // Only one line is read at a time, so lines that were not asked for pile up.
    if (self && state != StateReadingBody
        && socket->bytesAvailable() > AbstractDecoder::maximalLine)
        abortWithError(0, tr("The server sent more than it was asked for"));
}

QByteArray NNTP::takeLine()
{
    QByteArray line = socket->readLine();
    bytesReceived_ += static_cast<quint64>(line.size());
    if (speedLimit)
        speedLimit->spend(line.size());
    setReadRoom();
    return line;
}

/// Some servers repeat a command that they refuse.
QString NNTP::withoutPassword(const QByteArray &reply) const
{
    QString text = QString::fromLatin1(reply);
    const QByteArray sent = withoutControlCharacters(password).toLatin1();
    return sent.isEmpty() ? text : text.replace(QLatin1StringView(sent), "***"_L1);
}

/// Any code from 200 to 399 advances the state; 430 alone has a meaning of its own. The receiver of
/// error() decides what all other codes mean.
void NNTP::handleReply(const QByteArray &line)
{
    constexpr int noSuchArticle = 430;
    const int code = line.first(3).toInt();
    if (code == noSuchArticle) {
        state = StateReady;
        emit articleNotFound(msgid, nzbfile, seqnr);
    } else if (code < 200 || code > 399) {
        abortWithError(code, withoutPassword(line));
    } else {
        advance();
    }
}

void NNTP::advance()
{
    switch (state) {
    case StateConnecting:
        if (password.isEmpty()) {
            finishLogin();
        } else {
            state = StateSentUser;
            sendCommand("AUTHINFO USER "_L1 + username);
        }
        break;
    case StateSentUser:
        state = StateSentPassword;
        sendCommand("AUTHINFO PASS "_L1 + password);
        break;
    case StateSentPassword:
        finishLogin();
        break;
    case StateSentBody:
        terminatorMatch = 0;
        state = StateReadingBody;
        readAvailable();
        break;
    case StateDisconnected:
    case StateReady:
    case StateReadingBody:
    case StateQuitting:
        break;
    }
}

void NNTP::finishLogin()
{
    state = StateReady;
    if (msgid.isEmpty())
        emit loggedIn();
    else
        requestBody();
}
