// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/uudecoder.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <stdexcept>

#include "support/articles.h"

using namespace Qt::StringLiterals;
using Blocks = QList<QByteArray>;

class TestUUDecoder : public QObject {
    Q_OBJECT

private slots:
    void init();
    void decodes_data();
    void decodes();
    void waitsForBeginLine_data();
    void waitsForBeginLine();
    void writesOneFileAnArticle();
    void writesNothingOutsideFolder();
    void refusesEndlessLine();

private:
    static void feed(UUDecoder &decoder, const Blocks &blocks);
    QByteArray contents(const QString &name) const;

    std::unique_ptr<QTemporaryDir> dir;
};

void TestUUDecoder::init()
{
    QTest::failOnWarning(QRegularExpression(u"."_s));
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
}

void TestUUDecoder::feed(UUDecoder &decoder, const Blocks &blocks)
{
    for (QByteArray block : blocks)
        decoder.decode(block);
    decoder.finish();
}

QByteArray TestUUDecoder::contents(const QString &name) const
{
    QFile file(dir->filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestUUDecoder::decodes_data()
{
    QTest::addColumn<Blocks>("blocks");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("ok");
    const QByteArray abc = "#86)C\r\n";
    const QByteArray full = "M" + QByteArray(60, '!') + "\r\n"; // 15 times the bytes 04 10 41
    const QByteArray fullBytes = QByteArray("\4\x10\x41").repeated(15);

    QTest::newRow("full line") << Blocks{full} << fullBytes << true;
    QTest::newRow("line cut in three") << Blocks{"#8", "6)", "C\r\n"} << "abc"_ba << true;
    QTest::newRow("bare LF") << Blocks{"#86)C\n#86)C\n"} << "abcabc"_ba << true;
    QTest::newRow("grave accent ends") << Blocks{abc + "`\r\n" + abc, abc} << "abc"_ba << true;
    QTest::newRow("lone dot ends") << Blocks{abc + ".\n" + abc} << "abc"_ba << true;
    QTest::newRow("end line ends") << Blocks{abc + "end\r\n" + abc} << "abc"_ba << true;
    QTest::newRow("end line with bare LF is corrupt")
        << Blocks{abc + "end\n" + abc} << "abc"_ba << false;
    QTest::newRow("count 0") << Blocks{abc + "`abc\r\n" + abc} << "abc"_ba << false;
    QTest::newRow("count 46") << Blocks{"N" + QByteArray(64, '!') + "\r\n" + abc} << ""_ba << false;
    QTest::newRow("line shorter than its count")
        << Blocks{"M" + QByteArray(56, '!') + "\n"} << ""_ba << false;
    QTest::newRow("line just long enough for its count")
        << Blocks{"M" + QByteArray(57, '!') + "\n"} << fullBytes.first(42) + "\x06\xa8\x20" << true;
    QTest::newRow("line end decoded as data") << Blocks{"#!!\n"} << "\4\x1a\xa0"_ba << true;
    QTest::newRow("first byte above 127") << Blocks{"\xcd" + full.mid(1)} << fullBytes << true;
    QTest::newRow("stuffed dots stay: the first counts 14 bytes")
        << Blocks{".." + QByteArray(19, '!') + "\r\n"} << "\x38\x10\x41" + fullBytes.first(11)
        << true;
    QTest::newRow("count 4: the last byte is the one of the line before")
        << Blocks{full + "$86)C86)C\r\n"} << fullBytes + "abc\4" << true;
    QTest::newRow("count 4 at the start of a block: the last byte is zero")
        << Blocks{full, "$86)C86)C\r\n"} << fullBytes + QByteArray("abc\0", 4) << true;
    QTest::newRow("count 1: nothing is decoded")
        << Blocks{"!86)C\r\n"} << QByteArray(1, '\0') << true;
}

void TestUUDecoder::decodes()
{
    QFETCH(const Blocks, blocks);
    QFETCH(const QByteArray, content);
    UUDecoder decoder(dir->path(), u"a"_s, 2, nullptr);
    feed(decoder, blocks);
    QCOMPARE(contents(u"a.uu000002"_s), content);
    QCOMPARE(decoder.bytes(), quint64(content.size()));
    QTEST(decoder.isOk(), "ok");
}

void TestUUDecoder::waitsForBeginLine_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("opens");
    QTest::newRow("right") << "begin 644 other.bin\r\n"_ba << true;
    QTest::newRow("eleven bytes") << "begin 999 \n"_ba << true;
    QTest::newRow("ten bytes") << "begin 644 "_ba << false;
    QTest::newRow("four digits") << "begin 0644 a\r\n"_ba << false;
    QTest::newRow("letter in the mode") << "begin 6x4 a\r\n"_ba << false;
    QTest::newRow("capital") << "Begin 644 a\r\n"_ba << false;
    QTest::newRow("data") << "#86)C86)C86)C\r\n"_ba << false;
}

void TestUUDecoder::waitsForBeginLine()
{
    QFETCH(const QByteArray, line);
    QFETCH(const bool, opens);
    UUDecoder decoder(dir->path(), u"a"_s, 1, nullptr);
    feed(decoder, {line, "#86)C\r\n"});
    QCOMPARE(contents(u"a.uu000001"_s), opens ? "abc"_ba : ""_ba);
    QCOMPARE(QFile::exists(dir->filePath(u"a.uu000001"_s)), opens);
    QCOMPARE(decoder.bytes(), opens ? 3u : 0u);
    QVERIFY(decoder.isOk());
}

void TestUUDecoder::writesOneFileAnArticle()
{
    const auto seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    const QByteArray data = randomBytes(random(), 45 * 300 + 30);
    int number = 0;
    QByteArray joined;
    for (const QByteArray &article : uuencodeArticles("ignored", 0644, data, 120)) {
        UUDecoder decoder(dir->path(), u"fi/lm.bin"_s, ++number, nullptr);
        Blocks blocks;
        const qsizetype start = number == 1 ? article.indexOf('\n') + 1 : 0;
        if (number == 1)
            blocks.append(article.first(start));
        for (qsizetype at = start; at < article.size(); at += blocks.last().size())
            blocks.append(article.mid(at, 1 + random() % 500));
        feed(decoder, blocks);
        QVERIFY(decoder.isOk());
        QCOMPARE(decoder.filename(), u"film.bin"_s);
        joined += contents(u"film.bin.uu%1"_s.arg(number, 6, 10, '0'_L1));
    }
    QCOMPARE(number, 3);
    QCOMPARE(joined, data);
}

void TestUUDecoder::writesNothingOutsideFolder()
{
    QVERIFY(QDir(dir->path()).mkdir(u"job"_s));
    QVERIFY(QFile::link(dir->filePath(u"outside"_s), dir->filePath(u"job/a.uu000002"_s)));
    UUDecoder decoder(dir->filePath(u"job"_s), u"a"_s, 2, nullptr);
    feed(decoder, {"#86)C\r\n"});
    QVERIFY(!QFile::exists(dir->filePath(u"outside"_s)));
    QCOMPARE(decoder.bytes(), 3u);
    QVERIFY(decoder.isOk());
}

void TestUUDecoder::refusesEndlessLine()
{
    UUDecoder decoder(dir->path(), u"a"_s, 2, nullptr);
    const Blocks halfMiB(1, QByteArray(512 * 1024, '!'));
    feed(decoder, halfMiB);
    feed(decoder, halfMiB);
    QVERIFY_EXCEPTION_THROWN(feed(decoder, {"!"}), std::runtime_error);
}

QTEST_GUILESS_MAIN(TestUUDecoder)
#include "test_uudecoder.moc"
