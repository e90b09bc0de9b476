// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QWindow>

#include <netinet/in.h>
#include <numeric>
#include <optional>
#include <sys/syscall.h>
#include <unistd.h>

#include "settingsfixture.h"
#include "support/files.h"
#include "support/newsserver.h"
#include "support/posts.h"
#include "support/testcertificate.h"

using namespace Qt::StringLiterals;

namespace {

/// Where the ports that the dialog offers lead to, and which of them was asked for last.
quint16 serverPort = 0;
int requestedPort = 0;

QByteArray logged;

void keepLog(QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString &text)
{
    logged += text.toUtf8() + '\n';
}

} // namespace

extern "C" int connect(int socket, const sockaddr *address, socklen_t length)
{
    sockaddr_in mapped{};
    if (address->sa_family == AF_INET && length == sizeof mapped) {
        memcpy(&mapped, address, sizeof mapped);
        const int port = ntohs(mapped.sin_port);
        if (port == 119 || port == 443 || port == 563) {
            requestedPort = port;
            mapped.sin_port = htons(serverPort);
            mapped.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            return static_cast<int>(syscall(SYS_connect, socket, &mapped, sizeof mapped));
        }
    }
    return static_cast<int>(syscall(SYS_connect, socket, address, length));
}

/// The login with which the settings dialog proves a changed server, against a real one.
class TestServerTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { window.reset(); }

    void provesChanges_data();
    void provesChanges();
    void fails_data();
    void fails();
    void verifiesCertificate_data();
    void verifiesCertificate();
    void staysOpen();
    void endsWithDialog();
    void tellsOfUnwritableFile();
    void restartsPool_data();
    void restartsPool();

private:
    void use(std::unique_ptr<NewsServer> newServer);

    std::optional<SettingsFixture> window;
    std::unique_ptr<NewsServer> server;
};

void TestServerTest::init()
{
    window.emplace();
    window->store(window->values());
    window->store({{u"mediaPlayer"_s, QString()}});
    use(std::make_unique<NewsServer>());
    requestedPort = 0;
}

void TestServerTest::use(std::unique_ptr<NewsServer> newServer)
{
    server = std::move(newServer);
    serverPort = server->serverPort();
}

void TestServerTest::provesChanges_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArrayList>("login");
    const QByteArrayList login{"AUTHINFO USER joe", "AUTHINFO PASS s\xe9r3t"};
    QTest::newRow("host") << u"hostname"_s << u" 127.0.0.2 "_s << QVariant(u"127.0.0.2"_s) << login;
    QTest::newRow("user") << u"username"_s << u" Joe"_s << QVariant(u"Joe"_s)
                          << QByteArrayList{"AUTHINFO USER Joe", login[1]};
    QTest::newRow("password") << u"password"_s << u" 0ther "_s
                              << QVariant(QByteArray("0ther").toBase64())
                              << QByteArrayList{login[0], "AUTHINFO PASS 0ther"};
    QTest::newRow("blank password")
        << u"password"_s << u"  "_s << QVariant(QByteArray()) << QByteArrayList();
    QTest::newRow("threads") << u"threads"_s << u"50"_s << QVariant(50) << login;
    QTest::newRow("more threads than allowed")
        << u"threads"_s << u"51"_s << QVariant(5) << login; // the 1 is refused
}

void TestServerTest::provesChanges()
{
    QFETCH(const QString, field);
    QFETCH(const QString, text);
    QFETCH(const QByteArrayList, login);
    window->open();
    const QtMessageHandler printer = qInstallMessageHandler(keepLog);
    window->write(field, text);
    window->clickOk();
    QTRY_VERIFY(window->isAccepted());
    QTRY_COMPARE(server->openConnections(), 0);
    qInstallMessageHandler(printer);
    QTEST(window->stored(field), "value");
    QCOMPARE(window->told, QStringList());
    QCOMPARE(requestedPort, 119);
    QCOMPARE(server->commands(), login + QByteArrayList{"QUIT"});
    QVERIFY(!logged.contains("r3t") && !logged.contains("0ther"));
}

void TestServerTest::fails_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<std::function<void(NewsServer &)>>("prepare");
    QTest::addColumn<QString>("text");
    using Prepare = std::function<void(NewsServer &)>;
    const auto row = [](const char *name, const QString &text, const Prepare &prepare,
                        const QString &host = u"127.0.0.1"_s) {
        QTest::newRow(name) << host << prepare << text;
    };
    const auto greeting = [](const Reply &reply) {
        return [reply](NewsServer &server) { server.script(When::greeting(), reply); };
    };
    QList<qsizetype> everyByte(10'000);
    std::iota(everyByte.begin(), everyByte.end(), 1);
    row("wrong password", u"481 "_s, [](NewsServer &server) { server.requireLogin("joe", "x"); });
    row(
        "no such host", u"Host not found"_s, [](NewsServer &) {}, u"nowhere..invalid"_s);
    row("refusing port", u"Connection refused"_s, [](NewsServer &server) { server.takeOffline(); });
    row("silence", u"Network time-out"_s, greeting(Reply::silence()));
    row("reply that drips for ever", u"Network time-out"_s,
        greeting(Reply::bytes("2" + QByteArray(10'000, '0')).splitAt(everyByte)));
    row("markup", u"<p>502 &lt;img src=x&gt;&amp;amp;<p>gone\r\n"_s,
        greeting(Reply::code("502 <img src=x>&amp;<p>gone")));
    row("long text", u"502 xxx"_s, greeting(Reply::code("502 " + QByteArray(900'000, 'x'))));
}

void TestServerTest::fails()
{
    QFETCH(const QString, host);
    QFETCH(const std::function<void(NewsServer &)>, prepare);
    QFETCH(const QString, text);
    prepare(*server);
    window->open();
    window->find<QSpinBox>(u"networkTimeout"_s)->setMinimum(1);
    window->write(u"networkTimeout"_s, u"1"_s);
    window->write(u"hostname"_s, host);
    window->write(u"password"_s, u"0ther"_s);
    QWidget *focused = window->dialog->focusWidget();
    QTest::keyClick(focused, Qt::Key_Return);
    QVERIFY(window->isTesting());
    QTRY_VERIFY_WITH_TIMEOUT(!window->isTesting(), 10'000);
    QCOMPARE(window->told.size(), 1);
    QVERIFY2(window->told[0].startsWith("Check server settings: "_L1 + text),
             qPrintable(window->told[0]));
    QVERIFY(window->told[0].size() < 1100);
    QVERIFY(window->dialog->isVisible() && !window->progress()->isVisible());
    QCOMPARE(window->dialog->focusWidget(), focused);
    QCOMPARE(window->stored(u"password"_s), QByteArray("s\xe9r3t").toBase64());
    QCOMPARE(window->stored(u"networkTimeout"_s), 20);
    QTRY_COMPARE(server->openConnections(), 0);

    use(std::make_unique<NewsServer>()); // the user tries again when the server is well
    window->write(u"hostname"_s, u"127.0.0.1"_s);
    window->clickOk();
    QTRY_VERIFY(window->isAccepted());
    QCOMPARE(window->stored(u"password"_s), QByteArray("0ther").toBase64());
    QCOMPARE(window->told.size(), 1);
}

void TestServerTest::verifiesCertificate_data()
{
    enum Trust { SelfSigned, Unknown, Trusted };
    QTest::addColumn<int>("trust");
    QTest::addColumn<QString>("validFor");
    QTest::addColumn<QString>("radio");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, Trust trust, const QString &validFor,
                        const QString &radio, const QString &text) {
        QTest::newRow(name) << int(trust) << validFor << radio << text;
    };
    const QString here = u"127.0.0.1"_s;
    row("valid, 563", Trusted, here, u"ssl563"_s, {});
    row("valid, 443", Trusted, here, u"ssl443"_s, {});
    row("self-signed", SelfSigned, here, u"ssl563"_s,
        u"SSL verification error.<p>This could mean something bad, like a man-in-the-middle attack."
        "<p>However it is more likely"_s);
    row("for another host, in markup", Trusted, u"<b>news"_s, u"ssl563"_s,
        u"<p>SSL verification error: You entered hostname '127.0.0.1' but the server's SSL "
        "certificate is only valid for '&lt;b&gt;news'"_s);
    row("unknown authority", Unknown, here, u"ssl563"_s, u"SSL verification error: The issuer"_s);
}

void TestServerTest::verifiesCertificate()
{
    QFETCH(const int, trust);
    QFETCH(const QString, validFor);
    QFETCH(const QString, radio);
    QFETCH(const QString, text);
    QString reason;
    const QStringList names{validFor.front().isDigit() ? "IP:"_L1 + validFor : u"DNS:news"_s};
    const auto made = trust ? TestCertificate::signedByAuthority(validFor, names, &reason)
                            : TestCertificate::selfSigned(validFor, names, &reason);
    if (!made)
        QSKIP(qPrintable(reason));
    std::optional<TrustedAuthority> trusted;
    if (trust == 2)
        trusted.emplace(made->authority);
    use(std::make_unique<NewsServer>(made->serverConfiguration()));
    window->open();
    window->click(radio);
    window->clickOk();
    QTRY_VERIFY(!window->isTesting());
    const QString told = window->told.join(u'|');
    QVERIFY2(text.isEmpty() ? told.isEmpty() : told.startsWith("Check server settings: "_L1 + text),
             qPrintable(told));
    QCOMPARE(window->isAccepted(), text.isEmpty());
    QCOMPARE(requestedPort, radio == "ssl443"_L1 ? 443 : 563);
    QCOMPARE(window->stored(u"port"_s), text.isEmpty() ? requestedPort : 119);
    QCOMPARE(window->stored(u"ssl"_s), text.isEmpty());
}

void TestServerTest::staysOpen()
{
    server->script(When::greeting(), Reply::ordinary().delayed(500));
    server->script(When::command("QUIT"), Reply::silence());
    window->open();
    window->write(u"threads"_s, u"3"_s);
    window->clickOk();
    for (const QWidget *shown :
         {static_cast<QWidget *>(&*window->dialog), static_cast<QWidget *>(window->progress())}) {
        QTest::keyClick(shown->windowHandle(), Qt::Key_Escape);
        QTest::keyClick(shown->windowHandle(), Qt::Key_Return);
        QVERIFY(!shown->windowHandle()->close());
        QVERIFY(window->isTesting());
    }
    window->click(u"autoPAR2"_s);
    QTRY_VERIFY(window->isAccepted());
    QCOMPARE(window->stored(u"threads"_s), 3);
    QCOMPARE(window->stored(u"autoPAR2"_s), false);
    QCOMPARE(server->acceptedConnections(), 1);
    window.reset(); // with the connection whose QUIT is not answered
    QTRY_COMPARE(server->openConnections(), 0);
}

void TestServerTest::endsWithDialog()
{
    server->script(When::greeting(), Reply::silence());
    window->open();
    window->write(u"threads"_s, u"3"_s);
    window->clickOk();
    QTRY_COMPARE(server->openConnections(), 1);
    window->dialog.reset(); // as when the program is told to exit
    QTRY_COMPARE(server->openConnections(), 0);
    QCOMPARE(window->stored(u"threads"_s), 7);
}

/// The box stands while a signal of the connection is under way.
void TestServerTest::tellsOfUnwritableFile()
{
    const QString folder = window->dir.filePath(u"Marlowick"_s);
    QVERIFY(QDir(folder).removeRecursively());
    writeFile(folder);
    window->open();
    window->write(u"threads"_s, u"3"_s);
    window->clickOk();
    QTRY_VERIFY(window->isAccepted());
    QCOMPARE(window->told,
             QStringList{u"Access error: Error writing settings. Check file permissions."_s});
    QTRY_COMPARE(server->openConnections(), 0);
    QVERIFY(QFile::remove(folder) && QDir().mkpath(folder));
    window->open();
    window->clickOk();
    QTRY_VERIFY(window->isAccepted());
    QCOMPARE(window->told.size(), 1);
}

void TestServerTest::restartsPool_data()
{
    QTest::addColumn<bool>("accepted");
    QTest::newRow("accepted") << true;
    QTest::newRow("refused") << false;
}

void TestServerTest::restartsPool()
{
    QFETCH(const bool, accepted);
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 10'000), 1000);
    post.upload(*server);
    server->holdAll();
    window->store({{u"threads"_s, 2}});
    window->engine->addNZB(post.writeNzb(window->dir.path()));
    QTRY_COMPARE(server->waiting().size(), 2);
    window->open();
    window->write(u"threads"_s, u"1"_s);
    if (!accepted)
        server->script(When::greeting(), Reply::code("502 no"));
    const qint64 begin = server->log().last().time;
    window->clickOk();
    QCOMPARE(window->engine->connectionCount(), 0);
    QTRY_VERIFY(!window->isTesting());
    QCOMPARE(window->isAccepted(), accepted);
    QCOMPARE(server->acceptedConnections(), 3);
    QVERIFY(server->acceptTimes().at(2) - begin >= 1000);
    QCOMPARE(window->engine->connectionCount(), 0);
    if (!accepted)
        return;
    QTRY_COMPARE(server->waiting().size(), 1);
    QVERIFY(server->acceptTimes().at(3) - server->acceptTimes().at(2) >= 1900); // a coarse timer
    QCOMPARE(window->engine->connectionCount(), 1);
}

QTEST_MAIN(TestServerTest)
#include "test_servertest.moc"
