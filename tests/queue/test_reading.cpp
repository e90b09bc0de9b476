// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What the program makes of foreign XML, subject lines and paths, up to a job in the queue.
#include <QXmlDefaultHandler>

#include "engine/enginefixture.h"
#include "queue/jobpath.h"
#include "queue/readxml.h"
#include "support/case.h"

namespace {

const Case subject("what a subject line tells", [] {
    // Name, extension, name without volume, parts. A name without quotes loses its first character.
    QString rows =
        "x 'm.part01.RAR' 'c.d' => m.part01.RAR rar m 1, x.y 'READ' => READ  REA 1, "
        "'.b' => .b b  1, 'm.001.b' => m.001.b b m 1, 'm.0001.b' => m.0001.b b m.0001 1, "
        "'m.12a.b' => m.12a.b b m.12a 1, 'm.apart.b' => m.apart.b b m.apart 1, "
        "'m.part1.vol0.b' => m.part1.vol0.b b m.part1 1, a 'a.VOL3+2.t yEnc => a.VOL3+2.t t a 1, "
        "/a:\\?*&`<>'|a.b => a.b b a 1, [1/9] a.b-d.MKV => a.b-d.MKV MKV a.b-d 1, "
        "x fil\u00e9.\u00e9x\u0661- => fil\u00e9.\u00e9x\u0661 \u00e9x\u0661 fil\u00e9 1, "
        "x:n.e => n.e e n 1, x\\n.e => n.e e n 1, ab.:c => b.  b 1, a b => .a a  1,  => .   1, "
        "a.txt => .txt txt  1, ab.TXT => b.TXT TXT b 1, .hid file => .hid file  .hid fil 1, "
        "(1/5) a (3/10) => .   10, (3/10) a (1/x) [1/20] => .   10, (1(2/3) => .   1, "
        "((2/3) => .   3, (1/2/3) => .   2, (1 /2) => .   1, (/2) => .   1, (1/007 => .   7, "
        "(0/1 => .   1, (9/0) => .   0, (1/ => .   1, (1/99999999999 => .   2147483647";
    rows.replace('\'', '"');
    for (const QString &row : rows.split(", ")) {
        const NzbFile one(nullptr, row.section(" => ", 0, 0), {}, 0, 0, 0, false, 0, false);
        const QString told = one.name() + ' ' + one.extension() + ' ' + one.baseName() + ' ';
        QCOMPARE(told + QString::number(one.partCount()), row.section(" => ", 1));
    }
});

const Case inside("what lies inside the job's folder", [] {
    const QTemporaryDir root;
    QVERIFY(QDir::setCurrent(root.path()) && QDir().mkpath("job/sub") && QDir().mkdir("job2"));
    for (const char *name : {"outside", "job2/file", "job/file"})
        writeFile(name);
    const QString links = "toSub=sub toSibling=../job2 toOutside=../outside toJob=../job "
                          "dangling=nowhere danglingInside=new loop=loop ../linkToJob=job";
    for (const QString &link : links.split(' '))
        QVERIFY(QFile::link(link.section('=', 1), "job/" + link.section('=', 0, 0)));
    const QString paths =
        "job/file job/a/b/new job/..name job/toSub/new linkToJob/new job2/../job/new !job/ "
        "!job/toJob !job/. !job/.. !job/sub/.. !job/../outside !job/../new !job/a/../../new "
        "!job2/file !job/toOutside !job/toSibling/new !job/toSibling/../new !job/dangling "
        "!job/dangling/new !job/danglingInside !job/loop !job/n?ll !job/"
        + QString("a/").repeated(1'000'000);
    for (QString path : paths.split(' ')) {
        const bool outside = path.startsWith('!');
        path.remove('!').replace('?', QChar::Null);
        for (const QString &folder :
             {QString("job"), root.filePath("job"), root.filePath("linkToJob")}) {
            for (const QString &full : {path, root.filePath(path)})
                QVERIFY2(isInsideFolder(folder, full) != outside, qPrintable(path.left(99)));
        }
    }
    QVERIFY(!isInsideFolder("missing", "missing/new") && !isInsideFolder({}, "job/file"));
    QVERIFY(!isInsideFolder("job", {}) && isInsideFolder("/", "job/file"));
});

/// The files of an NZB, each with its size and its articles.
QString read(const QByteArray &document)
{
    const QTemporaryDir folder;
    const Nzb job(nullptr, {}, writeFile(folder.filePath("x"), document));
    QString files;
    for (int i = 0; i < job.fileCount(); ++i) {
        NzbFile *file = job.fileAt(i);
        files += QString("%1 %2").arg(file->name()).arg(file->size());
        for (int number = 0; file->hasPendingSegments();)
            files += QString(" %2:%1").arg(file->nextSegment(&number)).arg(number);
        files += "; ";
    }
    return files;
}

const QByteArray head = "<nzb><file subject='.a'/>";
const Case whole("readable documents", [] {
    QCOMPARE(read("<?xml version='1.0'?><!DOCTYPE nzb PUBLIC 'x' 'http://x.invalid/'>"
                  "<nzb><segment number='9'>no file yet</segment><file subject='.b'><segments>"
                  "<segment bytes='5' number='1'>x</segment></segments></file><file/></nzb>"),
             ".b 5 1:x; . 0; ");
    QCOMPARE(read(R"(<nzb>
        <file subject='.a'><segment>a</segment><segment number='4294967297'>a</segment></file>
        <file subject='.b'><segment number='1'></segment><Segment number='1'>a</Segment></file>
        <file subject='.c'><n:segment xmlns:n='x' number='1'>a</n:segment></file>
        <file subject='.d'><segment bytes='5' number='-2147483648'>a</segment></file>
        <file subject='.f'><segment bytes='5' number='1'>a</segment><segment number='1'>b</segment>
        </file><file subject='.g'><segment number='1'>&amp;&#66; &lt;</segment></file>
        <file subject='.h&auml;'><segment bytes='5' number='1'>a<x/>&auml;b</segment></file>)"),
             ".a 0; .b 0; .c 0; .d 5 -2147483648:a; .f 5 1:b; .g 0 1:&B <; .h 5 1:a; ");
    const QByteArray segment = "<segment bytes='1' number='1'>\xc3\xa9\xc3\xa9</segment>";
    QCOMPARE(read("<nzb><file>" + segment.repeated(50'000) + "</file></nzb>"),
             ". 50000 1:\u00e9\u00e9; "); // one cut by the end of a buffer would count twice
});

const Case damaged("damaged documents", [] {
    const QByteArray much(8 * 1024 * 1024, 'x');
    const QByteArray rests[] = {"</nzb>x", QByteArray("<a>").repeated(1'000'000),
                                "<!--" + much + "--><file/></nzb>",
                                "<segment number='1'>" + much + "</segment></nzb>",
                                QByteArray(much.size(), ' ') + "<file/></nzb>"};
    for (const QByteArray &rest : rests) // what lies beyond the fault must not be taken in
        QVERIFY2(read(head + rest) == ".a 0; ", rest.left(50).constData());
    QByteArray refused[] = {"",
                            "\x1f\x8b" + head + "</nzb>",
                            "<!--" + much + "-->" + head + "</nzb>",
                            "<!DOCTYPE a [<!ELEMENT a " + QByteArray(99'999, '(') + "a]>",
                            "<!DOCTYPE nzb [<!ENTITY a 'xx'>]>" + head + "&a;</nzb>",
                            "<!DOCTYPE nzb [<!ENTITY a SYSTEM 'x'>]>" + head + "</nzb>"};
    for (const QByteArray &content : refused)
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, read(content));
});

const Case limits("limits of a document", [] {
    const QTemporaryDir folder;
    QXmlDefaultHandler handler;
    const QString path =
        writeFile(folder.filePath("x"),
                  "<nzb>" + QByteArray("<x/>").repeated(50'000) + QByteArray(100, 't') + "</nzb>");
    QCOMPARE(readXml(path, handler, {200'111, 50'001, 100}), XmlResult::Read);
    QCOMPARE(readXml(path, handler, {200'110, 50'001, 100}), XmlResult::Damaged);
    QCOMPARE(readXml(path, handler, {200'111, 50'000, 100}), XmlResult::Damaged);
});

const Case folders("folder of a job", [] {
    EngineFixture t;
    const QString rows = ".nzb=2,abc.nzb=abc,abc.nzb=abc2,abc.nzb=abc3, x .NZB=x,..nzb=.2,"
                         "\x1 x\uFFFF.nz\tb\x7=x2,...nzb=..2,x.nzb.nzb=x.nzb";
    for (const QString &row : rows.split(',')) {
        const QString path = t.dir.filePath(row.section('=', 0, 0));
        const Nzb *job = t.engine->addNZB(writeFile(path, head + "</nzb>"));
        QCOMPARE(job->folder(), t.downloads() + '/' + row.section('=', 1));
        QVERIFY(QFile::exists(job->folder()));
    }
});

} // namespace
