// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Downloads by the public engine, from the NZB to the files, and all that may go wrong meanwhile.
#include <QDir>

#include <algorithm>
#include <csignal>
#include <linux/capability.h>
#include <numeric>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "enginefixture.h"
#include "support/case.h"
#include "support/failingclose.h"
#include "support/testcertificate.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

namespace {

/// What a scenario ends with; a row tells the exceptions only.
struct End {
    QString status = u"Finished"_s;
    QStringList damaged = {};
    QStringList extra = {}; ///< files on disk beyond those posted
    int jobs = 1;
};

struct World : EngineFixture {
    using EngineFixture::EngineFixture;

    void run() { job = start(post); }
    /// What every scenario must leave behind, whatever it was about.
    void settled(const End &end = {})
    {
        QTRY_COMPARE_WITH_TIMEOUT(completedJobs.size(), end.jobs, 20'000);
        QTRY_COMPARE(job->status(), end.status);
        QTRY_COMPARE(engine->connectionCount(), 0);
        QTRY_COMPARE(server->openConnections(), 0);
        QTRY_VERIFY(engine->findChildren<NNTP *>().isEmpty());
        QStringList files = end.extra;
        for (int i = 0; i < post.fileCount(); ++i) {
            const PostedFile &file = post.file(i);
            files << file.name;
            QCOMPARE(saved(job->name() + u'/' + file.name) == file.data,
                     !end.damaged.contains(file.name));
        }
        files.sort();
        QCOMPARE(QDir(job->folder()).entryList(QDir::Files | QDir::Hidden), files);
        for (const QByteArray &id : requested())
            QVERIFY2(server->bodyCount(id) <= (failed.contains(id) ? 2 : 1), id.constData());
        QVERIFY2(errors.isEmpty(), qPrintable(errors.join(u'\n')));
        engine->saveQueue();
        Marlowick next(nullptr);
        next.loadQueue(QString());
        QCOMPARE(next.queue()->last()->status(), end.status);
        QVERIFY(!next.hasWork());
    }

    Post post;
    Nzb *job = nullptr;
    QSet<QByteArray> failed; ///< ids of articles that may have to be fetched twice
};

const Case everyKind("every kind of file, twice", [] {
    World t;
    t.server->requireLogin("joe", "secret");
    t.setLogin("joe", "secret");
    t.post.addYenc(u"film.bin"_s, randomBytes(1, 345'678), 10'000);
    t.post.addYenc(u"small.nfo"_s, "x");
    t.post.addUuencoded(u"text.txt"_s, randomBytes(2, 45 * 700), 200);
    t.post.upload(*t.server);
    const QString path = t.post.writeGzipNzb(t.dir.path());
    for (int copy = 0; copy < 2; ++copy) {
        t.job = t.engine->addNZB(path);
        QTRY_COMPARE(t.completedJobs.size(), copy + 1);
        for (int i = 0; i < t.post.fileCount(); ++i) {
            for (int number = 1; copy == 0 && number <= t.post.file(i).segmentCount(); ++number)
                t.failed << t.post.file(i).id(number); // wanted again by the second job
        }
    }
    t.settled({.jobs = 2});
    QCOMPARE(t.completedFiles.size(), 6);
    QCOMPARE(t.server->mostConnections(), 4);
    QCOMPARE(t.notices.first(), u"Connecting to server..."_s);
    QCOMPARE(t.notices.filter(u"Connected ("_s).mid(0, 2),
             (QStringList{u"Connected (1)"_s, u"Connected (2)"_s}));
    QCOMPARE(t.notices.filter(u"File download complete: small.nfo"_s).size(), 2);
    QCOMPARE(t.notices.last(), u"NZB complete: demo2"_s);
});

const Case overSsl("over TLS", [] {
    const TestCertificate certificate(u"127.0.0.1"_s, u"IP:127.0.0.1"_s);
    trustOnly(certificate.authority);
    World t(std::make_unique<NewsServer>(certificate.server));
    t.set("ssl", true);
    t.post.addYenc(u"film.bin"_s, randomBytes(4, 300'000), 50'000);
    t.run();
    t.settled();
});

struct Misfortune {
    const char *name;
    QByteArray event; // an article, if it is BODY
    Reply reply;
    QString said;
    bool dropped = false; // an error rather than a notice, and no other try
};
const QString closed = u"The remote host closed the connection"_s;
const Misfortune misfortunes[] = {
    {"cut in the reply line", "BODY", Reply().cutAfter(3), closed},
    {"cut in the data", "BODY", Reply().cutAfter(700), closed},
    {"cut in the terminator", "BODY", Reply().cutAfter(-3), closed},
    {"reset", "BODY", Reply().resetAfter(700), closed},
    {"stall", "BODY", Reply().stallAfter(700), u"Network time-out"_s},
    {"no answer", "BODY", Reply::silence(), u"Network time-out"_s},
    {"garbage", "BODY", Reply::bytes("\1\2 what\r\n"), u"what"_s},
    {"400 after idling", "BODY", Reply::code("400 idle"), u"400 idle"_s},
    {"423 for an article", "BODY", Reply::code("423 no"), u"423 no"_s},
    {"502 for a greeting", "(greeting)", Reply::code("502 full"), u"502 full"_s},
    {"481 to the password", "AUTHINFO PASS", Reply::code("481 wrong"), u"481 wrong"_s},
    {"480 in a session", "BODY", Reply::code("480 login"),
     u"Server asks for password. Please specify password in 'settings' window."_s, true},
    {"483 in a session", "BODY", Reply::code("483 no"),
     u"Supplied password not accepted. Check server settings"_s, true},
};
const Case misfortune("the files come whole after", misfortunes, [](const Misfortune &row) {
    World t;
    t.set("networkTimeout", 1);
    t.set("networkRetry", 0);
    t.set("threads", row.dropped ? 1 : 4);
    t.setLogin("joe", "secret");
    t.post.addYenc(u"film.bin"_s, randomBytes(5, 7'000), 1000);
    t.post.addUuencoded(u"text.txt"_s, randomBytes(6, 45 * 60), 30);
    for (const QByteArray &id : {t.post.file(0).id(3), t.post.file(1).id(2)}) {
        t.failed << id;
        t.server->script(row.event == "BODY" ? When::body(id) : row.event, row.reply, 1);
    }
    t.run();
    for (int drops = row.dropped ? 2 : 0; drops > 0; --drops) {
        QTRY_COMPARE(t.engine->connectionCount(), 0);
        QCOMPARE(t.errors, QStringList{row.said});
        QVERIFY(t.job->fileAt(0)->hasPendingSegments() || t.job->fileAt(1)->hasPendingSegments());
        t.errors.clear();
        t.engine->startToDownloadQueue();
    }
    t.settled();
    const QStringList told = t.notices.filter(u"Last error: "_s).filter(row.said);
    QCOMPARE(told.filter(u", retrying in 0 seconds"_s).isEmpty(), row.dropped);
});

struct Damage {
    const char *name;
    QByteArray endLine;
    bool contentWhole = true;
};
const Damage damages[] = {
    {"article missing", "430", false},
    {"no end line", ""},
    {"wrong checksum", "=yend size=1000 part=2 pcrc32=00000000"},
    {"wrong size", "=yend size=999 part=2"},
};
const Case damage("damage is booked", damages, [](const Damage &row) {
    World t;
    PostedFile &file = t.post.addYenc(u"film.bin"_s, randomBytes(8, 3000), 1000);
    file.segment(2).onServer = row.contentWhole;
    QByteArray &body = file.segment(2).body;
    body = body.left(body.lastIndexOf("=yend")) + row.endLine + "\r\n";
    t.server->hold(file.id(3)); // a result that completes the file comes after the damage
    t.run();
    QTRY_VERIFY(t.server->waiting().contains(file.id(3)) && t.job->fileAt(0)->isIncomplete());
    t.server->releaseAll();
    t.settled({.status = u"Finished incomplete"_s,
               .damaged = row.contentWhole ? QStringList() : QStringList(u"film.bin"_s)});
});

struct Parts {
    const char *name; // the subject, or none
    int missing = 0;
    QList<int> joined = {1, 2, 3};
};
const Parts partRows[] = {
    {""},
    {"\"text.txt\" (1/3)", 2, {1, 3}},
    {"\"text.txt\" (1/1)", 0, {1}},
    {"\"text.txt\" (1/2147483647)"},
    {"\"text.txt\" (2/3)", 3, {}}, // nothing is joined when the last article is not there
};
const Case parts("uuencoded parts are joined", partRows, [](const Parts &row) {
    World t;
    t.set("threads", 1);
    PostedFile &file = t.post.addUuencoded(u"text.txt"_s, randomBytes(9, 45 * 30), 10);
    if (*row.name)
        file.subject = QString::fromLatin1(row.name);
    if (row.missing)
        file.segment(row.missing).onServer = false;
    t.run();
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QCOMPARE(t.completedFiles.size(), row.joined.isEmpty() ? 0 : 1);
    QCOMPARE(t.completedJobs.size(), row.joined.isEmpty() ? 0 : 1);
    QByteArray expected;
    for (const int number : row.joined)
        expected += file.data.sliced((number - 1) * 450, 450);
    QCOMPARE(t.saved(u"demo/text.txt"_s), row.joined.isEmpty() ? "(no file)"_ba : expected);
    const qsizetype left = 3 - row.joined.size() - (row.missing ? 1 : 0);
    QCOMPARE(QDir(t.job->folder()).entryList({u"*.uu??????"_s}).size(), left);
});

const Case rawName("a raw name leads nowhere", [] {
    // No decoder ever gives this file a clean name, so that the raw one reaches the join.
    EngineFixture t;
    const QFile outside(writeFile(t.dir.filePath(u"victim.uu000001"_s)));
    Post post;
    PostedFile &file = post.addUuencoded(u"x"_s, randomBytes(1, 45), 10);
    file.subject = u"\"../../victim\" (1/1)"_s;
    file.segment(1).body = "just text\r\n";
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.completedFiles.size(), 1);
    t.engine->deleteFiles(nzb);
    QVERIFY(outside.exists() && !QFile::exists(t.dir.filePath(u"victim"_s)));
});

const Case oneByOne("connections open one after another", [] {
    EngineFixture t;
    t.server->script(When::greeting(), Reply(), 2);
    t.server->script(When::greeting(), Reply::silence());
    t.startHeldFilm(50'000);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    QTRY_COMPARE(t.server->acceptedConnections(), 3);
    QCOMPARE(t.engine->connectionCount(), 3); // the fourth waits for the third's login
    QCOMPARE(t.notices,
             (QStringList{u"Connecting to server..."_s, u"Connected (1)"_s, u"Connected (2)"_s}));
});

struct Threads {
    const char *name;
    QVariant threads;
    int articles = 3;
    int connections = 0;
};
const Threads threadRows[] = {
    {"no setting", {}},
    {"not a number", u"many"_s},
    {"nothing to fetch", 4, 0},
    {"one article", 4, 1, 1},
};
const Case inVain("no connection opens in vain", threadRows, [](const Threads &row) {
    EngineFixture t;
    t.engine->settings()->remove(u"threads"_s);
    if (row.threads.isValid())
        t.set("threads", row.threads);
    Post post;
    if (row.articles > 0)
        post.addYenc(u"film.bin"_s, randomBytes(1, row.articles * 1000), 1000);
    t.start(post);
    QCOMPARE(t.engine->connectionCount(), row.connections);
    QCOMPARE(t.notices.isEmpty(), row.connections == 0);
    QTRY_COMPARE(t.server->acceptedConnections(), row.connections);
});

const Case order("articles are fetched in order", [] {
    EngineFixture t;
    t.set("threads", 0);
    t.set("networkRetry", 0);
    t.set("pausePAR2", true);
    t.set("rarHandling", u"disabled"_s);
    Post first(u"first"_s);
    const PostedFile &volume = first.addYenc(u"x.r00"_s, randomBytes(1, 2000), 1000);
    const PostedFile &archive = first.addYenc(u"x.rar"_s, randomBytes(2, 3000), 1000);
    first.addYenc(u"x.par2"_s, randomBytes(3, 1000), 1000);
    Post second(u"second"_s);
    second.addYenc(u"a.bin"_s, randomBytes(4, 1000), 1000);
    const Nzb *nzb = t.start(first);
    t.start(second);
    QCOMPARE(EngineFixture::fileOf(nzb, u"x.par2"_s)->status(), u"Paused"_s);
    // A segment that comes back is the next that its file hands out.
    t.server->script(When::body(archive.id(2)), Reply().cutAfter(0), 1);
    t.set("threads", 1);
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(t.completedJobs, (QStringList{u"first"_s, u"second"_s}));
    QCOMPARE(t.requested(),
             (QList<QByteArray>{archive.id(1), archive.id(2), archive.id(2), archive.id(3),
                                volume.id(1), volume.id(2), second.file(0).id(1)}));
});

const Case paused("connections log out when all is paused, and a new job finds live ones", [] {
    EngineFixture t;
    t.set("threads", 2);
    Nzb *nzb = t.startHeldFilm(10'000);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    t.engine->pauseAll();
    QVERIFY(t.engine->allPaused());
    t.server->releaseAll();
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QTRY_COMPARE(t.server->openConnections(), 0);
    QCOMPARE(nzb->fileAt(0)->completedBytes(), 2000u); // what they held was finished and booked
    nzb->setPaused(false);
    t.server->holdAll();
    t.engine->startToDownloadQueue();
    Post later(u"later"_s);
    later.addYenc(u"more.bin"_s, randomBytes(1, 5000), 1000);
    t.start(later);
    QCOMPARE(t.engine->connectionCount(), 1);
    t.server->releaseAll();
    QTRY_COMPARE(t.completedJobs.size(), 2);
    QCOMPARE(t.requested().size(), 15);
});

struct Box {
    const char *name;
    bool atOnce;
};
const Box boxes[] = {{"each box is answered at once", true}, {"the boxes stand", false}};
const Case passwordBox("a server that asks for a password does so once each", boxes,
                       [](const Box &row) {
                           EngineFixture t;
                           t.set("threads", 3);
                           t.server->requireLogin("joe", "secret");
                           QObject::connect(t.engine.get(), &Marlowick::error, t.engine.get(), [&] {
                               t.engine->setErrorBoxShown(true);
                               if (row.atOnce)
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
                           QCOMPARE(t.engine->connectionCount(), row.atOnce ? 1 : 0);
                           t.engine->setErrorBoxShown(false);
                           t.engine->startToDownloadQueue();
                           QTRY_COMPARE(t.completedJobs.size(), 1);
                           QCOMPARE(t.server->mostConnections(), 3); // the pool grows again
                       });

struct Farewell {
    const char *name;
};
const Farewell farewells[] = {{"430 no such article\r\n"}, {"400 idle\r\n"}, {"200 hello\r\n"}};
const Case farewell("a connection that quits gets no work", farewells, [](const Farewell &row) {
    World t;
    t.set("threads", 1);
    t.server->script(When::command("QUIT"), Reply::bytes(row.name).closeAfter(Reply::whole));
    t.post.addYenc(u"film.bin"_s, randomBytes(1, 1000), 1000);
    t.run();
    t.settled();
    QVERIFY(t.notices.filter(u"Last error"_s).isEmpty());
});

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

bool setWritable(const QString &folder, bool writable)
{
    const auto closedFolder = QFile::ReadOwner | QFile::ExeOwner;
    return setOverriding(writable)
           && QFile::setPermissions(folder,
                                    writable ? closedFolder | QFile::WriteOwner : closedFolder);
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

std::optional<FailingClose> quota;

struct Unwritable {
    const char *name;
    std::function<bool(const QString &)> spoil; // given the job's folder
    std::function<bool(const QString &)> mend;
    QString error = u"Error writing to file. Check disk space"_s;
};
const Unwritable unwritables[] = {
    {"a folder in the file's place", [](const auto &job) { return QDir(job).mkdir(u"film.bin"_s); },
     [](const auto &job) { return QDir(job).rmdir(u"film.bin"_s); }, u"Error opening file: "_s},
    {"no permission", [](const auto &job) { return setWritable(job, false); },
     [](const auto &job) { return setWritable(job, true); },
     u"Error opening file: Permission denied"_s},
    {"download folder removed",
     [](const auto &job) { return QDir(job + "/.."_L1).removeRecursively(); },
     [](const auto &job) { return QDir().mkpath(QFileInfo(job).path()); },
     u"Error opening file: No such file or directory"_s},
    {"no more room behind 16 KiB", [](const auto &) { return limitFileSize(16 * 1024); },
     [](const auto &) { return limitFileSize(RLIM_INFINITY); }},
    {"quota that tells when the file is closed",
     [](const auto &) { return quota.emplace("/film.bin"), true; },
     [](const auto &) { return quota.reset(), true; }},
};
const Case unwritable(
    "a file that cannot be written pauses all, once", unwritables, [](const Unwritable &row) {
        EngineFixture t;
        const QString folder = t.downloads() + "/demo"_L1;
        const auto restore = qScopeGuard([&] { row.mend(folder); });
        Nzb *nzb = t.startHeldFilm(40'000);
        QTRY_COMPARE(t.server->waiting().size(), 4);
        QVERIFY(row.spoil(folder));
        t.server->releaseAll();
        QTRY_COMPARE(t.engine->connectionCount(), 0);
        QCOMPARE(t.errors.size(), 1);
        QVERIFY2(t.errors.first().startsWith(row.error), qPrintable(t.errors.first()));
        QVERIFY(t.errors.first().endsWith(". Pausing downloads"_L1));
        QVERIFY(t.engine->allPaused() && !nzb->hasActiveSegments());
        QVERIFY(row.mend(folder));
        nzb->setPaused(false);
        t.engine->startToDownloadQueue();
        QTRY_COMPARE(t.completedJobs.size(), 1);
        QCOMPARE(t.saved(u"demo/film.bin"_s), randomBytes(1, 40'000));
        QCOMPARE(nzb->status(), u"Finished"_s);
        QVERIFY(t.requested().size() <= 40 + 4); // what had been booked was not fetched again
    });

const Case statistics("speed and time left", [] {
    EngineFixture t;
    t.set("threads", 1);
    t.set("pausePAR2", true);
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 3'000'000), 3'000'000);
    post.addYenc(u"film.par2"_s, randomBytes(2, 1000), 1000);
    t.server->script(When::body(post.file(0).id(1)), Reply::ordinary().stallAfter(-1000));
    QList<QList<quint64>> told;
    QObject::connect(t.engine.get(), &Marlowick::downloadStatistics, t.engine.get(),
                     [&](int speed, quint64 left, int seconds) {
                         told << QList<quint64>{quint64(speed), left, quint64(seconds)};
                     });
    const auto received = [&] { // a fifth of the speed in a tick
        return std::accumulate(told.cbegin(), told.cend(), quint64(0),
                               [](quint64 sum, const auto &row) { return sum + row[0] / 5; });
    };
    const Nzb *nzb = t.start(post);
    const quint64 film = EngineFixture::fileOf(nzb, u"film.bin"_s)->size();
    QTRY_VERIFY(received() > 0 && told.last().first() == 0); // all came, and then nothing
    for (const QList<quint64> &row : std::as_const(told)) {
        QCOMPARE(row[0] % 1000, 0u);
        QCOMPARE(row[1], film);
        QCOMPARE(row[2], row[0] ? film / row[0] : 0);
    }
    told.clear();
    t.engine->closeAllConnections(); // the total shrinks: there is no speed to tell of that tick
    QTRY_VERIFY(!told.isEmpty());
    QCOMPARE(told.first().first(), 0u);
});

} // namespace
