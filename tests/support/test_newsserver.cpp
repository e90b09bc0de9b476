// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTcpSocket>
#include <QTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/newsserver.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray greeting = "200 test news server ready\r\n";
const QByteArray bodyReply = "222 0 <a@b>\r\nHello\r\n..dot\r\n.\r\n";

/// A client that keeps what each of its reads got.
class Client final : public QObject {
public:
    explicit Client(const NewsServer &server)
    {
        connect(&socket, &QTcpSocket::readyRead, this, [this] { reads.append(socket.readAll()); });
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

    QTcpSocket socket;
    QList<QByteArray> reads;
};

} // namespace

/// Whether the server misbehaves as it is told; that it behaves, the tests that use it show.
class TestNewsServer final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void piecesArriveInSeparateReads();
    void rulesCountTheirUses();
    void resetsTheLink();

private:
    std::unique_ptr<NewsServer> server;
};

void TestNewsServer::init()
{
    server = std::make_unique<NewsServer>();
    server->addArticle("a@b", "Hello\r\n..dot\r\n");
}

void TestNewsServer::piecesArriveInSeparateReads()
{
    const QList<qsizetype> offsets{1000, 0, -1000, 13, -2, -4}; // some outside, in any order
    server->script(When::body(), Reply::ordinary().splitAt(offsets));
    Client client(*server);
    QVERIFY(client.sendGreeted("BODY <a@b>"));
    QTRY_COMPARE(client.received(), bodyReply);
    QCOMPARE(client.reads,
             (QByteArrayList{bodyReply.first(13), bodyReply.sliced(13).chopped(4), "\n.", "\r\n"}));
}

// All commands at once: the server must still answer each, in order.
void TestNewsServer::rulesCountTheirUses()
{
    server->script(When::body("a@b"), Reply::code("400 first"), 1);
    server->script(When::body().onConnection(1), Reply::code("400 second"), 1);
    server->script(When::body().onConnection(2), Reply::code("400 never"));
    Client client(*server);
    QVERIFY(client.sendGreeted("BODY <a@b>\r\nBODY <a@b>\r\nBODY <a@b>"));
    QTRY_COMPARE(client.received(), "400 first\r\n400 second\r\n" + bodyReply);
}

void TestNewsServer::resetsTheLink()
{
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

QTEST_GUILESS_MAIN(TestNewsServer)
#include "test_newsserver.moc"
