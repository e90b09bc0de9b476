// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Jobs and files, how the view shows them, and how they outlive a run.
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QDataStream>
#include <QImage>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QProxyStyle>
#include <QStandardItemModel>
#include <QStyleOptionProgressBar>

#include <algorithm>
#include <csignal>
#include <limits>
#include <optional>
#include <quazip/quagzipfile.h>
#include <stdexcept>
#include <sys/resource.h>

#include "engine/enginefixture.h"
#include "queue/nzbmodel.h"
#include "queue/progressbardelegate.h"
#include "support/case.h"
#include "support/seededrandom.h"

using namespace Qt::StringLiterals;

namespace {

/// An engine that downloads nothing unless it is told to, and the model of its queue.
struct World : EngineFixture {
    World() { set("threads", 0); }

    Nzb *add(const QString &name, const QByteArray &elements)
    {
        return engine->addNZB(
            writeFile(dir.filePath(name + ".nzb"_L1), "<nzb>" + elements + "</nzb>"));
    }
    /// Another run of the program on the same files.
    void restart()
    {
        rows.reset();
        engine = std::make_unique<Marlowick>(nullptr);
        rows = std::make_unique<NzbModel>(nullptr, engine.get());
    }
    [[nodiscard]] QString load()
    {
        try {
            engine->loadQueue(QString());
        } catch (const std::runtime_error &failure) {
            return QString::fromUtf8(failure.what());
        }
        return {};
    }
    [[nodiscard]] QString path() const { return dir.filePath(u"Marlowick/queue.qzb"_s); }
    [[nodiscard]] QByteArray document(const QString &suffix = {}) const
    {
        QuaGzipFile file(path() + suffix);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    [[nodiscard]] Nzb *job(qsizetype index) const { return engine->queue()->at(index); }
    /// The jobs with their files behind them, as the view shows them: "a(12) b()".
    [[nodiscard]] QString order() const
    {
        QStringList jobs;
        for (int i = 0; i < rows->rowCount(); ++i) {
            const QModelIndex at = rows->index(i, 0);
            QString files;
            for (int k = 0; k < rows->rowCount(at); ++k)
                files += rows->index(k, 0, at).data().toString();
            jobs << at.data().toString() + u'(' + files + u')';
        }
        return jobs.join(u' ');
    }
    bool drop(const QByteArray &ids, int row, const QModelIndex &parent) const
    {
        QMimeData data;
        data.setData(u"application/nzbmodel.rowids"_s, ids);
        return rows->dropMimeData(&data, Qt::CopyAction, row, 0, parent);
    }

    std::unique_ptr<NzbModel> rows = std::make_unique<NzbModel>(nullptr, engine.get());
};

QByteArray file(const QByteArray &subject, const QByteArray &attributes = {},
                const QByteArray &segments = "<segment number='1'>id</segment>")
{
    return "<file subject='" + subject + "' " + attributes + ">" + segments + "</file>";
}

QByteArray files(const QByteArray &names)
{
    QByteArray all;
    for (const char name : names)
        all += file(QByteArray("\"") + name + "\"");
    return all;
}

struct Status {
    const char *name;
    QByteArray files;
    QString job;
    QString first;
};
const QByteArray done = "<file size='10' completed='10' completedparts='1'/>";
const QByteArray held = "<file size='10' completed='5' paused='1'/>";
const QByteArray par2 = file("\"a.par2\"", "size='10' completed='5' paused='1'");
const Status statuses[] = {
    {"par2 held back", done + par2, u"Finished"_s, u"Finished"_s},
    {"par2 only, held back", par2, u"Finished"_s, u"Paused"_s},
    {"other file held back", done + held, u"100 %"_s, u"Finished"_s},
    {"all held back", par2 + held, u"Paused"_s, u"Paused"_s},
    {"incomplete", "<file size='10' completed='10'/>" + done, u"Finished incomplete"_s,
     u"Finished incomplete"_s},
    {"nothing done", file("", "size='10'") + par2, QString(), u"Queued"_s},
    {"half done", file("", "size='200' completed='99'") + held, u"50 %"_s, u"50 %"_s},
    {"more than there is", file("", "size='1' completed='-1'"), u"2147483647 %"_s,
     u"2147483647 %"_s},
    {"no size", file(""), u"Finished"_s, u"-empty file-"_s},
};
const Case status("status", statuses, [](const Status &row) {
    World t;
    const Nzb *nzb = t.add(u"a"_s, row.files);
    QCOMPARE(nzb->status(), row.job);
    const QStringList first{nzb->fileAt(0)->status(), nzb->fileAt(nzb->fileCount() - 1)->status()};
    QVERIFY(first.contains(row.first)); // files are sorted by their names
});

struct Sorted {
    const char *name;
    QStringList files;
};
const Sorted sorted[] = {
    {"old-style volumes", {u"x.nfo"_s, u"x.rar"_s, u"x.r00"_s, u"x.r01"_s, u"x.sfv"_s}},
    {"any first character", {u"x.rar"_s, u"x.001"_s, u"x.r00"_s, u"x.s12"_s}},
    {"upper case", {u"x.RAR"_s, u"x.R00"_s, u"x.R01"_s}},
    {"other set between", {u"x.rar"_s, u"x.r00"_s, u"y.rar"_s, u"y.r00"_s}},
    {"new-style volumes", {u"x.part1.rar"_s, u"x.part2.rar"_s}},
    {"only higher volumes", {u"x.r"_s, u"x.rar"_s, u"x.rb"_s, u"x.s00"_s}},
    {"a name in a circle", {u"x.rar"_s, u"x.r00"_s, u"x.r9z"_s}},
    {"names of extension only", {u".rar"_s, u".r00"_s, u"a"_s}},
};
const Case sorting("files are sorted", sorted, [](const Sorted &row) {
    World t;
    QStringList names = row.files;
    do {
        std::next_permutation(names.begin(), names.end());
        QByteArray xml = "<nzb>";
        for (const QString &name : std::as_const(names))
            xml += file('"' + name.toUtf8() + '"');
        Nzb nzb(nullptr, {}, writeFile(t.dir.filePath(u"x.nzb"_s), xml + "</nzb>"));
        nzb.sortFiles();
        for (int i = 0; i < row.files.size(); ++i)
            QCOMPARE(nzb.fileAt(i)->name(), row.files[i]);
    } while (names != row.files);
});

struct Base {
    const char *name;
    QString base;
};
const Base bases[] = {
    {"movie.PART01.RAR", u"movie"_s},
    {"movie.vol003+02.par2", u"movie"_s},
    {"movie.001.rar", u"movie"_s},
    {"movie.0001.rar", u"movie.0001"_s},
    {"movie.12a.rar", u"movie.12a"_s},
    {"movie.apart.rar", u"movie.apart"_s},
    {"movie.part1.vol0+1.par2", u"movie.part1"_s},
    {"README", u"READM"_s},
    {".rar", u""_s},
};
const Case baseName("base name", bases, [](const Base &row) {
    const NzbFile one(nullptr, u"\"%1\""_s.arg(QLatin1StringView(row.name)), {}, 0, 0, 0, false, 0,
                      false);
    QCOMPARE(one.baseName(), row.base);
});

const Case bookkeeping("what a file counts", [] {
    NzbFile one(nullptr, uR"("a.rar" (1/3))"_s, {}, 0, 0, 0, false, 0, false);
    one.addSegment(10, 50, u"first"_s);
    one.addSegment(10, 50, u"second"_s); // replaces the first, but its bytes stay
    one.addSegment(1, 100, u"m1"_s);
    QVERIFY(one.isIncomplete()); // of three announced two are listed
    QCOMPARE(one.size(), quint64(200));
    int seqnr = 0;
    QCOMPARE(one.nextSegment(&seqnr), u"m1"_s);
    one.requeueSegment(10); // pending, not active
    one.requeueSegment(77);
    one.requeueSegment(1);
    QVERIFY(!one.hasActiveSegments());
    for (const QString &id : {u"m1"_s, u"second"_s, QString()})
        QCOMPARE(one.nextSegment(&seqnr), id);
    QCOMPARE(seqnr, 10);
    one.segmentDecoded(1, {}, 90, true, true);
    QCOMPARE(one.completedBytes(), quint64(90));
    one.segmentDecoded(10, u"b.tar.GZ"_s, 50, true, false);
    QCOMPARE(one.completedBytes(), quint64(200)); // jumps to the size
    QCOMPARE(one.name() + one.extension() + one.status(), u"b.tar.GZgzFinished incomplete"_s);
    QVERIFY(one.isYenc());
    one.segmentDecoded(10, u"README"_s, 1000, true, false);
    QCOMPARE(one.size(), quint64(1200));
    QCOMPARE(one.extension(), QString());

    NzbFile huge(nullptr, u"(1/99999999999)"_s, {}, 0, 0, 0, false, 0, false);
    huge.markRepaired();
    huge.segmentDecoded(1, {}, 1, true, true); // one more part than an int can count
    huge.addSegment(2, 1, u"m2"_s);
    QVERIFY(!huge.isIncomplete());
});

struct Cell {
    const char *name; // the subject
    QByteArray size;
    QString sizeText;
    QString icon;
    bool red = false;
};
const Cell cells[] = {
    {"\"x.rar\" (1/1)", "0", u"0.00 B"_s, u"compress"_s},
    {"\"x.r00\" (1/1)", "1023", u"1023.00 B"_s, u"compress"_s},
    {"\"x.001\" (1/1)", "1024", u"1.00 KB"_s, u"compress"_s},
    {"\"x.0r1\" (1/1)", "1048575", u"1024.00 KB"_s, u"page_white"_s},
    {"\"x.r000\" (1/1)", "1610612736", u"1.50 GB"_s, u"page_white"_s},
    {"\"upper.PAR2\" (1/1)", "5497558138880", u"5.00 TB"_s, u"plugin"_s},
    {"unquoted upper.RAR (1/1)", "9007199254740992", u"8192.00 TB"_s, u"page_white"_s},
    {"\"incomplete.mp3\" (1/2)", "1", u"1.00 B"_s, u"music"_s, true},
    {"\"x.iso\" (1/1)", "1", u"1.00 B"_s, u"cd_burn"_s},
    {"\"x.mkv\" (1/1)", "1", u"1.00 B"_s, u"film"_s},
    {"\"x.jpeg\" (1/1)", "1", u"1.00 B"_s, u"picture"_s},
};
const Case shown("a file's row", cells, [](const Cell &row) {
    const auto picture = [](const QIcon &icon) { return icon.pixmap(16).toImage(); };
    World t;
    t.add(u"a"_s, file(row.name, "size='" + row.size + "'"));
    const QModelIndex job = t.rows->index(0, 0);
    const QModelIndex cell = t.rows->index(0, 0, job);
    QCOMPARE(cell.siblingAtColumn(1).data().toString(), row.sizeText);
    QCOMPARE(picture(cell.data(Qt::DecorationRole).value<QIcon>()),
             picture(QIcon(u":/icons/%1.png"_s.arg(row.icon))));
    QCOMPARE(cell.siblingAtColumn(2).data(Qt::ForegroundRole).isValid(), row.red);
    QCOMPARE(picture(job.data(Qt::DecorationRole).value<QIcon>()),
             picture(QIcon(u":/icons/folder.png"_s)));
});

QByteArray ids(std::initializer_list<std::pair<int, int>> pairs)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    for (const auto &[parent, row] : pairs)
        stream << parent << row;
    return bytes;
}

struct Drop {
    const char *name;
    QByteArray dragged;
    int row;
    QList<int> onto; // job, file
    bool accepted = false;
    QString order = u"a(0123) b(45) c() d()"_s;
};
const Drop drops[] = {
    {"job into the gap behind it", ids({{-1, 1}}), 2, {}, true},
    {"job down, one too far", ids({{-1, 0}}), 2, {}, true, u"b(45) c() a(0123) d()"_s},
    {"two jobs up", ids({{-1, 2}, {-1, 3}}), 0, {}, true, u"c() d() a(0123) b(45)"_s},
    {"two jobs to the empty part",
     ids({{-1, 0}, {-1, 1}}),
     -1,
     {},
     true,
     u"b(45) d() a(0123) c()"_s},
    {"last job behind the end", ids({{-1, 0}, {-1, 3}}), 99, {}, true, u"b(45) c() d() a(0123)"_s},
    {"file onto sibling", ids({{0, 0}}), -1, {0, 2}, true, u"a(1203) b(45) c() d()"_s},
    {"file up", ids({{0, 3}}), 1, {0}, true, u"a(0312) b(45) c() d()"_s},
    {"file onto its own job", ids({{0, 0}}), -1, {0}},
    {"file onto another job's", ids({{0, 0}}), -1, {1, 1}},
    {"job onto file", ids({{-1, 1}}), -1, {0, 2}},
    {"into a file", ids({{0, 1}}), 0, {0, 0}},
    {"cut short", ids({{-1, 3}, {-1, 2}}).chopped(1), 0, {}, false, u"d() a(0123) b(45) c()"_s},
    {"endless", ids({{-1, 0}, {-1, 0}, {-1, 0}, {-1, 0}, {-1, 0}}), 0, {}},
    {"unknown parent", ids({{7, 0}}), -1, {0, 1}},
    {"negative place", ids({{-1, 0}}), -5, {}},
    {"row behind the last", ids({{-1, 4}}), 0, {}},
    {"lowest row", ids({{-1, std::numeric_limits<int>::min()}}), 0, {}},
};
const Case dropped("rows dropped", drops, [](const Drop &row) {
    World t;
    t.add(u"a"_s, files("0123"));
    t.add(u"b"_s, files("45"));
    t.add(u"c"_s, {});
    t.add(u"d"_s, {});
    const QAbstractItemModelTester tester(t.rows.get());
    QModelIndex onto;
    for (const int at : row.onto)
        onto = t.rows->index(at, 0, onto);
    const QPersistentModelIndex selected(t.rows->index(1, 0, t.rows->index(0, 0)));
    QCOMPARE(t.drop(row.dragged, row.row, onto), row.accepted);
    QCOMPARE(t.order(), row.order);
    QCOMPARE(selected.data().toString(), u"1"_s);
});

const Case droppedFiles("NZB files dropped", [] {
    World t;
    t.add(u"a"_s, {});
    const auto write = [&](const QString &name, const QByteArray &content) {
        return QUrl::fromLocalFile(writeFile(t.dir.filePath(name), content));
    };
    QMimeData data;
    QVERIFY(!t.rows->dropMimeData(&data, Qt::CopyAction, 0, 0, {}));
    data.setData(u"application/nzbmodel.rowids"_s, ids({{-1, 0}}));
    data.setUrls({write(u"C.NZB"_s, "<nzb/>"), write(u"note.txt"_s, "<nzb/>"),
                  QUrl(u"http://127.0.0.1/x.nzb"_s), write(u"bad.nzb"_s, "hello"),
                  write(u"b.nzb"_s, "<nzb/>")});
    QVERIFY(t.rows->dropMimeData(&data, Qt::IgnoreAction, 0, 0, {}));
    QCOMPARE(t.order(), u"a()"_s);
    QVERIFY(t.rows->dropMimeData(&data, Qt::CopyAction, 0, 0, {}));
    QCOMPARE(t.order(), u"a() C() b()"_s);
});

struct ModelFile {
    QString name;
    QMap<int, QString> waiting;
    QMap<int, QString> busy = {};
    bool paused = false;
};
struct ModelJob {
    QString name;
    QList<ModelFile> files;
};
/// Random days in the life of a queue, beside the plainest model of it.
const Case likeItsModel("a queue does what its model does", [] {
    QRandomGenerator random = seededRandom();
    const auto below = [&](qsizetype n) { return int(random.bounded(qint64(n))); };
    World t;
    t.set("pausePAR2", true);
    auto tester = std::make_unique<QAbstractItemModelTester>(t.rows.get());
    QList<ModelJob> model;
    int id = 0;
    for (int step = 0; step < 1500; ++step) {
        const int what = model.isEmpty() ? 0 : below(12);
        const int j = below(std::max<qsizetype>(1, model.size()));
        const int f = model.isEmpty() ? -1 : below(model[j].files.size() + 1) - 1; // -1: the job
        ModelFile *one = f < 0 ? nullptr : &model[j].files[f];
        Nzb *job = model.isEmpty() ? nullptr : t.job(j);
        const QModelIndex level = f < 0 ? QModelIndex() : t.rows->index(j, 0);
        if (what == 0 && model.size() < 6) {
            ModelJob fresh{u"job%1"_s.arg(++id), {}};
            QByteArray xml;
            for (const char name : {'a', 'b', 'c'}) {
                QByteArray segments;
                ModelFile posted{QLatin1Char(name) + (name == 'c' ? u".par2"_s : u".bin"_s), {}};
                for (int number = 1 + below(3); number > 0; --number) {
                    const QString message = u"%1%2%3"_s.arg(id).arg(name).arg(number);
                    posted.waiting.insert(number, message);
                    segments += "<segment bytes='10' number='" + QByteArray::number(number) + "'>"
                                + message.toUtf8() + "</segment>";
                }
                posted.paused = name == 'c';
                xml += file('"' + posted.name.toUtf8() + "\" (1/3)", {}, segments);
                fresh.files << posted;
            }
            model << fresh;
            t.add(fresh.name, xml);
        } else if (what == 1 && below(3) == 0) {
            t.engine->deleteItem(
                NzbModel::itemAt(t.rows->index(std::max(f, f < 0 ? j : f), 0, level)));
            f < 0 ? model.removeAt(j) : model[j].files.removeAt(f);
        } else if (what < 4 && job) { // a drag to a gap, or onto a row
            const qsizetype count = f < 0 ? model.size() : model[j].files.size();
            const int from = f < 0 ? j : f;
            const int to = below(count + 1);
            const bool onto = to < count && below(2);
            const std::unique_ptr<QMimeData> data(
                t.rows->mimeData({t.rows->index(from, 0, level), t.rows->index(from, 1, level)}));
            t.rows->dropMimeData(data.get(), Qt::CopyAction, onto ? -1 : to, 0,
                                 onto ? t.rows->index(to, 0, level) : level);
            const qsizetype place = std::min<qsizetype>(to, count - 1);
            if (from != to && from + 1 != to)
                f < 0 ? model.move(from, place) : model[j].files.move(from, place);
        } else if (what == 4 && one) {
            job->fileAt(f)->setPaused(one->paused = !one->paused);
        } else if (what < 8) {
            ModelFile *expected = nullptr;
            for (ModelJob &each : model) {
                for (ModelFile &file : each.files)
                    expected = expected || file.paused || file.waiting.isEmpty() ? expected : &file;
            }
            NzbFile *got = nullptr;
            int number = 0;
            QString message;
            QCOMPARE(t.engine->hasWork(), expected != nullptr);
            QCOMPARE(t.engine->nextArticle(got, number, message), expected != nullptr);
            if (expected) {
                QCOMPARE(got->name() + message, expected->name + expected->waiting.first());
                QCOMPARE(number, expected->waiting.firstKey());
                expected->busy.insert(number, expected->waiting.take(number));
            }
        } else if (what < 11 && one && !one->busy.isEmpty()) {
            const int number = one->busy.firstKey();
            if (what == 8) {
                job->fileAt(f)->segmentDecoded(number, {}, 10, true, true);
            } else if (what == 9) {
                job->fileAt(f)->segmentNotFound(number);
            } else {
                job->fileAt(f)->requeueSegment(number);
                one->waiting.insert(number, one->busy.value(number));
            }
            one->busy.remove(number);
        } else if (what == 11 && below(4) == 0) {
            t.engine->saveQueue();
            QByteArrayList before = t.document().split('\n');
            tester.reset();
            t.restart();
            tester = std::make_unique<QAbstractItemModelTester>(t.rows.get());
            QCOMPARE(t.load(), QString());
            t.engine->saveQueue();
            QByteArrayList after = t.document().split('\n');
            std::sort(before.begin(), before.end()); // what was under way stood first
            std::sort(after.begin(), after.end());
            QCOMPARE(after, before);
            for (ModelJob &each : model) {
                for (ModelFile &file : each.files) {
                    file.waiting.insert(file.busy);
                    file.busy.clear();
                }
            }
        }
        QStringList expected;
        for (int i = 0; i < model.size(); ++i) {
            QString names;
            for (int k = 0; k < model[i].files.size(); ++k) {
                const ModelFile &file = model[i].files[k];
                const NzbFile *real = t.job(i)->fileAt(k);
                names += file.name;
                QCOMPARE(real->hasPendingSegments(), !file.waiting.isEmpty());
                QCOMPARE(real->hasActiveSegments(), !file.busy.isEmpty());
                QCOMPARE(real->isPaused(), file.paused);
            }
            expected << model[i].name + u'(' + names + u')';
        }
        QCOMPARE(t.order(), expected.join(u' '));
    }
});

const Case wholeDocument("the queue file", [] {
    World t;
    Nzb *nzb = t.add(u"abc"_s, file("\"abc.rar\" (1/3)", {},
                                    "<segment number='1' bytes='100'>a@b</segment>"
                                    "<segment number='2' bytes='100'>c&amp;d@b</segment>"
                                    "<segment number='3' bytes='100'>e@b</segment>")
                                   + "<file subject='.plain'/>");
    NzbFile *rar = EngineFixture::fileOf(nzb, u"abc.rar"_s);
    int number = 0;
    rar->nextSegment(&number);
    rar->segmentDecoded(number, {}, 90, true, true);
    rar->nextSegment(&number); // stays under way
    rar->setPaused(true);
    nzb->addExtractedFile(u"abc.iso"_s, 1000);
    t.engine->saveQueue();
    QCOMPARE(t.document(), R"xml(<?xml version="1.0" encoding="UTF-8"?>
<!--Marlowick queue file - looks a bit like a NZB but is not-->
<qzb>
    <nzb name="abc">
        <file size="0" completed="0" subject=".plain">
            <segments/>
        </file>
        <file size="300" completed="90" paused="1" completedparts="1" yenc="1" subject="&quot;abc.rar&quot; (1/3)">
            <segments>
                <segment number="2">c&amp;d@b</segment>
                <segment number="3">e@b</segment>
            </segments>
        </file>
        <relatedfiles>
            <extractedfile name="abc.iso" size="1000"/>
        </relatedfiles>
    </nzb>
</qzb>
)xml");
    QVERIFY(contentsOf(t.path()).startsWith("\x1f\x8b"));
    QVERIFY(!QFile::exists(t.path() + ".old"_L1)); // there was nothing to back up
    constexpr auto others = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    QVERIFY(!(QFileInfo(QFileInfo(t.path()).path()).permissions() & others));
});

struct Loaded {
    const char *name;
    QByteArray content;
    QString error = {};
    QString order = {};
};
const QString damaged = u"Error parsing queue file"_s;
const Loaded loaded[] = {
    {"no compression, another root", "<x><nzb name='a'/><nzb name='b.nzb'/></x>", {}, u"a() b()"_s},
    {"outside of a job", "<qzb>x<file subject='a.bin'/><segment>y</segment></qzb>"},
    {"names that lead elsewhere",
     "<qzb><nzb name='../../x'/><nzb name='..'/><nzb name='.'/><nzb/></qzb>",
     {},
     u".._.._x() _..() _.() _()"_s},
    {"jobs in jobs", "<qzb><nzb name='a'><nzb name='b'/></nzb></qzb>", {}, u"a() b()"_s},
    {"empty, as a crash leaves it", "", damaged},
    {"cut short", "<qzb><nzb name='a'/><nzb name='b'/>", damaged, u"a() b()"_s},
    {"bad compression", "\x1f\x8b nonsense", damaged},
};
const Case loading("load", loaded, [](const Loaded &row) {
    World t;
    writeFile(t.path(), row.content);
    QCOMPARE(t.load(), row.error);
    QCOMPARE(t.order(), row.order);
});

// What an NZB smuggles in must not make the queue file unreadable, which would lose all jobs.
const Case hostile("hostile texts", [] {
    World t;
    Nzb *nzb = t.add(u"abc"_s, file("&#xD800;x&#1;.bin", {},
                                    "<segment number='1'>half &#xDC00; &#xFFFE; pair</segment>"
                                    "<segment number='2'>&lt;/segment></segment>")
                                   + file(QByteArray(600'000, '"')) + file("\"a&quot;b\""));
    nzb->addExtractedFile(u"film\xFFFF"_s, 1);
    t.engine->saveQueue();
    t.engine->saveQueue();
    QCOMPARE(t.document(u".old"_s), t.document()); // what is dropped counts as no failure
    t.restart();
    QCOMPARE(t.load(), QString());
    QCOMPARE(t.job(0)->fileCount(), 3);
});

/// Lowers a limit of the process, as long as it lives.
struct Limited {
    Limited(__rlimit_resource which, rlim_t limit)
        : resource(which)
    {
        getrlimit(resource, &before);
        const rlimit low{limit, before.rlim_max};
        setrlimit(resource, &low);
    }
    ~Limited() { setrlimit(resource, &before); }
    Q_DISABLE_COPY_MOVE(Limited)

    __rlimit_resource resource;
    rlimit before{};
};

const Case backup("the backup is one save old, whatever happens to a save", [] {
    World t;
    QVERIFY(QDir().mkpath(t.path() + ".old/x"_L1)); // no backup: it does not take the queue's place
    {
        const Limited noHandles(RLIMIT_NOFILE, 0);
        t.engine->saveQueue();
    }
    QVERIFY(!QFile::exists(t.path()));
    QVERIFY(QDir(t.path() + ".old"_L1).removeRecursively());
    t.add(u"a"_s, {});
    t.engine->saveQueue();
    const QByteArray first = t.document();
    t.add(u"b"_s, {});
    t.engine->saveQueue();
    const QByteArray second = t.document();
    QCOMPARE(t.document(u".old"_s), first);
    t.add(u"c"_s, {});
    t.errors.clear();
    t.engine->setSaveInterval(0);
    {
        const Limited noHandles(RLIMIT_NOFILE, 0);
        t.engine->saveQueue();
    }
    QCOMPARE(t.errors, QStringList{u"Error saving queue file"_s});
    QCOMPARE(t.document(), second);
    for (int i = 0; i < 10; ++i)
        QCoreApplication::processEvents();
    QCOMPARE(t.document(), second); // no further try until the timer is started anew
    std::signal(SIGXFSZ, SIG_IGN);
    {
        const Limited fullDisk(RLIMIT_FSIZE, 20);
        t.engine->saveQueue();
        t.engine->saveQueue(); // must not put the damaged file in the place of the backup
    }
    QCOMPARE(t.document(u".old"_s), second);
    t.restart();
    QCOMPARE(t.load(), damaged); // only the next start tells
    t.engine->loadBackup();
    QCOMPARE(t.order(), u"a() b()"_s);
    t.engine->saveQueue();
    QCOMPARE(t.document(u".old"_s), second); // the damaged file has not taken its place
});

struct Late {
    const char *name;
    Reply reply;
    bool wholeJob = false;
};
const Late lateResults[] = {
    {"job, article arrives", Reply::ordinary(), true},
    {"job, connection cut", Reply::ordinary().cutAfter(500), true},
    {"file, article arrives", Reply::ordinary()},
    {"file, article missing", Reply::code("430 no")},
    {"file, connection cut", Reply::ordinary().cutAfter(500)},
};
const Case late("a late result frees what was removed", lateResults, [](const Late &row) {
    World t;
    t.set("threads", 2);
    Post doomed(u"doomed"_s);
    doomed.addYenc(u"gone.bin"_s, randomBytes(1, 2000), 1000);
    Post other(u"other"_s);
    other.addYenc(u"kept.bin"_s, randomBytes(2, 5000), 1000);
    const QByteArray first = doomed.file(0).id(1);
    for (const QByteArray &id : {first, doomed.file(0).id(2)})
        t.server->script(When::body(id), row.reply, 1);
    const QPointer<Nzb> nzb(t.startHeld(doomed));
    const QPointer<NzbFile> gone(nzb->fileAt(0));
    t.start(other);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    if (row.wholeJob)
        t.engine->deleteFiles(nzb); // with its folder, so that the late article cannot be written
    t.engine->deleteItem(row.wholeJob ? static_cast<INzbItem *>(nzb) : gone);
    QVERIFY(gone); // its articles are under way
    t.server->release(first);
    QTRY_VERIFY(!t.server->waiting().contains(first));
    t.server->releaseAll();
    QTRY_VERIFY(!gone);
    QCOMPARE(nzb.isNull(), row.wholeJob);
    QTRY_COMPARE(t.completedFiles, QStringList{u"kept.bin"_s});
    QVERIFY(t.completedJobs.contains(u"other"_s));
    QVERIFY(t.errors.isEmpty());
});

const Case ownFiles("only the job's own files are deleted", [] {
    World t;
    Post post;
    for (const QString &name : {u"own.bin"_s, u".hidden"_s, u"/etc/x"_s, u"\\x"_s, u"c:x"_s,
                                u"../../victim"_s, u"link"_s, u"sub/../../../victim"_s})
        post.addYenc(name, "x").subject = u'"' + name + "\" (1/1)"_L1;
    PostedFile &parts = post.addUuencoded(u"text.txt"_s, randomBytes(1, 45 * 30), 10);
    t.server->hold(parts.id(3));
    for (int i = 0; i < 8; ++i)
        post.file(i).segment(1).onServer = false;
    t.set("threads", 1);
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.server->waiting().size(), 1);
    const QDir folder(nzb->folder());
    QCOMPARE(folder.entryList({u"*.uu*"_s}).size(), 2);
    const QString victim = writeFile(t.dir.filePath(u"victim"_s));
    for (const QString &name :
         {u"own.bin"_s, u"own.bin.1"_s, u"own.bin.2"_s, u".hidden"_s, u"c:x"_s, u"unknown"_s})
        writeFile(folder.filePath(name));
    QVERIFY(QFile::link(victim, folder.filePath(u"link"_s)));
    QVERIFY(folder.mkpath(u"sub/deeper"_s) && folder.mkpath(u"full"_s));
    for (const QString &name : {u"sub/made.bin"_s, u"full/unknown"_s})
        writeFile(folder.filePath(name));
    nzb->addExtractedFile(u"sub/made.bin"_s, 0);
    nzb->addExtractedFile(u"sub/../../../victim"_s, 0);
    t.engine->deleteFiles(nzb);
    QVERIFY(QFile::exists(victim));
    QCOMPARE(folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             (QStringList{u".hidden"_s, u"c:x"_s, u"full"_s, u"link"_s, u"unknown"_s}));
});

/// Keeps the last progress bar that it was asked for.
struct RecordingStyle : QProxyStyle {
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *,
                     const QWidget *) const override
    {
        if (element == CE_ProgressBar)
            bar = *qstyleoption_cast<const QStyleOptionProgressBar *>(option);
    }
    mutable std::optional<QStyleOptionProgressBar> bar;
};

struct Bar {
    const char *name;
    int progress = -1; // plain text
};
const Bar bars[] = {{"45 %", 45}, {"250 %", 250}, {" %", 0}, {"done 12 %", 0}, {"45%"}, {"45 % "}};
const Case bar("percentages are bars", bars, [](const Bar &row) {
    auto *style = new RecordingStyle; // the application owns it
    QApplication::setStyle(style);
    QStandardItemModel model;
    model.appendRow(new QStandardItem(QString::fromLatin1(row.name)));
    QStyleOptionViewItem cell;
    cell.rect = QRect(10, 20, 80, 18);
    cell.state = QStyle::State_Enabled | QStyle::State_Selected;
    QImage image(100, 40, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    ProgressbarDelegate(nullptr).paint(&painter, cell, model.index(0, 0));
    QCOMPARE(style->bar.has_value(), row.progress >= 0);
    if (!style->bar)
        return;
    QCOMPARE(style->bar->text, QLatin1StringView(row.name));
    QCOMPARE(style->bar->progress, row.progress);
    QCOMPARE(style->bar->maximum, 100);
    QCOMPARE(style->bar->rect, cell.rect);
    QCOMPARE(style->bar->state, QStyle::State_Horizontal);
    QVERIFY(style->bar->textVisible);
});

} // namespace
