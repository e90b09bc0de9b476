// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Posts under names that tell nothing, and what the user finds in the end. With the real programs
// and the real library.
#include <algorithm>

#include "enginefixture.h"
#include "post/truenames.h"
#include "queue/nzbmodel.h"
#include "support/case.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

/// Compressible, so that par2 finds no volume in it.
QByteArray filmOf(quint32 seed)
{
    QByteArray bytes = randomBytes(seed, 200'000);
    std::for_each(bytes.begin(), bytes.end(), [](char &byte) { byte &= 15; });
    return bytes;
}
const QByteArray film = filmOf(1);

const RarVolumes &volumes()
{
    static const RarVolumes set =
        packWithRar({{u"film.avi"_s, film}}, {u"-m5"_s, u"-v25k"_s, u"-hpsecret"_s});
    return set;
}
const RarVolumes &openVolumes()
{
    static const RarVolumes set = packWithRar({{u"film.avi"_s, film}}, {u"-m5"_s, u"-v25k"_s});
    return set;
}
const RarVolumes &recovery()
{
    static const RarVolumes files = recoveryOf(openVolumes(), {u"-s2000"_s, u"-c15"_s});
    return files;
}

/// Names whose order is not that of the files.
QString scrambled(qsizetype index)
{
    return QString::fromLatin1(QByteArray::number(1 + index * 7919 % 10'007, 16)) + u"q9z"_s;
}

struct World : EngineFixture {
    World() { set("rarHandling", u"during"_s), set("autoPAR2", true), set("pausePAR2", true); }

    /// The films are there and nothing else but @p others, under names that the rows show.
    void ends(const QString &status, QStringList others = {})
    {
        QTRY_COMPARE_WITH_TIMEOUT(completedJobs, QStringList(job->name()), 20'000);
        QCOMPARE(job->status(), status);
        QCOMPARE(saved(u"demo/film.avi"_s), film);
        QVERIFY2(errors.isEmpty(), qPrintable(errors.join(u'|')));
        leaves(others << u"film.avi"_s);
    }
    void leaves(QStringList expected)
    {
        QStringList left = QDir(job->folder()).entryList(QDir::Files | QDir::Hidden);
        left.removeIf([](const QString &name) { return name.endsWith(".par2"_L1); });
        expected.sort();
        QCOMPARE(left, expected);
        for (const QString &name : std::as_const(left))
            QVERIFY(fileOf(job, name) || job->extractedFiles().contains(name));
    }
    /// Saves the queue and reads it in another engine.
    void restart()
    {
        engine->saveQueue();
        engine = std::make_unique<Marlowick>(nullptr);
        QObject::connect(engine.get(), &Marlowick::nzbComplete,
                         [this](Nzb *nzb) { completedJobs << nzb->name(); });
        engine->loadQueue(QString());
        job = engine->queue()->last();
    }

    Nzb *job = nullptr;
};

struct Obscure {
    const char *name;
    QString dataTail; ///< behind scrambled names
    QString par2Tail;
    bool index = true;
    bool par2 = true;
    bool damaged = false;
    bool pausePAR2 = true;
    bool restart = false; ///< between the arrival and the renaming
    bool indexMissing = false; ///< on the server
};
const Obscure obscures[] = {
    {"whole, the PAR2 files known as such", {}, u".par2"_s},
    {"whole, without an index", {}, u".par2"_s, false},
    {"whole, PAR2 files unknown", {}, {}},
    {"whole, PAR2 files not held back", {}, u".par2"_s, true, true, false, false},
    {"whole, without PAR2", {}, {}, false, false},
    {"whole, extensions that mislead", u".bin"_s, {}},
    {"damaged, the PAR2 files known as such", {}, u".par2"_s, true, true, true},
    {"damaged, without an index", {}, u".par2"_s, false, true, true},
    {"damaged, PAR2 files unknown", {}, {}, true, true, true},
    {"damaged, with right names for PAR2 files", {}, u"right"_s, true, true, true},
    {"whole, with right names for PAR2 files", {}, u"right"_s},
    {"the index is missing", {}, u"right"_s, true, true, false, true, false, true},
    {"whole, and a new start", {}, {}, true, true, false, true, true},
};
const Case obscure("names that tell nothing", obscures, [](const Obscure &row) {
    World t;
    t.set("pausePAR2", row.pausePAR2);
    Post post;
    RarVolumes files = openVolumes();
    const qsizetype data = files.size();
    if (row.par2)
        files += recovery().sliced(row.index ? 0 : 1);
    for (qsizetype i = 0; i < files.size(); ++i) {
        const bool right = i >= data && row.par2Tail == "right"_L1;
        const QString name = scrambled(i) + (i < data ? row.dataTail : row.par2Tail);
        post.addYenc(right ? files[i].first : name, files[i].second, 5000);
    }
    post.file(1).segment(3).onServer = !row.damaged;
    if (row.indexMissing)
        post.file(static_cast<int>(data)).segment(1).onServer = false;
    if (row.restart) { // as an earlier version left it
        t.set("rarHandling", u"disabled"_s);
        post.upload(*t.server);
        t.job = t.engine->addNZB(post.writeNzb(t.dir.path()));
        QTRY_COMPARE(t.completedFiles.size(), post.fileCount());
        for (int i = 0; i < t.job->fileCount(); ++i) {
            const QString old = scrambled(i);
            NzbFile *file = t.job->fileAt(i);
            QVERIFY(
                QFile::rename(t.job->folder() + u'/' + file->name(), t.job->folder() + u'/' + old));
            file->setFilename(old);
        }
        t.completedJobs.clear();
        t.restart();
        t.set("rarHandling", u"during"_s);
    } else {
        t.job = t.start(post);
    }
    t.ends(row.damaged ? u"Repaired"_s : u"Finished"_s);
    if (row.pausePAR2 && row.par2Tail == "right"_L1 && !row.damaged) // no more than necessary
        QVERIFY(EngineFixture::fileOf(t.job, recovery().last().first)->isPaused());
});

// In the order of the NZB, which is not that of the rows, across a new start.
const Case encrypted("volumes with encrypted headers", [] {
    World t;
    Post post;
    for (qsizetype i = 0; i < volumes().size(); ++i)
        post.addYenc(scrambled(i), volumes()[i].second, 5000);
    t.server->hold(post.file(2).id(1));
    t.job = t.start(post);
    QTRY_COMPARE(t.completedFiles.size(), post.fileCount() - 1);
    t.restart();
    QObject::connect(t.engine.get(), &Marlowick::passwordNeeded,
                     [&t](Nzb *nzb) { t.engine->setRarPassword(nzb, u"secret"_s); });
    t.server->releaseAll();
    t.engine->startToDownloadQueue();
    t.ends(u"Finished"_s);
});

const Case twoSets("two sets in a job", [] {
    World t;
    Post post;
    const QByteArray other = filmOf(2);
    RarVolumes second = packWithRar({{u"other.avi"_s, other}}, {u"-m5"_s, u"-v25k"_s});
    for (auto &[name, content] : second)
        name.replace(0, 1, u'y');
    RarVolumes secondRecovery = recoveryOf(second, {u"-s2000"_s, u"-c9"_s});
    for (auto &[name, content] : secondRecovery)
        name.replace(0, 1, u'y');
    const RarVolumes data = openVolumes() + second;
    for (qsizetype i = 0; i < data.size(); ++i)
        post.addYenc(scrambled(i), data[i].second, 5000);
    for (const auto &[name, content] : recovery() + secondRecovery)
        post.addYenc(name, content, 5000);
    t.job = t.start(post);
    t.ends(u"Finished"_s, {u"other.avi"_s});
    QCOMPARE(t.saved(u"demo/other.avi"_s), other);
});

// What is in order is not asked for its content, and no PAR2 file is fetched.
const Case inOrder("names in order", [] {
    World t;
    Post post;
    for (const auto &[name, content] : openVolumes() + recovery())
        post.addYenc(name, content, 5000);
    post.addYenc(u"comic.cbr"_s, openVolumes().first().second);
    t.job = t.start(post);
    t.ends(u"Finished"_s, {u"comic.cbr"_s});
    QVERIFY(EngineFixture::fileOf(t.job, recovery().first().first)->isHeldBack());
});

struct Script {
    const char *name;
    QByteArray posted; ///< stands before ".part1.rar"
    QString shown; ///< the same on disk
    QString subject; ///< empty: without a name
};
const Script scripts[] = {
    {"Chinese", "我喜欢编程", u"我喜欢编程"_s, {}},
    {"Cyrillic and Latin", "Фильм one", u"Фильм one"_s, {}},
    {"decomposed accents", "Re\u0301sume\u0301", u"R\u00e9sum\u00e9"_s, {}},
    {"no UTF-8, but in the subject", "R\xe9sum\xe9", u"Résumé"_s, u"Résumé"_s},
    {"leads out", "../我", u"我"_s, {}},
};
// The whole set is unpacked before the last file of the job is there.
const Case script("other scripts", scripts, [](const Script &row) {
    World t;
    Post post;
    for (int i = 0; i < openVolumes().size(); ++i) {
        const QString tail = u".part%1.rar"_s.arg(i + 1);
        const QByteArray content = openVolumes()[i].second;
        PostedFile &file = post.addYenc(row.subject + tail, content, content.size());
        const QByteArray name = " name=" + (row.subject + tail).toUtf8();
        file.segment(1).body.replace(name,
                                     QByteArray(" name=" + QByteArray(row.posted) + tail.toUtf8()));
        if (row.subject.isEmpty())
            file.subject = u"post %1 yEnc (1/1)"_s.arg(i);
    }
    const QByteArray last = post.addYenc(u"z.nfo"_s, "text").id(1);
    t.server->hold(last);
    post.upload(*t.server);
    t.job = t.engine->addNZB(post.writeNzb(t.dir.path()));
    const NzbModel model(nullptr, t.engine->jobs());
    QStringList rows;
    QObject::connect(&model, &NzbModel::dataChanged, [&] {
        for (int i = 0; i < t.job->fileCount(); ++i)
            rows << t.job->fileAt(i)->name();
    });
    QTRY_COMPARE(t.saved(u"demo/film.avi"_s), film);
    QTRY_VERIFY(rows.contains(row.shown + u".part2.rar"_s));
    QVERIFY(t.completedFiles.contains(row.shown + u".part1.rar"_s));
    t.server->releaseAll();
    t.ends(u"Finished"_s, {u"z.nfo"_s});
});

const QString digits = u"3f2a9c0b1d4e5f60718293a4b5c6d7e8"_s;
struct Film {
    const char *name;
    QString posted;
    qsizetype size;
    QString becomes;
    bool packed = false;
};
const Film films[] = {
    {"random", digits + u".mkv"_s, 50'000, u"demo.mkv"_s},
    {"random, without extension", digits, 50'000, u"demo"_s},
    {"random, unpacked", digits + u".mkv"_s, 50'000, u"demo.mkv"_s, true},
    {"not three times as large", digits + u".mkv"_s, 15'000, digits + u".mkv"_s},
    {"a name that may mean something", u"s01e02.mkv"_s, 50'000, u"s01e02.mkv"_s},
    {"on a disc", u"BDMV/"_s + digits + u".m2ts"_s, 50'000, u"BDMV/"_s + digits + u".m2ts"_s, true},
    {"in a folder", u"sub/"_s + digits + u".mkv"_s, 50'000, u"sub/demo.mkv"_s, true},
};
const Case filmCase("the film takes the name of the job", films, [](const Film &row) {
    World t;
    Post post;
    const QByteArray content = randomBytes(3, row.size);
    if (row.packed)
        post.addYenc(u"x.rar"_s, packWithRar({{row.posted, content}}, {}).first().second);
    else
        post.addYenc(row.posted, content);
    post.addYenc(u"a.nfo"_s, randomBytes(4, 6'000));
    t.job = t.start(post);
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.saved(u"demo/"_s + row.becomes), content);
    QVERIFY(EngineFixture::fileOf(t.job, row.becomes)
            || t.job->extractedFiles().contains(row.becomes));
    QVERIFY(row.becomes == row.posted || !QFile::exists(t.job->folder() + u'/' + row.posted));
});

struct Leads {
    const char *name;
    QString described; ///< by the PAR2 set
};
const Leads leads[] = {{"out", u"../x"_s},
                       {"to the root", u"/x"_s},
                       {"too far", QString(300, u'x')},
                       {"over another file", u"a.nfo"_s},
                       {"hidden", u".x"_s}};

QByteArray packet(const QByteArray &type, const QByteArray &body, quint64 lie = 0)
{
    QByteArray hashed = QByteArray(16, 's') + type.leftJustified(16, '\0') + body;
    QByteArray head("PAR2\0PKT", 8);
    const quint64 length = lie ? lie : quint64(hashed.size() + 32);
    head.append(reinterpret_cast<const char *>(&length), 8);
    return head + QCryptographicHash::hash(hashed, QCryptographicHash::Md5) + hashed;
}
QByteArray description(const QByteArray &file, QByteArray name)
{
    const auto md5 = [](const QByteArray &data) {
        return QCryptographicHash::hash(data, QCryptographicHash::Md5);
    };
    const quint64 size = quint64(file.size());
    name.append((4 - name.size() % 4) % 4, '\0');
    return packet(QByteArray("PAR 2.0\0FileDesc", 16),
                  md5(name) + md5(file) + md5(file.first(std::min<qsizetype>(file.size(), 16'384)))
                      + QByteArray(reinterpret_cast<const char *>(&size), 8) + name);
}

const Case hostile("a described name leads", leads, [](const Leads &row) {
    World t;
    Post post;
    const QByteArray content = randomBytes(5, 20'000);
    post.addYenc(u"q9z"_s, content);
    post.addYenc(u"a.nfo"_s, "text");
    post.addYenc(u"x.par2"_s, description(content, row.described.toUtf8()));
    t.job = t.start(post);
    QTRY_COMPARE(t.completedJobs.size(), 1);
    t.leaves({u"q9z"_s, u"a.nfo"_s});
    QCOMPARE(t.saved(u"demo/q9z"_s), content);
    QCOMPARE(QDir(t.downloads()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), {u"demo"_s});
});

struct Twins {
    const char *name;
    bool sameLength;
    quint64 lie; ///< the length of the first packet
    QStringList names;
};
const Twins twins[] = {{"of the same length", true, 0, {u"1q9z"_s, u"2q9z"_s}},
                       {"of other lengths", false, 0, {u"one.txt"_s, u"two.txt"_s}},
                       {"a length that lies", false, quint64(-4), {u"1q9z"_s, u"two.txt"_s}}};
const Case equalStart("two files with equal first 16 KiB", twins, [](const Twins &row) {
    const QTemporaryDir dir;
    const QByteArray one = randomBytes(6, 20'000);
    const QByteArray two = one.first(17'000) + randomBytes(7, row.sameLength ? 3'000 : 4'000);
    writeFile(dir.filePath(u"1q9z"_s), one);
    writeFile(dir.filePath(u"2q9z"_s), two);
    QByteArray first = description(one, "one.txt");
    if (row.lie)
        first.replace(8, 8, reinterpret_cast<const char *>(&row.lie), 8);
    writeFile(dir.filePath(u"x.par2"_s), packet("Main", {}) + first + description(two, "two.txt"));
    QStringList names{u"1q9z"_s, u"2q9z"_s};
    for (const Renaming &renaming :
         trueNames(dir.path(), u"job"_s, names + QStringList(u"x.par2"_s)))
        names.replaceInStrings(renaming.from, renaming.to);
    QCOMPARE(names, row.names);
});

} // namespace
