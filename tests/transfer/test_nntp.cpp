// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/nntp.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/articles.h"
#include "transfer/nntplink.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray content = randomBytes(7, 5000);
const QByteArray article = yencArticle("film.bin", 5000, 1, 1, 1, content);

} // namespace

class TestNntp final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<NzbFile *>(); }
    void init();

    void login_data();
    void login();
    void hidesRepeatedPassword_data();
    void hidesRepeatedPassword();
    void fetchesArticle_data();
    void fetchesArticle();
    void missesTerminatorInThreePieces();
    void findsEncoding_data();
    void findsEncoding();
    void replies_data();
    void replies();
    void retryIsNotPutOff();
    void reportsDecoderFailureOnce_data();
    void reportsDecoderFailureOnce();
    void endlessReply_data();
    void endlessReply();
    void messageIdIsNoCommand();
    void endsItself();
    void receiverDeletesConnection_data();
    void receiverDeletesConnection();
    void survivesRandomServer();

private:
    NzbFile *makeFile(int parts);
    void fetch(Link &link, int seqnr = 1);
    [[nodiscard]] QByteArray saved(const QString &name) const;

    std::optional<QTemporaryDir> dir;
    std::unique_ptr<NewsServer> server;
    std::unique_ptr<NzbFile> file;
};

void TestNntp::init()
{
    dir.emplace();
    server = std::make_unique<NewsServer>();
    server->addArticle("a@b", article);
    makeFile(1);
}

NzbFile *TestNntp::makeFile(int parts)
{
    const QString subject = u"\"film.bin\" (1/%1)"_s.arg(parts);
    file = std::make_unique<NzbFile>(nullptr, subject, QString(), 0, 0, 0, false, 0, false);
    return file.get();
}

void TestNntp::fetch(Link &link, int seqnr)
{
    link.nntp->getArticle(u"a@b"_s, dir->path(), file.get(), seqnr);
}

QByteArray TestNntp::saved(const QString &name) const
{
    QFile output(dir->filePath(name));
    return output.open(QIODevice::ReadOnly) ? output.readAll() : QByteArray("(no file)");
}

void TestNntp::login_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("answerToUser");
    QTest::addColumn<QList<QByteArray>>("commands");
    const QList<QByteArray> both{"AUTHINFO USER joe", "AUTHINFO PASS secret"};
    QTest::newRow("user and password") << u"secret"_s << QByteArray() << both;
    QTest::newRow("a password after 281") << u"secret"_s << QByteArray("281 welcome") << both;
    QTest::newRow("no password, so no user") << QString() << QByteArray() << QList<QByteArray>();
}

void TestNntp::login()
{
    QFETCH(const QString, password);
    QFETCH(const QByteArray, answerToUser);
    QFETCH(const QList<QByteArray>, commands);
    if (!answerToUser.isEmpty())
        server->script(When::command("AUTHINFO"), Reply::code(answerToUser));
    Link link(*server, password);
    QTRY_COMPARE(link.loggedIn.size(), 1);
    QCOMPARE(server->commands(), commands);
    QCOMPARE(link.outcomes(), 0);
}

void TestNntp::hidesRepeatedPassword_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QString &password, const char *command,
                        const char *reply, int code, const QString &text) {
        QTest::newRow(name) << password << QByteArray(command) << QByteArray(reply) << code << text;
    };
    row("that is a code", u"500"_s, "AUTHINFO PASS", "500 AUTHINFO PASS 500?\r\n", 500,
        u"*** AUTHINFO PASS ***?\r\n"_s);
    row("in place of a code", u"secret"_s, "AUTHINFO PASS", "secret?\r\n", 0, u"***?\r\n"_s);
    row("with a control character", u"sec\tret"_s, "AUTHINFO PASS", "481 secret?\r\n", 481,
        u"481 ***?\r\n"_s);
    row("later", u"secret"_s, "BODY", "502 secret again\r\n", 502, u"502 *** again\r\n"_s);
}

void TestNntp::hidesRepeatedPassword()
{
    QFETCH(const QString, password);
    QFETCH(const QByteArray, command);
    QFETCH(const QByteArray, reply);
    QFETCH(const int, code);
    QFETCH(const QString, text);
    server->script(When::command(command), Reply::bytes(reply));
    static QStringList logged;
    logged.clear();
    const QtMessageHandler printer = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &line) { logged << line; });
    const auto restore = qScopeGuard([printer] { qInstallMessageHandler(printer); });
    Link link(*server, password);
    fetch(link);
    QTRY_COMPARE(link.failed.size(), 1);
    QCOMPARE(link.failed.first().first(2), (QVariantList{code, text}));
    QCOMPARE(logged.filter(u"Received: "_s).last(), "Received: \""_L1 + text.trimmed() + u'"');
}

void TestNntp::fetchesArticle_data()
{
    QTest::addColumn<QList<qsizetype>>("splits");
    QTest::addColumn<int>("lineLength");
    const auto row = [](const char *name, const QList<qsizetype> &splits, int lineLength = 128) {
        QTest::newRow(name) << splits << lineLength;
    };
    row("lines of 63 bytes", {}, 63);
    row("lines of 998 bytes", {}, 998);
    row("CR LF dot | CR LF", {-2});
    row("CR | LF dot CR LF", {-4});
    row("CR LF dot CR | LF", {-1});
    row("data | terminator", {-5});
    row("inside reply, header and data", {1, 5, 30, 40, 300, 2000});
}

void TestNntp::fetchesArticle()
{
    QFETCH(const QList<qsizetype>, splits);
    QFETCH(const int, lineLength);
    YencOptions options;
    options.lineLength = lineLength;
    server->addArticle("a@b", yencArticle("film.bin", 5000, 1, 1, 1, content, options));
    server->script(When::body(), Reply::ordinary().splitAt(splits));
    Link link(*server, u"secret"_s);
    fetch(link);
    QTRY_COMPARE(link.decoded.size(), 1);
    const QVariantList expected{1, u"film.bin"_s, quint64(content.size()), true, true};
    QCOMPARE(link.decoded.first().first().value<NzbFile *>(), file.get());
    QCOMPARE(link.decoded.first().sliced(1), expected);
    QCOMPARE(saved(u"film.bin"_s), content);
    // An article that was waiting is asked for at the end of the login, without loggedIn().
    QCOMPARE(server->commands().last(), QByteArray("BODY <a@b>"));
    QVERIFY(link.loggedIn.isEmpty());

    fetch(link); // the connection is ready for another
    QTRY_COMPARE(link.decoded.size(), 2);
    QCOMPARE(link.failed.size(), 0);
}

void TestNntp::missesTerminatorInThreePieces()
{
    server->script(When::body(), Reply::ordinary().splitAt({-4, -3}));
    Link link(*server);
    fetch(link);
    QTRY_COMPARE(link.nntp->bytesReceived(), quint64(server->bytesSent()));
    QTRY_COMPARE(saved(u"film.bin"_s), content);
    QCoreApplication::processEvents();
    QCOMPARE(link.outcomes(), 0);
    link.nntp->abortWithError(NNTP::NetworkTimeout, u"Network time-out"_s);
    QCOMPARE(link.failed.first().at(2).value<NzbFile *>(), file.get());
}

void TestNntp::findsEncoding_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("seqnr");
    QTest::addColumn<int>("parts");
    QTest::addColumn<QString>("output");
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<bool>("ok");
    const QByteArray full = "M" + QByteArray(60, '!');
    const QByteArray begin = "begin 644 other.txt\r\n";
    const QByteArray end = "`\r\nend\r\n";
    const QByteArray headers = "Path: a!b\r\nMessage-ID: <" + QByteArray(47, 'x') + ">\r\n\r\n";
    QTest::newRow("headers and text before yEnc")
        << QByteArray(headers + "hello\r\n\r\n" + article) << 1 << 1 << u"film.bin"_s
        << quint64(5000) << true;
    QTest::newRow("header as long as a uuencode line, in a later article")
        << QByteArray(headers + article) << 2 << 2 << u"film.bin.uu000002"_s << quint64(45) << true;
    QTest::newRow("uuencode, first") << QByteArray(begin + full + "\r\n" + end) << 1 << 1
                                     << u"film.bin.uu000001"_s << quint64(45) << true;
    QTest::newRow("full uuencode line in a later article")
        << QByteArray(full + "\r\n" + full + "\r\n") << 2 << 3 << u"film.bin.uu000002"_s
        << quint64(90) << true;
    QTest::newRow("full uuencode line as the only one of a later article")
        << QByteArray(full + "\r\n") << 2 << 3 << u"film.bin.uu000002"_s << quint64(45) << true;
    QTest::newRow("full uuencode line in a first article")
        << QByteArray(full + "\r\n") << 1 << 3 << QString() << quint64(0) << false;
    QTest::newRow("short last line of the last article")
        << QByteArray("#86)C\r\n" + end) << 3 << 3 << u"film.bin.uu000003"_s << quint64(3) << true;
    QTest::newRow("short last line, CR LF, not the last article")
        << QByteArray("#86)C\r\n" + end) << 2 << 3 << QString() << quint64(0) << false;
    QTest::newRow("short last line, bare LF, not the last article")
        << QByteArray("#86)C\n`\nend\n\r\n") << 2 << 3 << u"film.bin.uu000002"_s << quint64(3)
        << true;
    QTest::newRow("begin without a mode")
        << QByteArray("begin your day well\r\n") << 1 << 1 << QString() << quint64(0) << false;
    QTest::newRow("line of 700,000 bytes, which is none of an encoding")
        << QByteArray(QByteArray(700'000, 'x') + "\r\n") << 1 << 1 << QString() << quint64(0)
        << false;
    QTest::newRow("empty body") << QByteArray() << 1 << 1 << QString() << quint64(0) << false;
}

void TestNntp::findsEncoding()
{
    QFETCH(const QByteArray, body);
    QFETCH(const int, seqnr);
    QFETCH(const int, parts);
    QFETCH(const QString, output);
    QFETCH(const quint64, bytes);
    QFETCH(const bool, ok);
    makeFile(parts);
    server->addArticle("a@b", body);
    Link link(*server);
    fetch(link, seqnr);
    QTRY_COMPARE(link.decoded.size(), 1);
    QCOMPARE(link.decoded.first().at(3).toULongLong(), bytes);
    QCOMPARE(link.decoded.first().at(4).toBool(), ok);
    const QStringList expected = output.isEmpty() ? QStringList() : QStringList(output);
    QCOMPARE(QDir(dir->path()).entryList(QDir::Files), expected);
}

void TestNntp::replies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("430") << QByteArray("430 no such article\r\n") << u"not found"_s;
    QTest::newRow("no digits") << QByteArray("what?\r\n") << u"0"_s;
}

void TestNntp::replies()
{
    QFETCH(const QByteArray, reply);
    QFETCH(const QString, outcome);
    server->script(When::body(), Reply::bytes(reply));
    Link link(*server);
    fetch(link);
    QTRY_COMPARE(link.outcomes(), 1);
    if (outcome == "not found"_L1) {
        QCOMPARE(link.notFound.first().at(0).toString(), u"a@b"_s);
        QCOMPARE(link.notFound.first().at(1).value<NzbFile *>(), file.get());
        server->clearScript(); // the connection stays usable
        fetch(link);
        QTRY_COMPARE(link.decoded.size(), 1);
        return;
    }
    const QVariantList expected{outcome.toInt(), QString::fromLatin1(reply)};
    QCOMPARE(link.failed.first().first(2), expected);
    QCOMPARE(link.failed.first().at(2).value<NzbFile *>(), file.get());
    QTRY_COMPARE(server->openConnections(), 0);
}

void TestNntp::retryIsNotPutOff()
{
    Link link(*server);
    QTRY_COMPARE(link.loggedIn.size(), 1);
    const auto failAgain = [&] {
        link.nntp->abortWithError(NNTP::NetworkTimeout, QString());
        link.nntp->retryAfter(1);
        return server->acceptedConnections();
    };
    QTRY_COMPARE(failAgain(), 2);
}

void TestNntp::reportsDecoderFailureOnce_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    QTest::newRow("in the header line")
        << yencArticle("x/../" + QByteArray(300, 'n'), 9, 1, 1, 1, "123456789")
        << u"Error opening file: "_s;
    QTest::newRow("on the chunk with the terminator") << QByteArray(
        "=ybegin part=1 line=128 size=9 name=film.bin\r\n=ypart begin=0 end=9\r\nabc\r\n")
                                                      << u"Error seeking file"_s;
}

void TestNntp::reportsDecoderFailureOnce()
{
    QFETCH(const QByteArray, body);
    QFETCH(const QString, text);
    server->addArticle("a@b", body);
    Link link(*server);
    fetch(link);
    QTRY_COMPARE(link.failed.size(), 1);
    QCoreApplication::processEvents();
    QCOMPARE(link.outcomes(), 1);
    QCOMPARE(link.failed.first().at(0).toInt(), int(NNTP::DecoderFailed));
    QVERIFY2(link.failed.first().at(1).toString().startsWith(text),
             qPrintable(link.failed.first().at(1).toString()));
    QCOMPARE(link.failed.first().at(2).value<NzbFile *>(), file.get());
}

void TestNntp::endlessReply_data()
{
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("pattern");
    QTest::addColumn<int>("seqnr");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const QByteArray &start, const QByteArray &pattern,
                        const QString &error, int seqnr = 1) {
        QTest::newRow(name) << start << pattern << seqnr << QString("The server sent "_L1 + error);
    };
    const QString endless = u"a line without an end"_s;
    const QString unasked = u"more than it was asked for"_s;
    row("line", {}, "x", endless);
    row("empty lines", {}, "\r\n", unasked);
    row("lines behind an article that is not there", "430 no\r\n", "200 hello\r\n", unasked);
    row("body line", "222 body\r\n", "x", endless);
    row("yEnc control line", "222 body\r\n=ybegin size=9 name=a\r\n=y", "x", endless);
    row("uuencode line", "222 body\r\nM" + QByteArray(60, '!') + "\r\n", "x", endless, 2);
    const QString article = u"an article without an end"_s;
    row("article", "222 body\r\n=ybegin size=9 name=a\r\n", "xxxxxx\r\n", article);
    row("article of an unknown encoding", "222 body\r\n", "a text\r\n", article);
}

void TestNntp::endlessReply()
{
    QFETCH(const QByteArray, start);
    QFETCH(const QByteArray, pattern);
    QFETCH(const int, seqnr);
    QFETCH(const QString, error);
    const int size = pattern.size() > 2 ? 40'000'000 : 4'000'000;
    server->script(When::body(), Reply::bytes(start + pattern.repeated(size / pattern.size())));
    Link link(*server);
    fetch(link, seqnr);
    QTRY_COMPARE(link.failed.size(), 1);
    QCOMPARE(link.failed.first().first(2), (QVariantList{0, error}));
    QVERIFY(link.decoded.isEmpty());
    QVERIFY(link.nntp->bytesReceived() < quint64(size));
}

void TestNntp::messageIdIsNoCommand()
{
    Link link(*server);
    link.nntp->getArticle(u"a@b>\r\nQUIT\r\n"_s, dir->path(), file.get(), 1);
    QTRY_COMPARE(server->commands().size(), 1);
    QCOMPARE(server->commands().first(), QByteArray("BODY <a@b>QUIT>"));
}

void TestNntp::endsItself()
{
    Link open(*server);
    QTRY_COMPARE(open.loggedIn.size(), 1);
    open.nntp->quit();
    QTRY_VERIFY(!open.nntp);
    QCOMPARE(server->commands(), QList<QByteArray>{"QUIT"});
    QVERIFY(open.failed.isEmpty());

    auto *closed = new NNTP(u"127.0.0.1"_s, 1, QString(), QString(), false, nullptr);
    const QPointer<NNTP> watched(closed);
    closed->quit();
    QVERIFY(!watched);

    Link waiting(*server);
    QTRY_COMPARE(waiting.loggedIn.size(), 1);
    waiting.nntp->abortWithError(NNTP::ConnectionsClosed, QString());
    const int accepted = server->acceptedConnections();
    waiting.nntp->retryAfter(0);
    waiting.nntp->deleteLater();
    QVERIFY(waiting.nntp);
    QTRY_VERIFY(!waiting.nntp);
    QCOMPARE(server->acceptedConnections(), accepted);
}

void TestNntp::receiverDeletesConnection_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("data decoded") << QByteArray();
    QTest::newRow("unknown encoding") << QByteArray("222 body\r\n.\r\nmore\r\nlines\r\n");
    QTest::newRow("not found") << QByteArray("430 no\r\n222 yes\r\n");
    QTest::newRow("error") << QByteArray("500 no\r\n222 yes\r\n");
    QTest::newRow("decoder failure")
        << QByteArray("222 body\r\n=ybegin size=1 name=" + QByteArray(300, 'n') + "\r\nx\r\n.\r\n");
}

void TestNntp::receiverDeletesConnection()
{
    QFETCH(const QByteArray, reply);
    if (!reply.isEmpty())
        server->script(When::body(), Reply::bytes(reply));
    Link link(*server);
    const auto kill = [&link] { delete link.nntp; };
    connect(link.nntp, &NNTP::dataDecoded, this, kill);
    connect(link.nntp, &NNTP::articleNotFound, this, kill);
    connect(link.nntp, &NNTP::error, this, kill);
    fetch(link);
    QTRY_VERIFY(!link.nntp);
    QCOMPARE(link.outcomes(), 1);
}

void TestNntp::survivesRandomServer()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo() << "seed" << seed;
    QRandomGenerator random(seed);
    const QList<QByteArray> words{"222 body\r\n",
                                  "=ybegin ",
                                  "size=",
                                  " name=",
                                  "f",
                                  "\r\n",
                                  "=ypart ",
                                  " begin=",
                                  "=yend",
                                  " ",
                                  "pcrc32=",
                                  "-1",
                                  "99999999999",
                                  "begin 644 x\r\n",
                                  "\r\n.\r\n",
                                  ".",
                                  "\n",
                                  "430 no\r\n",
                                  "M" + QByteArray(60, '!') + "\r\n",
                                  "`\r\nend\r\n",
                                  QByteArray(1, '\0'),
                                  "=",
                                  "\xff",
                                  "480\r\n",
                                  "200 ok\r\n"};
    for (int round = 0; round < 200; ++round) {
        QByteArray bytes = random.bounded(4) ? QByteArray("222 body\r\n") : QByteArray();
        for (int count = random.bounded(60); count > 0; --count)
            bytes += words.at(random.bounded(words.size()));
        server->clearScript();
        server->script(When::body(), Reply::bytes(bytes).closeAfter(Reply::whole));
        Link link(*server);
        link.nntp->getArticle(u"a@b"_s, dir->path(), file.get(), 1 + random.bounded(2));
        QTRY_VERIFY(!link.failed.isEmpty()); // the server closes after each reply
    }
    const QString parent = QFileInfo(dir->path()).path();
    QVERIFY(!QFile::exists(parent + "/f"_L1));
}

QTEST_GUILESS_MAIN(TestNntp)
#include "test_nntp.moc"
