// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/instancelink.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace {

constexpr int headerBytes = sizeof(quint32);
constexpr char taken = 'T';
constexpr int connectPause = 20; // milliseconds between two tries to connect

int remaining(const QDeadlineTimer &deadline) { return static_cast<int>(deadline.remainingTime()); }

bool send(QLocalSocket *first, const QByteArray &text, const QDeadlineTimer &deadline)
{
    const quint32 length = qToBigEndian(static_cast<quint32>(text.size()));
    first->write(reinterpret_cast<const char *>(&length), headerBytes);
    first->write(text);
    while (first->bytesToWrite() > 0) {
        if (!first->waitForBytesWritten(remaining(deadline)))
            return false;
    }
    return true;
}

} // namespace

InstanceLink::InstanceLink(const QString &folder, const QString &id, int limit)
    : socketPath_(folder + u'/' + id + u".socket"_s)
    , silenceLimit(limit)
    , lock(folder + u'/' + id + u".lock"_s)
    , server(this)
{
    lock.setStaleLockTime(0); // only the lock of a dead process is stale, whatever its age
    if (!folder.isEmpty() && lock.tryLock(0))
        return;
    running = lock.error() == QLockFile::LockFailedError;
    if (!running)
        qWarning() << "Cannot lock a file for the single instance in" << folder;
}

void InstanceLink::takeMessages()
{
    if (!lock.isLocked() || server.isListening())
        return;
    connect(&server, &QLocalServer::newConnection, this, &InstanceLink::acceptSenders,
            Qt::UniqueConnection);
    // We hold the lock, so an existing socket is a leftover.
    QLocalServer::removeServer(socketPath_);
    server.setSocketOptions(QLocalServer::UserAccessOption);
    if (!server.listen(socketPath_))
        qWarning() << "Cannot listen for other instances:" << server.errorString();
}

bool InstanceLink::sendMessage(const QString &message, int timeout) const
{
    const QByteArray text = message.toUtf8();
    if (text.size() > maxMessageBytes)
        return false;
    const QDeadlineTimer deadline(timeout);
    QLocalSocket first;
    if (!connectTo(&first, deadline) || !send(&first, text, deadline))
        return false;
    while (first.bytesAvailable() == 0) {
        if (!first.waitForReadyRead(remaining(deadline)))
            return false;
    }
    return first.read(1) == QByteArrayView(&taken, 1);
}

bool InstanceLink::connectTo(QLocalSocket *first, const QDeadlineTimer &deadline) const
{
    for (;;) {
        first->connectToServer(socketPath_);
        if (first->waitForConnected(remaining(deadline)))
            return true;
        if (deadline.hasExpired())
            return false;
        first->abort();
        QThread::msleep(connectPause);
    }
}

void InstanceLink::acceptSenders()
{
    while (QLocalSocket *sender = server.nextPendingConnection()) {
        sender->setReadBufferSize(headerBytes + maxMessageBytes);
        auto *silence = new QTimer(sender);
        silence->setSingleShot(true);
        connect(silence, &QTimer::timeout, sender, &QLocalSocket::abort);
        silence->start(silenceLimit);
        connect(sender, &QLocalSocket::disconnected, sender, &QObject::deleteLater);
        connect(sender, &QLocalSocket::readyRead, silence, qOverload<>(&QTimer::start));
        connect(sender, &QLocalSocket::readyRead, this, [this, sender] { readMessage(sender); });
        const auto senders = server.findChildren<QLocalSocket *>();
        if (senders.size() > maxSenders)
            senders.first()->abort();
    }
}

void InstanceLink::readMessage(QLocalSocket *sender)
{
    const QByteArray header = sender->peek(headerBytes);
    if (header.size() < headerBytes)
        return;
    const auto length = qFromBigEndian<quint32>(header.constData());
    if (length > maxMessageBytes) {
        sender->abort();
        return;
    }
    if (sender->bytesAvailable() < headerBytes + qint64(length))
        return;
    // Further bytes are not part of the protocol, and the receiver may run an event loop.
    disconnect(sender, &QLocalSocket::readyRead, this, nullptr);
    sender->skip(headerBytes);
    const QByteArray text = sender->read(length);
    sender->write(&taken, 1);
    sender->flush();
    sender->disconnectFromServer();
    emit messageReceived(QString::fromUtf8(text));
}
