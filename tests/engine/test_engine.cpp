// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Downloads by the public engine, from the NZB to the files, and all that may go wrong meanwhile.
#include <QHostInfo>

#include <csignal>
#include <netdb.h>
#include <sys/resource.h>

#include "enginefixture.h"
#include "support/failingclose.h"
#include "support/testcertificate.h"

/// Resolves "two.test" to both families, in the place of the system's, for all of this process.
extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints,
                           addrinfo **result)
{
    using Function = decltype(&getaddrinfo);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const bool two = QByteArrayView(name) == "two.test";
    const int status = real(two ? "::1" : name, service, hints, result);
    while (two && *result)
        result = &(*result)->ai_next;
    return two && status == 0 ? real("127.0.0.1", service, hints, result) : status;
}

namespace {

const Case everyKind("every kind of file, twice, by TLS", [] {
    const TestCertificate certificate;
    trustOnly(certificate.authority);
    EngineFixture t(std::make_unique<NewsServer>(certificate.server));
    t.set("ssl", true);
    t.server->requireLogin("joe", "secret");
    t.setLogin("joe", "secret");
    t.post.addYenc("film.bin", randomBytes(1, 345'678));
    t.post.addYenc("small.nfo", "x");
    t.post.addUuencoded("text.txt", randomBytes(2, 45 * 700));
    t.job = t.start(t.post, true);
    QTRY_COMPARE(t.server->waiting().size(), 4);
    t.server->releaseAll();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    t.failed = t.requested(); // wanted again by the second job
    t.job = t.engine->addNZB(t.post.writeGzipNzb(t.dir.path()));
    t.settled({.jobs = 2});
    QCOMPARE(t.completedFiles.size(), 6);
    QCOMPARE(t.server->mostConnections(), 4);
    QCOMPARE(t.notices.filter("File download complete: small.nfo").size(), 2);
    QCOMPARE(t.notices.last(), "NZB complete: demo2");
});

const Case misfortunes("the files come whole after any misfortune", [] {
    const std::pair<Reply, const char *> mishaps[] = {
        {Reply().cutAfter(3), "The remote host closed the connection"},
        {Reply().cutAfter(700), "The remote host closed the connection"},
        {Reply().cutAfter(-3), "The remote host closed the connection"},
        {Reply().stallAfter(700), "Network time-out"},
        {Reply::silence(), "Network time-out"},
        {Reply::bytes("1 what\r\n"), "1 what\r\n"},
        {Reply::code("400 idle"), "400 idle\r\n"},
        {Reply::code("423 no"), "423 no\r\n"},
    };
    EngineFixture t;
    t.set("networkTimeout", 1);
    t.set("networkRetry", 0);
    t.setLogin("joe", "secret");
    PostedFile &film = t.post.addYenc("film.bin", randomBytes(5, 10'000), 1000);
    t.server->script(When::greeting(), Reply::code("502 full"), 1);
    t.server->script("AUTHINFO PASS", Reply::code("481 wrong"), 1);
    QStringList expected{"502 full\r\n", "481 wrong\r\n"};
    for (const auto &[reply, said] : mishaps) {
        t.failed << film.id(int(t.failed.size() + 1));
        t.server->script(When::body(t.failed.last()), reply, 1);
        expected << said;
    }
    t.run();
    t.settled();
    QStringList told = t.notices.filter("Last error: ");
    told.replaceInStrings("Last error: ", "").replaceInStrings(", retrying in 0 seconds", "");
    told.sort();
    expected.sort();
    QCOMPARE(told, expected);
});

const struct {
    const char *name;
    bool atOnce;
} boxes[] = {{"each box is answered at once", true}, {"the boxes stand", false}};
const Case password("a server asks for a password", boxes, [](const auto &row) {
    EngineFixture t;
    t.set("threads", 3);
    t.server->requireLogin("joe", "secret");
    QObject::connect(t.engine.get(), &Marlowick::error, t.engine.get(), [&] {
        t.engine->setErrorBoxShown(true);
        t.engine->setErrorBoxShown(!row.atOnce);
    });
    const PostedFile &film = t.post.addYenc("film.bin", randomBytes(1, 20'000), 1000);
    t.run();
    QTRY_VERIFY(!t.errors.isEmpty() && t.engine->connectionCount() == 0);
    QCOMPARE(t.errors.size(), t.server->acceptedConnections());
    QVERIFY2(t.errors.size() <= 3, "the pool goes on asking");
    QCOMPARE(t.errors.takeLast(),
             "Server asks for password. Please specify password in 'settings' window.");
    t.errors.clear();
    t.failed = t.requested() + QByteArrayList{film.id(7)};
    t.server->script(When::body(film.id(7)), Reply::code("483 no"), 1);
    t.setLogin("joe", "secret");
    t.engine->startToDownloadQueue();
    QCOMPARE(t.engine->connectionCount(), row.atOnce ? 1 : 0);
    t.engine->setErrorBoxShown(false);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.errors.join('|'), "Supplied password not accepted. Check server settings");
    t.errors.clear();
    t.settled();
    QCOMPARE(t.server->mostConnections(), 3); // the pool has grown again
});

const Case damage("damage is booked", [] {
    EngineFixture t;
    for (const QByteArray end : {"", "=yend size=1000 part=2 pcrc32=00000000\r\n",
                                 "=yend size=999 part=2\r\n", "missing"}) {
        PostedFile &file = t.post.addYenc("film" + QString::number(t.post.fileCount()),
                                          randomBytes(8, 3000), 1000);
        file.segment(2).onServer = end != "missing";
        file.segment(2).body.replace(file.segment(2).body.lastIndexOf("=yend"), 100, end);
        t.server->hold(file.id(3)); // a result that completes the file comes after the damage
    }
    t.run();
    QTRY_COMPARE(t.server->waiting().size(), 4);
    for (int i = 0; i < 4; ++i)
        QVERIFY(t.job->fileAt(i)->isIncomplete());
    t.server->releaseAll();
    t.settled({.status = "Finished incomplete", .damaged = {"film3"}});
});

// One file each: what the subject says, which part is missing, which ones are joined.
const Case parts("uuencoded parts are joined", [] {
    EngineFixture t;
    t.set("threads", 1);
    const QFile outside(writeFile(t.dir.filePath("victim.uu000001")));
    const auto add = [&t](const QString &name, const QString &subject, int missing = 0) {
        const QByteArray ones(450, '1');
        PostedFile &file =
            t.post.addUuencoded(name, ones + QByteArray(450, '2') + QByteArray(90, '3'), 10);
        file.subject = '"' + subject + "\" (1/" + name.mid(1) + ')';
        if (missing > 0)
            file.segment(missing).onServer = false;
    };
    add("a3", "a3", 3); // nothing is joined when the last article is not there
    add("b3", "b3", 2);
    add("c1", "c1");
    add("d2147483647", "d2147483647");
    // No decoder ever gives this file a clean name, so that the raw one reaches the join.
    t.post.addYenc("e", "").segment(1).body = "just text\r\n";
    t.post.file(4).subject = "\"../../victim\" (1/1)";
    t.run();
    writeFile(t.job->folder() + "/d2147483647.uu1", "no part");
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QStringList left;
    for (const QString &name : QDir(t.job->folder()).entryList(QDir::Files)) {
        QByteArray digits = t.saved("demo/" + name);
        digits.erase(std::unique(digits.begin(), digits.end()), digits.end());
        left << name + '=' + digits;
    }
    QCOMPARE(left.join(' '), "a3.uu000001=1 a3.uu000002=2 b3=13 c1=1 c1.uu000002=2 c1.uu000003=3 "
                             "d2147483647=123 d2147483647.uu1=no part");
    QCOMPARE(t.completedFiles.join(' '), "../../victim b3 c1 d2147483647");
    t.engine->deleteFiles(t.job);
    QVERIFY(outside.exists() && !QFile::exists(t.dir.filePath("victim")));
});

const Case order("no connection opens in vain, and articles are fetched in order", [] {
    EngineFixture t;
    t.set("threads", QVariant());
    t.set("networkRetry", 0);
    t.set("pausePAR2", true);
    t.set("rarHandling", "disabled");
    Post second("second");
    second.addYenc("a.bin", randomBytes(4, 1000));
    t.post.addYenc("x.r00", randomBytes(1, 2000), 1000);
    PostedFile &archive = t.post.addYenc("x.rar", randomBytes(2, 3000), 1000);
    t.post.addYenc("x.par2", randomBytes(3, 1000));
    t.run();
    t.set("threads", "many");
    t.start(second);
    QCOMPARE(EngineFixture::fileOf(t.job, "x.par2")->status(), "Paused");
    t.engine->pauseAll();
    QVERIFY(t.engine->allPaused());
    t.set("threads", 1);
    t.engine->startToDownloadQueue();
    QCOMPARE(t.notices, QStringList());
    for (int i = 0; i < 2; ++i)
        EngineFixture::fileOf(t.job, i ? "x.r00" : "x.rar")->setPaused(false);
    t.engine->queue()->last()->setPaused(false);
    // A segment that comes back is the next that its file hands out.
    t.server->script(When::body(archive.id(2)), Reply().cutAfter(0), 1);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs.join(' '), "demo second");
    QCOMPARE(t.requested().join(' ').replace("@post.test", ""),
             "demo.2.1 demo.2.2 demo.2.2 demo.2.3 demo.1.1 demo.1.2 second.1.1");
    QCOMPARE(t.server->acceptedConnections(), 2);
});

const Case growth("a connection opens when the one before has logged in", [] {
    EngineFixture t;
    t.server->script(When::greeting(), Reply(), 2);
    t.server->script(When::greeting(), Reply::silence());
    t.startHeldFilm(50'000);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    QTRY_COMPARE(t.server->acceptedConnections(), 3);
    QCOMPARE(t.engine->connectionCount(), 3); // the fourth waits for the third's login
    QCOMPARE(t.notices.join('|'), "Connecting to server...|Connected (1)|Connected (2)");
});

const Case paused("connections log out when all is paused, and a new job finds live ones", [] {
    EngineFixture t;
    t.set("threads", 2);
    t.startHeldFilm(10'000);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    t.engine->pauseAll();
    t.server->releaseAll();
    QTRY_VERIFY(t.engine->connectionCount() + t.server->openConnections() == 0);
    QCOMPARE(t.job->fileAt(0)->completedBytes(), 2000u); // what they held was finished and booked
    t.job->setPaused(false);
    t.server->holdAll();
    t.engine->startToDownloadQueue();
    Post later("later");
    later.addYenc("more.bin", randomBytes(1, 5000), 1000);
    t.start(later);
    QCOMPARE(t.engine->connectionCount(), 1);
    t.server->script("QUIT", Reply::code("430 no such article").closeAfter(Reply::whole), 1);
    t.server->script("QUIT", Reply::code("400 idle").closeAfter(Reply::whole));
    t.server->releaseAll(); // whatever answers its good-bye, a connection that quits gets no work
    t.settled({.jobs = 2});
    QCOMPARE(t.requested().size(), 15);
    QCOMPARE(t.notices.filter("Last error"), QStringList());
});

/// Writes beyond it fail, as on a full disk.
void limitFileSize(rlim_t most)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{most, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}
const struct {
    const char *name;
    void (*spoil)(QDir &); // given the job's folder
    void (*mend)(QDir &);
    QString error = "Error writing to file. Check disk space. Pausing downloads";
} unwritables[] = {
    {"download folder removed", [](QDir &job) { QDir(job.filePath("..")).removeRecursively(); },
     [](QDir &job) { job.mkpath("."); },
     "Error opening file: No such file or directory. Pausing downloads"},
    {"no more room behind 16 KiB", [](QDir &) { limitFileSize(16 * 1024); },
     [](QDir &) { limitFileSize(RLIM_INFINITY); }},
    {"quota that tells when the file is closed", [](QDir &) { FailingClose::suffix = "/film.bin"; },
     [](QDir &) { FailingClose::suffix = nullptr; }},
};
const Case unwritable("what cannot be written pauses all, once", unwritables, [](const auto &row) {
    EngineFixture t;
    t.startHeldFilm(40'000);
    QDir folder(t.job->folder());
    const auto restore = qScopeGuard([&] { row.mend(folder); });
    QTRY_COMPARE(t.server->waiting().size(), 4);
    row.spoil(folder);
    t.server->releaseAll();
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QCOMPARE(t.errors.join('|'), row.error);
    QVERIFY(t.engine->allPaused() && !t.job->hasActiveSegments());
    row.mend(folder);
    t.errors.clear();
    t.failed = t.requested().last(4);
    t.job->setPaused(false);
    t.engine->startToDownloadQueue();
    t.settled();
});

const Case statistics("speed and time left", [] {
    EngineFixture t;
    QElapsedTimer clock; // as the engine's
    clock.start();
    t.set("threads", 1);
    t.set("pausePAR2", true);
    PostedFile &film = t.post.addYenc("film.bin", randomBytes(1, 3'000'000), 3'000'000);
    t.post.addYenc("film.par2", randomBytes(2, 1000));
    t.server->script(When::body(film.id(1)), Reply().stallAfter(-1000));
    int last = -1;
    double received = 0;
    QObject::connect(t.engine.get(), &Marlowick::downloadStatistics, t.engine.get(),
                     [&](int speed, quint64 left, int seconds) {
                         QCOMPARE(left, EngineFixture::fileOf(t.job, "film.bin")->size());
                         QCOMPARE(seconds, speed ? int(left) / speed : 0);
                         QCOMPARE(speed % 1000, 0);
                         received += 0.001 * speed * double(clock.restart());
                         last = speed;
                     });
    t.run();
    QTRY_VERIFY(received > 0 && last == 0); // all came, and then nothing
    QVERIFY(received > 1'500'000 && received < 6'000'000);
    last = -1;
    t.engine->closeAllConnections(); // the total shrinks: there is no speed to tell of that tick
    QTRY_VERIFY(last >= 0);
    QCOMPARE(last, 0);
    QCOMPARE(t.notices.last(), "Server settings changed");
});

const Case otherFamily("the first address of the server is dead", [] {
    EngineFixture t;
    // An address answers nothing once its queue of connections is full.
    QTcpServer dead;
    dead.setListenBacklogSize(1);
    QVERIFY(dead.listen(QHostAddress::LocalHostIPv6, t.server->serverPort()));
    dead.pauseAccepting();
    QTcpSocket waiting[4];
    for (QTcpSocket &socket : waiting)
        socket.connectToHost(QHostAddress::LocalHostIPv6, dead.serverPort());
    t.set("hostname", "two.test");
    t.set("networkTimeout", 1);
    t.set("networkRetry", 0);
    t.post.addYenc("film.bin", "content", 2);
    t.run();
    t.settled();
    // Connections that are closed while they connect have learned nothing new.
    t.failed = t.requested();
    t.run();
    t.engine->closeAllConnections();
    bool lookedUp = false;
    QHostInfo::lookupHost("two.test", [&](const auto &) { lookedUp = true; });
    QTRY_VERIFY(lookedUp);
    t.engine->startToDownloadQueue();
    t.settled({.jobs = 2});
    QCOMPARE(t.notices.filter("Network time-out").size(), 1); // the others need not learn it
});

} // namespace
