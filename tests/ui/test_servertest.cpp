// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QWindow>

#include <netinet/in.h>
#include <numeric>
#include <optional>
#include <sys/syscall.h>
#include <unistd.h>

#include "queue/nzb.h"
#include "settingsfixture.h"
#include "support/files.h"
#include "support/newsserver.h"
#include "support/posts.h"
#include "support/rows.h"
#include "support/testcertificate.h"

using namespace Qt::StringLiterals;
using Prepare = std::function<void(NewsServer &)>;

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
    void init()
    {
        window.emplace();
        window->store(window->values());
        window->store({{u"mediaPlayer"_s, QString()}});
        use(std::make_unique<NewsServer>());
        requestedPort = 0;
    }
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

void TestServerTest::use(std::unique_ptr<NewsServer> newServer)
{
    server = std::move(newServer);
    serverPort = server->serverPort();
}

void TestServerTest::provesChanges_data()
{
    const auto row = rows<QString, QString, QVariant, QByteArrayList>();
    const QByteArrayList login{"AUTHINFO USER joe", "AUTHINFO PASS s\xe9r3t"};
    row("host", {u"hostname"_s, u" 127.0.0.2 "_s, QVariant(u"127.0.0.2"_s), login});
    row("user", {u"username"_s, u" Joe"_s, QVariant(u"Joe"_s),
                 QByteArrayList{"AUTHINFO USER Joe", login[1]}});
    row("password", {u"password"_s, u" 0ther "_s, QVariant(QByteArray("0ther").toBase64()),
                     QByteArrayList{login[0], "AUTHINFO PASS 0ther"}});
    row("blank password", {u"password"_s, u"  "_s, QVariant(QByteArray()), QByteArrayList()});
    row("threads", {u"threads"_s, u"50"_s, QVariant(50), login});
    row("more threads than allowed",
        {u"threads"_s, u"51"_s, QVariant(5), login}); // the 1 is refused
}

void TestServerTest::provesChanges()
{
    const auto [field, text, value, login] = thisRow<QString, QString, QVariant, QByteArrayList>();
    window->open();
    const QtMessageHandler printer = qInstallMessageHandler(keepLog);
    window->write(field, text);
    window->clickOk();
    QTRY_VERIFY(window->isAccepted());
    QTRY_COMPARE(server->openConnections(), 0);
    qInstallMessageHandler(printer);
    QCOMPARE(window->stored(field), value);
    QCOMPARE(window->told, QStringList());
    QCOMPARE(requestedPort, 119);
    QCOMPARE(server->commands(), login + QByteArrayList{"QUIT"});
    QVERIFY(!logged.contains("r3t") && !logged.contains("0ther"));
}

void TestServerTest::fails_data()
{
    const auto row = rows<QString, Prepare, QString>();
    const auto greeting = [](const Reply &reply) {
        return [reply](NewsServer &s) { s.script(When::greeting(), reply); };
    };
    QList<qsizetype> everyByte(10'000);
    std::iota(everyByte.begin(), everyByte.end(), 1);
    row("wrong password",
        {u"127.0.0.1"_s, [](NewsServer &s) { s.requireLogin("joe", "x"); }, u"481 "_s});
    row("no such host", {u"nowhere..invalid"_s, [](NewsServer &) {}, u"Host not found"_s});
    row("refusing port",
        {u"127.0.0.1"_s, [](NewsServer &s) { s.takeOffline(); }, u"Connection refused"_s});
    row("silence", {u"127.0.0.1"_s, greeting(Reply::silence()), u"Network time-out"_s});
    row("reply that drips for ever",
        {u"127.0.0.1"_s, greeting(Reply::bytes("2" + QByteArray(10'000, '0')).splitAt(everyByte)),
         u"Network time-out"_s});
    row("markup", {u"127.0.0.1"_s, greeting(Reply::code("502 <img src=x>&amp;<p>gone")),
                   u"<p>502 &lt;img src=x&gt;&amp;amp;<p>gone\r\n"_s});
    row("long text",
        {u"127.0.0.1"_s, greeting(Reply::code("502 " + QByteArray(900'000, 'x'))), u"502 xxx"_s});
}

void TestServerTest::fails()
{
    const auto [host, prepare, text] = thisRow<QString, Prepare, QString>();
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
    // Whether its authority is trusted, the name it is for, the port, and what is told.
    const auto row = rows<bool, QString, int, QString>();
    const QString here = u"127.0.0.1"_s;
    row("valid, 563", {true, here, 563, {}});
    row("valid, 443", {true, here, 443, {}});
    row("for another host, in markup",
        {true, u"<b>news"_s, 563,
         u"<p>SSL verification error: You entered hostname '127.0.0.1' but the server's SSL "
         "certificate is only valid for '&lt;b&gt;news'"_s});
    row("unknown authority", {false, here, 563, u"SSL verification error: The issuer"_s});
}

void TestServerTest::verifiesCertificate()
{
    const auto [isTrusted, validFor, port, text] = thisRow<bool, QString, int, QString>();
    QString reason;
    const auto made = TestCertificate::signedByAuthority(
        validFor, {validFor.front().isDigit() ? "IP:"_L1 + validFor : u"DNS:news"_s}, &reason);
    if (!made)
        QSKIP(qPrintable(reason));
    std::optional<TrustedAuthority> trusted;
    if (isTrusted)
        trusted.emplace(made->authority);
    use(std::make_unique<NewsServer>(made->serverConfiguration()));
    window->open();
    window->click(u"ssl%1"_s.arg(port));
    window->clickOk();
    QTRY_VERIFY(!window->isTesting());
    const QString told = window->told.join(u'|');
    QVERIFY2(text.isEmpty() ? told.isEmpty() : told.startsWith("Check server settings: "_L1 + text),
             qPrintable(told));
    QCOMPARE(window->isAccepted(), text.isEmpty());
    QCOMPARE(requestedPort, port);
    QCOMPARE(window->stored(u"port"_s), text.isEmpty() ? port : 119);
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
    const auto row = rows<bool>();
    row("accepted", {true});
    row("refused", {false});
}

void TestServerTest::restartsPool()
{
    const auto [accepted] = thisRow<bool>();
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 10'000), 1000);
    post.upload(*server);
    server->holdAll();
    window->store({{u"threads"_s, 2}});
    const Nzb *nzb = window->engine->addNZB(post.writeNzb(window->dir.path()));
    QTRY_COMPARE(server->waiting().size(), 2);
    window->open();
    window->write(u"threads"_s, u"1"_s);
    if (!accepted)
        server->script(When::greeting(), Reply::code("502 no"));
    const qint64 begin = server->log().last().time;
    window->clickOk();
    QCOMPARE(window->engine->connectionCount(), 0);
    QVERIFY(!nzb->hasActiveSegments());
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
