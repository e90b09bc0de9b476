// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Posts under names that tell nothing, and what the user finds in the end. With the real programs
// and the real library.
#include "engine/jobsurvey.h"
#include "post/truenames.h"
#include "story.h"

namespace {

const char *const stories = R"(
whole | rar; par2 12; obscure; obscure .par2; run | Finished: +film 1 par2
without an index | rar; par2 12; omit x.par2; obscure; obscure .par2; run | Finished: +film 1 par2
not held back | pausePAR2=false; rar; par2 12; obscure; obscure .par2; run | Finished: +film 5 par2
numbers of RAR 5 | rar; backwards; obscure; run | Finished: +film
numbers of RAR 4 | packed film 40000; backwards; obscure; run | Finished: +film
extensions that mislead | rar; par2 12; obscure .bin; run | Finished: +film 1 par2
damaged | rar; par2 12; obscure; obscure .par2; lose 7q9z 3; run | Repaired: +film 2 par2
without an index, damaged | rar; par2 12; omit x.par2; obscure; obscure .par2; lose 7q9z 3; run
    | Repaired: +film 3 par2
PAR2 files without extension, damaged | rar; par2 12; obscure; obscure volumes; lose 7q9z 3; run
    | Repaired: +film 5 par2
right names for PAR2 files, damaged | rar; par2 12; obscure; lose 7q9z 3; run
    | Repaired: +film 3 par2
right names for PAR2 files | rar; par2 12; obscure; run | Finished: +film 1 par2
the index is missing | rar; par2 12; obscure; lose x.par2 1; run | Finished: +film 1 par2
a new start before the renaming | rar; par2 12; obscure; hold x.par2; run; held x.par2; restart;
    release | Finished: +film 1 par2
killed after the renaming | rar; par2 12; obscure; hold x.par2; run; held x.par2; mend p1; release
    | Finished: +film 1 par2
encrypted headers, and a new start | rar -m0,-v40k,-hpsecret; obscure; hold 7q9z; run; held 7q9z;
    restart; release; password secret | Finished: +film
two sets | rar; par2 12; also other 2; obscure; run | Finished: +film other 2 par2
in order | rar; par2 12; file comic.cbr; file README; run | Finished: README comic.cbr +film
one of which repairs | rar; par2 12; obscure .par2; lose p2 3; run | Repaired: +film 1 par2
a random name | film RANDOM.mkv; file a.nfo; run | Finished: a.nfo comic.vol1.mkv
without extension | film RANDOM; file a.nfo; run | Finished: a.nfo comic.vol1
of an archive that stays | rarHandling=disabled; film RANDOM.zip; run | Finished: RANDOM.zip
of a single archive | packed film; post x.rar RANDOM.rar; omit x.rar; par2 2; run | Finished: +film
unpacked | packed RANDOM.mkv; file a.nfo; run | Finished: a.nfo +comic.vol1.mkv
in a folder | packed sub/RANDOM.mkv; run | Finished: +sub/comic.vol1.mkv
on a disc | packed BDMV/RANDOM.m2ts; run | Finished: +BDMV/RANDOM.m2ts
not three times as large | film RANDOM.mkv; pieces b; run | Finished: RANDOM.mkv +b
may mean something | film s01e02.mkv; file a.nfo; run | Finished: a.nfo s01e02.mkv
known to PAR2 | film RANDOM.mkv; par2 2; run | Finished: RANDOM.mkv 1 par2
)";
const bool told = (tell(stories), true);

const struct {
    const char *name;
    QString post;
    QString end;
    QString par2;
} par2Names[] = {
    {"kept", "par2 1; obscure .par2", "Finished: +film 2 par2", "28q9z.par2"},
    {"out of its packets", "par2 12; obscure; obscure volumes", "Finished: +film 5 par2",
     "comic-vol1.vol003+04.par2"},
};
const Case healthy("the name of a PAR2 file of a whole job", par2Names, [](const auto &row) {
    World t;
    t.play("pausePAR2=false; rar; " + row.post + "; run");
    t.ends(row.end);
    QVERIFY(t.fileOf(t.job, row.par2));
});

struct Script {
    const char *name;
    QByteArray posted; ///< in place of "x", before ".part1.rar"
    QString shown; ///< the same on disk
    QString subject = "post"; ///< of the article
};
const Script scripts[] = {
    {"Chinese", "我喜欢编程", "我喜欢编程"},
    {"Cyrillic and Latin", "Фильм one", "Фильм one"},
    {"decomposed accents", "Re\u0301sume\u0301", "R\u00e9sum\u00e9"},
    {"no UTF-8, but in the subject", "R\xe9sum\xe9", "Résumé", "\"Résumé.part%1.rar\""},
    {"leads out", "../我", "我"},
};
// The whole set is unpacked before the last file of the job is there.
const Case script("other scripts", scripts, [](const Script &row) {
    World t;
    t.play("rar; file z.nfo; hold z.nfo");
    for (int i = 1; i <= 3; ++i) {
        PostedFile &file = t.posted(QString("x.part%1.rar").arg(i));
        for (PostedSegment &segment : file.segments)
            segment.body.replace("name=x", QByteArray("name=" + row.posted));
        file.subject = (row.subject.contains('%') ? row.subject.arg(i) : row.subject)
                       + QString(" yEnc (1/%1)").arg(file.segmentCount());
    }
    QStringList rows;
    QObject::connect(t.engine.get(), &Marlowick::downloadProgresses,
                     [&rows](const NzbFile *file) { rows << file->name(); });
    t.play("run; find +film; hear " + row.shown + ".part2.rar; release");
    t.ends("Finished: +film z.nfo");
    QVERIFY(rows.contains(row.shown + ".part2.rar"));
});

QByteArray packet(const QByteArray &type, const QByteArray &body)
{
    const QByteArray hashed = QByteArray(16, 's') + type.leftJustified(16, '\0') + body;
    return QByteArray("PAR2\0PKT", 8) + littleEndian(quint64(hashed.size() + 32))
           + QCryptographicHash::hash(hashed, QCryptographicHash::Md5) + hashed;
}
/// What a PAR2 file tells of @p file, named @p name.
QByteArray description(const QByteArray &file, const QByteArray &name)
{
    const auto md5 = [](const QByteArray &data) {
        return QCryptographicHash::hash(data, QCryptographicHash::Md5);
    };
    return packet(QByteArray("PAR 2.0\0FileDesc", 16),
                  md5(name) + md5(file) + md5(file.first(16'384))
                      + littleEndian(quint64(file.size())) + name
                      + QByteArray(-name.size() & 3, '\0'));
}

struct Leads {
    const char *name;
    QByteArray described;
    QString becomes = "q9z";
};
const Leads leads[] = {{"in", "film.avi", "film.avi"},
                       {"out", "../x"},
                       {"to the root", "/x"},
                       {"too far", QByteArray(300, 'x')},
                       {"behind a NUL", QByteArray("\0x", 2)},
                       {"over another file", "a.nfo"},
                       {"over a file that is no part of the job", "first"},
                       {"hidden", ".x"},
                       {"to one that no queue file gives back", "a\"b.avi"}};
const Case hostile("a described name leads", leads, [](const Leads &row) {
    World t;
    t.add({{"q9z", film}, {"x.par2", description(film, row.described)}});
    t.play("file a.nfo; hold x.par2; run; held x.par2; mend first; release");
    QStringList left{"a.nfo", "first", row.becomes};
    left.sort();
    t.ends("Finished: " + left.join(' ') + " 1 par2");
    QCOMPARE(QDir(t.downloads()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             {"comic.vol1"});
    if (row.described == "first" && QFile::remove(t.path("first"))) // free at the next start
        t.play("restart"), t.ends("Finished: a.nfo first 1 par2");
});

const Case elsewhere("a file outside the job's folder has not arrived", [] {
    const QTemporaryDir dir;
    Nzb nzb(nullptr, dir.path(), {});
    nzb.setName("job");
    QDir(dir.path()).mkdir("job");
    for (const QString name : {"film", "../film"}) {
        writeFile(nzb.folder() + '/' + name);
        QXmlAttributes attributes;
        attributes.append("subject", {}, {}, '"' + name + '"');
        nzb.startElement({}, {}, "file", attributes);
    }
    QCOMPARE(arrivedNames(&nzb), {"film"});
});

struct Twins {
    const char *name;
    bool sameLength;
    quint64 lie; ///< the length of the first packet
    QStringList names;
};
const Twins twins[] = {{"of the same length", true, 0, {"1q9z", "2q9z"}},
                       {"of other lengths", false, 0, {"one.txt", "two.txt"}},
                       {"a length that lies", false, quint64(-4), {"1q9z", "two.txt"}}};
const Case equalStart("two files with equal first 16 KiB", twins, [](const Twins &row) {
    const QTemporaryDir dir;
    const QByteArray one = film.first(20'000);
    const QByteArray two = one.first(17'000) + QByteArray(row.sameLength ? 3'000 : 4'000, 'x');
    QByteArray first = description(one, "one.txt");
    if (row.lie)
        first.replace(8, 8, littleEndian(row.lie));
    writeFile(dir.filePath("1q9z"), one);
    writeFile(dir.filePath("2q9z"), two);
    writeFile(dir.filePath("x.par2"), packet("Main", {}) + first + description(two, "two.txt"));
    QStringList names{"1q9z", "2q9z"};
    for (const Renaming &renaming : trueNames(dir.path(), "job", names + QStringList("x.par2")))
        names.replaceInStrings(renaming.from, renaming.to);
    QCOMPARE(names, row.names);
});

} // namespace
