// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/uudecoder.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include "support/files.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;
using Blocks = QList<QByteArray>;

class TestUUDecoder : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u"."_s));
        dir = std::make_unique<QTemporaryDir>();
    }
    void decodes_data();
    void decodes();
    void writesNothingOutsideFolder();
    void refusesEndlessLine();

private:
    static void feed(UUDecoder &decoder, const Blocks &blocks)
    {
        for (QByteArray block : blocks)
            decoder.decode(block);
        decoder.finish();
    }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestUUDecoder::decodes_data()
{
    const auto add = rows<Blocks, QByteArray, bool, int>();
    const auto row = [&](const char *name, const Blocks &blocks, const QByteArray &content,
                         bool ok = true) {
        add(name, {blocks, content, ok, 2});
    };
    const QByteArray abc = "#86)C\r\n";
    const QByteArray full = "M" + QByteArray(60, '!') + "\r\n"; // 15 times the bytes 04 10 41
    const QByteArray fullBytes = QByteArray("\4\x10\x41").repeated(15);

    row("line cut in three", {"#8", "6)", "C\r\n"}, "abc");
    row("grave accent ends", {"#86)C\n" + abc + "`\r\n" + abc, abc}, "abcabc");
    row("lone dot ends", {abc + ".\n" + abc}, "abc");
    row("end line ends", {abc + "end\r\n" + abc}, "abc");
    row("end line with bare LF is corrupt", {abc + "end\n" + abc}, "abc", false);
    row("count 0", {abc + "`abc\r\n" + abc}, "abc", false);
    row("count 46", {"N" + QByteArray(64, '!') + "\r\n" + abc}, "", false);
    row("line shorter than its count", {"M" + QByteArray(56, '!') + "\n"}, "", false);
    row("line just long enough: its end is decoded", {"M" + QByteArray(57, '!') + "\n"},
        fullBytes.first(42) + "\x06\xa8\x20");
    row("first byte above 127", {"\xcd" + full.mid(1)}, fullBytes);
    row("stuffed dots stay: the first counts 14 bytes", {".." + QByteArray(19, '!') + "\r\n"},
        "\x38\x10\x41" + fullBytes.first(11));
    row("count 4: the last byte is that of the line before", {full + "$86)C86)C\r\n"},
        fullBytes + "abc\4");
    row("count 4 at the start of a block: the last byte is zero", {full, "$86)C86)C\r\n"},
        fullBytes + QByteArray("abc\0", 4));

    const auto first = [&](const char *name, const QByteArray &line, bool opens) {
        add(name, {Blocks{line, abc}, opens ? "abc" : "(no file)", true, 1});
    };
    first("eleven bytes of begin line", "begin 999 \n", true);
    first("ten bytes of begin line", "begin 644 ", false);
    first("four digits in the mode", "begin 0644 a\r\n", false);
    first("letter in the mode", "begin 6x4 a\r\n", false);
    first("no begin line", "#86)C86)C86)C\r\n", false);
}

void TestUUDecoder::decodes()
{
    const auto [blocks, content, ok, article] = thisRow<Blocks, QByteArray, bool, int>();
    UUDecoder decoder(dir->path(), u"a/b"_s, article, nullptr);
    feed(decoder, blocks);
    QCOMPARE(contentsOf(dir->filePath(u"ab.uu00000%1"_s.arg(article))), content);
    QCOMPARE(decoder.bytes(), content == "(no file)" ? 0 : quint64(content.size()));
    QCOMPARE(decoder.isOk(), ok);
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
    const Blocks halves(2, QByteArray(512 * 1024, '!'));
    feed(decoder, halves);
    QVERIFY_THROWS_EXCEPTION(std::length_error, feed(decoder, {"!"}));
}

QTEST_GUILESS_MAIN(TestUUDecoder)
#include "test_uudecoder.moc"
