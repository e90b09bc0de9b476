// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QTcpSocket>

#include <csignal>

#include "support/files.h"

/// A script in the place of the media player, which leaves its process id and its arguments in a
/// file and sleeps, and a client that fetches the film for it.
class Player final {
public:
    explicit Player(const QString &folder)
        : program(folder + QStringLiteral("/player"))
        , log(program + QStringLiteral(".txt"))
    {
        writeFile(program,
                  "#!/bin/sh\necho $$ \"$@\" >$0.new && mv $0.new $0.txt && exec sleep 99\n");
        QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner);
    }

    [[nodiscard]] bool isThere() const { return QFile::exists(log); }
    [[nodiscard]] bool isRunning() const { return isThere() && ::kill(pid(), 0) == 0; }
    void end() const { ::kill(pid(), SIGTERM); }
    [[nodiscard]] QString arguments() const { return words().sliced(1).join(u' '); }
    /// Of the address among them.
    [[nodiscard]] quint16 port() const
    {
        return arguments().section(u':', -1).section(u'/', 0, 0).toUShort();
    }
    void forget() { QFile::remove(log); }

    void request(const QByteArray &text = "GET /marlowick HTTP/1.1\r\nRange: bytes=9-\r\n\r\n")
    {
        client.connectToHost(QStringLiteral("127.0.0.1"), port());
        client.waitForConnected();
        client.write(text);
    }
    [[nodiscard]] const QByteArray &received() { return all += client.readAll(); }
    /// What has come behind the head of the answer.
    [[nodiscard]] QByteArray film()
    {
        const QByteArray head = "HTTP/1.0 200 Ok\r\nContent-Type: application/octet-stream\r\n"
                                "Connection: close\r\n\r\n";
        return received().startsWith(head) ? all.sliced(head.size()) : "(bad head) " + all.left(99);
    }
    [[nodiscard]] bool hasEnded() const
    {
        return client.state() == QAbstractSocket::UnconnectedState;
    }

    const QString program;
    QTcpSocket client;

private:
    [[nodiscard]] QStringList words() const
    {
        return QString::fromUtf8(contentsOf(log)).simplified().split(u' ');
    }
    [[nodiscard]] pid_t pid() const { return words().constFirst().toInt(); }

    QString log;
    QByteArray all;
};
