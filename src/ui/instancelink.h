// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>

class QDeadlineTimer;
class QLocalSocket;

/// Lets one process of an id be the first, and carries messages from later ones to it.
///
/// The process that holds the lock file is the first, and listens on a local socket beside it. One
/// connection carries one message: its length as 32 bits in network order, then that many bytes of
/// UTF-8.
/// The first instance answers with one byte when it takes the message.
class InstanceLink final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(InstanceLink)

public:
    static constexpr quint32 maxMessageBytes = 1024 * 1024;
    static constexpr int maxSenders = 20; ///< at once; one more replaces the oldest

    /// Tries to become the first instance of @p id. Without a usable @p folder the process runs as
    /// if it were alone, since two windows are better than none.
    /// @param silenceLimit  milliseconds until a silent sender is dropped
    InstanceLink(const QString &folder, const QString &id, int silenceLimit = 3000);

    /// True if another process is the first instance.
    [[nodiscard]] bool isRunning() const { return running; }

    /// Path of the socket on which the first instance listens.
    [[nodiscard]] QString socketPath() const { return socketPath_; }

    /// Sends @p message to the first instance and waits, blocking the thread, until it is taken.
    /// @param timeout  milliseconds, for connecting and the answer together; a first instance
    ///     that does not listen yet is tried again until then
    /// @return false if the message was not taken in time or is longer than maxMessageBytes
    bool sendMessage(const QString &message, int timeout) const;

    /// Begins to take messages, if this is the first instance. Until then senders keep trying to
    /// connect.
    void takeMessages();

signals:
    void messageReceived(const QString &message);

private:
    void acceptSenders();
    void readMessage(QLocalSocket *sender);
    [[nodiscard]] bool connectTo(QLocalSocket *first, const QDeadlineTimer &deadline) const;

    QString socketPath_;
    int silenceLimit;
    QLockFile lock;
    QLocalServer server; // declared after the lock, so that it is destroyed first
    bool running = false;
};
