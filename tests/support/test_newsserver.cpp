// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QSslSocket>
#include <QTemporaryDir>
#include <QTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

#include "support/newsserver.h"
#include "support/posts.h"
#include "support/testcertificate.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray greeting = "200 test news server ready\r\n";
const QByteArray bodyReply = "222 0 <a@b>\r\nHello\r\n..dot\r\n.\r\n";

/// A client that keeps what each of its reads got.
class Client final : public QObject {
public:
    explicit Client(const NewsServer &server)
    {
        QFETCH_GLOBAL(const bool, encrypted);
        connect(&socket, &QSslSocket::readyRead, this, [this] { reads.append(socket.readAll()); });
        if (encrypted)
            socket.connectToHostEncrypted(u"127.0.0.1"_s, server.serverPort());
        else
            socket.connectToHost(u"127.0.0.1"_s, server.serverPort());
    }

    [[nodiscard]] QByteArray received() const { return reads.join(); }
    /// Waits for the greeting, drops it from what was read, and sends @p command.
    [[nodiscard]] bool sendGreeted(const QByteArray &command)
    {
        if (!QTest::qWaitFor([&] { return received() == greeting; }))
            return false;
        reads.clear();
        socket.write(command + "\r\n");
        return true;
    }

    QSslSocket socket;
    QList<QByteArray> reads;
};

} // namespace

class TestNewsServer final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data();
    void initTestCase();
    void answersInOrder_data();
    void answersInOrder();
    void piecesArriveInSeparateReads_data();
    void piecesArriveInSeparateReads();
    void endsAReply_data();
    void endsAReply();
    void rulesCountTheirUses();
    void holdsArticles();
    void comesBackOnItsPort();
    void refusesAtAccept();
    void resetsTheLink();
    void postIsListedAndServed();

private:
    [[nodiscard]] std::unique_ptr<NewsServer> newServer() const
    {
        QFETCH_GLOBAL(const bool, encrypted);
        return encrypted ? std::make_unique<NewsServer>(certificate->serverConfiguration())
                         : std::make_unique<NewsServer>();
    }

    std::optional<TestCertificate> certificate;
    std::unique_ptr<TrustedAuthority> trusted;
};

void TestNewsServer::initTestCase_data()
{
    QTest::addColumn<bool>("encrypted");
    QTest::newRow("plain") << false;
    QTest::newRow("TLS") << true;
}

void TestNewsServer::initTestCase()
{
    QString reason;
    certificate = TestCertificate::signedByAuthority(u"127.0.0.1"_s, {u"IP:127.0.0.1"_s}, &reason);
    QVERIFY2(certificate, qPrintable(reason));
    trusted = std::make_unique<TrustedAuthority>(certificate->authority);
}

void TestNewsServer::answersInOrder_data()
{
    QTest::addColumn<QByteArrayList>("commands");
    QTest::addColumn<QByteArrayList>("codes");

    const auto row = [](const char *name, const QByteArrayList &commands,
                        const QByteArrayList &codes) { QTest::newRow(name) << commands << codes; };
    row("body without login", {"BODY <a@b>"}, {"480"});
    row("wrong password", {"AUTHINFO USER u", "AUTHINFO PASS x", "BODY <a@b>"},
        {"381", "481", "480"});
    row("password first", {"AUTHINFO PASS p"}, {"482"});
    row("login, then an article that is missing",
        {"AUTHINFO USER u", "AUTHINFO PASS p", "BODY <x@y>"}, {"381", "281", "430"});
    row("unknown command, then quit", {"MODE READER", "QUIT"}, {"500", "205"});
}

void TestNewsServer::answersInOrder()
{
    QFETCH(const QByteArrayList, commands);
    QFETCH(const QByteArrayList, codes);

    const auto server = newServer();
    server->requireLogin("u", "p");
    server->addArticle("a@b", "Hello\r\n");
    Client client(*server);
    // All at once: the server must still answer each command, in order.
    QVERIFY(client.sendGreeted(commands.join("\r\n")));
    QByteArrayList answered;
    const auto readCodes = [&] {
        answered.clear();
        for (const QByteArray &line : client.received().split('\n'))
            answered.append(line.left(3));
        answered.removeLast();
        return answered.size() >= codes.size();
    };
    QTRY_VERIFY(readCodes());
    QCOMPARE(answered, codes);
    QCOMPARE(server->commands(1), commands);
    QTRY_COMPARE(server->openConnections(), commands.last() == "QUIT" ? 0 : 1);
}

void TestNewsServer::piecesArriveInSeparateReads_data()
{
    QTest::addColumn<QList<qsizetype>>("offsets");
    QTest::addColumn<QByteArrayList>("reads");

    QTest::newRow("whole") << QList<qsizetype>{} << QByteArrayList{bodyReply};
    QTest::newRow("behind the status line and within the end")
        << QList<qsizetype>{13, -2, -4}
        << QByteArrayList{bodyReply.first(13), bodyReply.sliced(13).chopped(4), "\n.", "\r\n"};
    QTest::newRow("offsets outside")
        << QList<qsizetype>{1000, 0, -1000} << QByteArrayList{bodyReply};
}

void TestNewsServer::piecesArriveInSeparateReads()
{
    QFETCH(const QList<qsizetype>, offsets);
    QFETCH(const QByteArrayList, reads);

    const auto server = newServer();
    server->addArticle("a@b", dotStuffed("Hello\r\n.dot\r\n"));
    server->script(When::body(), Reply::ordinary().splitAt(offsets));
    Client client(*server);
    QVERIFY2(client.sendGreeted("BODY <a@b>"), qPrintable(client.socket.errorString()));
    QTRY_COMPARE(client.received(), bodyReply);
    QCOMPARE(client.reads, reads);
    QCOMPARE(server->bytesSent(), greeting.size() + bodyReply.size());
}

void TestNewsServer::endsAReply_data()
{
    QTest::addColumn<Reply>("reply");
    QTest::addColumn<QByteArray>("received");
    QTest::addColumn<bool>("closed");

    const Reply ordinary;
    const QByteArray begun = bodyReply.first(20);
    QTest::newRow("cut") << ordinary.cutAfter(20) << begun << true;
    QTest::newRow("cut before the dot line")
        << ordinary.cutAfter(-3) << bodyReply.chopped(3) << true;
    QTest::newRow("close after the reply")
        << ordinary.closeAfter(Reply::whole) << bodyReply << true;
    QTest::newRow("other code, then close")
        << Reply::code("400 bye").closeAfter(Reply::whole) << "400 bye\r\n"_ba << true;
    QTest::newRow("stall") << ordinary.stallAfter(20) << begun << false;
    QTest::newRow("silence") << Reply::silence() << QByteArray() << false;
    QTest::newRow("reset after some bytes") << ordinary.resetAfter(20) << begun << true;
    QTest::newRow("other bytes") << Reply::bytes("no line") << "no line"_ba << false;
}

void TestNewsServer::endsAReply()
{
    QFETCH(const Reply, reply);
    QFETCH(const QByteArray, received);
    QFETCH(const bool, closed);

    const auto server = newServer();
    server->addArticle("a@b", dotStuffed("Hello\r\n.dot\r\n"));
    server->script(When::body("a@b"), reply);
    Client client(*server);
    QVERIFY(client.sendGreeted("BODY <a@b>"));
    if (closed)
        QTRY_COMPARE(client.socket.error(), QAbstractSocket::RemoteHostClosedError);
    QTRY_COMPARE(server->bodyCount("a@b"), 1);
    // A stalled reply would be through by the time that another client has been greeted.
    Client later(*server);
    QTRY_COMPARE(later.received(), greeting);
    QTRY_COMPARE(client.received(), received);
    QCOMPARE(client.socket.state() == QAbstractSocket::UnconnectedState, closed);
    QTRY_COMPARE(server->openConnections(), closed ? 1 : 2);
}

void TestNewsServer::rulesCountTheirUses()
{
    const auto server = newServer();
    server->addArticle("a@b", "Hello\r\n");
    server->script(When::body("a@b"), Reply::code("400 first"), 1);
    server->script(When::body().onConnection(1), Reply::code("400 second"), 1);
    server->script(When::body().onConnection(2), Reply::code("400 never"));
    Client client(*server);
    QVERIFY(client.sendGreeted("BODY <a@b>\r\nBODY <a@b>\r\nBODY <a@b>"));
    QTRY_COMPARE(client.received(), "400 first\r\n400 second\r\n222 0 <a@b>\r\nHello\r\n.\r\n"_ba);
    QCOMPARE(server->bodyCount("a@b"), 3);
}

void TestNewsServer::holdsArticles()
{
    const auto server = newServer();
    server->addArticle("a@b", "A\r\n");
    server->addArticle("c@d", "C\r\n");
    server->holdAll();
    Client first(*server);
    Client second(*server);
    QVERIFY(first.sendGreeted("BODY <a@b>"));
    QVERIFY(second.sendGreeted("BODY <c@d>"));
    QTRY_COMPARE(server->waiting().size(), 2);
    server->release("c@d");
    QTRY_COMPARE(second.received(), "222 0 <c@d>\r\nC\r\n.\r\n"_ba);
    QCOMPARE(first.received(), QByteArray());
    QCOMPARE(server->waiting(), QByteArrayList{"a@b"});
    server->releaseAll();
    QTRY_COMPARE(first.received(), "222 0 <a@b>\r\nA\r\n.\r\n"_ba);
    QCOMPARE(server->mostConnections(), 2);
}

void TestNewsServer::comesBackOnItsPort()
{
    const auto server = newServer();
    const quint16 port = server->serverPort();
    Client before(*server);
    QTRY_COMPARE(before.received(), greeting);
    server->takeOffline();
    QTRY_COMPARE(before.socket.state(), QAbstractSocket::UnconnectedState);

    QTcpSocket refused;
    refused.connectToHost(u"127.0.0.1"_s, port);
    QTRY_COMPARE(refused.error(), QAbstractSocket::ConnectionRefusedError);

    server->bringBack();
    QCOMPARE(server->serverPort(), port);
    Client after(*server);
    QTRY_COMPARE(after.received(), greeting);
}

void TestNewsServer::refusesAtAccept()
{
    const auto server = newServer();
    server->script(When::accepted(), Reply::drop(), 1);
    server->script(When::greeting(), Reply::code("502 no more"), 1);
    Client dropped(*server);
    QTRY_COMPARE(dropped.socket.error(), QAbstractSocket::RemoteHostClosedError);
    Client refused(*server);
    QTRY_COMPARE(refused.received(), "502 no more\r\n"_ba);
    QCOMPARE(dropped.received(), QByteArray());
    QCOMPARE(server->acceptedConnections(), 2);
}

void TestNewsServer::resetsTheLink()
{
    const auto server = newServer();
    server->script(When::accepted(), Reply::reset());
    // Qt reports a reset as an ordinary close, so this end is a bare socket.
    const int bare = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address{.sin_family = AF_INET,
                              .sin_port = htons(server->serverPort()),
                              .sin_addr = {htonl(INADDR_LOOPBACK)},
                              .sin_zero = {}};
    QCOMPARE(::connect(bare, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    QTRY_VERIFY(server->acceptedConnections() == 1 && server->openConnections() == 0);
    char byte;
    const auto count = recv(bare, &byte, 1, MSG_DONTWAIT);
    const int error = errno;
    ::close(bare);
    QCOMPARE(count, -1);
    QCOMPARE(error, ECONNRESET);
}

void TestNewsServer::postIsListedAndServed()
{
    Post post;
    post.addYenc(u"film.rar"_s, randomBytes(1, 25'000)).segment(2).onServer = false;
    post.addUuencoded(u"old.bin"_s, randomBytes(2, 450), 8).segment(1).inNzb = false;
    const QByteArray nzb = post.nzb();
    QVERIFY(nzb.contains("subject=\"demo [1/2] - &quot;film.rar&quot; yEnc (1/3)\""));
    QVERIFY(nzb.contains(">demo.1.3@post.test</segment>"));
    QVERIFY(nzb.contains("number=\"2\">demo.2.2@post.test</segment>"));
    QVERIFY(!nzb.contains("demo.2.1@"));

    const QTemporaryDir folder;
    QFile packed(post.writeGzipNzb(folder.path()));
    QVERIFY(packed.open(QIODevice::ReadOnly));
    QCOMPARE(packed.read(2), QByteArray::fromHex("1f8b"));

    const auto server = newServer();
    post.upload(*server);
    Client client(*server);
    QVERIFY(client.sendGreeted("BODY <demo.1.2@post.test>\r\nBODY <demo.2.2@post.test>"));
    QTRY_VERIFY(client.received().endsWith("`\r\nend\r\n.\r\n"));
    QVERIFY(client.received().startsWith("430 "));
    QVERIFY(client.received().contains("\r\nM"));
}

QTEST_GUILESS_MAIN(TestNewsServer)
#include "test_newsserver.moc"
