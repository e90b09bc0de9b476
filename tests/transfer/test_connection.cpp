// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// One connection to a news server, plain and over TLS, whatever the server says.
#include <QPointer>
#include <QTemporaryDir>

#include <algorithm>
#include <functional>
#include <numeric>
#include <optional>

#include "queue/nzbfile.h"
#include "support/articles.h"
#include "support/case.h"
#include "support/newsserver.h"
#include "support/testcertificate.h"
#include "transfer/nntp.h"
#include "transfer/speedlimit.h"

namespace {

const QByteArray film = yencArticle("film", 5000, 1, 1, 1, randomBytes(7, 5000));
const QByteArray longFilm = yencArticle("film", 300'000, 1, 1, 1, randomBytes(7, 300'000));

/// A server with one article, a connection to it, and what that says.
struct World {
    explicit World(const std::optional<TestCertificate> &made = {})
        : server(made ? std::optional(made->server) : std::nullopt)
    {
        if (made)
            trustOnly(made->authority);
        nntp = new NNTP("127.0.0.1", server.serverPort(), "joe", "500\t no", bool(made), nullptr);
        server.requireLogin("joe", "500 no");
        server.addArticle("a@b", film);
        const auto say = [this](auto... words) {
            const QStringList texts{QVariant::fromValue(words).toString()...};
            said += '|' + texts.join(' ').simplified();
            if (deletes)
                delete nntp;
        };
        QObject::connect(nntp, &NNTP::dataDecoded, say);
        QObject::connect(nntp, &NNTP::articleNotFound, say);
        QObject::connect(nntp, &NNTP::error, say);
        QObject::connect(nntp, &NNTP::loggedIn, [this] { said += "|ready"; });
    }
    ~World() { delete nntp; }

    /// By a message id that is no command, whatever it contains.
    void fetch(int number = 1) { nntp->getArticle(" a\r\n@b ", dir.path(), &file, number); }

    QTemporaryDir dir;
    NewsServer server;
    NzbFile file{nullptr, "\"film\" (1/3)", {}, 0, 0, 0, false, 0, false};
    bool deletes = false; ///< the connection, as soon as it says anything
    QString said;
    QPointer<NNTP> nntp;
};

Reply body(const QByteArray &lines) { return Reply::bytes("222 b\r\n" + lines + ".\r\n"); }
Reply endless(const QByteArray &start, const QByteArray &pattern)
{
    return Reply::bytes(start + pattern.repeated(2'000'000));
}

const QString good = "|1 film 5000 true true", unknown = "|1 0 false false";
const QString noLineEnd = "|0 The server sent a line without an end 1";
const QString noEnd = "|0 The server sent an article without an end 1";
const QString tooMuch = "|0 The server sent more than it was asked for 1";
const QString closed = "|1 The remote host closed the connection 1";
const QByteArray full = "M" + QByteArray(60, '!') + "\r\n"; // a line of uuencode
const QByteArray end = "`\r\nend\r\n";
const struct Talk {
    const char *name;
    QString said;
    Reply reply;
    int seqnr = 1;
    int ways = 4; ///< plain, over TLS, and both with a deletion
    QByteArray to = "BODY";
} talks[] = {
    {"pieces of reply, header and data", good, Reply().splitAt({1, 5, 30, 40, 300, 2000})},
    {"unseen: three pieces", closed, Reply().splitAt({-4, -3}).cutAfter(Reply::whole), 1, 1},
    {"closed behind it", "|1 film 300000 true true" + closed,
     body(longFilm).cutAfter(Reply::whole)},
    {"no such article", "|a @b 1", Reply::bytes("430 no\r\n222 yes\r\n")},
    {"the password repeated", "|500 *** 1", Reply::code("500 no"), 1, 4, "AUTHINFO PASS"},
    {"text ahead of yEnc", good, body(full + "\r\n" + film)},
    {"the same in a later article", "|2 film 45 true false", body(full + "\r\n" + film), 2},
    {"uuencode, first", "|1 film 45 true false", body("begin 644 a\r\n" + full + end)},
    {"one line of uuencode", "|2 film 45 true false", body(full).splitAt({-3}), 2},
    {"short last line, last", "|3 film 3 true false", body("#86)C\r\n" + end), 3},
    {"short last line, not last", "|2 0 false false", body("#86)C\r\n" + end), 2},
    {"the same, bare LF", "|2 film 3 true false", body("#86)C\n`\nend\n\r\n"), 2},
    {"line of 700,000 bytes", unknown, body(QByteArray(700'000, 'x') + "\r\n")},
    {"unknown, and more", unknown, Reply::bytes("222 body\r\n.\r\nmore\r\nlines\r\n")},
    {"offset 0", "|9999 Error seeking file 1", body("=ybegin name=a\r\n=ypart begin=0\r\n")},
    {"endless line", noLineEnd, endless("", "x")},
    {"endless lines", "|a @b 1" + tooMuch, endless("430 no\r\n", "200 a\r\n"), 1, 1},
    {"endless yEnc control line", noLineEnd, endless("222 body\r\n=ybegin name=a\r\n=y", "x")},
    {"endless article", noEnd, endless("222 body\r\n=ybegin name=a\r\n", "xxxxxxxxxxxxxxxx\r\n")},
    {"endless text", noEnd, endless("222 body\r\n", "that knows no end\r\n"), 1, 1},
};
QStringList logged;
const Case talk("the server talks", talks, [](const Talk &row) {
    const auto printer = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &line) { logged << line; });
    const auto restore = qScopeGuard([printer] { qInstallMessageHandler(printer); });
    for (int way = 0; way < row.ways; ++way) {
        static const std::optional made = TestCertificate();
        World t(way % 2 ? made : std::nullopt);
        t.deletes = way > 1;
        t.server.script(When::command(row.to), row.reply, 1);
        t.fetch(row.seqnr);
        QTRY_COMPARE(t.said, row.said.section('|', 0, t.deletes ? 1 : -1));
        if (!t.nntp)
            continue;
        t.fetch(); // it has stayed usable
        QTRY_COMPARE(t.said, row.said + good);
    }
    QCOMPARE(logged.filter("500 no"), QStringList());
});

const Case terminator("a terminator is found wherever TLS cuts it", [] {
    World t(TestCertificate{});
    for (int round = 0; round < 30; ++round) {
        // TLS is decrypted by 4096 bytes.
        const QByteArray reply =
            QByteArray("222\r\n=ybegin name=a\r\n").leftJustified(8188 + round / 5, 'x');
        t.server.script(When::body(), Reply::bytes(reply + "\r\n.\r\n").splitAt({-1 - round % 5}),
                        1);
        t.fetch();
        QTRY_COMPARE(t.said.count("1 a 8"), round + 1);
    }
});

const Case limited("a limit holds for all together, and starves none", [] {
    SpeedLimit limit;
    limit.setRate(102'460); // three bytes more for each tick than five shares have
    QObject readers[50];
    QMap<QObject *, qint64> bytes;
    const std::function<void(QObject *)> read = [&](QObject *reader) {
        const qint64 taken = limit.take(20'000, reader, [&read, reader] { read(reader); });
        QVERIFY(taken == 0 || taken > 5); // fewer bytes could cut the end of an article twice
        bytes[reader] += taken;
    };
    for (QObject &reader : readers)
        read(&reader);
    for (int tick = 0; tick < 200; ++tick)
        limit.refill(std::chrono::milliseconds(50));
    const qint64 sum = std::accumulate(bytes.begin(), bytes.end(), qint64(0));
    QVERIFY(std::abs(sum - 1'024'600) < 10'000);
    QVERIFY(*std::min_element(bytes.begin(), bytes.end()) > 10'000);
});

const Case limitedArticle("a limit loses nothing", [] {
    for (const bool overTls : {false, true}) {
        World t(overTls ? std::optional(TestCertificate()) : std::nullopt);
        SpeedLimit limit;
        QObject others[2]; // which only hold places in the queue
        const std::function<void(QObject *)> wait = [&](QObject *who) {
            limit.spend(-limit.take(1 << 30, who, [&wait, who] { wait(who); }));
        };
        limit.setRate(1 << 19);
        wait(&others[0]);
        wait(&others[1]);
        limit.refill(std::chrono::milliseconds(200));
        t.nntp->setSpeedLimit(&limit);
        t.server.script(When::body(), body(longFilm).cutAfter(Reply::whole));
        t.fetch();
        QTRY_COMPARE(t.said, "|1 film 300000 true true" + closed);
    }
});

const Case lifetime("a connection retries, and ends itself", [] {
    World t;
    t.nntp->login();
    QTRY_COMPARE(t.said, "|ready");
    const auto failAgain = [&t] {
        t.nntp->abortWithError(NNTP::NetworkTimeout, "late");
        t.nntp->retryAfter(1); // which does not put it off
        return t.said.count("ready");
    };
    QTRY_COMPARE(failAgain(), 2);
    QTRY_VERIFY(t.said.endsWith("|ready"));
    t.nntp->quit();
    QTRY_VERIFY(!t.nntp);
    QVERIFY(t.server.commands().last() == "QUIT" && t.said.endsWith("|ready"));
    World waiting;
    waiting.nntp->retryAfter(0);
    waiting.nntp->deleteLater();
    QVERIFY(waiting.nntp);
    QTRY_VERIFY(!waiting.nntp);
    QCOMPARE(waiting.server.acceptedConnections(), 0);
});

} // namespace
