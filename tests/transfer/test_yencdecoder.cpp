// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/yencdecoder.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

#include "support/articles.h"
#include "transfer/yencreference.h"

using namespace Qt::StringLiterals;
using Blocks = QList<QByteArray>;

namespace {

// Without escapes: for text whose encoded form needs none.
QByteArray encoded(QByteArray text)
{
    for (char &c : text)
        c = char(c + 42);
    return text;
}

QByteArray crcOf(const QByteArray &data) { return QByteArray::number(crc32Of(data), 16); }

QByteArray endLine(const QByteArray &data)
{
    return "\r\n=yend size=" + QByteArray::number(data.size()) + " crc32=" + crcOf(data) + "\r\n";
}

// Cut at random places, into blocks of up to `longest` bytes.
Blocks cut(const QByteArray &article, QRandomGenerator &random, unsigned longest)
{
    Blocks blocks;
    for (qsizetype at = 0; at < article.size(); at += blocks.last().size())
        blocks.append(article.mid(at, 1 + random() % longest));
    return blocks;
}

QByteArray withZeros(const char *text, qsizetype size) { return QByteArray(text, size); }

qsizetype openFiles()
{
    return QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System).size();
}

// A limit for the size of files, which acts as a full disk does.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        handler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit{bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

private:
    rlimit before{};
    void (*handler)(int) = nullptr;
};

} // namespace

class TestYencDecoder : public QObject {
    Q_OBJECT

private slots:
    void init();
    void sanitizesNames_data();
    void sanitizesNames();
    void decodes_data();
    void decodes();
    void checksEndLine_data();
    void checksEndLine();
    void fails_data();
    void fails();
    void survivesHugeSize();
    void takesSizeAtLineEndForName();
    void putsPartsTogether();
    void keepsWhatLiesBehindThePart();
    void changesFilesWithoutLeak();
    void goesOnInSecondFile();
    void noticesFullDisk();
    void refusesLinkOutOfFolder();
    void refusesEndlessLine();
    void isIndifferentToCuts();
    void agreesWithReference();

private:
    // Returns the text of the exception, empty if there is none.
    static QString feed(YencDecoder &decoder, const Blocks &blocks);
    QByteArray contents(const QString &name) const;
    void compareWithReference(const Blocks &blocks);

    std::unique_ptr<QTemporaryDir> dir;
};

void TestYencDecoder::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
}

QString TestYencDecoder::feed(YencDecoder &decoder, const Blocks &blocks)
{
    try {
        for (QByteArray block : blocks)
            decoder.decode(block);
        decoder.finish();
    } catch (const std::runtime_error &failure) {
        return QString::fromUtf8(failure.what());
    }
    return {};
}

QByteArray TestYencDecoder::contents(const QString &name) const
{
    QFile file(dir->filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestYencDecoder::sanitizesNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("separators and line end") << "a/b:c?.rar\r"_ba << u"abc.rar"_s;
    QTest::newRow("all twelve, space kept") << "a /:\\?*&`<>\"|'b"_ba << u"a b"_s;
    QTest::newRow("above 127, DEL, tab") << "\xe4"
                                            "a\x7f\t~"_ba
                                         << u"a~"_s;
    QTest::newRow("nothing left") << "???\r"_ba << u"invalid-name-3f3f3f0d"_s;
    QTest::newRow("hidden") << ".x"_ba << u"invalid-name-2e78"_s;
    QTest::newRow("hidden once the slash is gone") << "/.x"_ba << u"invalid-name-2f2e78"_s;
    QTest::newRow("long") << QByteArray(300, 'n') << QString(300, u'n');
}

void TestYencDecoder::sanitizesNames()
{
    QFETCH(const QByteArray, name);
    QTEST(AbstractDecoder::sanitizeFilename(name), "expected");
}

void TestYencDecoder::decodes_data()
{
    QTest::addColumn<Blocks>("blocks");
    QTest::addColumn<QByteArray>("content"); // of the file "a"
    QTest::addColumn<qulonglong>("bytes");
    QTest::addColumn<bool>("ok");
    const auto row = [](const char *name, const Blocks &blocks, const QByteArray &content,
                        qulonglong bytes,
                        bool ok) { QTest::newRow(name) << blocks << content << bytes << ok; };
    const QByteArray begin = "=ybegin line=128 name=a\r\n";
    const QByteArray ab = encoded("ab");

    row("escape cut in two", {begin + ab + '=', "j" + endLine(withZeros("ab\0", 3))},
        withZeros("ab\0", 3), 3, true);
    row("NUL behind an escape goes, the escape stays",
        {begin + ab + withZeros("=\0", 2), "j" + endLine(withZeros("ab\0", 3))},
        withZeros("ab\0", 3), 3, true);
    row("escaped CR, LF and =", {begin + "=\r=\n==" + endLine("\xa3\xa0\xd3")}, "\xa3\xa0\xd3", 3,
        true);
    row("escaped LF starts no line", {begin + ab + "=\n=yend\r\n"},
        "ab\xa0\x0f" + QByteArray(";D:"), 7, false);
    row("stuffed dot at line start only", {begin + ".." + ab + ".." + endLine("\4ab\4\4")},
        "\4ab\4\4", 5, true);
    row("one dot at line start", {begin + "." + ab + endLine("\4ab")}, "\4ab", 3, true);
    row("line start cut behind LF", {begin + ab + "\r\n", ".." + endLine("ab\4")}, "ab\4", 3, true);
    row("line start cut behind dot", {begin + ab + "\r\n.", "." + endLine("ab\4")}, "ab\4", 3,
        true);
    row("end line cut behind =", {begin + ab + "\r\n=", endLine("ab").mid(3)}, "ab", 2, true);
    row("end line cut into three",
        {begin + ab + endLine("ab").first(9), endLine("ab").mid(9, 3), endLine("ab").mid(12)}, "ab",
        2, true);
    row("end of article without end line", {begin + ab + "\r\n.\r\n"}, "ab\4", 3, false);
    row("all behind the end line", {begin + ab + endLine("ab") + ".\r\n" + ab, begin + ab + "\r\n"},
        "ab", 2, true);
    row("data ahead of the begin line", {ab + "\r\n" + begin + ab + endLine("ab")}, "ab", 2, true);
    row("begin line without name", {"=ybegin line=128 size=2\r\n" + ab + endLine("ab")}, "", 0,
        false);
    row("begin line without a space behind it", {"=ybegin\r\n" + begin + ab + endLine("ab")}, "ab",
        2, true);
    row("unknown control line", {begin + "=yfoo name=b\r\n" + ab + endLine("ab")}, "ab", 2, true);
    row("control line with bare LF loses its last character to the data",
        {"=ybegin line=128 name=a\n" + ab + endLine("7ab")}, "7ab", 3, true);
    row("size extends the file", {"=ybegin size=4 name=a\r\n" + ab + endLine("ab")},
        withZeros("ab\0\0", 4), 2, true);
    row("negative size", {"=ybegin size=-4 name=a\r\n" + ab + endLine("ab")}, "ab", 2, true);
    row("part line without begin", {begin + "=ypart end=2\r\n" + ab + endLine("ab")}, "ab", 2,
        true);
    row("part line ahead of the begin line", {"=ypart begin=0\r\n" + begin + ab + endLine("ab")},
        "ab", 2, true);
    row("begin value at the line's end", {begin + "=ypart begin=3\r\n" + ab + endLine("ab")},
        withZeros("\0\0ab", 4), 2, true);
    row("part line moves what is not yet written",
        {begin + ab + "\r\n=ypart begin=3 end=6\r\n" + ab + endLine("abab")},
        withZeros("\0\0abab", 6), 4, true);
    row("part line in the next block moves the rest only",
        {begin + ab, "\r\n=ypart begin=4 end=5\r\n" + ab + endLine("abab")}, withZeros("ab\0ab", 5),
        4, true);
}

void TestYencDecoder::decodes()
{
    QFETCH(const Blocks, blocks);
    YencDecoder decoder(dir->path(), nullptr);
    QCOMPARE(feed(decoder, blocks), QString());
    QTEST(contents(u"a"_s), "content");
    QTEST(decoder.bytes(), "bytes");
    QTEST(decoder.isOk(), "ok");
    QVERIFY(decoder.isYenc());
}

void TestYencDecoder::checksEndLine_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("ok");
    const QByteArray good = crcOf("ab");
    QTest::newRow("wrong checksum") << "=yend size=2 crc32=0\r"_ba << false;
    QTest::newRow("wrong size") << "=yend size=3 crc32=" + good << false;
    QTest::newRow("no checksum") << "=yend size=2 part=1\r"_ba << false;
    QTest::newRow("no size") << "=yend crc32=" + good << false;
    QTest::newRow("size is no number") << "=yend size=2x crc32=" + good << false;
    QTest::newRow("size at the end") << "=yend crc32=" + good + " size=2\r" << true;
    QTest::newRow("upper case, white space")
        << "=yend size=\t2 crc32=" + good.toUpper() + "\t\r" << true;
    QTest::newRow("part checksum right, file checksum wrong")
        << "=yend size=2 crc32=1 pcrc32=" + good + "\r" << true;
    QTest::newRow("part checksum wrong, file checksum right")
        << "=yend size=2 pcrc32=1 crc32=" + good + "\r" << false;
    QTest::newRow("no space behind the name") << "=yendless size=2 crc32=" + good << true;
}

void TestYencDecoder::checksEndLine()
{
    QFETCH(const QByteArray, line);
    YencDecoder decoder(dir->path(), nullptr);
    const QByteArray body = "=ybegin line=128 name=a\r\n" + encoded("ab") + "\r\n";
    QCOMPARE(feed(decoder, {body + line + '\n'}), QString());
    QTEST(decoder.isOk(), "ok");
    QCOMPARE(contents(u"a"_s), "ab"_ba);
}

void TestYencDecoder::fails_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("error");
    const QByteArray begin = "=ybegin line=128 size=5 name=a\r\n=ypart begin=";
    QTest::newRow("name of a folder")
        << "=ybegin line=128 name=folder\r\n"_ba << u"Error opening file: "_s;
    QTest::newRow("name too long") << "=ybegin line=128 name=" + QByteArray(300, 'n') + "\r\n"
                                   << u"Error opening file: "_s;
    QTest::newRow("offset zero") << begin + "0 end=3\r\n" << u"Error seeking file"_s;
    QTest::newRow("offset negative") << begin + "-7\r\n" << u"Error seeking file"_s;
    QTest::newRow("lowest offset") << begin + "-9223372036854775808\r\n" << u"Error seeking file"_s;
    QTest::newRow("offset without a number") << begin + "x\r\n" << u"Error seeking file"_s;
    QTest::newRow("offset of 65 bits") << begin + "18446744073709551617\r\n"
                                       << u"Error seeking file"_s;
    QTest::newRow("offset where no byte fits")
        << begin + "9223372036854775807\r\n" + encoded("abc") << u"Error "_s;
}

void TestYencDecoder::fails()
{
    QFETCH(const QByteArray, lines);
    QFETCH(const QString, error);
    QVERIFY(QDir(dir->path()).mkdir(u"folder"_s));
    YencDecoder decoder(dir->path(), nullptr);
    const QString text = feed(decoder, {lines});
    QVERIFY2(text.startsWith(error), qPrintable(text));
    QVERIFY(!decoder.isOk());
}

void TestYencDecoder::survivesHugeSize()
{
    YencDecoder decoder(dir->path(), nullptr);
    const QByteArray huge = "=ybegin line=128 size=9223372036854775807 name=a\r\n";
    QCOMPARE(feed(decoder, {huge + encoded("ab") + endLine("ab")}), QString());
    QVERIFY(decoder.isOk());
}

void TestYencDecoder::takesSizeAtLineEndForName()
{
    YencDecoder decoder(dir->path(), nullptr);
    const QByteArray begin = "=ybegin line=128 name=a size=9\r\n";
    QCOMPARE(feed(decoder, {begin + encoded("ab") + endLine("ab")}), QString());
    QCOMPARE(contents(u"a size=9"_s), "ab"_ba);
}

// Two connections at once, the later part first.
void TestYencDecoder::putsPartsTogether()
{
    const QByteArray data = randomBytes(1, 50'000);
    YencDecoder first(dir->path(), nullptr);
    YencDecoder second(dir->path(), nullptr);
    QByteArray late = yencArticle("a.bin", 50'000, 1, 2, 1, data.first(30'000));
    QByteArray early = yencArticle("a.bin", 50'000, 2, 2, 30'001, data.mid(30'000));
    QCOMPARE(feed(second, {early.first(100)}), QString());
    QCOMPARE(QFile(dir->filePath(u"a.bin"_s)).size(), 50'000);
    QCOMPARE(feed(first, {late.first(20'000)}), QString());
    QCOMPARE(feed(second, {early.mid(100)}), QString());
    QCOMPARE(feed(first, {late.mid(20'000)}), QString());
    QVERIFY(first.isOk() && second.isOk());
    QCOMPARE(first.bytes(), 30'000u);
    QCOMPARE(second.filename(), u"a.bin"_s);
    QCOMPARE(contents(u"a.bin"_s), data);
}

void TestYencDecoder::keepsWhatLiesBehindThePart()
{
    QFile file(dir->filePath(u"a"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("0123456789");
    file.close();
    YencDecoder decoder(dir->path(), nullptr);
    QCOMPARE(feed(decoder, {yencArticle("a", 2, 1, 1, 1, "ab")}), QString());
    QVERIFY(decoder.isOk());
    QCOMPARE(contents(u"a"_s), "ab23456789"_ba);
}

void TestYencDecoder::changesFilesWithoutLeak()
{
    const qsizetype before = openFiles();
    {
        YencDecoder decoder(dir->path(), nullptr);
        QByteArray lines;
        for (int i = 0; i < 50; ++i)
            lines += "=ybegin line=128 name=" + QByteArray::number(i) + "\r\n";
        QCOMPARE(feed(decoder, {lines}), QString());
        QCOMPARE(openFiles(), before + 1);
    }
    QCOMPARE(openFiles(), before);
}

void TestYencDecoder::goesOnInSecondFile()
{
    YencDecoder decoder(dir->path(), nullptr);
    const QByteArray toB = "\r\n=ybegin line=128 name=b\r\n";
    QCOMPARE(feed(decoder, {"=ybegin line=128 name=a\r\n" + encoded("ab"),
                            encoded("dropped") + toB + encoded("cd") + endLine("abcd")}),
             QString());
    QVERIFY(decoder.isOk());
    QCOMPARE(decoder.filename(), u"b"_s);
    QCOMPARE(contents(u"a"_s), "ab"_ba);
    QCOMPARE(contents(u"b"_s), "cd"_ba);
}

void TestYencDecoder::noticesFullDisk()
{
    const QByteArray article = yencArticle("a", 9000, 1, 1, 1, randomBytes(2, 9000));
    YencDecoder decoder(dir->path(), nullptr);
    const FileSizeLimit limit(8000);
    // At the very write that did not fit, not at a later one or when the file is closed.
    QCOMPARE(feed(decoder, {article.first(4000)}), QString());
    QCOMPARE(feed(decoder, {article.mid(4000, 5000)}),
             u"Error writing to file. Check disk space"_s);
    QVERIFY(!decoder.isOk());
}

void TestYencDecoder::refusesLinkOutOfFolder()
{
    QVERIFY(QDir(dir->path()).mkdir(u"job"_s));
    QVERIFY(QFile::link(dir->filePath(u"outside"_s), dir->filePath(u"job/a"_s)));
    YencDecoder decoder(dir->filePath(u"job"_s), nullptr);
    const QString text = feed(decoder, {yencArticle("a", 2, 1, 1, 1, "ab")});
    QVERIFY2(text.startsWith("Error opening file: "_L1), qPrintable(text));
    QVERIFY(!QFile::exists(dir->filePath(u"outside"_s)));
}

void TestYencDecoder::refusesEndlessLine()
{
    YencDecoder decoder(dir->path(), nullptr);
    const QByteArray piece(64, 'x');
    QCOMPARE(feed(decoder, {"=ybegin name=" + piece}), QString());
    QString text;
    int fed = 0;
    for (; text.isEmpty() && fed <= 1024 * 1024; fed += 64)
        text = feed(decoder, {piece});
    QCOMPARE(text, u"Line without end in article"_s);
    QVERIFY(fed > 1024 * 1024 - 128);
}

void TestYencDecoder::isIndifferentToCuts()
{
    const auto seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    for (int round = 0; round < 60; ++round) {
        // Many dots and escapes, and lines so short that many start with one of them.
        QByteArray data = randomBytes(random(), 3000);
        for (char &byte : data) {
            if (random() % 4 == 0)
                byte = "\x04\xd6\xe0\xe3\x13"[random() % 5];
        }
        const QByteArray article =
            yencArticle("a", data.size(), 1, 1, 1, data, {.lineLength = 1 + int(random() % 140)});
        YencDecoder decoder(dir->path(), nullptr);
        QCOMPARE(feed(decoder, cut(article, random, 1 + random() % 400)), QString());
        QVERIFY(decoder.isOk());
        QCOMPARE(contents(u"a"_s), data);
    }
}

void TestYencDecoder::agreesWithReference()
{
    const auto seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    const Blocks pieces = {
        "\r\n",
        "\r\n",
        "\n",
        "\r",
        "=",
        "=",
        ".",
        "..",
        "y",
        "=y",
        withZeros("\0", 1),
        "plain text of some length, which fills more than one block of the wide walks",
        "\r\n=ybegin line=128 size=70 name=a\r\n",
        "\r\n=ybegin line=128 size=9 name=b\r\n",
        "\r\n=ybegin size=9\r\n",
        "\n=ybegin =\n",
        "\r\n=ypart begin=20 end=30\r\n",
        "\r\n=ypart begin=7\n",
        "\r\n=ypart end=7\r\n",
        "\r\n=ynone=\r\n"};
    const Blocks rare = {"\r\n=ypart begin=0\r\n", "\r\n=yend size=0 crc32=0\r\n", "\n=yend\n"};
    for (int round = 0; round < 1000; ++round) {
        QByteArray article = random() % 8 ? "=ybegin line=128 name=a\r\n"_ba : QByteArray();
        for (quint32 count = random() % 200; count > 0; --count) {
            const Blocks &from = random() % 200 ? pieces : rare;
            article += from.at(random() % from.size());
        }
        compareWithReference(cut(article, random, 1 + random() % 300));
        if (QTest::currentTestFailed())
            return;
    }
}

void TestYencDecoder::compareWithReference(const Blocks &blocks)
{
    for (const QString &name : {u"a"_s, u"b"_s})
        QFile::remove(dir->filePath(name));
    YencDecoder decoder(dir->path(), nullptr);
    YencReference reference;
    bool failed = false;
    try {
        for (const QByteArray &block : blocks)
            reference.decode(block.toStdString());
    } catch (const std::runtime_error &) {
        failed = true;
    }
    QCOMPARE(!feed(decoder, blocks).isEmpty(), failed);
    QCOMPARE(decoder.isOk(), reference.ok);
    QCOMPARE(decoder.bytes(), reference.bytes);
    QCOMPARE(decoder.filename().toStdString(), reference.name);
    for (const auto &[name, content] : reference.files)
        QCOMPARE(contents(QString::fromStdString(name)).toStdString(), content);
    QCOMPARE(QDir(dir->path()).entryList(QDir::Files).size(), qsizetype(reference.files.size()));
}

QTEST_GUILESS_MAIN(TestYencDecoder)
#include "test_yencdecoder.moc"
