// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Jobs and files, how the view shows them, and how they outlive a run.
#include <QAbstractItemModelTester>
#include <QDataStream>
#include <QMimeData>

#include <algorithm>
#include <csignal>
#include <quazip/quagzipfile.h>
#include <sys/resource.h>

#include "engine/enginefixture.h"
#include "queue/nzbmodel.h"
#include "support/case.h"

namespace {

/// An engine that downloads nothing unless it is told to, and the model of its queue.
struct World : EngineFixture {
    World() { set("threads", 0); }
    Nzb *add(const QString &name, const QByteArray &xml)
    {
        return engine->addNZB(writeFile(dir.filePath(name + ".nzb"), "<nzb>" + xml + "</nzb>"));
    }
    /// Another run of the program on the same files.
    void restart()
    {
        rows.reset();
        engine = std::make_unique<Marlowick>(nullptr);
        rows = std::make_unique<NzbModel>(nullptr, engine->jobs());
        engine->loadQueue({});
    }
    [[nodiscard]] QByteArray document(const QString &suffix = {}) const
    {
        QuaGzipFile file(path + suffix);
        return file.open(QIODevice::ReadOnly) ? file.readAll().simplified() : "(no file)";
    }
    /// A column of the jobs with their files behind them: "a(1 2) b()".
    [[nodiscard]] QString shown(int column = 0, const QModelIndex &parent = {}) const
    {
        QStringList all;
        for (int i = 0; i < rows->rowCount(parent); ++i) {
            const QModelIndex at = rows->index(i, 0, parent);
            all << at.siblingAtColumn(column).data().toString();
            if (!parent.isValid())
                all.last() += '(' + shown(column, at) + ')';
        }
        return all.join(' ');
    }

    const QString path = dir.filePath("Marlowick/queue.qzb");
    std::unique_ptr<NzbModel> rows = std::make_unique<NzbModel>(nullptr, engine->jobs());
};

QByteArray file(const QByteArray &name, const QByteArray &attributes = {})
{
    return "<file subject='\"" + name + "\"' " + attributes
           + "><segment number='1'>a</segment></file>";
}

QByteArray files(const QString &names)
{
    QByteArray all;
    for (const QString &name : names.split(' '))
        all += file(name.toUtf8());
    return all;
}

const Case rows("what the rows tell", [] {
    World t;
    const QByteArray done = "<file size='10' completed='10' completedparts='1'/>";
    const QByteArray held = file("a", "size='10' completed='5' paused='1'");
    const QByteArray par2 = file("b.par2", "size='10' completed='5' paused='1'");
    for (const QByteArray &one : QByteArrayList{
             done + par2, par2, done + held, held + par2, "<file size='10' completed='10'/>" + done,
             file("a", "size='10'") + par2, file("a", "size='200' completed='99'") + par2,
             file("a", "size='1' completed='-1'"), file("a")})
        t.add("job", one);
    QCOMPARE(t.shown(2),
             "Finished(Finished Paused) Finished(Paused) 100 %(Finished Paused) "
             "Paused(Paused Paused) Finished incomplete(Finished incomplete Finished) "
             "(Queued Paused) 50 %(50 % Paused) 2147483647 %(2147483647 %) Finished(-empty file-)");
    t.add("sizes", "<file subject='8.mkv (1/2)'/><file subject='9.RAR'/>" + file("0.rar")
                       + file("1.r00", "size='1023'") + file("2.001", "size='1024'")
                       + file("3.0r1", "size='1048575'") + file("4.r000", "size='1610612736'")
                       + file("5.PAR2", "size='5497558138880'")
                       + file("6.par", "size='9007199254740992'"));
    const QModelIndex job = t.rows->index(9, 0);
    QVERIFY(t.shown(1).endsWith("8197.00 TB(0.00 B 0.00 B 0.00 B 1023.00 B 1.00 KB 1024.00 KB "
                                "1.50 GB 5.00 TB 8192.00 TB)"));
    QList<qint64> pictures;
    QString same; // the first row of the same picture
    for (int i = 0; i < 9; ++i) {
        const QModelIndex row = t.rows->index(i, 0, job);
        pictures << row.data(Qt::DecorationRole).value<QIcon>().cacheKey();
        same += QString::number(pictures.indexOf(pictures.last()));
        same += row.data(Qt::ForegroundRole).isValid() ? "! " : " ";
    }
    QCOMPARE(same, "0! 1! 2 2 2 0 0 7 7 ");
});

const Case sorting("files are sorted", [] {
    World t;
    const QAbstractItemModelTester tester(t.rows.get());
    const QString rows = "x.nfo x.rar x.r00 x.r01 x.sfv, x.rar x.001 x.r00 x.s12, .rar .r00 a, "
                         "x.RAR x.R00 x.R01, x.rar x.r00 y.rar y.r00, x.part1.rar x.part2.rar, "
                         "x.r x.rar x.rb x.s00, x.rar x.r00 x.r9z";
    for (const QString &row : rows.split(", ")) {
        QStringList names = row.split(' ');
        do {
            std::next_permutation(names.begin(), names.end());
            Nzb *job = t.add("x", files(names.join(' ')));
            QCOMPARE(t.shown(0, t.rows->index(0, 0)), row);
            t.engine->deleteItem(job->fileAt(0));
            t.engine->deleteItem(job);
        } while (names.join(' ') != row);
    }
});

const Case dropped("rows dropped", [] {
    World t;
    const QAbstractItemModelTester tester(t.rows.get());
    t.add("a", files("0 1 2 3"));
    t.add("b", files("4 5"));
    t.add("c", {});
    const QPersistentModelIndex a(t.rows->index(0, 0));
    const QPersistentModelIndex selected(t.rows->index(1, 0, a));
    // Of each row that is dragged: that of its parent, and its own.
    const auto drop = [&t](const QString &dragged, int row,
                           const QModelIndex &onto = {}) -> QString {
        QByteArray ids;
        QDataStream stream(&ids, QIODevice::WriteOnly);
        for (const QString &number : dragged.split(' '))
            stream << number.toInt();
        QMimeData data;
        data.setData("application/nzbmodel.rowids", ids);
        return t.rows->dropMimeData(&data, Qt::CopyAction, row, 0, onto) ? t.shown() : "refused";
    };
    QCOMPARE(drop("-1 1", 2), "a(0 1 2 3) b(4 5) c()"); // the gap behind it
    QCOMPARE(drop("-1 0", 2), "b(4 5) c() a(0 1 2 3)"); // one too far
    QCOMPARE(drop("-1 1 -1 2", 0), "c() a(0 1 2 3) b(4 5)");
    QCOMPARE(drop("-1 0 -1 1", -1), "a(0 1 2 3) c() b(4 5)"); // the empty part
    QCOMPARE(drop("-1 0 -1 2", 99), "c() b(4 5) a(0 1 2 3)");
    QCOMPARE(drop("2 0", -1, t.rows->index(2, 0, a)), "c() b(4 5) a(1 2 0 3)");
    QCOMPARE(drop("2 3", 0, a), "c() b(4 5) a(3 1 2 0)");
    QCOMPARE(selected.data().toString(), "1");
    for (const char *dragged : {"-1 2 -1", "-1 0 -1 0 -1 0 -1 0", "-1 3", "-1 -1", "2 0"})
        QCOMPARE(drop(dragged, 0), "refused");
    QCOMPARE(drop("-1 0", -5), "refused");
    QCOMPARE(drop("1 0", -1, t.rows->index(1, 0, a)), "refused"); // another job's
    QCOMPARE(drop("2 1", 0, selected), "refused");
    QCOMPARE(t.shown(), "a(3 1 2 0) c() b(4 5)"); // the first row of those cut short has moved
});

const Case droppedFiles("NZB files dropped, then dragged", [] {
    World t;
    const QSignalSpy inserted(t.rows.get(), &NzbModel::rowsInserted);
    QMimeData data;
    QVERIFY(!t.rows->dropMimeData(&data, Qt::CopyAction, 0, 0, {}));
    QList<QUrl> urls{QUrl("http://127.0.0.1/x.nzb"), QUrl("file:///none.nzb")};
    for (const char *name : {"C.NZB", "note.txt", "b.nzb"})
        urls << QUrl::fromLocalFile(writeFile(t.dir.filePath(name), "<nzb/>"));
    data.setUrls(urls);
    QObject::connect(t.rows.get(), &NzbModel::nzbFileDropped, [&](const QString &nzb) {
        if (QFile::exists(nzb))
            t.engine->addNZB(nzb);
    });
    QVERIFY(t.rows->dropMimeData(&data, Qt::IgnoreAction, 0, 0, {}));
    QVERIFY(t.rows->dropMimeData(&data, Qt::CopyAction, 0, 0, {}));
    QCOMPARE(t.shown(), "C() b()");
    QCOMPARE(inserted.size(), 2);
    const std::unique_ptr<QMimeData> drag(
        t.rows->mimeData({t.rows->index(1, 0), t.rows->index(0, 1)}));
    QVERIFY(t.rows->dropMimeData(drag.get(), Qt::MoveAction, 0, 0, {}));
    QCOMPARE(t.shown(), "b() C()");
});

const Case document("the queue file", [] {
    World t;
    t.set("pausePAR2", true);
    const Nzb *job = t.add("abc", R"(
        <file subject='"abc.rar" (1/3)'><segment number='1' bytes='100'>a</segment>
        <segment number='2' bytes='90'>b&amp;</segment><segment number='3' bytes='80'>c</segment>
        <segment number='2' bytes='30'>b&amp;b</segment></file>
        <file subject='"c.001" (1/2)'><segment number='1' bytes='400'>d</segment>
        <segment number='2'>e</segment></file>
        <file subject='"d.par2"'><segment number='1' bytes='1'>f</segment></file>
        <file subject='.plain&auml;' size='9999999999999999999' completed='x'/><file paused='0'
        subject='"a&#1;&#xD800;&#9;&#10;&#13; &#xFFFE;.bin"' size='70' yenc='0' completedparts='1'/>
        <extractedfile name='sub/b&#xFFFF;.iso' size='5000000000'/><extractedfile name='a..b'/>
        <extractedfile/><extractedfile name=''/><extractedfile name='/a'/><extractedfile name='\a'/>
        <extractedfile name='.a'/><extractedfile name='c:d'/>)");
    int number = 7;
    NzbFile *rar = job->fileAt(2);
    rar->nextSegment(&number);
    rar->segmentDecoded(number, {}, 310, true, true); // more than was announced
    rar->nextSegment(&number);
    rar->requeueSegment(1); // is not under way
    NzbFile *piece = job->fileAt(3);
    piece->nextSegment(&number);
    piece->segmentNotFound(number);
    piece->nextSegment(&number);
    piece->segmentDecoded(number, "e.tar.GZ", 300, true, false);
    job->fileAt(1)->markLost();
    const QString shown = t.shown(2);
    QCOMPARE(shown, "100 %(-empty file- Finished incomplete 100 % Finished incomplete Paused)");
    t.engine->saveQueue();
    QCOMPARE(t.document(), QByteArray(R"xml(<?xml version="1.0" encoding="UTF-8"?>
        <!--Marlowick queue file - looks a bit like a NZB but is not--> <qzb> <nzb name="abc">
        <file size="0" completed="0" subject=".plain"> <segments/> </file>
        <file size="70" completed="0" paused="1" yenc="1"
        subject="&quot;a?&#9;&#10;&#13; .bin&quot; (1/1)"> <segments/> </file>
        <file size="310" completed="310" completedparts="1" yenc="1"
        subject="&quot;abc.rar&quot; (1/3)"> <segments> <segment number="2">b&amp;b</segment>
        <segment number="3">c</segment> </segments> </file>
        <file size="400" completed="400" completedparts="1"
        subject="&quot;e.tar.GZ&quot; (1/2)"> <segments/> </file>
        <file size="1" completed="0" paused="1" subject="&quot;d.par2&quot; (1/1)"> <segments>
        <segment number="1">f</segment> </segments> </file>
        <relatedfiles> <extractedfile name="a..b" size="0"/>
        <extractedfile name="sub/b.iso" size="5000000000"/> </relatedfiles> </nzb> </qzb>)xml")
                               .simplified());
    QVERIFY(!QFile::exists(t.path + ".old")); // there was nothing to back up
    // The folder is for the user's eyes only.
    QCOMPARE(QFileInfo(QFileInfo(t.path).path()).permissions() & 0x77, QFile::Permissions());
    t.restart();
    QCOMPARE(t.shown(2), shown);
    QCOMPARE(t.engine->queue()->first()->fileAt(2)->nextSegment(&number), "b&b");
    t.add("long", file(QByteArray(600'000, '"')));
    t.engine->saveQueue();
    t.restart();
});

const Case loading("odd queue files", [] {
    World t;
    const auto loaded = [&t](const QByteArray &content) {
        writeFile(t.path, content);
        t.restart();
        return t.shown();
    };
    QCOMPARE(loaded("<x><nzb name='a'/><nzb name='b.nzb'/></x>"), "a() b()");
    QCOMPARE(loaded("<qzb>x<file subject='a.bin'/><segment>y</segment></qzb>"), "");
    QCOMPARE(loaded("<qzb><nzb name='../../x'/><nzb name='..'/><nzb name='.'/><nzb/></qzb>"),
             ".._.._x() _..() _.() _()");
    QCOMPARE(loaded("<qzb><nzb name='a'><nzb name='b'/></nzb></qzb>"), "a() b()");
    for (const char *content :
         {"", "\x1f\x8b nonsense", "<qzb><nzb name='a'/><nzb name='b'><file>"})
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, loaded(content));
    QCOMPARE(t.shown(), "a() b(.)");
});

/// Saves the queue under a limit of the process.
void saveWithin(World &t, __rlimit_resource which, rlim_t most)
{
    rlimit before{};
    getrlimit(which, &before);
    const rlimit low{most, before.rlim_max};
    setrlimit(which, &low);
    t.engine->saveQueue();
    setrlimit(which, &before);
}

const Case backup("the backup is one save old, whatever happens to a save", [] {
    World t;
    t.add("a", {});
    t.engine->saveQueue();
    t.add("b", {});
    t.engine->saveQueue();
    const QByteArray second = t.document();
    t.add("c", {});
    t.engine->setSaveInterval(0);
    saveWithin(t, RLIMIT_NOFILE, 0);
    QCOMPARE(t.errors, QStringList{"Error saving queue file"});
    QCoreApplication::processEvents();
    QCOMPARE(t.document(), second); // no further try until the timer is started anew
    std::signal(SIGXFSZ, SIG_IGN);
    saveWithin(t, RLIMIT_FSIZE, 20); // a full disk
    saveWithin(t, RLIMIT_FSIZE, 20); // must not put the damaged file in the place of the backup
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, t.restart()); // only the next start tells
    const QAbstractItemModelTester tester(t.rows.get());
    t.engine->loadBackup();
    QCOMPARE(t.shown(), "a() b()");
    t.engine->saveQueue();
    QCOMPARE(t.document(".old"), second); // the damaged file has not taken its place
});

const Case background("of saves in the background the last one wins, and the end waits for it", [] {
    World t;
    for (const char *name : {"a", "b", "c"}) {
        t.add(name, {});
        t.engine->saveQueueInBackground();
    }
    t.add("d", {});
    t.restart();
    QCOMPARE(t.shown(), "a() b() c()");
    QVERIFY(!t.document(".old").contains("\"b\"")); // which gave way while the first was written
    QVERIFY(QDir(t.dir.filePath("Marlowick")).removeRecursively());
    QSignalSpy failed(t.engine.get(), &Marlowick::error);
    t.engine->saveQueueInBackground();
    QTRY_COMPARE(failed.size(), 1);
});

const Case removal("only the job's own files are deleted, and it goes with its last article", [] {
    World t;
    Post post;
    const QByteArray last = post.addUuencoded("text.txt", randomBytes(1, 45 * 30), 10).id(3);
    post.upload(*t.server);
    t.server->hold(last);
    t.set("threads", 1);
    QByteArray xml = files("!own.bin .hidden /etc/x \\x c:x ../../victim link") + "</nzb>";
    xml = post.nzb().replace("</nzb>", xml);
    const QPointer<Nzb> nzb(t.engine->addNZB(writeFile(t.dir.filePath("x.nzb"), xml)));
    QTRY_COMPARE(t.server->waiting(), QList{last});
    const QDir folder(nzb->folder());
    const auto left = [&folder] {
        return folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).join(' ');
    };
    QVERIFY(QFile::link(writeFile(t.dir.filePath("victim")), folder.filePath("link")));
    QVERIFY(folder.mkpath("sub/deeper") && folder.mkpath("full"));
    for (const char *name : {"!own.bin", "!own.bin.1", "!own.bin.2", ".hidden", "c:x", "unknown",
                             "sub/made.bin", "full/unknown"})
        writeFile(folder.filePath(name));
    nzb->addExtractedFile("sub/made.bin", 0);
    nzb->addExtractedFile("sub/../../../victim", 0);
    t.engine->deleteFiles(nzb);
    QVERIFY(QFile::exists(t.dir.filePath("victim")));
    QCOMPARE(left(), ".hidden c:x full link unknown");
    t.engine->deleteItem(nzb);
    QVERIFY(nzb); // an article is under way
    t.server->releaseAll();
    QTRY_VERIFY(!nzb);
    Nzb *away = t.add("away", files("victim"));
    QVERIFY(QDir().rmdir(away->folder()) && QFile::link(t.dir.path(), away->folder()));
    t.engine->deleteFiles(away);
    QVERIFY(QFile::exists(t.dir.filePath("victim")));
});

} // namespace
