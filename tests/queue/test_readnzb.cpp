// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QStringEncoder>
#include <QTest>
#include <QXmlDefaultHandler>

#include <quazip/quagzipfile.h>
#include <sys/stat.h>

#include "queue/nzbfile.h"
#include "queue/readjob.h"
#include "queue/readxml.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

namespace {

QByteArray fileElement(int segments)
{
    QByteArray xml = "<file poster=\"p\" date=\"99999999999\" subject=\"(1/3)\">\n"
                     "<groups><group>g</group></groups><segments>\n";
    for (int i = 1; i <= segments; ++i) {
        xml += "<segment bytes=\"100\" number=\"" + QByteArray::number(i) + "\">"
               + QByteArray::number(i * 7919) + "</segment>\n";
    }
    return xml + "</segments></file>\n";
}

QByteArray gzipped(const QByteArray &content)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"packed"_s);
    QuaGzipFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write the test's file");
    file.close();
    return contentsOf(path);
}

QStringList messageIds(NzbFile *file)
{
    QStringList ids;
    int seqnr = 0;
    for (QString id = file->nextSegment(&seqnr); !id.isEmpty(); id = file->nextSegment(&seqnr))
        ids << QString::number(seqnr) + u':' + id;
    return ids;
}

} // namespace

class TestReadNzb final : public QObject {
    Q_OBJECT

private slots:
    void documents_data();
    void documents();
    void opensOnlyFiles();
    void limits_data();
    void limits();
    void segments_data();
    void segments();
    void attributes();
    void extractedFiles();
    void idsAcrossReads_data();
    void idsAcrossReads();
};

void TestReadNzb::documents_data()
{
    // files: -1: none, and an error
    // segments: of the last file, -1: some
    const auto row = rows<QByteArray, int, int>();
    const auto document = [](const QByteArray &body) -> QByteArray {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<!DOCTYPE nzb PUBLIC \"-//x//DTD NZB 1.1//EN\" \"http://x.invalid/nzb.dtd\">\n"
               "<nzb xmlns=\"http://x.invalid/nzb\" name=\"not taken\">\n"
               + body + "</nzb>\n";
    };
    const QByteArray xml = document(fileElement(2) + fileElement(3));
    row("plain", {xml, 2, 3});
    row("gzip", {gzipped(xml), 2, 3});
    row("cut in the second file", {xml.left(xml.lastIndexOf("number=\"3\"")), 2, 2});
    row("junk behind the end", {xml + "x", 2, 3});
    const QByteArray gzip = gzipped(document(fileElement(3) + fileElement(9000)));
    row("cut gzip stream", {gzip.left(gzip.size() / 2), 2, -1});
    row("no NZB", {"<html><p>\xc3\xa9</p></html>", 0, 0});
    row("empty", {"", -1, 0});
    row("text", {"hello, world\n", -1, 0});
    row("gzip header only", {"\x1f\x8b", -1, 0});
    row("not gzip behind it", {"\x1f\x8b<nzb><file/></nzb>", -1, 0});
    row("zeros", {QByteArray(100'000, '\0'), -1, 0});

    // What lies beyond the fault must not be taken in.
    const QByteArray head = "<nzb><file subject='a'/>";
    const QByteArray much(8 * 1024 * 1024, 'x');
    const auto doctype = [&](const QByteArray &declarations) -> QByteArray {
        return "<!DOCTYPE nzb [" + declarations + "]>" + head;
    };
    row("deep nesting", {head + QByteArray("<a>").repeated(1'000'000), 1, 0});
    row("deep nesting in the DTD",
        {doctype("<!ELEMENT a " + QByteArray(1'000'000, '(') + "a"), -1, 0});
    row("comment ahead of all", {gzipped("<!--" + much + "-->" + head + "</nzb>"), -1, 0});
    row("endless comment", {head + "<!--" + much + "--><file/></nzb>", 1, 0});
    row("endless text", {head + "<segment number='1'>" + much + "</segment></nzb>", 1, 0});
    row("endless attribute", {head + "<file subject='" + much + "'/></nzb>", 1, 0});
    row("endless white space", {head + QByteArray(much.size(), ' ') + "<file/></nzb>", 1, 0});
    row("entity within entity",
        {doctype("<!ENTITY a '" + QByteArray(4000, 'x') + "'><!ENTITY b '&a;&a;&a;&a;&a;&a;'>")
             + "<segment number='1'>" + QByteArray("&b;").repeated(10'000) + "</segment></nzb>",
         -1, 0});
    row("external entity",
        {doctype("<!ENTITY a SYSTEM 'file:///etc/passwd'>") + "&a;</nzb>", -1, 0});
}

void TestReadNzb::documents()
{
    const auto [content, files, segments] = thisRow<QByteArray, int, int>();
    const QTemporaryDir folder;
    const QString path = writeFile(folder.filePath(u"x.nzb"_s), content);
    try {
        const Nzb job(nullptr, u"/downloads"_s, path);
        QCOMPARE(job.fileCount(), files);
        QCOMPARE(job.name(), u"x"_s);
        const qsizetype listed = files ? messageIds(job.fileAt(files - 1)).size() : 0;
        QVERIFY(listed == segments || (segments < 0 && listed > 100 && listed < 9000));
    } catch (const std::runtime_error &error) {
        QCOMPARE(error.what(), "Error parsing NZB");
        QCOMPARE(files, -1);
    }
}

void TestReadNzb::opensOnlyFiles()
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath(u"pipe"_s); // it would wait for a writer
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    for (const QString &path : {pipe, folder.path()})
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, Nzb(nullptr, QString(), path));
}

void TestReadNzb::limits_data()
{
    const auto row = rows<XmlLimits, XmlResult>();
    row("just enough", {{147, 10, 100}, XmlResult::Read});
    row("document too long", {{146, 10, 100}, XmlResult::Damaged});
    row("too many elements", {{147, 9, 100}, XmlResult::Damaged});
}

void TestReadNzb::limits()
{
    const auto [limits, expected] = thisRow<XmlLimits, XmlResult>();
    const QByteArray xml =
        "<nzb>" + QByteArray("<x/>").repeated(9) + QByteArray(100, 't') + "</nzb>";
    const QTemporaryDir folder;
    QXmlDefaultHandler handler;
    for (const QByteArray &content : {xml, gzipped(xml)})
        QCOMPARE(readXml(writeFile(folder.filePath(u"x"_s), content), handler, limits), expected);
}

void TestReadNzb::segments_data()
{
    const auto row = rows<QByteArray, quint64, QStringList>();
    row("no number", {"<segment bytes='5'>a</segment>", 0, {}});
    row("number 0", {"<segment bytes='5' number='0'>a</segment>", 0, {}});
    row("number too large", {"<segment bytes='5' number='4294967297'>a</segment>", 0, {}});
    row("lowest number",
        {"<segment bytes='5' number='-2147483648'>a</segment>", 5, {u"-2147483648:a"_s}});
    row("bytes below zero",
        {"<segment bytes='-2' number='1'>a</segment><segment bytes='7' number='2'>b</segment>",
         5,
         {u"1:a"_s, u"2:b"_s}});
    row("same number twice, no bytes",
        {"<segment bytes='5' number='1'>a</segment><segment number='1'>b</segment>",
         5,
         {u"1:b"_s}});
    row("empty", {"<segment bytes='5' number='1'></segment>", 0, {}});
    row("white space, escapes",
        {"<segment number='1'> a\n&amp;&#66;&lt;</segment>", 0, {u"1: a\n&B<"_s}});
    row("text behind an inner element",
        {"<segment bytes='5' number='1'>a<x/>b</segment>", 5, {u"1:a"_s}});
    row("undeclared entity", {"<segment bytes='5' number='1'>a&auml;b</segment>", 10, {u"1:b"_s}});
    row("other case, prefix",
        {"<Segment number='1'>a</Segment><n:segment xmlns:n='x' number='1'>a</n:segment>", 0, {}});
}

void TestReadNzb::segments()
{
    const auto [xml, size, ids] = thisRow<QByteArray, quint64, QStringList>();
    const auto job = readJob("<segment number='9'>no file yet</segment><file/><file><segments>"
                             + xml + "</segments></file>");
    QCOMPARE(job->fileCount(), 2);
    QCOMPARE(job->fileAt(1)->size(), size);
    QCOMPARE(messageIds(job->fileAt(1)), ids);
}

void TestReadNzb::attributes()
{
    const auto job = readJob("<file subject='f\xc3\xa9.b' size='70' paused='0' yenc='0'/>"
                             "<file subject='x&auml;y' size='9999999999999999999' completed='x'/>"
                             "<file subject='(1/2)' completedparts='1'><segment number='2'>a"
                             "</segment></file>");
    const NzbFile *first = job->fileAt(0);
    QCOMPARE(first->name(), u"\u00e9.b"_s);
    QCOMPARE(first->size(), quint64(70));
    QVERIFY(first->isPaused() && first->isYenc() && first->isIncomplete());
    const NzbFile *second = job->fileAt(1);
    QCOMPARE(second->name(), u".xy"_s);
    QCOMPARE(second->size(), quint64(0));
    QCOMPARE(second->completedBytes(), quint64(0));
    QVERIFY(!second->isPaused() && !second->isYenc());
    QVERIFY(!job->fileAt(2)->isIncomplete()); // one part is there, the other pending
}

void TestReadNzb::extractedFiles()
{
    const auto job = readJob("<extractedfile name='sub/b.iso' size='5000000000'/>"
                             "<extractedfile name='a..b'/><extractedfile/><extractedfile name=''/>"
                             "<extractedfile name='/etc'/><extractedfile name='\\etc'/>"
                             "<extractedfile name='.nfo'/><extractedfile name='c:d'/>");
    const QMap<QString, quint64> expected{{u"a..b"_s, 0}, {u"sub/b.iso"_s, 5'000'000'000}};
    QCOMPARE(job->extractedFiles(), expected);
}

void TestReadNzb::idsAcrossReads_data()
{
    const auto row = rows<QByteArray, QStringConverter::Encoding>();
    row("300,000 segments, UTF-8", {QByteArray(), QStringConverter::Utf8});
    row("300,000 segments, ISO-8859-1",
        {"<?xml version='1.0' encoding='ISO-8859-1'?>"_ba, QStringConverter::Latin1});
}

// The text of a segment must arrive in one piece wherever the reader's buffer ends.
void TestReadNzb::idsAcrossReads()
{
    const auto [prolog, encoding] = thisRow<QByteArray, QStringConverter::Encoding>();
    QStringEncoder encode(encoding);
    QByteArray body = "<file>";
    QStringList expected;
    for (int i = 1; i <= 300'000; ++i) {
        const QString id = u"\u00e9"_s.repeated(i % 7) + QString::number(i) + u"&\u00e9"_s;
        expected << QString::number(i) + u':' + id;
        body += "<segment number='" + QByteArray::number(i) + "' bytes='1'>"
                + QByteArray(encode(id.toHtmlEscaped())) + "</segment>";
    }
    const auto job = readJob(body + "</file>", prolog);
    QCOMPARE(job->size(), quint64(300'000));
    QVERIFY(messageIds(job->fileAt(0)) == expected); // too many to print
}

QTEST_GUILESS_MAIN(TestReadNzb)
#include "test_readnzb.moc"
