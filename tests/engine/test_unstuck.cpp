// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Jobs that meet with a mishap after their download, and what the user finds in the end. With the
// real programs and the real library.
#include "enginefixture.h"
#include "support/case.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray film = randomBytes(1, 100'000);

/// Packed and with recovery volumes, once for all cases.
const RarVolumes &set()
{
    static const RarVolumes volumes = packWithRar({{u"film.avi"_s, film}}, {u"-m0"_s, u"-v40k"_s});
    return volumes;
}

const RarVolumes &recovery()
{
    static const RarVolumes volumes = recoveryOf(set(), {u"-s2000"_s, u"-c12"_s});
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
};
const Note notes[] = {{"ahead of the set", u"a.nfo"_s, u"during"_s},
                      {"behind it", u"z.nfo"_s, u"during"_s},
                      {"unpacked after", u"a.nfo"_s, u"after"_s}};

// The set is whole, and unpacked before the repair, which wants its volumes.
[[maybe_unused]] const Case race("a damaged note with a whole set", notes, [](const Note &row) {
    World t;
    t.set("rarHandling", row.rarHandling);
    const RarVolumes note{{row.note, randomBytes(2, 20'000)}};
    Post post;
    add(post, set());
    add(post, note);
    add(post, recoveryOf(set() + note, {u"-s2000"_s, u"-c12"_s}));
    post.file(static_cast<int>(set().size())).segment(2).onServer = false;
    t.job = t.start(post);
    t.ends(u"Repaired"_s, {row.note});
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

} // namespace
