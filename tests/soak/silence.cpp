// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "soak/silence.h"

#include <QTcpSocket>
#include <QVariant>

#include "support/newsserver.h"

namespace {

constexpr int patience = 6; // looks
constexpr const char *looksProperty = "looks"; // since the last command

} // namespace

/// A stalled reply may be older than the first look: what goes without a command since then does
/// not count.
bool isLeftSilent(const NewsServer &server)
{
    bool silent = false;
    for (const QObject *connection : server.children()) {
        auto *socket = connection->findChild<QTcpSocket *>({}, Qt::FindDirectChildrenOnly);
        if (!socket)
            continue;
        const QVariant looks = socket->property(looksProperty);
        if (!looks.isValid()) {
            QObject::connect(socket, &QTcpSocket::readyRead, socket,
                             [socket] { socket->setProperty(looksProperty, 1); });
            socket->setProperty(looksProperty, 0);
        } else if (looks.toInt() > 0) {
            silent = silent || looks.toInt() > patience;
            socket->setProperty(looksProperty, looks.toInt() + 1);
        }
    }
    return silent;
}
