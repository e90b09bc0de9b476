// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What the program makes of foreign XML, subject lines and paths, up to a job in the queue.
#include <QStringEncoder>
#include <QXmlDefaultHandler>

#include <quazip/quagzipfile.h>
#include <stdexcept>
#include <sys/stat.h>

#include "engine/enginefixture.h"
#include "queue/jobpath.h"
#include "queue/readxml.h"
#include "queue/subject.h"
#include "support/case.h"

using namespace Qt::StringLiterals;

namespace {

struct Subjects {
    const char *name; // the subject itself
    QString filename;
    QString extension;
    int parts = 1;
};
const Subjects subjects[] = {
    {R"(x "m.part01.RAR" "c.d")", u"m.part01.RAR"_s, u"rar"_s},
    {R"(x.y "README" (1/2))", u"README"_s, u""_s, 2},
    {R"("" name.txt)", u""_s, u""_s},
    {R"(some "name.txt yEnc)", u"name.txt"_s, u"txt"_s},
    {"[1/9] a.b.c-d.MKV (1/2)", u"a.b.c-d.MKV"_s, u"MKV"_s, 2},
    {"x fil\u00e9.\u00e9x\u0661-", u"fil\u00e9.\u00e9x\u0661"_s, u"\u00e9x\u0661"_s},
    {"ab.TXT", u"b.TXT"_s, u"TXT"_s}, // its first character is lost
    {"a.txt", u".txt"_s, u"txt"_s},
    {".hidden file", u".hidden file"_s, u""_s},
    {"the end.", u"end."_s, u""_s},
    {"Hello world", u".Hello"_s, u"Hello"_s},
    {"", u"."_s, u""_s},
    {R"(/ :\?*&`<>"|a.b)", u"a.b"_s, u"b"_s},
    {"x:n.e", u"n.e"_s, u"e"_s},
    {"x\\n.e", u"n.e"_s, u"e"_s},
    {R"("" (1/5) name (3/10))", u""_s, u""_s, 10},
    {R"("" (3/10) name (1/x) [1/20])", u""_s, u""_s, 10},
    {R"("" (1(2/3))", u""_s, u""_s, 1},
    {R"("" ((2/3))", u""_s, u""_s, 3},
    {R"("" (1/2/3))", u""_s, u""_s, 2},
    {R"("" (1 /2))", u""_s, u""_s, 1},
    {R"("" (/2))", u""_s, u""_s, 1},
    {R"("" (1/007)", u""_s, u""_s, 7},
    {R"("" (1/0))", u""_s, u""_s, 0},
    {R"("" (1/)", u""_s, u""_s, 1},
    {R"("" (1/99999999999999999999))", u""_s, u""_s, 2'147'483'647},
};
const Case subject("subject", subjects, [](const Subjects &row) {
    const Subject result = parseSubject(QString::fromUtf8(row.name));
    QCOMPARE(result.filename, row.filename);
    QCOMPARE(result.extension, row.extension);
    QCOMPARE(result.parts, row.parts);
});

struct Path {
    const char *name;
    bool inside = false;
};
const Path paths[] = {
    {"job/file", true},
    {"job/a/b/new", true},
    {"job/..name", true},
    {"job/toSub/new", true},
    {"linkToJob/new", true},
    {"job2/../job/new", true},
    {"job/"},
    {"job/toJob"},
    {"job/sub/.."},
    {"job/../outside"},
    {"job/../new"},
    {"job/a/../../new"},
    {"job2/file"},
    {"job/toOutside"},
    {"job/toSibling/new"},
    {"job/toSibling/../new"},
    {"job/dangling"},
    {"job/dangling/new"},
    {"job/danglingInside"},
    {"job/loop"},
    {"job/null"}, // a null character in the place of the u
    {"job/long"}, // longer than the system takes
};
const Case inside("inside the job's folder", paths, [](const Path &row) {
    const QTemporaryDir root;
    QVERIFY(QDir::setCurrent(root.path()) && QDir().mkpath(u"job/sub"_s)
            && QDir().mkdir(u"job2"_s));
    for (const QString &name : {u"outside"_s, u"job2/file"_s, u"job/file"_s})
        writeFile(name);
    const std::pair<QString, QString> links[] = {
        {u"job/toSub"_s, u"job/sub"_s},     {u"job/toSibling"_s, u"job2"_s},
        {u"job/toOutside"_s, u"outside"_s}, {u"job/toJob"_s, u"job"_s},
        {u"job/dangling"_s, u"nowhere"_s},  {u"job/danglingInside"_s, u"job/new"_s},
        {u"job/loop"_s, u"job/loop"_s},     {u"linkToJob"_s, u"job"_s}};
    for (const auto &[name, target] : links)
        QVERIFY(QFile::link(root.filePath(target), root.filePath(name)));
    QString path = QString::fromLatin1(row.name).replace("null"_L1, u"n"_s + QChar::Null);
    path.replace("long"_L1, u"a/"_s.repeated(1'000'000));
    for (const QString &folder :
         {u"job"_s, root.filePath(u"job"_s), root.filePath(u"linkToJob"_s)}) {
        QCOMPARE(isInsideFolder(folder, path), row.inside);
        QCOMPARE(isInsideFolder(folder, root.filePath(path)), row.inside);
    }
    QVERIFY(!isInsideFolder(u"missing"_s, u"missing/new"_s));
    QVERIFY(!isInsideFolder({}, path) && !isInsideFolder(u"job"_s, {}));
    QVERIFY(isInsideFolder(u"/"_s, u"job/file"_s));
});

QByteArray gzipped(const QByteArray &content)
{
    const QTemporaryDir folder;
    QuaGzipFile file(folder.filePath(u"packed"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write the test's file");
    file.close();
    return contentsOf(folder.filePath(u"packed"_s));
}

std::unique_ptr<Nzb> readJob(const QByteArray &document)
{
    const QTemporaryDir folder;
    return std::make_unique<Nzb>(nullptr, u"/downloads"_s,
                                 writeFile(folder.filePath(u"x.nzb"_s), document));
}

/// What a connection would fetch of the file, as "number:id".
QStringList articles(NzbFile *file)
{
    QStringList all;
    int number = 0;
    for (QString id = file->nextSegment(&number); !id.isEmpty(); id = file->nextSegment(&number))
        all << QString::number(number) + u':' + id;
    return all;
}

QByteArray someFile(int segments)
{
    QByteArray xml = "<file poster='p' date='99999999999' subject='(1/3)'><segments>";
    for (int i = 1; i <= segments; ++i)
        xml += "<segment bytes='100' number='" + QByteArray::number(i) + "'>"
               + QByteArray::number(i * 7919) + "</segment>\n";
    return xml + "</segments></file>";
}

const QByteArray head = "<nzb><file subject='a'/>";
const QByteArray whole =
    "<?xml version='1.0'?><!DOCTYPE nzb PUBLIC 'x' 'http://x.invalid/'><nzb name='not taken'>"
    + someFile(2) + someFile(3) + "</nzb>\n";
const QByteArray much(8 * 1024 * 1024, 'x');
const QByteArray longGzip = gzipped("<nzb>" + someFile(3) + someFile(9000) + "</nzb>");

struct Document {
    const char *name;
    QByteArray content;
    int files = -1; // -1: an error, and no job
    int segments = 0; // of the last file; -1: some
};
const Document documents[] = {
    {"plain", whole, 2, 3},
    {"gzip", gzipped(whole), 2, 3},
    {"cut in the second file", whole.left(whole.lastIndexOf("number='3'")), 2, 2},
    {"junk behind the end", whole + "x", 2, 3},
    {"cut gzip stream", longGzip.left(longGzip.size() / 2), 2, -1},
    {"no NZB", "<html><p>\xc3\xa9</p></html>", 0},
    {"empty", ""},
    {"text", "hello, world\n"},
    {"gzip header only", "\x1f\x8b"},
    {"not gzip behind it", "\x1f\x8b<nzb><file/></nzb>"},
    // What lies beyond the fault must not be taken in.
    {"deep nesting", head + QByteArray("<a>").repeated(1'000'000), 1},
    {"deep nesting in the DTD",
     "<!DOCTYPE nzb [<!ELEMENT a " + QByteArray(1'000'000, '(') + "a]>" + head},
    {"comment ahead of all", gzipped("<!--" + much + "-->" + head + "</nzb>")},
    {"endless comment", head + "<!--" + much + "--><file/></nzb>", 1},
    {"endless text", head + "<segment number='1'>" + much + "</segment></nzb>", 1},
    {"endless white space", head + QByteArray(much.size(), ' ') + "<file/></nzb>", 1},
    {"declared entity", "<!DOCTYPE nzb [<!ENTITY a 'xx'>]>" + head + "&a;</nzb>"},
    {"external entity", "<!DOCTYPE nzb [<!ENTITY a SYSTEM '/etc/passwd'>]>" + head + "&a;</nzb>"},
};
const Case document("document", documents, [](const Document &row) {
    if (row.files < 0) {
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, readJob(row.content));
        return;
    }
    const auto job = readJob(row.content);
    QCOMPARE(job->fileCount(), row.files);
    QCOMPARE(job->name(), u"x"_s);
    const qsizetype count = row.files ? articles(job->fileAt(row.files - 1)).size() : 0;
    QVERIFY(row.segments < 0 ? count > 100 && count < 9000 : count == row.segments);
});

const Case limits("limits of a document", [] {
    const QByteArray xml =
        "<nzb>" + QByteArray("<x/>").repeated(9) + QByteArray(100, 't') + "</nzb>";
    const QTemporaryDir folder;
    QXmlDefaultHandler handler;
    for (const QByteArray &content : {xml, gzipped(xml)}) {
        const QString path = writeFile(folder.filePath(u"x"_s), content);
        QCOMPARE(readXml(path, handler, {147, 10, 100}), XmlResult::Read);
        QCOMPARE(readXml(path, handler, {146, 10, 100}), XmlResult::Damaged);
        QCOMPARE(readXml(path, handler, {147, 9, 100}), XmlResult::Damaged);
    }
    const QString pipe = folder.filePath(u"pipe"_s); // its opening would wait for a writer
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    for (const QString &path : {pipe, folder.path()})
        QCOMPARE(readXml(path, handler), XmlResult::CannotOpen);
});

struct Segments {
    const char *name; // the elements
    quint64 size = 0;
    QStringList expected = {};
};
const Segments segmentRows[] = {
    {"<segment bytes='5'>a</segment>"},
    {"<segment bytes='5' number='0'>a</segment>"},
    {"<segment bytes='5' number='4294967297'>a</segment>"},
    {"<segment bytes='5' number='-2147483648'>a</segment>", 5, {u"-2147483648:a"_s}},
    {"<segment bytes='-2' number='1'>a</segment><segment bytes='7' number='2'>b</segment>",
     5,
     {u"1:a"_s, u"2:b"_s}},
    {"<segment bytes='5' number='1'>a</segment><segment number='1'>b</segment>", 5, {u"1:b"_s}},
    {"<segment bytes='5' number='1'></segment>"},
    {"<segment number='1'> a\n&amp;&#66;&lt;</segment>", 0, {u"1: a\n&B<"_s}},
    {"<segment bytes='5' number='1'>a<x/>b</segment>", 5, {u"1:a"_s}},
    {"<segment bytes='5' number='1'>a&auml;b</segment>", 10, {u"1:b"_s}},
    {"<Segment number='1'>a</Segment><n:segment xmlns:n='x' number='1'>a</n:segment>"},
};
const Case segments("segments", segmentRows, [](const Segments &row) {
    const auto job =
        readJob("<nzb><segment number='9'>no file yet</segment><file/><file><segments>"_ba
                + row.name + "</segments></file></nzb>");
    QCOMPARE(job->fileCount(), 2);
    QCOMPARE(job->fileAt(1)->size(), row.size);
    QCOMPARE(articles(job->fileAt(1)), row.expected);
});

const Case attributes("attributes", [] {
    const auto job =
        readJob("<nzb><file subject='f\xc3\xa9.b' size='70' paused='0' yenc='0'/>"
                "<file subject='x&auml;y' size='9999999999999999999' completed='x'/>"
                "<file subject='(1/2)' completedparts='1'><segment number='2'>a</segment></file>"
                "<extractedfile name='sub/b.iso' size='5000000000'/><extractedfile name='a..b'/>"
                "<extractedfile/><extractedfile name=''/><extractedfile name='/etc'/>"
                "<extractedfile name='\\etc'/><extractedfile name='.nfo'/><extractedfile "
                "name='c:d'/></nzb>");
    const NzbFile *first = job->fileAt(0);
    const NzbFile *second = job->fileAt(1);
    QCOMPARE(first->name() + second->name(), u"\u00e9.b.xy"_s);
    QCOMPARE(first->size(), quint64(70));
    QCOMPARE(second->size() + second->completedBytes(), quint64(0));
    QVERIFY(first->isPaused() && first->isYenc() && first->isIncomplete());
    QVERIFY(!second->isPaused() && !second->isYenc());
    QVERIFY(!job->fileAt(2)->isIncomplete()); // one part is there, the other pending
    const QMap<QString, quint64> extracted{{u"a..b"_s, 0}, {u"sub/b.iso"_s, 5'000'000'000}};
    QCOMPARE(job->extractedFiles(), extracted);
});

struct Encoding {
    const char *name; // the prolog
    QStringConverter::Encoding encoding;
};
const Encoding encodings[] = {
    {"", QStringConverter::Utf8},
    {"<?xml version='1.0' encoding='ISO-8859-1'?>", QStringConverter::Latin1}};
const Case pieces("ids across the reader's buffers", encodings, [](const Encoding &row) {
    QStringEncoder encode(row.encoding);
    QByteArray xml = row.name + "<nzb><file>"_ba;
    QStringList expected;
    for (int i = 1; i <= 100'000; ++i) {
        const QString id = u"\u00e9"_s.repeated(i % 7) + QString::number(i) + u"&\u00e9"_s;
        expected << QString::number(i) + u':' + id;
        xml += "<segment number='" + QByteArray::number(i) + "' bytes='1'>"
               + QByteArray(encode(id.toHtmlEscaped())) + "</segment>";
    }
    const auto job = readJob(xml + "</file></nzb>");
    QCOMPARE(job->size(), quint64(100'000));
    QVERIFY(articles(job->fileAt(0)) == expected); // too many to print
});

struct Name {
    const char *name; // of the NZB
    QStringList jobs;
};
const Name names[] = {
    {"abc.nzb", {u"abc"_s, u"abc2"_s, u"abc3"_s}},
    {" x .NZB", {u"x"_s, u"x2"_s}},
    {"x.nzb.nzb", {u"x.nzb"_s}},
    {"\x1 x\xEF\xBF\xBF.nz\tb\x7", {u"x"_s, u"x2"_s}}, // what no queue file holds
    {".nzb", {u"2"_s, u"3"_s}},
    {"..nzb", {u".2"_s}},
    {"...nzb", {u"..2"_s}},
};
const Case folders("folder of a job", names, [](const Name &row) {
    EngineFixture t;
    const QString path =
        writeFile(t.dir.filePath(QString::fromUtf8(row.name)), "<nzb><file subject='a.b'/></nzb>");
    for (const QString &name : row.jobs) {
        const Nzb *nzb = t.engine->addNZB(path);
        QCOMPARE(nzb->name(), name);
        QCOMPARE(nzb->folder(), t.downloads() + u'/' + name);
        QVERIFY(QFile::exists(nzb->folder()));
    }
    t.engine->saveQueue();
    Marlowick next(nullptr);
    next.loadQueue(QString());
    // Deliberate: a saved name loses such an ending again.
    for (qsizetype i = 0; i < row.jobs.size() && !row.jobs[i].endsWith(".nzb"_L1); ++i)
        QCOMPARE(next.queue()->at(i)->name(), row.jobs[i]);
    QCOMPARE(QDir(t.downloads())
                 .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)
                 .size(),
             row.jobs.size());
});

struct Refused {
    const char *name; // what is thrown
    QByteArray content;
    bool folderIsFile = false;
};
const Refused refused[] = {
    {"Error opening NZB for reading", {}},
    {"Error parsing NZB", "hello"},
    {"Error creating folder for download", "<nzb><file subject='a.b'/></nzb>", true},
};
const Case failures("no job of a bad NZB", refused, [](const Refused &row) {
    EngineFixture t;
    qRegisterMetaType<Nzb *>();
    const QSignalSpy before(t.engine.get(), &Marlowick::beforeAddNZB);
    const QSignalSpy added(t.engine.get(), &Marlowick::NZBadded);
    const QString path = t.dir.filePath(u"bad.nzb"_s);
    if (!row.content.isEmpty())
        writeFile(path, row.content);
    if (row.folderIsFile)
        t.set("downloadFolder", path);
    QByteArray thrown;
    try {
        t.engine->addNZB(path);
    } catch (const std::runtime_error &failure) {
        thrown = failure.what();
    }
    QCOMPARE(thrown, row.name);
    QCOMPARE(before, (QList<QVariantList>{{path}}));
    QCOMPARE(added.size(), 1);
    QCOMPARE(added.first().first().value<Nzb *>(), nullptr);
    QVERIFY(t.engine->findChildren<Nzb *>().isEmpty());
});

const Case settings("where the settings lie", [] {
    const QString folder = QCoreApplication::applicationDirPath();
    const QString beside = folder + "/Marlowick.ini"_L1;
    QFile::remove(beside);
    {
        const EngineFixture t;
        QCOMPARE(t.engine->settings()->fileName(), t.dir.filePath(u"Marlowick/Marlowick.ini"_s));
        QVERIFY(QFile::exists(t.dir.filePath(u"Marlowick"_s)));
    }
    writeFile(beside);
    const auto tidyUp = qScopeGuard([&beside] { QFile::remove(beside); });
    EngineFixture t;
    QCOMPARE(t.engine->settings()->fileName(), beside);
    t.set("downloadFolder", u"%APPDIR/a%APPDIR/%appdir"_s);
    QCOMPARE(t.engine->downloadFolder(), folder + "/a"_L1 + folder + "/%appdir"_L1);
});

const Case noSettings("the settings' folder cannot be made", [] {
    const QTemporaryDir dir;
    const QString file = writeFile(dir.filePath(u"file"_s));
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, file);
    Marlowick engine(nullptr);
    const QSignalSpy errors(&engine, &Marlowick::error);
    QTRY_COMPARE(errors.size(), 1);
    QVERIFY(errors.first().at(1).toString().contains(file + "/Marlowick"_L1));
});

} // namespace
