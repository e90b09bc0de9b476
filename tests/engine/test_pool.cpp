// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <functional>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "enginefixture.h"
#include "support/failingclose.h"
#include "support/rows.h"
#include "support/smalldisk.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;
using Step = std::function<bool(const EngineFixture &)>;

namespace {

const bool mayMount = SmallDisk::prepare(); // early: QtTest has a thread of its own

/// Whether permissions do not count, for a process that has this right: root may give it up for a
/// while, and nobody else has it.
bool setOverriding(bool on)
{
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capget, &header, sets) != 0)
        return false;
    constexpr quint32 right = CAP_TO_MASK(CAP_DAC_OVERRIDE);
    sets[0].effective =
        on ? sets[0].effective | (sets[0].permitted & right) : sets[0].effective & ~right;
    return syscall(SYS_capset, &header, sets) == 0;
}

/// Writes beyond it fail, as on a full disk.
bool limitFileSize(rlim_t most)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(most, limit.rlim_max);
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

} // namespace

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
    void unwritableFilePausesOnce_data();
    void unwritableFilePausesOnce();
    void quittingConnectionGetsNoWork_data();
    void quittingConnectionGetsNoWork();
    void statistics();

private:
    std::optional<SmallDisk> disk;
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
    const auto row = rows<QVariant, int, int>();
    row("no setting", {QVariant(), 3, 0});
    row("not a number", {QVariant(u"many"_s), 3, 0});
    row("nothing to fetch", {QVariant(4), 0, 0});
    row("one article", {QVariant(4), 1, 1});
}

void TestPool::opensNoneInVain()
{
    const auto [threads, articles, connections] = thisRow<QVariant, int, int>();
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
    // The error, or nothing: a notice, and another try.
    const auto row = rows<When, QByteArray, QString>();
    const When second = When::body("demo.1.2@post.test");
    row("480 in the middle of a session",
        {second, "480 login first",
         u"Server asks for password. Please specify password in 'settings' window."_s});
    row("483 in the middle of a session",
        {second, "483 no", u"Supplied password not accepted. Check server settings"_s});
    for (const char *reply : {"481 wrong password", "482 out of sequence", "502 too many users"})
        row(qPrintable(QLatin1StringView(reply, 3) + " to the password"_L1),
            {When::command("AUTHINFO PASS"), reply, {}});
    row("502 instead of a greeting", {When::greeting(), "502 too many connections", {}});
    row("400 instead of a greeting", {When::greeting(), "400 come back later", {}});
    row("400 after idling", {second, "400 idle for too long", {}});
    row("423 for an article", {second, "423 no such number", {}});
    row("451 for an article", {second, "451 withheld", {}});
}

void TestPool::failures()
{
    const auto [when, reply, error] = thisRow<When, QByteArray, QString>();
    EngineFixture t;
    t.set("threads", 1);
    t.set("networkRetry", 3600);
    t.setLogin("joe", "secret");
    Post post;
    const QByteArray film = randomBytes(1, 2000);
    post.addYenc(u"film.bin"_s, film, 1000);
    t.server->script(when, Reply::code(reply).closeAfter(Reply::whole), 1);
    Nzb *nzb = t.start(post);
    const QString notice =
        u"Last error: %1\r\n, retrying in 3600 seconds"_s.arg(QString::fromLatin1(reply));
    QTRY_COMPARE(t.errors + t.notices.filter(u"Last error"_s),
                 QStringList{error.isEmpty() ? notice : error});
    QCOMPARE(t.engine->connectionCount(), error.isEmpty() ? 1 : 0);
    QVERIFY(nzb->fileAt(0)->hasPendingSegments() && !nzb->fileAt(0)->hasActiveSegments());
    t.engine->closeAllConnections();
    t.engine->startToDownloadQueue(); // nothing has been lost
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.saved(u"demo/film.bin"_s), film);
    QCOMPARE(t.server->acceptedConnections(), 2);
}

void TestPool::asksForPasswordOnceEach_data()
{
    const auto row = rows<bool>();
    row("each box is answered at once", {true});
    row("the boxes stand", {false});
}

void TestPool::asksForPasswordOnceEach()
{
    const auto [answeredAtOnce] = thisRow<bool>();
    EngineFixture t;
    t.set("threads", 3);
    t.server->requireLogin("joe", "secret");
    connect(t.engine.get(), &Marlowick::error, this, [&, atOnce = answeredAtOnce] {
        t.engine->setErrorBoxShown(true);
        if (atOnce)
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

void TestPool::unwritableFilePausesOnce_data()
{
    // To spoil, to mend, the error.
    const auto row = rows<Step, Step, QString>();
    const auto film = [](const EngineFixture &t) -> QString {
        return t.downloads() + "/demo/film.bin"_L1;
    };
    static constexpr auto closed = QFile::ReadOwner | QFile::ExeOwner;
    static constexpr auto open = closed | QFile::WriteOwner;
    const auto allow = [](const QString &folder, QFile::Permissions permissions) {
        return [=](const EngineFixture &t) {
            return setOverriding(permissions == open)
                   && QFile::setPermissions(t.downloads() + folder, permissions);
        };
    };
    const QString cannotOpen = u"Error opening file: "_s;
    const QString cannotWrite = u"Error writing to file. Check disk space"_s;
    row("a folder in the file's place",
        {[=](const auto &t) { return QDir().mkpath(film(t)); },
         [=](const auto &t) { return QDir().rmdir(film(t)); }, cannotOpen});
    row("folder removed", {[](const auto &t) { return QDir(t.downloads()).removeRecursively(); },
                           [](const auto &t) { return QDir().mkpath(t.downloads()); },
                           cannotOpen + "No such file or directory"_L1});
    row("no permission",
        {allow(u"/demo"_s, closed), allow(u"/demo"_s, open), cannotOpen + "Permission denied"_L1});
    row("download folder that is read-only, and the job's removed",
        {[=](const auto &t) {
             return QDir(t.downloads()).rmdir(u"demo"_s) && allow({}, closed)(t);
         },
         allow({}, open), cannotOpen + "No such file or directory"_L1});
    row("no more room behind 16 KiB",
        {[](const auto &) { return limitFileSize(16 * 1024); },
         [](const auto &) { return limitFileSize(RLIM_INFINITY); }, cannotWrite});
    if (mayMount) {
        row("full file system",
            {[this](const auto &t) {
                 return disk.emplace(t.downloads() + "/demo"_L1, 16 * 1024).isGood();
             },
             [this](const auto &) { return !disk || disk->resize(1024 * 1024); }, cannotWrite});
    } else {
        qWarning("Without the row of a full file system: this system forbids mounts.");
    }
    static std::optional<FailingClose> quota;
    row("quota that tells when the file is closed",
        {[](const auto &) { return quota.emplace("/film.bin"), true; },
         [](const auto &) { return quota.reset(), true; }, cannotWrite});
}

void TestPool::unwritableFilePausesOnce()
{
    const auto [spoil, mend, error] = thisRow<Step, Step, QString>();
    EngineFixture t;
    QVERIFY(QDir().mkpath(t.downloads()));
    const auto restore = qScopeGuard([&, mend = mend] {
        mend(t);
        disk.reset();
    });
    Nzb *nzb = t.startHeldFilm(40'000);
    QTRY_COMPARE(t.server->waiting().size(), 4);
    QVERIFY(spoil(t));
    t.server->releaseAll();
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QCOMPARE(t.errors.size(), 1);
    QVERIFY2(t.errors.first().startsWith(error), qPrintable(t.errors.first()));
    QVERIFY(t.errors.first().endsWith(". Pausing downloads"_L1));
    QVERIFY(t.engine->allPaused());
    QVERIFY(!nzb->hasActiveSegments());

    t.engine->saveQueue();
    t.engine->saveQueue(); // now the backup has the same
    Marlowick afterwards(nullptr);
    for (const bool backup : {false, true}) {
        if (backup)
            afterwards.loadBackup();
        else
            afterwards.loadQueue(QString());
        QCOMPARE(afterwards.queue()->size(), 1);
        QVERIFY(afterwards.allPaused());
        QCOMPARE(afterwards.queue()->first()->fileAt(0)->completedBytes(),
                 nzb->fileAt(0)->completedBytes());
    }
    QCOMPARE(t.errors.size(), 1);

    QVERIFY(mend(t));
    nzb->setPaused(false);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.saved(u"demo/film.bin"_s), randomBytes(1, 40'000));
    QCOMPARE(nzb->status(), u"Finished"_s);
    QVERIFY(t.requested().size() <= 40 + 4); // what had been booked was not fetched again
}

void TestPool::quittingConnectionGetsNoWork_data()
{
    const auto row = rows<QByteArray>();
    row("430", {QByteArray("430 no such article\r\n")});
    row("400", {QByteArray("400 idle for too long\r\n")});
    row("200", {QByteArray("200 hello again\r\n")});
}

void TestPool::quittingConnectionGetsNoWork()
{
    const auto [farewell] = thisRow<QByteArray>();
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

void TestPool::statistics()
{
    EngineFixture t;
    t.set("threads", 1);
    t.set("pausePAR2", true);
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 9'000'000), 9'000'000);
    post.addYenc(u"film.par2"_s, randomBytes(2, 1000), 1000);
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
