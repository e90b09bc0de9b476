// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/rows.h"
#include "transfer/yencdecoder.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

#include "support/articles.h"
#include "support/files.h"
#include "support/seededrandom.h"

using namespace Qt::StringLiterals;
using Blocks = QList<QByteArray>;

namespace {

const QByteArray beginLine = "=ybegin line=128 name=a\r\n";
const QByteArray ab = "\x8b\x8c"; // encoded

QByteArray crcOf(const QByteArray &data) { return QByteArray::number(crc32Of(data), 16); }

QByteArray endLine(const QByteArray &data)
{
    return "\r\n=yend size=" + QByteArray::number(data.size()) + " crc32=" + crcOf(data) + "\r\n";
}

/// What is odd in all combinations, among plain bytes.
QByteArray oddBytes(QRandomGenerator &random)
{
    static const QByteArray texts = "\r\n|\r\n|\n|\r|=|=|.|..|y|=y|\r\n=ybegin size=9\r\n|\n=yo=\n";
    static const Blocks odd = texts.split('|') << QByteArray(1, '\0');
    QByteArray result;
    const unsigned longestPlain = 1 + random() % 150;
    for (quint32 count = random() % 200; count > 0; --count) {
        result += odd.at(random() % odd.size());
        if (random() % 4 == 0)
            result += randomBytes(random(), random() % longestPlain);
    }
    return result;
}

Blocks cut(const QByteArray &article, QRandomGenerator &random)
{
    Blocks blocks;
    const unsigned longest = 1 + random() % 300;
    for (qsizetype at = 0; at < article.size(); at += blocks.last().size())
        blocks.append(article.mid(at, 1 + random() % longest));
    return blocks;
}

/// Returns the text of the exception, empty if there is none.
QString feed(YencDecoder &decoder, const Blocks &blocks)
{
    try {
        for (QByteArray block : blocks)
            decoder.decode(block);
        decoder.finish();
    } catch (const std::runtime_error &failure) {
        return QString::fromUtf8(failure.what());
    } catch (const std::length_error &) {
        return u"too long"_s;
    }
    return {};
}

} // namespace

class TestYencDecoder : public QObject {
    Q_OBJECT

private slots:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void sanitizesNames();
    void decodes_data();
    void decodes();
    void fails_data();
    void fails();
    void noticesFullDisk();
    void changesFilesWithoutLeak();
    void takesAnyCut();

private:
    std::unique_ptr<QTemporaryDir> dir;
};

void TestYencDecoder::sanitizesNames()
{
    const std::pair<QByteArray, QString> names[] = {
        {"a /:\\?*&`<>\"|'b", u"a b"_s}, // all twelve, space kept
        {"\xe4\x7f~\r", u"~"_s},
        {"???\r", u"invalid-name-3f3f3f0d"_s},
        {"/.x", u"invalid-name-2f2e78"_s}, // hidden once the slash is gone
        {QByteArray(300, 'n'), QString(300, u'n')}};
    for (const auto &[name, expected] : names)
        QCOMPARE(AbstractDecoder::sanitizeFilename(name), expected);
}

void TestYencDecoder::decodes_data()
{
    const auto add = rows<Blocks, QString, QByteArray, bool>();
    const auto row = [&](const char *name, const Blocks &blocks, const QByteArray &content,
                         bool ok = true, const QString &file = u"a"_s) {
        add(name, {blocks, file, content, ok});
    };
    row("data ahead of the begin line", {ab + "\r\n" + beginLine + ab + endLine("ab")}, "ab");
    row("all behind the end line",
        {beginLine + ab + endLine("ab") + beginLine, ab + "\r\n" + beginLine}, "ab");
    row("second begin line drops what is not yet written",
        {beginLine + ab, ab + "\r\n=ybegin name=b\r\n" + ab + endLine("abab")}, "ab", true, u"b"_s);
    row("two dots at line start", {beginLine + ".." + ab + ".." + endLine("\4ab\4\4")}, "\4ab\4\4");
    row("no end line: the final dot is data", {beginLine + ab + "\r\n.\r\n"}, "ab\4", false);
    const QByteArray abNul("ab\0", 3);
    row("NUL behind an escape goes, the escape stays",
        {beginLine + ab + QByteArray("=\0", 2), "j" + endLine(abNul)}, abNul);
    row("NUL behind an escape, then the block ends with a line",
        {beginLine + QByteArray("=\0", 2) + ab + "\r\n", ab + endLine("abab")}, "abab");
    row("begin line without name is data, and so is the control line behind it",
        {beginLine + "\r\n=ybegin i\r\n=yend\r\n"},
        "\x4f\x38\x3b\x3d\x3f\x44\xf6\x3f\xd6\x0f\x3b\x44\x3a", false);
    row("control line with bare LF loses its last character to the data",
        {"=ybegin line=128 name=a\n" + ab + endLine("7ab")}, "7ab");
    row("part line ahead of the begin line",
        {"=ypart begin=2\r\n" + beginLine + ab + endLine("ab")}, "ab");
    row("part line without begin", {beginLine + "=ypart end=2\r\n" + ab + endLine("ab")}, "ab");
    row("begin at the line's end", {beginLine + "=ypart begin=2\r\n" + ab + endLine("ab")},
        QByteArray("\0ab", 3));
    row("part line moves what is not yet written",
        {beginLine + ab + "\r\n=ypart begin=3 end=6\r\n" + ab + endLine("abab")},
        QByteArray("\0\0abab", 6));

    const auto sized = [&](const char *name, const QByteArray &line, const QByteArray &content,
                           const QString &file = u"a"_s) {
        row(name, {line + "\r\n" + ab + endLine("ab")}, content, true, file);
    };
    sized("size extends the file", "=ybegin size=4 name=a", QByteArray("ab\0\0", 4));
    sized("smaller size", "=ybegin size=4 name=a\r\n=ybegin size=3 name=a",
          QByteArray("ab\0\0", 4));
    sized("negative size", "=ybegin size=-4 name=a", "ab");
    sized("huge size", "=ybegin size=9223372036854775807 name=a", "ab");
    sized("size at the line's end is name", "=ybegin name=a size=9", "ab", u"a size=9"_s);

    const auto ended = [&](const char *name, const QByteArray &line, bool ok) {
        row(name, {beginLine + ab + "\r\n" + line + "\r\n"}, "ab", ok);
    };
    const QByteArray crc = crcOf("ab");
    ended("no checksum", "=yend size=2 part=1", false);
    ended("end without size", "=yend crc32=" + crc, false);
    ended("end size is no number", "=yend size=2x crc32=" + crc, false);
    ended("end size last", "=yend crc32=" + crc + " size=2", true);
    ended("upper case, white space", "=yend size=\t2 crc32=" + crc.toUpper() + "\t", true);
    ended("only part checksum right", "=yend size=2 crc32=1 pcrc32=" + crc, true);
    ended("only file checksum right", "=yend size=2 pcrc32=1 crc32=" + crc, false);
    const auto marked = [&](const char *name, const QByteArray &checksum) {
        row(name, {beginLine + "\x8b\x8f\r\n=yend size=2 pcrc32=" + checksum + "\r\n"}, "ae");
    };
    marked("padded checksum", "00e7ddce");
    marked("checksum without its zeros", "e7ddce");
    ended("no space behind =yend", "=yendless size=2 crc32=" + crc, true);
}

void TestYencDecoder::decodes()
{
    const auto [blocks, name, content, ok] = thisRow<Blocks, QString, QByteArray, bool>();
    YencDecoder decoder(dir->path(), nullptr);
    QCOMPARE(feed(decoder, blocks), QString());
    QCOMPARE(decoder.filename(), name);
    QCOMPARE(contentsOf(dir->filePath(decoder.filename())), content);
    QCOMPARE(decoder.isOk(), ok);
}

void TestYencDecoder::fails_data()
{
    const auto row = rows<Blocks, QString>();
    const QString opening = u"Error opening file: "_s;
    const QByteArray part = beginLine + "=ypart begin=";
    row("folder", {Blocks{"=ybegin name=folder\r\n"}, opening});
    row("link out of the folder",
        {Blocks{"=ybegin name=link\r\n"}, opening + "the name leads out"_L1});
    row("no folder", {Blocks{"=ybegin name=a\r\n"}, opening + "No such file or directory"_L1});
    for (const int size : {300, 5000}) // too much for the file system, for any path
        row(qPrintable(u"name of %1"_s.arg(size)),
            {Blocks{"=ybegin name=" + QByteArray(size, 'n') + '\n'},
             opening + "File name too long"_L1});
    row("offset 0", {Blocks{part + "0 end=3\r\n"}, u"Error seeking file"_s});
    row("lowest offset", {Blocks{part + "-9223372036854775808\r\n"}, u"Error seeking file"_s});
    // Some file systems refuse the offset, others the first byte there.
    row("offset where no byte fits", {Blocks{part + "9223372036854775807\r\n" + ab},
                                      u"Error seeking file|Error writing to file"_s});
}

void TestYencDecoder::fails()
{
    const auto [blocks, error] = thisRow<Blocks, QString>();
    const QDir job(dir->filePath(u"job"_s));
    QVERIFY(job.mkpath(u"folder"_s));
    QVERIFY(QFile::link(dir->filePath(u"outside"_s), job.filePath(u"link"_s)));
    const bool noFolder = "no folder"_L1 == QLatin1StringView(QTest::currentDataTag());
    YencDecoder decoder(noFolder ? job.filePath(u"none"_s) : job.path(), nullptr);
    const QString text = feed(decoder, blocks);
    QVERIFY2(QRegularExpression(u"^("_s + error + u')').match(text).hasMatch(), qPrintable(text));
    QVERIFY(!decoder.isOk());
    QVERIFY(!QFile::exists(dir->filePath(u"outside"_s)));
}

// A limit for the size of files acts as a full disk does.
void TestYencDecoder::noticesFullDisk()
{
    const QByteArray article = yencArticle("a", 9000, 1, 1, 1, randomBytes(2, 9000));
    YencDecoder decoder(dir->path(), nullptr);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit low{8000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
    const QString first = feed(decoder, {article.first(4000)});
    const QString second = feed(decoder, {article.mid(4000, 5000)});
    setrlimit(RLIMIT_FSIZE, &before);
    // At the very write that did not fit, not at a later one or when the file is closed.
    QCOMPARE(first, QString());
    QCOMPARE(second, u"Error writing to file. Check disk space"_s);
}

void TestYencDecoder::changesFilesWithoutLeak()
{
    const auto openFiles = [] {
        return QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System).size();
    };
    const qsizetype before = openFiles();
    YencDecoder decoder(dir->path(), nullptr);
    QCOMPARE(feed(decoder, Blocks(50, beginLine)), QString());
    QCOMPARE(openFiles(), before + 1);
}

void TestYencDecoder::takesAnyCut()
{
    QRandomGenerator random = seededRandom();
    const auto decode = [this](YencDecoder &decoder, const Blocks &blocks) {
        QFile::remove(dir->filePath(u"a"_s));
        const QString error = feed(decoder, blocks);
        return error.isEmpty() ? contentsOf(dir->filePath(u"a"_s)) : error.toUtf8();
    };
    for (int round = 0; round < 500; ++round) {
        const int offset = random() % 2 ? 19 : 0;
        // Some have their odd bytes where the decoder empties its output on the way.
        const QByteArray filler(round % 5 ? 0 : 64 * 1024 - random.bounded(100), 'f');
        const QByteArray article =
            "ahead\r\n" + beginLine + (offset ? "=ypart begin=20 end=30\r\n" : "") + filler
            + oddBytes(random).replace(QByteArrayView("=\0", 2), "=x") + "xx";
        YencDecoder whole(dir->path(), nullptr);
        const QByteArray expected = decode(whole, {article});
        YencDecoder decoder(dir->path(), nullptr);
        const Blocks blocks = cut(article + endLine(expected.mid(offset)), random);
        QVERIFY(decode(decoder, blocks) == expected);
        QVERIFY(decoder.isOk());
    }
}

QTEST_GUILESS_MAIN(TestYencDecoder)
#include "test_yencdecoder.moc"
