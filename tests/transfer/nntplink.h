// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QSignalSpy>

#include "support/newsserver.h"
#include "transfer/nntp.h"

/// One connection to a server, and what it has said.
struct Link {
    explicit Link(NewsServer &newsServer, const QString &password = {}, bool ssl = false)
        : nntp(new NNTP(QStringLiteral("127.0.0.1"), newsServer.serverPort(), QStringLiteral("joe"),
                        password, ssl, nullptr))
        , decoded(nntp, &NNTP::dataDecoded)
        , failed(nntp, &NNTP::error)
        , notFound(nntp, &NNTP::articleNotFound)
        , loggedIn(nntp, &NNTP::loggedIn)
    {
        nntp->login();
    }
    ~Link() { delete nntp; }
    Q_DISABLE_COPY_MOVE(Link)

    [[nodiscard]] int outcomes() const
    {
        return static_cast<int>(decoded.size() + failed.size() + notFound.size());
    }

    QPointer<NNTP> nntp;
    QSignalSpy decoded;
    QSignalSpy failed;
    QSignalSpy notFound;
    QSignalSpy loggedIn;
};
