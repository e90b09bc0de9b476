// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include "enginefixture.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

/// How many connections there are, who fetches what, and what a failed one leads to.
class TestPool final : public QObject {
    Q_OBJECT

private slots:
    void opensOneAfterAnother();
    void opensNoneInVain_data();
    void opensNoneInVain();
    void fetchesInOrder();
    void pausedConnectionsLogOut();
    void newJobFindsLiveConnections();
    void failures_data();
    void failures();
    void asksForPasswordOnceEach_data();
    void asksForPasswordOnceEach();
    void unwritableFilePausesOnce();
    void fullDisk();
    void quittingConnectionGetsNoWork_data();
    void quittingConnectionGetsNoWork();
    void closesAll();
    void statistics();
};

void TestPool::opensOneAfterAnother()
{
    EngineFixture t;
    t.server->script(When::greeting().onConnection(3), Reply::silence());
    t.startHeldFilm(50'000);
    QTRY_COMPARE(t.server->acceptedConnections(), 3);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    QCOMPARE(t.engine->connectionCount(), 3); // the fourth waits for the third's login
    QCOMPARE(t.notices,
             (QStringList{u"Connecting to server..."_s, u"Connected (1)"_s, u"Connected (2)"_s}));
}

void TestPool::opensNoneInVain_data()
{
    QTest::addColumn<QVariant>("threads");
    QTest::addColumn<int>("articles");
    QTest::addColumn<int>("connections");
    QTest::newRow("no setting") << QVariant() << 3 << 0;
    QTest::newRow("not a number") << QVariant(u"many"_s) << 3 << 0;
    QTest::newRow("nothing to fetch") << QVariant(4) << 0 << 0;
    QTest::newRow("one article") << QVariant(4) << 1 << 1;
}

void TestPool::opensNoneInVain()
{
    QFETCH(const QVariant, threads);
    QFETCH(const int, articles);
    QFETCH(const int, connections);
    EngineFixture t;
    t.engine->settings()->remove(u"threads"_s);
    if (threads.isValid())
        t.set("threads", threads);
    Post post;
    if (articles > 0)
        post.addYenc(u"film.bin"_s, randomBytes(1, articles * 1000), 1000);
    t.start(post);
    QCOMPARE(t.engine->connectionCount(), connections);
    QCOMPARE(t.notices.isEmpty(), connections == 0);
    if (connections > 0) {
        QTRY_COMPARE(t.completedJobs.size(), 1);
        QCOMPARE(t.server->acceptedConnections(), connections);
    }
}

void TestPool::fetchesInOrder()
{
    EngineFixture t;
    t.set("threads", 0);
    t.set("networkRetry", 0);
    t.set("pausePAR2", true);
    t.set("rarHandling", u"disabled"_s);
    Post first(u"first"_s);
    first.addYenc(u"x.r00"_s, randomBytes(1, 2000), 1000);
    first.addYenc(u"x.rar"_s, randomBytes(2, 3000), 1000);
    first.addYenc(u"x.par2"_s, randomBytes(3, 1000), 1000);
    Post second(u"second"_s);
    second.addYenc(u"a.bin"_s, randomBytes(4, 1000), 1000);
    Nzb *nzb = t.start(first);
    t.start(second);
    QCOMPARE(EngineFixture::fileOf(nzb, u"x.par2"_s)->status(), u"Paused"_s);

    // A segment that comes back is the next that its file hands out.
    t.server->script(When::body(first.file(1).id(2)), Reply::drop(), 1);
    t.set("threads", 1);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs, (QStringList{u"first"_s, u"second"_s}));
    const PostedFile &volume = first.file(0);
    const PostedFile &archive = first.file(1);
    QCOMPARE(t.requested(),
             (QList<QByteArray>{archive.id(1), archive.id(2), archive.id(2), archive.id(3),
                                volume.id(1), volume.id(2), second.file(0).id(1)}));
}

void TestPool::pausedConnectionsLogOut()
{
    EngineFixture t;
    t.set("threads", 2);
    Nzb *nzb = t.startHeldFilm(10'000);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    t.engine->pauseAll();
    QVERIFY(t.engine->allPaused());
    t.server->releaseAll();
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QTRY_COMPARE(t.server->openConnections(), 0);
    QCOMPARE(t.requested().size(), 2); // what they held was finished and booked
    QTRY_COMPARE(nzb->fileAt(0)->completedBytes(), 2000u);

    nzb->setPaused(false);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.requested().size(), 10);
}

void TestPool::newJobFindsLiveConnections()
{
    EngineFixture t;
    t.set("threads", 2);
    t.startHeldFilm(1000);
    QTRY_COMPARE(t.server->waiting().size(), 1);
    Post later(u"later"_s);
    later.addYenc(u"more.bin"_s, randomBytes(1, 5000), 1000);
    t.start(later);
    QCOMPARE(t.engine->connectionCount(), 1);
    t.server->releaseAll();
    QTRY_COMPARE(t.completedJobs.size(), 2);
    QCOMPARE(t.server->acceptedConnections(), 1);
}

void TestPool::failures_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("notice");
    QTest::newRow("asks for a password")
        << QByteArray("480 login first")
        << u"Server asks for password. Please specify password in 'settings' window."_s
        << QString();
    QTest::newRow("refuses the password")
        << QByteArray("483 no") << u"Supplied password not accepted. Check server settings"_s
        << QString();
    QTest::newRow("too many connections")
        << QByteArray("502 too many") << QString()
        << u"Last error: 502 too many\r\n, retrying in 3600 seconds"_s;
}

void TestPool::failures()
{
    QFETCH(const QByteArray, reply);
    QFETCH(const QString, error);
    QFETCH(const QString, notice);
    EngineFixture t;
    t.set("threads", 1);
    t.set("networkRetry", 3600);
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 2000), 1000);
    t.server->script(When::body(), Reply::code(reply), 1);
    Nzb *nzb = t.start(post);
    if (error.isEmpty()) {
        QTRY_COMPARE(t.notices.last(), notice);
        QVERIFY(t.errors.isEmpty());
        QCOMPARE(t.engine->connectionCount(), 1); // it stays, and logs in again later
        return;
    }
    QTRY_COMPARE(t.errors, QStringList{error});
    QCOMPARE(t.engine->connectionCount(), 0);
    QVERIFY(nzb->fileAt(0)->hasPendingSegments() && !nzb->fileAt(0)->hasActiveSegments());
    t.engine->startToDownloadQueue(); // the next trigger tries again, and nothing has been lost
    QTRY_COMPARE(t.completedJobs.size(), 1);
}

void TestPool::asksForPasswordOnceEach_data()
{
    QTest::addColumn<bool>("answeredAtOnce");
    QTest::newRow("each box is answered at once") << true;
    QTest::newRow("the boxes stand") << false;
}

void TestPool::asksForPasswordOnceEach()
{
    QFETCH(const bool, answeredAtOnce);
    EngineFixture t;
    t.set("threads", 3);
    t.server->requireLogin("joe", "secret");
    connect(t.engine.get(), &Marlowick::error, this, [&] {
        t.engine->setErrorBoxShown(true);
        if (answeredAtOnce)
            t.engine->setErrorBoxShown(false);
    });
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 20'000), 1000);
    t.start(post);
    QTRY_VERIFY(!t.errors.isEmpty() && t.engine->connectionCount() == 0);
    QVERIFY2(t.errors.size() <= 3, "the pool goes on asking");
    QCOMPARE(t.errors.size(), t.server->acceptedConnections());

    t.setLogin("joe", "secret");
    t.engine->startToDownloadQueue();
    QCOMPARE(t.engine->connectionCount(), answeredAtOnce ? 1 : 0);
    t.engine->setErrorBoxShown(false);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.server->mostConnections(), 3); // the pool grows again
}

void TestPool::unwritableFilePausesOnce()
{
    EngineFixture t;
    Nzb *nzb = t.startHeldFilm(40'000);
    QTRY_COMPARE(t.server->waiting().size(), 4);
    // A folder in the file's place: it cannot be opened for writing, by root either.
    QVERIFY(QDir().mkpath(nzb->folder() + "/film.bin"_L1));
    t.server->releaseAll();
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QCOMPARE(t.errors.size(), 1);
    QVERIFY(t.errors.first().startsWith("Error opening file: "_L1));
    QVERIFY(t.errors.first().endsWith(". Pausing downloads"_L1));
    QVERIFY(t.engine->allPaused());
    QVERIFY(!nzb->hasActiveSegments());

    QVERIFY(QDir().rmdir(nzb->folder() + "/film.bin"_L1));
    nzb->setPaused(false);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QVERIFY(!nzb->hasIncompleteFiles());
}

void TestPool::fullDisk()
{
    EngineFixture t;
    QVERIFY(QDir().mkpath(t.downloads()));
    const auto mount = [&t](const QString &options) {
        return QProcess::execute(
            u"mount"_s, {u"-t"_s, u"tmpfs"_s, u"-o"_s, options, u"tmpfs"_s, t.downloads()});
    };
    if (mount(u"size=64k"_s) != 0)
        QSKIP("a file system of its own needs the right to mount one");
    const auto unmount = qScopeGuard([&t] {
        QProcess::execute(u"umount"_s, {u"--lazy"_s, t.downloads()});
    });
    Post post;
    const QByteArray film = randomBytes(1, 200'000);
    post.addYenc(u"film.bin"_s, film, 10'000);
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.errors,
                 QStringList{u"Error writing to file. Check disk space. Pausing downloads"_s});
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QVERIFY(t.engine->allPaused());

    QCOMPARE(mount(u"remount,size=1m"_s), 0);
    nzb->setPaused(false);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.saved(u"demo/film.bin"_s), film);
    QCOMPARE(nzb->status(), u"Finished"_s);
}

void TestPool::quittingConnectionGetsNoWork_data()
{
    QTest::addColumn<QByteArray>("farewell");
    QTest::newRow("430") << QByteArray("430 no such article\r\n");
    QTest::newRow("400") << QByteArray("400 idle for too long\r\n");
    QTest::newRow("200") << QByteArray("200 hello again\r\n");
}

void TestPool::quittingConnectionGetsNoWork()
{
    QFETCH(const QByteArray, farewell);
    EngineFixture t;
    t.set("threads", 1);
    t.server->script(When::command("QUIT"), Reply::bytes(farewell).closeAfter(Reply::whole));
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 1000), 1000);
    const Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QTRY_COMPARE(t.server->openConnections(), 0);
    QTRY_VERIFY(t.engine->findChildren<NNTP *>().isEmpty());
    QVERIFY(t.notices.filter(u"Last error"_s).isEmpty());
    QCOMPARE(nzb->status(), u"Finished"_s);
}

void TestPool::closesAll()
{
    EngineFixture t;
    Nzb *nzb = t.startHeldFilm(40'000);
    QTRY_COMPARE(t.server->waiting().size(), 4);
    t.engine->closeAllConnections();
    QCOMPARE(t.engine->connectionCount(), 0);
    QVERIFY(!nzb->hasActiveSegments());
    QCOMPARE(t.notices.filter(u"Server settings changed"_s).size(), 4);
    QTRY_COMPARE(t.server->openConnections(), 0);
}

void TestPool::statistics()
{
    EngineFixture t;
    t.set("threads", 1);
    t.set("pausePAR2", true);
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 9'000'000), 9'000'000);
    post.addYenc(u"film.par2"_s, randomBytes(2, 1000), 1000);
    post.upload(*t.server);
    t.server->script(When::body(post.file(0).id(1)), Reply::ordinary().stallAfter(-1000));
    const QSignalSpy spy(t.engine.get(), &Marlowick::downloadStatistics);
    const Nzb *nzb = t.start(post);
    QTRY_VERIFY_WITH_TIMEOUT(!spy.isEmpty(), 10'000);
    QVERIFY(spy.first().at(0).toInt() > 1'000'000);
    QCOMPARE(spy.first().at(0).toInt() % 1000, 0);
    const quint64 film = EngineFixture::fileOf(nzb, u"film.bin"_s)->size();
    QCOMPARE(spy.first().at(1).toULongLong(), film);
    QCOMPARE(spy.first().at(2).toInt(), int(film / spy.first().at(0).toULongLong()));

    QTRY_COMPARE(spy.size(), 2);
    QCOMPARE(spy.last().at(0).toInt(), 0); // nothing came in this interval
    QCOMPARE(spy.last().at(2).toInt(), 0);
    QElapsedTimer clock;
    clock.start();
    t.engine->closeAllConnections(); // the total shrinks: the next tick has no speed to tell
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 3, 10'000);
    QVERIFY(clock.hasExpired(3000)); // so that two ticks have passed
}

QTEST_GUILESS_MAIN(TestPool)
#include "test_pool.moc"
