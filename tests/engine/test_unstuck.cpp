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

struct World : EngineFixture {
    World() { set("rarHandling", u"during"_s), set("autoPAR2", true), set("pausePAR2", true); }
    /// The film is there, the rest as it should be, and the job says so.
    void ends(const QString &status, const QStringList &files)
    {
        QTRY_COMPARE_WITH_TIMEOUT(completedJobs, QStringList(job->name()), 20'000);
        QCOMPARE(job->status(), status);
        QCOMPARE(contentsOf(job->folder() + u"/film.avi"_s), film);
        const QStringList found = QDir(job->folder()).entryList(QDir::Files | QDir::Hidden);
        QStringList left;
        std::copy_if(found.cbegin(), found.cend(), std::back_inserter(left),
                     [](const QString &name) { return !name.endsWith(".par2"_L1); });
        QCOMPARE(left, files);
        QVERIFY2(errors.isEmpty(), qPrintable(errors.join(u'|')));
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
    t.ends(u"Repaired"_s, {u"film.avi"_s});
});

} // namespace
