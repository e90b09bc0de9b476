// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QTcpSocket>

#include <csignal>

#include "support/files.h"

/// A script in the place of the media player, which leaves its process id and its arguments in a
/// file and sleeps, and a client that fetches the film for it.
struct Player {
    explicit Player(const QString &folder)
        : program(folder + "/player")
    {
        writeFile(program,
                  "#!/bin/sh\necho $$ \"$@\" >$0.new && mv $0.new $0.txt && exec sleep 99");
        QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner);
    }

    [[nodiscard]] bool isThere() const { return QFile::exists(log); }
    [[nodiscard]] pid_t pid() const { return contentsOf(log).split(' ')[0].toInt(); }
    [[nodiscard]] bool isRunning() const { return isThere() && ::kill(pid(), 0) == 0; }
    void end() const { ::kill(pid(), SIGTERM); }
    void forget() { QFile::remove(log); }
    [[nodiscard]] QString arguments() const { return QString(contentsOf(log)).section(' ', 1); }
    [[nodiscard]] bool hasEnded() const { return client.state() == QTcpSocket::UnconnectedState; }
    /// What has come behind the head of the answer.
    [[nodiscard]] QByteArray film()
    {
        const QByteArray head = "HTTP/1.0 200 Ok\r\nContent-Type: application/octet-stream\r\n"
                                "Connection: close\r\n\r\n";
        received += client.readAll();
        return received.startsWith(head) ? received.sliced(head.size()) : received;
    }

    const QString program, log = program + ".txt";
    QTcpSocket client;
    QByteArray received;
};
