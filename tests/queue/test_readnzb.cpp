// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <quazip/quagzipfile.h>
#include <stdexcept>

#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr const char *keptSilent = "Error encountered while parsing NZB, but keeping it silent as "
                                   "we do were able to parse some items";

QByteArray fileElement(const QByteArray &name, int segments)
{
    QByteArray xml = "<file poster=\"p\" date=\"1\" subject=\"&quot;" + name + "&quot; (1/"
                     + QByteArray::number(segments)
                     + ")\"><groups><group>g</group></groups><segments>\n";
    for (int i = 1; i <= segments; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "<segment bytes=\"100\" number=\"" + number + "\">" + name + number + "</segment>\n";
    }
    return xml + "</segments></file>\n";
}

QByteArray document(const QByteArray &body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE nzb PUBLIC \"-//x//DTD NZB 1.1//EN\" \"http://x.invalid/nzb.dtd\">\n"
           "<nzb xmlns=\"http://x.invalid/nzb\" name=\"not taken\">\n"
           + body + "</nzb>\n";
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
    void wellFormed_data();
    void wellFormed();
    void segments_data();
    void segments();
    void attributes();
    void extractedFiles();
    void idsAcrossReads();
    void noNzb();
    void cutOff_data();
    void cutOff();
    void errors_data();
    void errors();
    void hostile_data();
    void hostile();

private:
    QString write(const QString &name, const QByteArray &content) const;
    QString writeGzip(const QString &name, const QByteArray &content) const;
    std::unique_ptr<Nzb> read(const QByteArray &content) const;

    QTemporaryDir folder;
};

QString TestReadNzb::write(const QString &name, const QByteArray &content) const
{
    QFile file(folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write the test's file");
    return file.fileName();
}

QString TestReadNzb::writeGzip(const QString &name, const QByteArray &content) const
{
    QuaGzipFile file(folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write the test's file");
    file.close();
    return folder.filePath(name);
}

std::unique_ptr<Nzb> TestReadNzb::read(const QByteArray &content) const
{
    return std::make_unique<Nzb>(nullptr, u"/downloads"_s, write(u"test.nzb"_s, content));
}

void TestReadNzb::wellFormed_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");

    const QByteArray xml = document(fileElement("b.rar", 3) + fileElement("a.rar", 2));
    QTest::newRow("plain") << write(u" x.nzb.NZB"_s, xml) << u"x.nzb"_s;
    QTest::newRow("gzip named as plain") << writeGzip(u"x.nzb"_s, xml) << u"x"_s;
    QTest::newRow("plain named as gzip") << write(u"x.gz"_s, xml) << u"x.gz"_s;
}

void TestReadNzb::wellFormed()
{
    QFETCH(QString, path);
    Nzb job(nullptr, u"/downloads"_s, path);
    QTEST(job.name(), "name");
    QCOMPARE(job.folder(), u"/downloads/"_s + job.name());
    QCOMPARE(job.fileCount(), 2);
    QCOMPARE(job.size(), quint64(500));
    QCOMPARE(job.fileAt(0)->name(), u"b.rar"_s); // not sorted yet
    QCOMPARE(job.fileAt(0)->partCount(), 3);
    QVERIFY(!job.hasIncompleteFiles());
    QCOMPARE(messageIds(job.fileAt(1)), QStringList({u"1:a.rar1"_s, u"2:a.rar2"_s}));
}

void TestReadNzb::segments_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<quint64>("size");
    QTest::addColumn<QStringList>("ids");

    const auto row = [](const char *name, const QByteArray &xml, quint64 size,
                        const QStringList &ids) { QTest::newRow(name) << xml << size << ids; };
    row("no number", "<segment bytes='5'>a</segment>", 0, {});
    row("number 0", "<segment bytes='5' number='0'>a</segment>", 0, {});
    row("number not decimal", "<segment bytes='5' number='0x1'>a</segment>", 0, {});
    row("number too large", "<segment bytes='5' number='4294967297'>a</segment>", 0, {});
    row("number below zero", "<segment bytes='5' number='-2147483648'>a</segment>", 5,
        {u"-2147483648:a"_s});
    row("no bytes", "<segment number='1'>a</segment>", 0, {u"1:a"_s});
    row("bytes below zero",
        "<segment bytes='-2' number='1'>a</segment>"
        "<segment bytes='7' number='2'>b</segment>",
        5, {u"1:a"_s, u"2:b"_s});
    row("empty", "<segment bytes='5' number='1'></segment>", 0, {});
    row("same number twice",
        "<segment bytes='5' number='1'>a</segment>"
        "<segment bytes='6' number='1'>b</segment>",
        11, {u"1:b"_s});
    row("white space kept", "<segment bytes='5' number='1'> a\n</segment>", 5, {u"1: a\n"_s});
    row("escapes", "<segment bytes='5' number='1'>a&amp;&#66;&lt;</segment>", 5, {u"1:a&B<"_s});
    row("text behind an inner element", "<segment bytes='5' number='1'>a<x/>b</segment>", 5,
        {u"1:a"_s});
    row("other case", "<Segment bytes='5' number='1'>a</Segment>", 0, {});
    row("prefix", "<n:segment xmlns:n='x' bytes='5' number='1'>a</n:segment>", 0, {});
}

void TestReadNzb::segments()
{
    QFETCH(QByteArray, xml);
    const auto job = read("<nzb><segment number='9'>no file yet</segment><file/><file><segments>"
                          + xml + "</segments></file></nzb>");
    QCOMPARE(job->fileCount(), 2);
    QTEST(job->fileAt(1)->size(), "size");
    QTEST(messageIds(job->fileAt(1)), "ids");
}

void TestReadNzb::attributes()
{
    const auto job = read("<qzb><file subject='f\xc3\xa9.b' size='70' completed='30' paused='0' "
                          "completedparts='1' yenc='0'/>"
                          "<file size='9999999999999999999' completed='x' date='99999999999'/>"
                          "<file subject='(1/2)' completedparts='1'><segment number='2'>a</segment>"
                          "</file></qzb>");
    const NzbFile *first = job->fileAt(0);
    QCOMPARE(first->name(), u"\u00e9.b"_s);
    QCOMPARE(first->size(), quint64(70));
    QCOMPARE(first->completedBytes(), quint64(30));
    QVERIFY(first->isPaused() && first->isYenc() && !first->isIncomplete());
    const NzbFile *second = job->fileAt(1);
    QCOMPARE(second->size(), quint64(0));
    QVERIFY(!second->isPaused() && !second->isYenc() && second->isIncomplete());
    QVERIFY(!job->fileAt(2)->isIncomplete()); // one part is there, the other pending
}

void TestReadNzb::extractedFiles()
{
    const auto job = read("<nzb><extractedfile name='sub/b.iso' size='5000000000'/>"
                          "<extractedfile name='a..b'/><extractedfile/><extractedfile name=''/>"
                          "<extractedfile name='/etc'/><extractedfile name='\\etc'/>"
                          "<extractedfile name='.nfo'/><extractedfile name='c:d'/></nzb>");
    const QMap<QString, quint64> expected{{u"a..b"_s, 0}, {u"sub/b.iso"_s, 5'000'000'000}};
    QCOMPARE(job->extractedFiles(), expected);
}

// The text of a segment must arrive in one piece wherever the reader's buffer ends.
void TestReadNzb::idsAcrossReads()
{
    QByteArray body = "<file subject='a'>";
    QStringList expected;
    for (int i = 1; i <= 20'000; ++i) {
        const QString id = u"\u20ac"_s.repeated(i % 7) + QString::number(i) + u"&\u00e9"_s;
        expected << QString::number(i) + u':' + id;
        body += "<segment number='" + QByteArray::number(i) + "' bytes='1'>"
                + id.toHtmlEscaped().toUtf8() + "</segment>";
    }
    const auto job = read(document(body + "</file>"));
    QCOMPARE(job->size(), quint64(20'000));
    QCOMPARE(messageIds(job->fileAt(0)), expected);
}

void TestReadNzb::noNzb()
{
    const auto job = read("<?xml version='1.0' encoding='ISO-8859-1'?><html><p>\xe9</p></html>");
    QCOMPARE(job->fileCount(), 0);
    QVERIFY(!job->hasActiveSegments());
}

void TestReadNzb::cutOff_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("files");

    const QByteArray xml =
        document(fileElement("a", 3) + fileElement("b", 3) + fileElement("c", 3));
    const QByteArray half = xml.left(xml.lastIndexOf("number=\"3\""));
    QTest::newRow("in the third file") << write(u"plain.nzb"_s, half) << 3;
    QTest::newRow("junk behind the end") << write(u"junk.nzb"_s, xml + "x") << 3;

    QByteArray many;
    for (int i = 0; i < 1000; ++i)
        many += fileElement(QByteArray::number(i * 7919), 9);
    const QString gzip = writeGzip(u"gzip.nzb"_s, document(many));
    QVERIFY(QFile::resize(gzip, QFile(gzip).size() / 2));
    QTest::newRow("gzip stream") << gzip << -1;
}

void TestReadNzb::cutOff()
{
    QFETCH(QString, path);
    QFETCH(int, files);
    QTest::ignoreMessage(QtDebugMsg, keptSilent);
    const Nzb job(nullptr, u"/downloads"_s, path);
    QCOMPARE(job.name() + u".nzb"_s, QFileInfo(path).fileName());
    if (files >= 0)
        QCOMPARE(job.fileCount(), files);
    else
        QVERIFY(job.fileCount() > 100 && job.fileCount() < 1000);
}

void TestReadNzb::errors_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("text");

    const QString parsing = u"Error parsing NZB"_s;
    QTest::newRow("missing") << folder.filePath(u"missing"_s) << u"Error opening NZB for reading"_s;
    QTest::newRow("folder") << folder.path() << u"Error opening NZB for reading"_s;
    QTest::newRow("empty") << write(u"empty"_s, "") << parsing;
    QTest::newRow("text") << write(u"text"_s, "hello, world\n") << parsing;
    QTest::newRow("one byte") << write(u"byte"_s, "\x1f") << parsing;
    QTest::newRow("gzip header only") << write(u"header"_s, "\x1f\x8b") << parsing;
    QTest::newRow("not gzip behind it")
        << write(u"fake"_s, "\x1f\x8b<nzb><file/></nzb>") << parsing;
    QTest::newRow("zeros") << write(u"zeros"_s, QByteArray(100'000, '\0')) << parsing;
}

void TestReadNzb::errors()
{
    QFETCH(QString, path);
    QFETCH(QString, text);
    try {
        const Nzb job(nullptr, u"/downloads"_s, path);
        QFAIL("the NZB was read");
    } catch (const std::runtime_error &error) {
        QCOMPARE(QString::fromUtf8(error.what()), text);
    }
}

void TestReadNzb::hostile_data()
{
    QTest::addColumn<QByteArray>("xml");

    const QByteArray head = "<nzb><file subject='a'/>";
    const QByteArray much(8 * 1024 * 1024, 'x');
    const auto doctype = [&](const QByteArray &declarations) -> QByteArray {
        return "<!DOCTYPE nzb [" + declarations + "]>" + head;
    };
    QTest::newRow("deep nesting") << head + QByteArray("<a>").repeated(1'000'000);
    QTest::newRow("deep nesting in the DTD")
        << doctype("<!ELEMENT a " + QByteArray(1'000'000, '(') + "a");
    QTest::newRow("comment ahead of all") << "<!--" + much + "-->" + head + "</nzb>";
    QTest::newRow("endless comment") << head + "<!--" + much + "--></nzb>";
    QTest::newRow("endless text") << head + "<segment number='1'>" + much + "</segment></nzb>";
    QTest::newRow("endless attribute") << head + "<file subject='" + much + "'/></nzb>";
    QTest::newRow("endless white space") << head + QByteArray(much.size(), ' ') + "</nzb>";
    QTest::newRow("entity within entity")
        << doctype("<!ENTITY a '" + QByteArray(4000, 'x') + "'><!ENTITY b '&a;&a;&a;&a;&a;&a;'>")
               + "<segment number='1'>" + QByteArray("&b;").repeated(10'000) + "</segment></nzb>";
    QTest::newRow("external entity")
        << doctype("<!ENTITY a SYSTEM 'file:///etc/passwd'>") + "&a;</nzb>";
}

// Neither crashes nor takes in what lies beyond the fault.
void TestReadNzb::hostile()
{
    QFETCH(QByteArray, xml);
    const QString path = writeGzip(u"hostile.nzb"_s, xml);
    std::unique_ptr<Nzb> job;
    try {
        job = std::make_unique<Nzb>(nullptr, u"/downloads"_s, path);
    } catch (const std::runtime_error &error) {
        QCOMPARE(error.what(), "Error parsing NZB");
        return;
    }
    QVERIFY(xml.startsWith("<nzb>"));
    QCOMPARE(job->fileCount(), 1);
    QVERIFY(job->fileAt(0)->isFinished());
}

QTEST_GUILESS_MAIN(TestReadNzb)
#include "test_readnzb.moc"
