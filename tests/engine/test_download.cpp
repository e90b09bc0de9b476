// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QTest>

#include "enginefixture.h"
#include "support/rows.h"
#include "support/testcertificate.h"

using namespace Qt::StringLiterals;

/// Whole downloads, from the NZB to the files.
class TestDownload final : public QObject {
    Q_OBJECT

private slots:
    void everyKindOfFile();
    void overSsl();
    void everyArticleFailsOnce_data();
    void everyArticleFailsOnce();
    void damageIsBooked_data();
    void damageIsBooked();
    void uuencodedParts_data();
    void uuencodedParts();
    void lastArticleMissing();
    void rawNameLeadsNowhere();
};

void TestDownload::everyKindOfFile()
{
    EngineFixture t;
    t.server->requireLogin("joe", "secret");
    t.setLogin("joe", "secret");
    Post post;
    const QByteArray film = randomBytes(1, 345'678);
    const QByteArray text = randomBytes(2, 45 * 700);
    post.addYenc(u"film.bin"_s, film, 10'000);
    post.addYenc(u"small.nfo"_s, "x");
    post.addUuencoded(u"text.txt"_s, text, 200);
    post.upload(*t.server);
    const QString nzbPath = post.writeGzipNzb(t.dir.path());
    t.engine->addNZB(nzbPath);
    t.engine->addNZB(nzbPath);
    QTRY_COMPARE(t.completedJobs, (QStringList{u"demo"_s, u"demo2"_s}));
    for (const QString &job : {u"demo/"_s, u"demo2/"_s}) {
        QCOMPARE(t.saved(job + "film.bin"_L1), film);
        QCOMPARE(t.saved(job + "small.nfo"_L1), QByteArray("x"));
        QCOMPARE(t.saved(job + "text.txt"_L1), text);
        QCOMPARE(QDir(t.downloads() + u'/' + job).entryList(QDir::Files).size(), 3);
    }
    QCOMPARE(t.completedFiles.size(), 6);
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QTRY_COMPARE(t.server->openConnections(), 0);
    QCOMPARE(t.server->mostConnections(), 4);
    QCOMPARE(t.server->acceptedConnections(), 4);

    QCOMPARE(t.notices.first(), u"Connecting to server..."_s);
    QCOMPARE(t.notices.filter(u"Connected ("_s),
             (QStringList{u"Connected (1)"_s, u"Connected (2)"_s, u"Connected (3)"_s,
                          u"Connected (4)"_s}));
    QCOMPARE(t.notices.filter(u"File download complete: small.nfo"_s).size(), 2);
    QCOMPARE(t.notices.last(), u"NZB complete: demo2"_s);
    QVERIFY(t.errors.isEmpty());
}

void TestDownload::overSsl()
{
    QString reason;
    const auto certificate =
        TestCertificate::signedByAuthority(u"127.0.0.1"_s, {u"IP:127.0.0.1"_s}, &reason);
    if (!certificate)
        QSKIP(qPrintable(reason));
    const TrustedAuthority trust(certificate->authority);
    EngineFixture t(std::make_unique<NewsServer>(certificate->serverConfiguration()));
    t.set("ssl", true);
    Post post;
    const QByteArray film = randomBytes(4, 300'000);
    post.addYenc(u"film.bin"_s, film, 50'000);
    t.start(post);
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.saved(u"demo/film.bin"_s), film);
}

void TestDownload::everyArticleFailsOnce_data()
{
    const auto row = rows<Reply, QString>();
    const QString closed = u"The remote host closed the connection"_s;
    const QString silent = u"Network time-out"_s;
    row("cut in the reply line", {Reply::ordinary().cutAfter(3), closed});
    row("cut in the data", {Reply::ordinary().cutAfter(700), closed});
    row("cut in the terminator", {Reply::ordinary().cutAfter(-3), closed});
    row("reset", {Reply::ordinary().resetAfter(700), closed});
    row("stall", {Reply::ordinary().stallAfter(700), silent});
    row("no answer", {Reply::silence(), silent});
    row("garbage", {Reply::bytes(QByteArray("\0\1\2 what\r\n", 10)), u"what"_s});
}

void TestDownload::everyArticleFailsOnce()
{
    const auto [reply, reason] = thisRow<Reply, QString>();
    EngineFixture t;
    t.set("networkTimeout", 1);
    t.set("networkRetry", 0);
    Post post;
    const QByteArray film = randomBytes(5, 7'000);
    const QByteArray text = randomBytes(6, 45 * 60);
    post.addYenc(u"film.bin"_s, film, 1000);
    post.addUuencoded(u"text.txt"_s, text, 30);
    for (int i = 0; i < post.fileCount(); ++i) {
        for (int number = 1; number <= post.file(i).segmentCount(); ++number)
            t.server->script(When::body(post.file(i).id(number)), reply, 1);
    }
    t.start(post);
    QTRY_COMPARE_WITH_TIMEOUT(t.completedJobs.size(), 1, 60'000);
    QCOMPARE(t.saved(u"demo/film.bin"_s), film);
    QCOMPARE(t.saved(u"demo/text.txt"_s), text);
    QVERIFY(t.errors.isEmpty());
    QVERIFY(!t.notices.filter(u"Last error: "_s)
                 .filter(reason)
                 .filter(u", retrying in 0 seconds"_s)
                 .isEmpty());
}

void TestDownload::damageIsBooked_data()
{
    const auto row = rows<QByteArray, bool>();
    row("article missing", {QByteArray(), false});
    row("no end line", {QByteArray(), true});
    row("wrong checksum", {QByteArray("=yend size=1000 part=2 pcrc32=00000000"), true});
    row("wrong size", {QByteArray("=yend size=999 part=2"), true});
}

void TestDownload::damageIsBooked()
{
    const auto [endLine, onServer] = thisRow<QByteArray, bool>();
    EngineFixture t;
    Post post;
    const QByteArray film = randomBytes(8, 3000);
    PostedFile &file = post.addYenc(u"film.bin"_s, film, 1000);
    file.segment(2).onServer = onServer;
    if (onServer) {
        YencOptions damaged;
        damaged.withEndLine = !endLine.isEmpty();
        damaged.endLine = endLine;
        file.segment(2).body =
            yencArticle("film.bin", 3000, 2, 3, 1001, film.sliced(1000, 1000), damaged);
    }
    t.server->hold(file.id(3)); // a result that completes the file comes after the damage
    const Nzb *nzb = t.start(post);
    QTRY_VERIFY(t.server->waiting().contains(file.id(3)));
    QTRY_VERIFY(nzb->fileAt(0)->isIncomplete());
    t.server->release(file.id(3));
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(nzb->status(), u"Finished incomplete"_s);
    QVERIFY(nzb->hasIncompleteFiles());
    QCOMPARE(t.saved(u"demo/film.bin"_s).size(), 3000);
    QCOMPARE(t.saved(u"demo/film.bin"_s) == film, onServer);
    QCOMPARE(t.server->bodyCount(file.id(2)), 1);
}

void TestDownload::uuencodedParts_data()
{
    const auto row = rows<int, QString, QList<int>>();
    row("all there", {0, QString(), QList<int>{1, 2, 3}});
    row("second missing", {2, QString(), QList<int>{1, 3}});
    row("one announced, three listed", {0, u"\"text.txt\" (1/1)"_s, QList<int>{1}});
    row("too many announced to count to",
        {0, u"\"text.txt\" (1/2147483647)"_s, QList<int>{1, 2, 3}});
}

void TestDownload::uuencodedParts()
{
    const auto [missing, subject, joined] = thisRow<int, QString, QList<int>>();
    EngineFixture t;
    Post post;
    const QByteArray text = randomBytes(9, 45 * 30);
    PostedFile &file = post.addUuencoded(u"text.txt"_s, text, 10);
    file.subject = subject;
    if (missing)
        file.segment(missing).onServer = false;
    t.server->hold(file.id(3));
    const Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.server->waiting(), QList<QByteArray>{file.id(3)});
    QTRY_VERIFY(nzb->fileAt(0)->completedBytes() >= (missing ? 450 : 900));
    t.server->release(file.id(3));
    QTRY_COMPARE(t.completedFiles, QStringList{u"text.txt"_s});
    QByteArray expected;
    for (const int number : joined)
        expected += text.sliced((number - 1) * 450, 450);
    QCOMPARE(t.saved(u"demo/text.txt"_s), expected);
    const qsizetype left = 3 - joined.size() - (missing ? 1 : 0);
    QCOMPARE(QDir(nzb->folder()).entryList({u"*.uu??????"_s}).size(), left);
}

void TestDownload::lastArticleMissing()
{
    EngineFixture t;
    t.set("threads", 1);
    Post post;
    post.addUuencoded(u"text.txt"_s, randomBytes(9, 45 * 30), 10).segment(3).onServer = false;
    const Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QCOMPARE(nzb->fileAt(0)->status(), u"Finished incomplete"_s);
    QVERIFY(t.completedFiles.isEmpty());
    QVERIFY(t.completedJobs.isEmpty());
    QCOMPARE(QDir(nzb->folder()).entryList(QDir::Files),
             (QStringList{u"text.txt.uu000001"_s, u"text.txt.uu000002"_s}));
}

void TestDownload::rawNameLeadsNowhere()
{
    // No decoder ever gives this file a clean name, so that the raw one reaches the join.
    EngineFixture t;
    const QFile outside(writeFile(t.dir.filePath(u"victim.uu000001"_s)));
    Post post;
    PostedFile &file = post.addUuencoded(u"x"_s, randomBytes(1, 45), 10);
    file.subject = u"\"../../victim\" (1/1)"_s;
    file.segment(1).body = "just text\r\n";
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.completedFiles.size(), 1);
    QVERIFY(outside.exists());
    t.engine->deleteFiles(nzb);
    QVERIFY(outside.exists());
    QVERIFY(!QFile::exists(t.dir.filePath(u"victim"_s)));
}

QTEST_GUILESS_MAIN(TestDownload)
#include "test_download.moc"
