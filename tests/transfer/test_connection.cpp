// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// One connection to a news server, plain and over TLS, whatever the server says.
#include <QDir>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <optional>

#include "queue/nzbfile.h"
#include "support/articles.h"
#include "support/case.h"
#include "support/files.h"
#include "support/newsserver.h"
#include "support/seededrandom.h"
#include "support/testcertificate.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray content = randomBytes(7, 5000);
const QByteArray article = yencArticle("film.bin", 5000, 1, 1, 1, content);

/// One connection to a server, and what it has said.
struct Link {
    explicit Link(const NewsServer &server, const QString &password = {}, bool ssl = false)
        : nntp(new NNTP(u"127.0.0.1"_s, server.serverPort(), u"joe"_s, password, ssl, nullptr))
    {
        nntp->login();
    }
    ~Link() { delete nntp; }
    Q_DISABLE_COPY_MOVE(Link)

    [[nodiscard]] int outcomes() const
    {
        return static_cast<int>(decoded.size() + failed.size() + notFound.size());
    }

    const int registered = qRegisterMetaType<NzbFile *>();
    QPointer<NNTP> nntp;
    QSignalSpy decoded{nntp, &NNTP::dataDecoded};
    QSignalSpy failed{nntp, &NNTP::error};
    QSignalSpy notFound{nntp, &NNTP::articleNotFound};
    QSignalSpy loggedIn{nntp, &NNTP::loggedIn};
};

/// A server with one article, and a file that it is of.
struct World {
    explicit World(int parts = 1)
        : file(nullptr, u"\"film.bin\" (1/%1)"_s.arg(parts), {}, 0, 0, 0, false, 0, false)
    {
        server.addArticle("a@b", article);
    }
    void fetch(Link &link, int seqnr = 1)
    {
        link.nntp->getArticle(u"a@b"_s, dir.path(), &file, seqnr);
    }
    [[nodiscard]] QByteArray saved() const { return contentsOf(dir.filePath(u"film.bin"_s)); }

    QTemporaryDir dir;
    NewsServer server;
    NzbFile file;
};

struct Login {
    const char *name;
    QString password;
    QByteArray answer = {};
    QByteArrayList commands = {"AUTHINFO USER joe", "AUTHINFO PASS secret"};
};
const Login logins[] = {{"user and password", u"secret"_s},
                        {"a password after 281", u"secret"_s, "281 welcome"},
                        {"no password, so no user", {}, {}, {}}};
const Case login("login", logins, [](const Login &row) {
    World t;
    if (!row.answer.isEmpty())
        t.server.script(When::command("AUTHINFO"), Reply::code(row.answer));
    const Link link(t.server, row.password);
    QTRY_COMPARE(link.loggedIn.size(), 1);
    QCOMPARE(t.server.commands(), row.commands);
    QCOMPARE(link.outcomes(), 0);
});

struct Repeated {
    const char *name;
    QString password;
    QByteArray command;
    QByteArray reply;
    int code;
    QString text;
};
const Repeated repeatedPasswords[] = {
    {"that is a code", u"500"_s, "AUTHINFO PASS", "500 AUTHINFO PASS 500?\r\n", 500,
     u"*** AUTHINFO PASS ***?\r\n"_s},
    {"with a control character", u"sec\tret"_s, "AUTHINFO PASS", "481 secret?\r\n", 481,
     u"481 ***?\r\n"_s},
    {"later", u"secret"_s, "BODY", "502 secret again\r\n", 502, u"502 *** again\r\n"_s},
};
QStringList logged;
const Case repeated("a server repeats the password", repeatedPasswords, [](const Repeated &row) {
    World t;
    t.server.script(When::command(row.command), Reply::bytes(row.reply));
    logged.clear();
    const QtMessageHandler printer = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &line) { logged << line; });
    const auto restore = qScopeGuard([printer] { qInstallMessageHandler(printer); });
    Link link(t.server, row.password);
    t.fetch(link);
    QTRY_COMPARE(link.failed.size(), 1);
    QCOMPARE(link.failed.first().first(2), (QVariantList{row.code, row.text}));
    QCOMPARE(logged.filter(u"Received: "_s).last(), "Received: \""_L1 + row.text.trimmed() + u'"');
});

struct Pieces {
    const char *name;
    QList<qsizetype> splits = {};
    int lineLength = 128;
};
const Pieces pieceRows[] = {
    {"lines of 63 bytes", {}, 63},
    {"lines of 998 bytes", {}, 998},
    {"CR LF dot | CR LF", {-2}},
    {"CR | LF dot CR LF", {-4}},
    {"CR LF dot CR | LF", {-1}},
    {"data | terminator", {-5}},
    {"inside reply, header and data", {1, 5, 30, 40, 300, 2000}},
};
const Case pieces("an article comes in pieces", pieceRows, [](const Pieces &row) {
    World t;
    t.server.addArticle(
        "a@b", yencArticle("film.bin", 5000, 1, 1, 1, content, {.lineLength = row.lineLength}));
    t.server.script(When::body(), Reply::ordinary().splitAt(row.splits));
    Link link(t.server, u"secret"_s);
    t.fetch(link);
    QTRY_COMPARE(link.decoded.size(), 1);
    QCOMPARE(link.decoded.first().first().value<NzbFile *>(), &t.file);
    QCOMPARE(link.decoded.first().sliced(1),
             (QVariantList{1, u"film.bin"_s, quint64(content.size()), true, true}));
    QCOMPARE(t.saved(), content);
    // An article that was waiting is asked for at the end of the login, without loggedIn().
    QCOMPARE(t.server.commands().last(), "BODY <a@b>");
    QVERIFY(link.loggedIn.isEmpty());
    t.fetch(link); // the connection is ready for another
    QTRY_COMPARE(link.decoded.size(), 2);
});

const Case threePieces("a terminator in three pieces is not seen", [] {
    World t;
    t.server.script(When::body(), Reply::ordinary().splitAt({-4, -3}));
    Link link(t.server);
    t.fetch(link);
    QTRY_COMPARE(link.nntp->bytesReceived(), quint64(t.server.bytesSent()));
    QTRY_COMPARE(t.saved(), content);
    QCOMPARE(link.outcomes(), 0);
    link.nntp->abortWithError(NNTP::NetworkTimeout, u"Network time-out"_s);
    QCOMPARE(link.failed.first().at(2).value<NzbFile *>(), &t.file);
});

struct Encoding {
    const char *name;
    QByteArray body;
    int seqnr = 1;
    int parts = 1;
    quint64 bytes = 0; // none: no decoder, and no file
};
const QByteArray full = "M" + QByteArray(60, '!') + "\r\n";
const QByteArray end = "`\r\nend\r\n";
const QByteArray headers = "Path: a!b\r\nMessage-ID: <" + QByteArray(47, 'x') + ">\r\n\r\n";
const Encoding encodings[] = {
    {"headers and text before yEnc", headers + "hello\r\n\r\n" + article, 1, 1, 5000},
    {"header like a uuencode line, in a later article", headers + article, 2, 2, 45},
    {"uuencode, first", "begin 644 other.txt\r\n" + full + end, 1, 1, 45},
    {"full uuencode line in a later article", full + full, 2, 3, 90},
    {"the only one of a later article", full, 2, 3, 45},
    {"in a first article", full, 1, 3},
    {"short last line of the last article", "#86)C\r\n" + end, 3, 3, 3},
    {"short last line, CR LF, not the last article", "#86)C\r\n" + end, 2, 3},
    {"short last line, bare LF, not the last article", "#86)C\n`\nend\n\r\n", 2, 3, 3},
    {"begin without a mode", "begin your day well\r\n"},
    {"line of 700,000 bytes", QByteArray(700'000, 'x') + "\r\n"},
    {"empty body", ""},
};
const Case encoding("the encoding is found", encodings, [](const Encoding &row) {
    World t(row.parts);
    t.server.addArticle("a@b", row.body);
    t.server.script(When::body(), Reply::ordinary().splitAt({-3})); // after a first line, too
    Link link(t.server);
    t.fetch(link, row.seqnr);
    QTRY_COMPARE(link.decoded.size(), 1);
    QCOMPARE(link.decoded.first().at(3).toULongLong(), row.bytes);
    QCOMPARE(link.decoded.first().at(4).toBool(), row.bytes != 0);
    QCOMPARE(QDir(t.dir.path()).entryList(QDir::Files).size(), row.bytes ? 1 : 0);
});

const Case notFound("430, and a reply without digits", [] {
    World t;
    t.server.script(When::body(), Reply::code("430 no such article"), 1);
    Link link(t.server);
    t.fetch(link);
    QTRY_COMPARE(link.notFound.size(), 1);
    QCOMPARE(link.notFound.first().at(0).toString(), u"a@b"_s);
    t.server.script(When::body(), Reply::code("what?"));
    t.fetch(link); // the connection has stayed usable
    QTRY_COMPARE(link.failed.size(), 1);
    QCOMPARE(link.failed.first().first(2), (QVariantList{0, u"what?\r\n"_s}));
    QCOMPARE(link.failed.first().at(2).value<NzbFile *>(), &t.file);
    QTRY_COMPARE(t.server.openConnections(), 0);
});

const Case retry("a retry is not put off", [] {
    World t;
    Link link(t.server);
    QTRY_COMPARE(link.loggedIn.size(), 1);
    const auto failAgain = [&] {
        link.nntp->abortWithError(NNTP::NetworkTimeout, QString());
        link.nntp->retryAfter(1);
        return t.server.acceptedConnections();
    };
    QTRY_COMPARE(failAgain(), 2);
});

struct Failure {
    const char *name; // what is told
    QByteArray body;
};
const Failure decoderFailures[] = {
    {"Error opening file: ", yencArticle("x/../" + QByteArray(300, 'n'), 9, 1, 1, 1, "123456789")},
    {"Error seeking file",
     "=ybegin part=1 line=128 size=9 name=film.bin\r\n=ypart begin=0 end=9\r\nabc\r\n"},
};
const Case decoderFailure("a decoder fails once", decoderFailures, [](const Failure &row) {
    World t;
    t.server.addArticle("a@b", row.body);
    Link link(t.server);
    t.fetch(link);
    QTRY_COMPARE(link.failed.size(), 1);
    QCoreApplication::processEvents();
    QCOMPARE(link.outcomes(), 1);
    QCOMPARE(link.failed.first().at(0).toInt(), int(NNTP::DecoderFailed));
    QVERIFY(link.failed.first().at(1).toString().startsWith(QLatin1StringView(row.name)));
});

struct Endless {
    const char *name;
    QByteArray start;
    QByteArray pattern;
    QString error = u"a line without an end"_s;
    int seqnr = 1;
};
const Endless endlessReplies[] = {
    {"line", {}, "x"},
    {"empty lines", {}, "\r\n", u"more than it was asked for"_s},
    {"lines behind a 430", "430 no\r\n", "200 hello\r\n", u"more than it was asked for"_s},
    {"body line", "222 body\r\n", "x"},
    {"yEnc control line", "222 body\r\n=ybegin size=9 name=a\r\n=y", "x"},
    {"uuencode line", "222 body\r\n" + full, "x", u"a line without an end"_s, 2},
    {"article", "222 body\r\n=ybegin size=9 name=a\r\n", "xxxxxx\r\n",
     u"an article without an end"_s},
    {"article of an unknown encoding", "222 body\r\n", "a text\r\n",
     u"an article without an end"_s},
    // The last line and what follows it come in at once.
    {"article behind a long text",
     "222 body\r\n" + QByteArray("text\r\n").repeated((32 * 1024 * 1024 - 64) / 6)
         + "=ybegin size=9 name=a\r\n",
     "xxxxxx\r\n", u"an article without an end"_s},
};
const Case endless("a reply without an end", endlessReplies, [](const Endless &row) {
    World t;
    const int size = row.pattern.size() > 2 ? 40'000'000 : 4'000'000;
    t.server.script(When::body(),
                    Reply::bytes(row.start + row.pattern.repeated(size / row.pattern.size())));
    Link link(t.server);
    t.fetch(link, row.seqnr);
    QTRY_COMPARE(link.failed.size(), 1);
    QCOMPARE(link.failed.first().first(2),
             (QVariantList{0, QString(u"The server sent "_s + row.error)}));
    QVERIFY(link.decoded.isEmpty());
    QVERIFY(link.nntp->bytesReceived() < quint64(row.start.size() + size));
});

const Case noCommand("a message id is no command", [] {
    World t;
    const Link link(t.server);
    link.nntp->getArticle(u" a@b>\r\nQUIT\r\n"_s, t.dir.path(), &t.file, 1);
    QTRY_COMPARE(t.server.commands(), QByteArrayList{"BODY <a@b>QUIT>"});
});

const Case ends("a connection ends itself", [] {
    World t;
    const Link open(t.server);
    QTRY_COMPARE(open.loggedIn.size(), 1);
    open.nntp->quit();
    QTRY_VERIFY(!open.nntp);
    QCOMPARE(t.server.commands(), QByteArrayList{"QUIT"});
    QVERIFY(open.failed.isEmpty());
    const QPointer<NNTP> closed(new NNTP(u"127.0.0.1"_s, 1, {}, {}, false, nullptr));
    closed->quit();
    QVERIFY(!closed);
    const Link waiting(t.server);
    QTRY_COMPARE(waiting.loggedIn.size(), 1);
    waiting.nntp->abortWithError(NNTP::ConnectionsClosed, QString());
    const int accepted = t.server.acceptedConnections();
    waiting.nntp->retryAfter(0);
    waiting.nntp->deleteLater();
    QVERIFY(waiting.nntp);
    QTRY_VERIFY(!waiting.nntp);
    QCOMPARE(t.server.acceptedConnections(), accepted);
});

struct Deletion {
    const char *name;
    QByteArray reply = {};
};
const Deletion deletions[] = {
    {"data decoded"},
    {"unknown encoding", "222 body\r\n.\r\nmore\r\nlines\r\n"},
    {"not found", "430 no\r\n222 yes\r\n"},
    {"error", "500 no\r\n222 yes\r\n"},
    {"decoder failure",
     "222 body\r\n=ybegin size=1 name=" + QByteArray(300, 'n') + "\r\nx\r\n.\r\n"},
};
const Case deletion("the receiver deletes the connection", deletions, [](const Deletion &row) {
    World t;
    if (!row.reply.isEmpty())
        t.server.script(When::body(), Reply::bytes(row.reply));
    Link link(t.server);
    const auto kill = [&link] { delete link.nntp; };
    QObject::connect(link.nntp, &NNTP::dataDecoded, kill);
    QObject::connect(link.nntp, &NNTP::articleNotFound, kill);
    QObject::connect(link.nntp, &NNTP::error, kill);
    t.fetch(link);
    QTRY_VERIFY(!link.nntp);
    QCOMPARE(link.outcomes(), 1);
});

const Case randomServer("a server says anything", [] {
    QRandomGenerator random = seededRandom();
    const QByteArrayList words{"222 body\r\n",
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
                               full,
                               end,
                               QByteArray(1, '\0'),
                               "=",
                               "\xff",
                               "480\r\n",
                               "../"};
    World t;
    const QString folder = t.dir.filePath(u"folder"_s);
    QVERIFY(QDir().mkdir(folder));
    for (int round = 0; round < 200; ++round) {
        QByteArray bytes = random.bounded(4) ? "222 body\r\n" : "";
        for (int count = random.bounded(60); count > 0; --count)
            bytes += words.at(random.bounded(words.size()));
        t.server.clearScript();
        t.server.script(When::body(), Reply::bytes(bytes).closeAfter(Reply::whole));
        Link link(t.server);
        link.nntp->getArticle(u"a@b"_s, folder, &t.file, 1 + random.bounded(2));
        QTRY_VERIFY(!link.failed.isEmpty()); // the server closes after each reply
    }
    QCOMPARE(QDir(t.dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList{u"folder"_s});
});

/// More than is decrypted at once.
const QByteArray longContent = randomBytes(7, 1'000'000);

/// A server with a certificate, trusted if it is that of an authority, and a connection to it.
struct TlsSession {
    explicit TlsSession(const QString &commonName = u"127.0.0.1"_s,
                        const QString &altName = u"IP:127.0.0.1"_s, bool ownAuthority = true)
    {
        static QHash<QString, std::optional<TestCertificate>> all; // making one takes its time
        auto &made = all[commonName + QString::number(ownAuthority)];
        const auto make =
            ownAuthority ? TestCertificate::signedByAuthority : TestCertificate::selfSigned;
        QString reason;
        if (!made && !(made = make(commonName, {altName}, &reason)))
            qFatal("%s", qPrintable(reason));
        if (ownAuthority)
            trust.emplace(made->authority);
        server.emplace(made->serverConfiguration());
        server->addArticle("a@b",
                           yencArticle("film.bin", longContent.size(), 1, 1, 1, longContent));
        link.emplace(*server, u"secret"_s, true);
    }
    void fetch() const { link->nntp->getArticle(u"a@b"_s, dir.path(), nullptr, 2); }
    [[nodiscard]] QByteArray saved() const { return contentsOf(dir.filePath(u"film.bin"_s)); }

    QTemporaryDir dir;
    std::optional<TrustedAuthority> trust;
    std::optional<NewsServer> server;
    std::optional<Link> link;
};

const struct {
    const char *name;
    bool ownAuthority;
    QString commonName;
    QString altName;
    QString text;
} certificates[]{
    {"self-signed", false, u"127.0.0.1"_s, u"IP:127.0.0.1"_s,
     u".<p>This could mean something bad"_s},
    {"other host", true, u"news.example"_s, u"DNS:news.example"_s,
     u": You entered hostname '127.0.0.1' but the server's SSL certificate is only valid for "
     "'news.example'"_s},
    {"no common name", true, QString(), u"DNS:other.example"_s,
     u"is only valid for 'other.example'"_s},
};
const Case refused("a certificate that is refused", certificates, [](const auto &row) {
    const TlsSession session(row.commonName, row.altName, row.ownAuthority);
    session.fetch();
    QTRY_COMPARE(session.link->outcomes(), 1);
    QCOMPARE(session.link->failed.size(), 1);
    QCOMPARE(session.link->failed.first().at(0).toInt(), 0);
    const QString text = session.link->failed.first().at(1).toString();
    QVERIFY2(text.startsWith("SSL verification error"_L1) && text.contains(row.text),
             qPrintable(text));
    QVERIFY(session.server->commands().isEmpty());
});

const Case longLine("an article, then a line without an end", [] {
    TlsSession session;
    session.fetch();
    QTRY_COMPARE(session.link->decoded.size(), 1);
    QVERIFY(session.saved() == longContent);
    // What limits the decryption must not make a long line wait for room.
    session.server->script(When::body(), Reply::bytes(QByteArray(4'000'000, 'x')));
    session.fetch();
    QTRY_COMPARE(session.link->failed.size(), 1);
    QCOMPARE(session.link->failed.first().at(1).toString(),
             u"The server sent a line without an end"_s);
});

/// What Qt decrypts at a time.
constexpr qsizetype block = 4096;

const struct {
    const char *name;
    qsizetype cut; ///< where the server cuts the reply, from its end
    qsizetype blocks; ///< of content, about
    bool closed; ///< the server closes the connection behind the article
} endings[]{
    {"dot line apart", -3, 2, false},
    {"dot line apart, short", -3, 1, false},
    {"terminator apart", -5, 2, false},
    {"LF, dot and line end apart", -4, 2, false},
    {"line end apart", -2, 2, false},
    {"LF apart", -1, 2, false},
    {"closed behind more than is decrypted at once", -200'000, 60, true},
};
const Case remainders("an article ends behind any remainder of a block", endings, [](auto &row) {
    TlsSession session;
    QTRY_COMPARE(session.link->loggedIn.size(), 1);
    const QByteArray part = longContent.first(row.blocks * block - 1000);
    const QByteArray article = yencArticle("film.bin", 99 + part.size(), 2, 2, 100, part);
    const QByteArray reply = "222 0 <a@b>\r\nX: " + article;
    const qsizetype padding = block - (reply.size() + 2) % block;
    for (const qsizetype remainder : {0, 1, 2, 3, 4, 5}) {
        QByteArray padded = reply;
        padded.insert(16, QByteArray(padding + remainder, 'x') + "\r\n");
        QCOMPARE(padded.size() % block, remainder);
        const Reply whole = Reply::bytes(padded + ".\r\n").splitAt({row.cut});
        session.server->script(When::body(), row.closed ? whole.closeAfter(Reply::whole) : whole,
                               1);
        QFile::remove(session.dir.filePath(u"film.bin"_s));
        session.fetch();
        QTRY_COMPARE(session.link->decoded.size(), remainder + 1);
        QVERIFY(session.saved().sliced(99) == part);
        QTRY_COMPARE(session.link->failed.size(), row.closed ? remainder + 1 : 0);
    }
});

} // namespace
