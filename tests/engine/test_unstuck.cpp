// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Jobs that meet with a mishap after their download, and what the user finds in the end. With the
// real programs and the real library.
#include "enginefixture.h"
#include "queue/nzbmodel.h"
#include "support/case.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

/// Of half a byte's worth each, for archives that do not hold it as it is.
const QByteArray film = [] {
    QByteArray bytes = randomBytes(1, 100'000);
    std::for_each(bytes.begin(), bytes.end(), [](char &byte) { byte &= 15; });
    return bytes;
}();

/// Packed and with recovery volumes, once for all cases.
const RarVolumes &set()
{
    static const RarVolumes volumes = packWithRar({{u"film.avi"_s, film}}, {u"-m0"_s, u"-v40k"_s});
    return volumes;
}

const RarVolumes &recovery()
{
    static const RarVolumes volumes = recoveryOf(set(), {u"-s2000"_s, u"-c25"_s});
    return volumes;
}

void add(Post &post, const RarVolumes &files)
{
    for (const auto &[name, content] : files)
        post.addYenc(name, content, 5000);
}

RarVolumes locked() { return packWithRar({{u"film.avi"_s, film}}, {u"-m0"_s, u"-psecret"_s}); }

struct World : EngineFixture {
    World() { set("rarHandling", u"during"_s), set("autoPAR2", true), set("pausePAR2", true); }
    /// The film is there, the rest as it should be, and the job says so.
    void ends(const QString &status, QStringList files = {})
    {
        QTRY_COMPARE_WITH_TIMEOUT(completedJobs, QStringList(job->name()), 20'000);
        QCOMPARE(job->status(), status);
        leaves(files);
    }
    void leaves(QStringList files)
    {
        QCOMPARE(contentsOf(job->folder() + u"/film.avi"_s), film);
        files << u"film.avi"_s;
        files.sort();
        QStringList left = QDir(job->folder()).entryList(QDir::Files | QDir::Hidden);
        left.removeIf([](const QString &name) { return name.endsWith(".par2"_L1); });
        QCOMPARE(left, files);
        QVERIFY2(errors.isEmpty(), qPrintable(errors.join(u'|')));
    }
    void fails(const QString &status)
    {
        QTRY_COMPARE_WITH_TIMEOUT(job->status(), status, 20'000);
        QTRY_COMPARE(server->openConnections(), 0);
        QVERIFY(completedJobs.isEmpty());
    }
    [[nodiscard]] QString failureOf(const QString &volume) const
    {
        return u"Error extracting RAR: "_s + job->folder() + u'/' + volume;
    }

    Nzb *job = nullptr;
    int asked = 0; ///< for a password
};

[[maybe_unused]] const Case folders("a folder named like a volume", [] {
    World t;
    Post post(u"comic.vol1"_s);
    add(post, set());
    add(post, recovery());
    post.file(1).segment(3).onServer = false;
    t.job = t.start(post);
    t.ends(u"Repaired"_s);
});

struct Note {
    const char *name;
    QString note; ///< before or after the volumes
    QString rarHandling;
    QString blocks; ///< of 2000 bytes for recovery; the damage takes three
};
const Note notes[] = {{"ahead of the set", u"a.nfo"_s, u"during"_s, u"-c12"_s},
                      {"behind it", u"z.nfo"_s, u"during"_s, u"-c12"_s},
                      {"unpacked after", u"a.nfo"_s, u"after"_s, u"-c12"_s},
                      {"too few blocks", u"z.nfo"_s, u"during"_s, u"-c2"_s}};

// The set is whole, and unpacked before the repair, which wants its volumes.
[[maybe_unused]] const Case race("a damaged note with a whole set", notes, [](const Note &row) {
    World t;
    t.set("rarHandling", row.rarHandling);
    const RarVolumes note{{row.note, randomBytes(2, 20'000)}};
    // par2 would find stored volumes in the film.
    const RarVolumes packed = packWithRar({{u"film.avi"_s, film}}, {u"-m5"_s, u"-v20k"_s});
    Post post;
    add(post, packed);
    add(post, note);
    add(post, recoveryOf(packed + note, {u"-s2000"_s, row.blocks}));
    post.file(static_cast<int>(packed.size())).segment(2).onServer = false;
    if (row.blocks == "-c12"_L1) {
        t.job = t.start(post);
        return t.ends(u"Repaired"_s, {row.note});
    }
    const QByteArray last = post.file(post.fileCount() - 1).id(1);
    t.server->hold(last);
    t.job = t.start(post);
    QTRY_COMPARE(t.server->waiting(), QList{last}); // it has been asked for, so all is open yet
    QTRY_COMPARE(t.job->status(), u"Damaged beyond repair"_s);
    QCOMPARE(filesIn(t.job->folder(), u"*.rar"_s), packed);
    t.server->releaseAll();
    QTRY_VERIFY(filesIn(t.job->folder(), u"*.rar"_s).isEmpty());
    t.fails(u"Damaged beyond repair"_s);
    t.leaves({row.note});
});

[[maybe_unused]] const Case lost("a volume that the NZB lacks", [] {
    World t;
    Post post;
    add(post, {set().first(), set().last()});
    add(post, recovery());
    t.job = t.start(post);
    t.fails(t.failureOf(set().at(1).first));
    t.engine->repairAndUnpack(t.job);
    t.ends(u"Repaired"_s);
});

[[maybe_unused]] const Case shown("a repair after a failed extraction", [] {
    World t;
    RarVolumes bad = set();
    bad[1].second.fill('x');
    const RarVolumes other{{u"y.bin"_s, randomBytes(2, 20'000)}};
    Post post;
    add(post, bad);
    add(post, other);
    add(post, recoveryOf(other, {u"-s2000"_s, u"-c5"_s}));
    const PostedFile &last = post.file(static_cast<int>(bad.size()));
    const QByteArray held = last.id(1);
    post.file(static_cast<int>(bad.size())).segment(2).onServer = false;
    post.upload(*t.server);
    t.server->hold(held);
    t.job = t.engine->addNZB(post.writeNzb(t.dir.path()));
    const NzbModel model(nullptr, t.engine.get());
    QStringList shown{QString()};
    QObject::connect(&model, &NzbModel::dataChanged, [&] { shown << t.job->status(); });
    QTRY_COMPARE(shown.last(), t.failureOf(bad.at(1).first));
    t.server->releaseAll();
    QTRY_VERIFY(shown.contains(u"Repairing"_s));
    QTRY_VERIFY(!t.job->hasIncompleteFiles());
    t.fails(t.failureOf(bad.at(1).first));
    QCOMPARE(shown.last(), t.job->status());
});

// One of them is damaged, too, so that par2 makes it anew.
[[maybe_unused]] const Case names("files under names that say nothing", [] {
    World t;
    Post post;
    for (const auto &[name, content] : set())
        post.addYenc(u"%1.bin"_s.arg(post.fileCount()), content, 5000);
    post.file(1).segment(2).onServer = false;
    add(post, recovery());
    t.set("rarHandling", u"disabled"_s);
    t.job = t.start(post);
    QTRY_COMPARE_WITH_TIMEOUT(t.completedJobs.size(), 1, 20'000);
    QStringList expected;
    for (qsizetype i = 0; i < set().size(); ++i) {
        const auto &[name, content] = set().at(i);
        QCOMPARE(t.job->fileAt(static_cast<int>(i))->name(), name);
        QCOMPARE(t.saved(u"demo/"_s + name), content);
        expected << name;
    }
    QCOMPARE(QDir(t.job->folder()).entryList({u"*.bin*"_s, u"*.rar*"_s}), expected);
    t.completedJobs.clear();
    t.engine->repairAndUnpack(t.job);
    t.ends(u"Finished"_s);
});

struct Rest {
    const char *name;
    int damaged; ///< which file is, if any
    bool pieces;
    QString status;
};
const Rest rests[] = {{"to be unpacked", -1, false, u"Finished"_s},
                      {"to be joined", -1, true, u"Finished"_s},
                      {"to be repaired", 1, false, u"Repaired"_s},
                      {"to be unpacked, with a damaged note", 0, false, u"Finished incomplete"_s}};

// What an interrupted run of the program leaves looks like that of one that was told to do nothing.
[[maybe_unused]] const Case resumed("a new start finds a job", rests, [](const Rest &row) {
    World t;
    t.set("rarHandling", u"disabled"_s);
    t.set("autoPAR2", false);
    Post post;
    const QStringList note = row.damaged == 0 ? QStringList(u"a.nfo"_s) : QStringList();
    for (const QString &name : note)
        post.addYenc(name, randomBytes(2, 20'000), 5000);
    if (row.pieces)
        add(post,
            {{u"film.avi.001"_s, film.first(60'000)}, {u"film.avi.002"_s, film.sliced(60'000)}});
    else
        add(post, set());
    if (row.damaged >= 0)
        post.file(row.damaged).segment(3).onServer = false;
    if (row.damaged > 0)
        add(post, recovery());
    Post done(u"done"_s);
    done.addYenc(u"text.txt"_s, "text");
    t.start(done);
    t.start(post);
    QTRY_COMPARE(t.completedJobs.size(), 2);
    t.completedJobs.clear();
    t.engine->saveQueue();
    t.engine = std::make_unique<Marlowick>(nullptr);
    t.set("rarHandling", u"during"_s);
    t.set("autoPAR2", note.isEmpty());
    QObject::connect(t.engine.get(), &Marlowick::nzbComplete,
                     [&t](Nzb *nzb) { t.completedJobs << nzb->name(); });
    t.engine->loadQueue(QString());
    t.job = t.engine->queue()->last();
    t.ends(row.status, note);
});

struct State {
    const char *name;
    void (*post)(World &, Post &);
    void (*stuck)(World &); ///< comes back once the job is
    QString end;
};

void awaitIdle(World &t)
{
    QTRY_COMPARE(t.server->openConnections(), 0);
    QVERIFY(t.completedJobs.isEmpty());
}

const State states[] = {
    {"the last article answered 430",
     [](World &t, Post &post) {
         t.set("threads", 1);
         add(post, set());
         post.file(2).segment(post.file(2).segmentCount()).onServer = false;
         add(post, recovery());
     },
     awaitIdle, u"Repaired"_s},
    {"wrong password", [](World &, Post &post) { add(post, locked()); },
     [](World &t) {
         QTRY_COMPARE(t.asked, 1);
         t.engine->setRarPassword(t.job, u"wrong"_s);
         t.fails(t.failureOf(u"x.rar"_s));
     },
     u"Finished"_s},
    {"declined password", [](World &, Post &post) { add(post, locked()); },
     [](World &t) {
         QTRY_COMPARE(t.asked, 1);
         t.engine->setRarPassword(t.job, QString());
         QCOMPARE(t.job->status(), u"Not unpacked: no password"_s);
     },
     u"Finished"_s},
    {"asked for the password", [](World &, Post &post) { add(post, locked()); },
     [](World &t) { QTRY_COMPARE(t.asked, 1); }, u"Finished"_s},
    {"damaged, though each article was fine",
     [](World &, Post &post) {
         RarVolumes bad = set();
         bad[1].second.replace(20'000, 100, QByteArray(100, 'x'));
         add(post, bad);
         add(post, recovery());
     },
     [](World &t) { QTRY_VERIFY(t.job->status().startsWith(u"Error extracting"_s)); },
     u"Repaired"_s},
    {"one of two sets is in order",
     [](World &, Post &post) {
         const RarVolumes note{{u"film.txt"_s, randomBytes(3, 9000)}};
         add(post, set());
         post.file(0).segment(1).onServer = false;
         add(post, note);
         add(post, recovery());
         for (auto [name, content] : recoveryOf(note, {u"-s2000"_s, u"-c2"_s}))
             post.addYenc(u"film"_s + name.sliced(1), content);
     },
     [](World &t) { t.fails(u"Damaged beyond repair"_s); }, u"Finished"_s},
    {"the set in order is unpacked already",
     [](World &t, Post &post) {
         t.set("pausePAR2", false);
         const RarVolumes note{{u"film.txt"_s, randomBytes(3, 9000)}};
         // par2 would find stored volumes in the film.
         const RarVolumes packed = packWithRar({{u"film.avi"_s, film}}, {u"-m5"_s, u"-v20k"_s});
         add(post, packed);
         add(post, note);
         post.file(static_cast<int>(packed.size())).segment(2).onServer = false;
         add(post, recoveryOf(packed, {u"-s2000"_s, u"-c12"_s}));
         for (auto [name, content] : recoveryOf(note, {u"-s2000"_s, u"-c5"_s}))
             post.addYenc(u"film"_s + name.sliced(1), content, 5000);
     },
     [](World &t) { t.fails(u"Damaged beyond repair"_s); }, u"Finished"_s},
    {"a volume put right by hand",
     [](World &, Post &post) {
         add(post, set());
         post.file(1).segment(3).onServer = false;
     },
     [](World &t) {
         t.fails(u"Damaged beyond repair"_s);
         writeFile(t.job->folder() + u'/' + set().at(1).first, set().at(1).second);
     },
     u"Finished"_s},
    {"the first volume is not in the NZB",
     [](World &, Post &post) {
         add(post, set().sliced(1));
         add(post, recovery());
     },
     [](World &t) {
         QTRY_COMPARE(t.completedJobs.size(), 1);
         t.completedJobs.clear();
     },
     u"Repaired"_s},
    {"an article that never comes",
     [](World &t, Post &post) {
         t.set("networkRetry", 1);
         add(post, set());
         add(post, recovery());
         t.server->script(When::body(post.file(1).id(3)), Reply::code("451 later"));
     },
     [](World &t) {
         QTRY_COMPARE(t.completedFiles.size(), 2);
         EngineFixture::fileOf(t.job, set().at(1).first)->setPaused(true);
         awaitIdle(t);
     },
     u"Repaired"_s},
};

[[maybe_unused]] const Case unstuck("repair and unpack", states, [](const State &row) {
    World t;
    QObject::connect(t.engine.get(), &Marlowick::passwordNeeded, [&t] { ++t.asked; });
    Post post;
    row.post(t, post);
    t.job = t.start(post);
    QVERIFY(!t.engine->canRepairAndUnpack(t.job)); // nothing on disk yet
    row.stuck(t);
    if (QTest::currentTestFailed())
        return;
    const int asked = std::exchange(t.asked, 0);
    QTRY_VERIFY(t.engine->canRepairAndUnpack(t.job));
    t.engine->repairAndUnpack(t.job);
    if (asked != 0) {
        QTRY_COMPARE(t.asked, 1);
        t.engine->setRarPassword(t.job, u"secret"_s);
    }
    const bool note = EngineFixture::fileOf(t.job, u"film.txt"_s);
    t.ends(row.end, note ? QStringList(u"film.txt"_s) : QStringList());
});

[[maybe_unused]] const Case midst("repair and unpack in the midst of unpacking", [] {
    for (int round = 0; round < 20 && !QTest::currentTestFailed(); ++round) {
        World t;
        bool again = true;
        QObject::connect(
            t.engine.get(), &Marlowick::notice, t.engine.get(), [&](int, const QString &msg) {
                if (msg == "Download complete, starting unrar"_L1 && std::exchange(again, false))
                    QTimer::singleShot(round / 2, t.engine.get(), [&] {
                        t.completedJobs.clear();
                        t.engine->repairAndUnpack(t.job);
                    });
            });
        t.set("rarHandling", u"after"_s);
        Post post;
        add(post, set());
        t.job = t.start(post);
        QTRY_VERIFY(!again);
        t.ends(u"Finished"_s);
    }
});

} // namespace
