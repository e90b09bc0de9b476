// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What becomes of a job that has arrived, with the real programs and the real library.
#include <QDeadlineTimer>
#include <QDir>
#include <QtEndian>

#include "enginefixture.h"
#include "post/par2process.h"
#include "support/case.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray film = randomBytes(1, 100'000);

/// The volumes "x.part1.rar" and so on, and those with a password; packed once for all cases.
const RarVolumes &volumes()
{
    static const RarVolumes set = packWithRar({{u"film.avi"_s, film}}, {u"-m0"_s, u"-v40k"_s});
    return set;
}
const RarVolumes &lockedVolumes()
{
    static const RarVolumes set =
        packWithRar({{u"film.avi"_s, film}}, {u"-m0"_s, u"-v40k"_s, u"-hpsecret"_s});
    return set;
}
const RarVolumes &recovery()
{
    static const RarVolumes files = recoveryOf(volumes(), {u"-s2000"_s, u"-c12"_s});
    return files;
}

struct World : EngineFixture {
    World() { set("rarHandling", u"during"_s); }

    void add(const RarVolumes &files)
    {
        for (const auto &[name, content] : files)
            post.addYenc(name, content, 5000);
    }
    /// With an article missing, and the first of the recovery files.
    void addDamaged(qsizetype recoveryFiles)
    {
        set("autoPAR2", true);
        add(volumes());
        post.file(1).segment(3).onServer = false;
        add(recovery().first(recoveryFiles));
    }
    void run() { nzb = start(post); }
    void awaitIdle()
    {
        QTRY_COMPARE(completedFiles.size(), post.fileCount());
        QTRY_COMPARE(server->openConnections(), 0);
    }
    void awaitFilm(const QString &status = u"Finished"_s)
    {
        QTRY_COMPARE_WITH_TIMEOUT(completedJobs.size(), 1, 20'000);
        QCOMPARE(saved(u"demo/film.avi"_s), film);
        QCOMPARE(nzb->status(), status);
        QCOMPARE(nzb->extractedFiles().value(u"film.avi"_s), quint64(film.size()));
        QCOMPARE(QDir(nzb->folder()).entryList({u"*.rar"_s, u"*.1"_s}), QStringList());
        QVERIFY(errors.isEmpty());
    }

    Post post;
    Nzb *nzb = nullptr;
};

struct Untouched {
    const char *name;
    QString rarHandling;
    bool damaged = false;
};
const Untouched untouched[] = {{"disabled", u"disabled"_s},
                               {"damaged, and no repair wanted", u"after"_s, true}};
const Case leftAlone("archives and pieces are left alone", untouched, [](const Untouched &row) {
    World t;
    t.set("rarHandling", row.rarHandling);
    t.add(volumes());
    t.post.addYenc(u"a.001"_s, "split");
    t.post.file(1).segment(3).onServer = !row.damaged;
    t.run();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.saved(u"demo/x.part1.rar"_s), volumes().first().second);
    QCOMPARE(t.saved(u"demo/a.001"_s), "split");
});

struct Handling {
    const char *name;
};
const Handling handlings[] = {{"during"}, {"after"}};
const Case failed("a failed extraction", handlings, [](const Handling &row) {
    World t;
    t.set("rarHandling", QString::fromLatin1(row.name));
    RarVolumes bad = volumes();
    bad[1].second.fill('x');
    t.add(bad);
    t.add({{u"split.001"_s, "spl"}, {u"split.002"_s, "it"}, {u"z.txt"_s, "last"}});
    const bool during = QByteArrayView(row.name) == "during";
    if (during) // it fails before the last file is there
        t.server->hold(t.post.file(t.post.fileCount() - 1).id(1));
    t.run();
    const QString failure = u"Error extracting RAR: "_s + t.nzb->folder() + u"/x.part2.rar"_s;
    QTRY_COMPARE(t.nzb->status(), failure);
    t.server->releaseAll();
    t.awaitIdle();
    if (during) // the rest is done all the same
        QTRY_COMPARE(t.saved(u"demo/split"_s), "split");
    QCOMPARE(t.nzb->status(), failure);
    QVERIFY(t.completedJobs.isEmpty());
});

// The run goes on with the volumes that come after it was disabled.
const Case early("unpacked before the rest is there", [] {
    World t;
    t.add(volumes());
    const QByteArray last = t.post.addYenc(u"z.txt"_s, "last").id(1);
    t.server->hold(last);
    t.run();
    QTRY_VERIFY(t.completedFiles.contains(u"x.part1.rar"_s));
    t.set("rarHandling", u"disabled"_s);
    QTRY_VERIFY(!QFile::exists(t.nzb->folder() + u"/x.part3.rar"_s));
    QTRY_COMPARE(t.server->waiting(), QByteArrayList{last});
    QVERIFY(t.completedJobs.isEmpty());
    t.server->releaseAll();
    t.awaitFilm();
});

// The first is unpacked before all files of the job have been looked at.
const Case inTurn("archives in turn, and the job is complete once", [] {
    for (int round = 0; round < 3; ++round) {
        World t;
        t.set("rarHandling", u"after"_s);
        for (const QString &name : {u"a"_s, u"b"_s})
            t.add(rar4Set(name, {{name.toUtf8() + " film", "film"}}));
        for (int i = 0; i < 60; ++i)
            t.post.addYenc(u"text%1.txt"_s.arg(i), "text");
        t.run();
        QTRY_COMPARE(t.completedJobs.size(), 1);
        QCOMPARE(t.nzb->extractedFiles().keys(), (QStringList{u"a film"_s, u"b film"_s}));
        QTRY_COMPARE(t.server->openConnections(), 0);
        QCOMPARE(t.completedJobs.size(), 1);
    }
});

const Case lowSpace("low disk space", [] {
    World t;
    t.add(rar4Set(u"x"_s, {{"film", "f", 0100644, quint64(1) << 60}}));
    t.run();
    QTRY_COMPARE(t.errors,
                 QStringList{u"RAR processing suspended. Not enough disk space to extract "
                             "1099511627776 MB file"_s});
    QCOMPARE(t.nzb->status(), u"Not unpacked: not enough disk space"_s);
    QVERIFY(t.completedJobs.isEmpty());
});

// An extraction waits for a volume that is damaged, and nobody ends it.
const Case asleep("asleep without a repair", [] {
    World t;
    t.add(volumes());
    t.post.file(1).segment(3).onServer = false;
    t.run();
    t.awaitIdle();
    QVERIFY(t.completedJobs.isEmpty());
});

// A volume lies under its name from the first line of its first article on, which the job's file
// takes at that article's end.
const Case names("names come with articles", [] {
    World t;
    t.set("threads", 1);
    t.set("networkTimeout", 1);
    t.add(volumes());
    for (int i = 0; i < t.post.fileCount(); ++i)
        t.post.file(i).subject =
            u"a post %1 yEnc (1/%2)"_s.arg(i).arg(t.post.file(i).segmentCount());
    t.server->script(When::body(t.post.file(1).id(1)), Reply().stallAfter(3000), 1);
    t.run();
    t.awaitFilm();
});

// Until the article is asked for again, no file bears the name of what lies there.
const Case cutShort("a volume is cut short", [] {
    World t;
    t.set("threads", 2);
    t.set("networkRetry", 1);
    for (const auto &[name, content] : volumes())
        t.post.addYenc(name, content, 50'000); // in one article
    for (int i = 0; i < t.post.fileCount(); ++i)
        t.post.file(i).subject = u"a post %1 yEnc (1/1)"_s.arg(i);
    const QByteArray second = t.post.file(1).id(1);
    const QByteArray third = t.post.file(2).id(1);
    t.server->script(When::body(second), Reply::ordinary().cutAfter(20'000), 1);
    t.server->hold(second);
    t.server->hold(third);
    t.run();
    QTRY_COMPARE(t.server->waiting().size(), 2);
    t.server->release(second);
    QTRY_VERIFY(QFile::exists(t.nzb->folder() + u"/x.part2.rar"_s));
    QTRY_COMPARE(t.server->openConnections(), 1);
    t.server->release(third);
    t.awaitFilm();
});

const Case joins("series are joined in turn", [] {
    World t;
    const QString notice = u"Download complete, combining files"_s;
    QObject::connect(t.engine.get(), &Marlowick::notice, t.engine.get(),
                     [&](int, const QString &msg) {
                         // Whatever else has the decision taken again, one join is enough.
                         if (msg == notice && t.notices.count(notice) < 3)
                             QMetaObject::invokeMethod(t.engine.get(), "rarProcessingComplete",
                                                       Q_ARG(Nzb *, t.nzb));
                     });
    for (const QString &name : {u"a.avi"_s, u"b.avi"_s, u"gap.avi"_s}) {
        for (int piece = 1; piece <= 3; ++piece) {
            if (name != "gap.avi"_L1 || piece != 1)
                t.post.addYenc(name + u".00%1"_s.arg(piece), film.sliced(piece * 1000, 1000));
        }
    }
    t.run();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.notices.count(notice), 2);
    for (const QString &name : {u"a.avi"_s, u"b.avi"_s}) {
        QCOMPARE(t.saved(u"demo/"_s + name), film.sliced(1000, 3000));
        QCOMPARE(t.nzb->extractedFiles().value(name), 3000u);
    }
    QVERIFY(QFile::exists(t.nzb->folder() + u"/gap.avi.002"_s));
});

struct Moment {
    const char *name; // a status, a notice, or a file
    void (*add)(World &);
};
// Last those in which a program is started: the thread sanitizer is silent from there on.
const Moment moments[] = {
    {"x.part1.rar",
     [](World &t) {
         t.add(volumes());
         for (const PostedSegment &segment : t.post.file(2).segments)
             t.server->hold(segment.id);
     }},
    {"password", [](World &t) { t.add(lockedVolumes()); }},
    {"Download complete, starting unrar",
     [](World &t) {
         t.set("rarHandling", u"after"_s);
         t.add(volumes());
     }},
    {"Download complete, combining files",
     [](World &t) {
         for (int piece = 1; piece <= 5; ++piece)
             t.post.addYenc(u"film.avi.00%1"_s.arg(piece), film);
     }},
    {"Repairing", [](World &t) { t.addDamaged(recovery().size()); }},
};
const Case midst("a job or the engine goes in the midst", moments, [](const Moment &row) {
    const QString sign = QString::fromLatin1(row.name);
    for (int round = 0; round < 15; ++round) {
        World t;
        QObject::connect(t.engine.get(), &Marlowick::passwordNeeded, t.engine.get(),
                         [&] { t.notices << u"password"_s; });
        row.add(t);
        t.run();
        const QString folder = t.nzb->folder();
        const QDeadlineTimer limit(20'000);
        while (t.nzb->status() != sign && !(t.completedFiles + t.notices).contains(sign)) {
            QVERIFY(!limit.hasExpired()); // the moment is short: no wait between two looks
            QCoreApplication::processEvents();
        }
        if (round % 3 == 0)
            t.engine->deleteFiles(t.nzb);
        if (round % 3 == 1)
            t.engine.reset();
        else
            t.engine->deleteItem(t.nzb);
        QCOMPARE(QFile::exists(folder), round % 3 != 0);
        t.server->releaseAll();
        QTRY_COMPARE(t.server->openConnections(), 0);
        QVERIFY(t.completedJobs.isEmpty());
    }
});

struct Repair {
    const char *name;
    QString rarHandling = u"during"_s;
    bool pausePAR2 = true;
    bool twice = false; // another volume lacks an article, too: six blocks or so
};
const Repair repairs[] = {{"during"},
                          {"after", u"after"_s},
                          {"no setting, all volumes at once", {}, false},
                          {"asks twice", u"during"_s, true, true}};
const Case repair("repaired and unpacked", repairs, [](const Repair &row) {
    World t;
    t.set("rarHandling", row.rarHandling);
    t.set("pausePAR2", row.pausePAR2);
    t.addDamaged(recovery().size());
    t.post.file(0).segment(2).onServer = !row.twice;
    t.run();
    t.awaitFilm(u"Repaired"_s);
    // Three or four blocks a volume are lacking. Those of 1 and 2, which are asked for first, do
    // for one, and no more than that is fetched.
    QCOMPARE(World::fileOf(t.nzb, recovery().last().first)->isPaused(), row.pausePAR2);
    QCOMPARE(World::fileOf(t.nzb, recovery().at(3).first)->isPaused(), row.pausePAR2 && !row.twice);
});

// It arrives before the pass that asked for it has ended, which makes another one necessary.
const Case meanwhile("a volume arrives during the pass that asked for it", [] {
    World t;
    t.set("pausePAR2", true);
    t.addDamaged(2);
    const QString volume = recovery().last().first;
    t.add({recovery().last()});
    t.run();
    const QDeadlineTimer limit(20'000);
    const Par2Process *pass = nullptr;
    while (!pass && !limit.hasExpired()) {
        QCoreApplication::processEvents();
        pass = t.engine->findChild<Par2Process *>();
    }
    QVERIFY(pass);
    bool came = false;
    QObject::connect(pass, &Par2Process::needMoreBlocks, t.engine.get(), [&] {
        came = QTest::qWaitFor([&] { return t.completedFiles.contains(volume); });
    });
    t.awaitFilm(u"Repaired"_s);
    QVERIFY(came);
});

struct Hopeless {
    const char *name;
    qsizetype recoveryFiles;
};
const Hopeless hopeless[] = {{"no volumes", 0}, {"too few blocks", 2}};
const Case givesUp("damaged beyond repair", hopeless, [](const Hopeless &row) {
    World t;
    t.set("pausePAR2", true);
    t.addDamaged(row.recoveryFiles);
    t.run();
    QTRY_COMPARE_WITH_TIMEOUT(t.nzb->status(), u"Damaged beyond repair"_s, 20'000);
    QVERIFY(t.completedJobs.isEmpty());
});

// The program knows the set, but none of its files, and says so in words of its own.
const Case unknownOutput("par2 says what nobody knows", [] {
    const QByteArray volume = recovery().last().second;
    const qsizetype packet =
        volume.indexOf(QByteArrayView("PAR 2.0\0Main", 12)) - 48; // behind the head of the packet
    QVERIFY(packet >= 0);
    const auto length = qFromLittleEndian<quint64>(volume.constData() + packet + 8);
    World t;
    t.addDamaged(0);
    t.post.addYenc(u"x.vol00+9.par2"_s, volume.sliced(packet, static_cast<qsizetype>(length)));
    t.run();
    QTRY_COMPARE(t.nzb->status(), u"Damaged: repair failed"_s);
    QVERIFY(t.completedJobs.isEmpty());
});

} // namespace
