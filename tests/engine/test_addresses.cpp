// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <netdb.h>

#include <QHostInfo>

#include <cstring>

#include "enginefixture.h"
#include "support/case.h"

using namespace Qt::StringLiterals;

namespace {

QList<const char *> addresses; ///< that a name is resolved to

} // namespace

/// In the place of the system's, for all libraries of this process.
extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints,
                           addrinfo **result)
{
    static const auto real =
        reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (!name || !std::strstr(name, ".test"))
        return real(name, service, hints, result);
    int status = 0;
    for (const char *address : std::as_const(addresses)) {
        status = status ? status : real(address, service, hints, result);
        while (*result && (*result)->ai_next)
            result = &(*result)->ai_next;
        if (*result)
            result = &(*result)->ai_next;
    }
    return status;
}

namespace {

const struct {
    const char *name;
    QList<const char *> order;
} rows[]{{"ipv6.test", {"::1", "127.0.0.1"}}, {"ipv4.test", {"127.0.0.1", "::1"}}};
const Case otherFamily("the first address of the server is dead", rows, [](const auto &row) {
    EngineFixture t;
    QList<QHostAddress> order;
    addresses = row.order;
    for (const char *address : row.order)
        order << QHostAddress(QString::fromLatin1(address));
    t.server->close();
    // An address answers nothing once its queue of connections is full.
    QTcpServer dead;
    dead.setListenBacklogSize(1);
    if (!t.server->listen(order.last()) || !dead.listen(order.first(), t.server->serverPort()))
        QSKIP("There is no IPv6 here");
    dead.pauseAccepting();
    QTcpSocket waiting[4];
    for (QTcpSocket &socket : waiting)
        socket.connectToHost(order.first(), dead.serverPort());
    t.set("hostname", QString::fromLatin1(row.name));
    t.set("port", t.server->serverPort());
    t.set("networkTimeout", 1);
    t.set("networkRetry", 0);
    Post post;
    post.addYenc(u"film.bin"_s, "content", 2);
    t.start(post);
    QTRY_COMPARE_WITH_TIMEOUT(t.completedJobs.size(), 1, 20'000);
    QCOMPARE(t.saved(u"demo/film.bin"_s), QByteArray("content"));
    // Connections that are closed while they connect have learned nothing new.
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    t.start(post);
    t.engine->closeAllConnections();
    bool lookedUp = false;
    QHostInfo::lookupHost(QString::fromLatin1(row.name), [&](auto &) { lookedUp = true; });
    QTRY_VERIFY(lookedUp);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE_WITH_TIMEOUT(t.completedJobs.size(), 2, 20'000);
    QCOMPARE(t.notices.filter(u"Network time-out"_s).size(), 1); // the others need not learn it
});

} // namespace
