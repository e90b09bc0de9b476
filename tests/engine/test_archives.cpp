// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// ZIP and 7z archives, and the passwords that an NZB tells.
#include <QDir>
#include <QMutex>

#include <archive.h>
#include <archive_entry.h>

#include "enginefixture.h"
#include "support/case.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray film = randomBytes(1, 600'000);

struct Member {
    QByteArray name;
    QByteArray content = film;
    QByteArray linkTo = {};
};

/// @param options  of libarchive, such as "zip:encryption=aes256"
QByteArray packed(const QByteArray &format, const QList<Member> &members, const char *options = "",
                  const char *password = nullptr)
{
    QByteArray result(100'000 + members.size() * film.size(), '\0');
    size_t used = 0;
    archive *writer = archive_write_new();
    archive_write_set_format_by_name(writer, format.constData());
    archive_write_set_options(writer, options);
    if (password)
        archive_write_set_passphrase(writer, password);
    archive_write_set_bytes_in_last_block(writer, 1);
    archive_write_open_memory(writer, result.data(), size_t(result.size()), &used);
    for (const Member &member : members) {
        archive_entry *entry = archive_entry_new();
        archive_entry_set_pathname(entry, member.name.constData());
        archive_entry_set_filetype(entry, member.linkTo.isEmpty() ? AE_IFREG : AE_IFLNK);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, member.linkTo.isEmpty() ? member.content.size() : 0);
        if (!member.linkTo.isEmpty())
            archive_entry_set_symlink(entry, member.linkTo.constData());
        archive_write_header(writer, entry);
        if (member.linkTo.isEmpty())
            archive_write_data(writer, member.content.constData(), size_t(member.content.size()));
        archive_entry_free(entry);
    }
    archive_write_free(writer);
    return result.first(qsizetype(used));
}

const QList<Member> justFilm{{"film.avi"}};

/// Stored, so that a changed byte is one of the film's.
QByteArray zip(const QList<Member> &members = justFilm)
{
    return packed("zip", members, "zip:compression=store");
}

QByteArray lockedZip(const char *options = "zip:encryption=aes256")
{
    return packed("zip", justFilm, options, "secret");
}

QByteArray damaged(QByteArray archive)
{
    archive[300'000] = char(archive[300'000] + 1);
    return archive;
}

/// "film.avi" with the password "secret", made by a 7z program.
const QByteArray locked7z = QByteArray::fromBase64(
    "N3q8ryccAATrqGDYEAAAAAAAAABqAAAAAAAAAOqaqkf721Ce7vB+S51FWFyvNDjvAQQGAAEJEAAHCwEAAiQG8QcBElMP"
    "unxRPezO4E9wBDoCR+f1nyEhAQABAAwMCAAICgFSkpnPAAAFARkBABETAGYAaQBsAG0ALgBhAHYAaQAAABkAFAoBAFVF"
    "O0NZet0BFQYBACCApIEAAA==");
/// The same with encrypted headers.
const QByteArray hidden7z = QByteArray::fromBase64(
    "N3q8ryccAARbVy3GgAAAAAAAAAAuAAAAAAAAAPXoRojS3wRZAE2Bkd7IyNfQ3FxMdCfQbxXPbVwe71wkcc16fvi3JMWy"
    "/0rmhXfP5Hw47JTIOE7VfOD0pQw6POnJ7yAPeZ/uCBhWwqHzdHPbP5p71Yt0EeJ2/az5agJiume60Q0W5+NwXLvjOgp4"
    "gfHSgGiwC3r5yAVzanUhpHaTiCMw7xcGEAEJcAAHCwEAASQG8QcBElMPb3XLndxUn/ioyEJ7ODkAqQxqCgE8ArU8AAA=");

struct World : EngineFixture {
    World()
    {
        set("rarHandling", u"after"_s), set("autoPAR2", true);
        logged.clear();
        before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &m) {
                const QMutexLocker lock(&mutex);
                logged += m + u'\n';
            });
        listen();
    }
    ~World() { qInstallMessageHandler(before); }

    void listen()
    {
        QObject::connect(engine.get(), &Marlowick::passwordNeeded, engine.get(), [this](Nzb *nzb) {
            ++asked;
            const QString answer = answers.isEmpty() ? QString() : answers.takeFirst();
            engine->setRarPassword(nzb, answer);
        });
    }
    void add(const QString &name, const QByteArray &content)
    {
        post.addYenc(name, content, 50'000);
    }
    void run(const QString &nzbFile = u"demo.nzb"_s, const QString &metas = {})
    {
        post.upload(*server);
        QByteArray nzb = post.nzb();
        nzb.insert(nzb.indexOf("<file"), metas.toUtf8());
        job = engine->addNZB(writeFile(dir.filePath(nzbFile), nzb));
        QCOMPARE(job->name(), u"demo"_s);
    }
    /// As after a restart of the program.
    void restart()
    {
        engine->saveQueue();
        EngineFixture::engine =
            std::make_unique<Marlowick>(nullptr, std::chrono::milliseconds(200));
        QObject::connect(engine.get(), &Marlowick::nzbComplete,
                         [this](Nzb *nzb) { completedJobs << nzb->name(); });
        listen();
        engine->loadQueue({});
        job = engine->queue()->first();
    }
    void ends(const QStringList &files = {u"film.avi"_s})
    {
        QTRY_COMPARE_WITH_TIMEOUT(completedJobs, QStringList(u"demo"_s), 20'000);
        QCOMPARE(job->status(), u"Finished"_s);
        QCOMPARE(saved(u"demo/film.avi"_s), film);
        QCOMPARE(job->extractedFiles().value(u"film.avi"_s), quint64(film.size()));
        leaves(files);
    }
    void fails(const QString &status, const QStringList &files)
    {
        QTRY_VERIFY2_WITH_TIMEOUT(job->status().startsWith(status), qPrintable(job->status()),
                                  20'000);
        QTRY_COMPARE(server->openConnections(), 0);
        QCOMPARE(completedJobs, QStringList());
        leaves(files);
    }
    void leaves(QStringList files)
    {
        files.sort();
        QCOMPARE(QDir(job->folder()).entryList(QDir::Files | QDir::Hidden), files);
        QCOMPARE(QDir(downloads()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList(u"demo"_s));
        QCOMPARE(errors, QStringList());
        const QMutexLocker lock(&mutex);
        QVERIFY(!QString(logged + job->status() + notices.join(u' ')).contains("secret"_L1));
    }

    Post post;
    Nzb *job = nullptr;
    QStringList answers; ///< of the user who is asked for a password; then declines
    int asked = 0;
    QtMessageHandler before;
    static inline QMutex mutex;
    static inline QString logged;
};

struct Archive {
    const char *name;
    QString file;
    QByteArray content;
    QString failure = {}; ///< how the status begins that tells it
    QString password = {}; ///< that the user gives
    int asks = 0; ///< for one
};
const Archive archives[] = {
    {"zip", u"x.zip"_s, zip()},
    {"7z", u"x.7z"_s, packed("7zip", justFilm)},
    {"zip in capitals, with a folder", u"X.ZIP"_s, zip({{"film.avi"}, {"a/b", {}}, {"c/", {}}})},
    {"cut zip", u"x.zip"_s, zip().chopped(200'000), u"Not unpacked: x.zip: "_s},
    {"cut 7z", u"x.7z"_s, packed("7zip", justFilm).chopped(20), u"Not unpacked: x.7z: "_s},
    {"damaged zip", u"x.zip"_s, damaged(zip()), u"Not unpacked: x.zip: ZIP bad CRC"_s},
    {"damaged 7z", u"x.7z"_s, damaged(packed("7zip", justFilm)), u"Not unpacked: x.7z: "_s},
    {"no archive at all", u"x.zip"_s, film, u"Not unpacked: x.zip: "_s},
    {"encrypted 7z", u"x.7z"_s, locked7z,
     u"Not unpacked: x.7z: encrypted 7z archives cannot be read"_s, u"secret"_s},
    {"encrypted headers of 7z", u"x.7z"_s, hidden7z,
     u"Not unpacked: x.7z: encrypted 7z archives cannot be read"_s, u"secret"_s},
    {"encrypted zip", u"x.zip"_s, lockedZip(), {}, u"secret"_s, 1},
    {"password declined", u"x.zip"_s, lockedZip(), u"Not unpacked: no password"_s, {}, 1},
    {"wrong password", u"x.zip"_s, lockedZip(), u"Not unpacked: x.zip: wrong password"_s, u"no"_s,
     1},
};
const Case unpacked("an archive", archives, [](const Archive &row) {
    World t;
    t.answers << row.password;
    t.add(row.file, row.content);
    t.run();
    row.failure.isEmpty() ? t.ends() : t.fails(row.failure, {row.file});
    QCOMPARE(t.asked, row.asks);
});

const Case joined("joined, and what is no archive by its name stays", [] {
    World t;
    const QByteArray archive = packed("7zip", justFilm);
    for (int piece = 0; piece < 3; ++piece)
        t.add(u"x.7z.00%1"_s.arg(piece + 1),
              archive.mid(piece * 250'000, piece < 2 ? 250'000 : -1));
    t.add(u"x.cbz"_s, zip());
    t.run();
    t.ends({u"film.avi"_s, u"x.cbz"_s});
});

const Case hostile("hostile members", [] {
    World t;
    const QByteArray note = "a note of the job";
    t.add(u"note.nfo"_s, note);
    t.add(u"x.zip"_s, zip({{"../out"},
                           {"a/../../out"},
                           {"/tmp/marlowick-test-out"},
                           {"link", {}, "/tmp"},
                           {"link/marlowick-test-out"},
                           {"note.nfo"},
                           {"./note.nfo"},
                           {"x.zip"},
                           {"film.avi"}}));
    t.run();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QVERIFY(!QFile::exists(u"/tmp/marlowick-test-out"_s));
    QCOMPARE(t.saved(u"demo/note.nfo"_s), note);
    t.ends({u"film.avi"_s, u"note.nfo"_s, u"x.zip"_s}); // which has what was not unpacked
});

struct Secret {
    const char *name;
    QString nzbFile;
    QStringList passwords; ///< in the NZB
    int asks = 0;
};
const Secret secrets[] = {
    {"in the head", u"demo.nzb"_s, {u"secret"_s}},
    {"in the name", u"demo{{secret}}.nzb"_s, {}},
    {"wrong ones ahead",
     u"demo {{wrong}}.nzb"_s,
     {u" "_s, u"no"_s, u"&lt;no&gt;"_s, u" secret\n"_s}},
    {"wrong ones alone", u"demo{{wrong}}.nzb"_s, {u"no"_s}, 1},
};
struct Locked {
    const char *name;
    QString file;
    QByteArray content;
};
const Locked &lockedArchive(int kind)
{
    const auto rar = [](const QString &option) {
        return packWithRar({{u"film.avi"_s, film}}, {option, u"-m0"_s}).first().second;
    };
    static const Locked all[] = {{"zip", u"x.zip"_s, lockedZip()},
                                 {"old zip", u"x.zip"_s, lockedZip("zip:encryption=traditional")},
                                 {"rar", u"x.rar"_s, rar(u"-psecret"_s)},
                                 {"rar with its headers", u"x.rar"_s, rar(u"-hpsecret"_s)}};
    return all[kind];
}
// Known from the start, and after a restart before anything has been unpacked.
const Case told("passwords that the NZB tells", secrets, [](const Secret &row) {
    for (int kind = 0; kind < 4; ++kind) {
        for (const bool restarted : {false, true}) {
            const Locked &archive = lockedArchive(kind);
            const QString metas = u"<head><meta type=\"title\">x</meta><meta type=\"password\">"_s
                                  + row.passwords.join(u"</meta><meta type=\"password\">"_s)
                                  + u"</meta></head>"_s;
            World t;
            t.answers << u"secret"_s;
            t.add(archive.file, archive.content);
            if (restarted)
                t.set("rarHandling", u"disabled"_s);
            t.run(row.nzbFile, metas);
            if (restarted) {
                QTRY_COMPARE(t.completedJobs.size(), 1);
                t.completedJobs.clear();
                t.set("rarHandling", u"after"_s);
                t.restart();
            }
            t.ends();
            QCOMPARE(t.asked, row.asks);
            if (QTest::currentTestFailed())
                return qWarning("%s %d", archive.name, restarted);
        }
    }
});

const Case file("the queue file holds passwords for its owner alone", [] {
    const auto others = QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther;
    World t;
    t.add(u"film.avi"_s, film);
    t.run();
    const QString path = QFileInfo(t.engine->settings()->fileName()).path() + u"/queue.qzb"_s;
    QFile::setPermissions(writeFile(path), QFile::ReadOwner | QFile::WriteOwner | others);
    for (int save = 0; save < 2; ++save) {
        t.engine->saveQueue();
        QVERIFY(!(QFile::permissions(path) & others));
    }
});

const Case midst("a job or the engine goes in the midst", [] {
    for (int round = 0; round < 6; ++round) {
        World t;
        t.add(u"x.zip"_s, packed("zip", QList<Member>(round, {"other"}) + justFilm));
        t.run();
        QTRY_VERIFY(t.notices.contains("Download complete, unpacking archives"));
        const QString folder = t.job->folder();
        if (round % 3 == 0)
            t.engine->deleteFiles(t.job);
        if (round % 3 == 1)
            t.engine.reset();
        else
            t.engine->deleteItem(t.job);
        QCOMPARE(QFile::exists(folder), round % 3 != 0);
    }
});

// Both archives are taken, and the password is asked for anew.
const Case anew("repair and unpack", [] {
    World t;
    t.add(u"a.zip"_s, damaged(zip()));
    t.add(u"b.zip"_s, lockedZip());
    t.run();
    t.fails(u"Not unpacked: no password"_s, {u"a.zip"_s, u"b.zip"_s});
    writeFile(t.job->folder() + u"/a.zip"_s, zip({{"other", "content"}}));
    t.answers << u"secret"_s;
    QTRY_VERIFY(t.engine->canRepairAndUnpack(t.job));
    t.engine->repairAndUnpack(t.job);
    t.ends({u"film.avi"_s, u"other"_s});
});

} // namespace
