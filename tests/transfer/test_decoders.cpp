// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/case.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <csignal>
#include <sys/resource.h>

#include "support/articles.h"
#include "support/files.h"
#include "support/seededrandom.h"
#include "transfer/uudecoder.h"
#include "transfer/yencdecoder.h"

using namespace Qt::StringLiterals;

namespace {

const struct Name {
    const char *name;
    QByteArray posted;
    QString expected;
} names[] = {
    {"all twelve, space kept", "a /:\\?*&`<>\"|'b", u"a b"_s},
    {"no printable ASCII", "\xe4\x1f \x7f~\r", u" ~"_s},
    {"none left", "???\r", u"invalid-name-3f3f3f0d"_s},
    {"hidden once the slash is gone", "/.x", u"invalid-name-2f2e78"_s},
    {"long", QByteArray(300, 'n'), QString(300, u'n')},
};
const Case sanitized("a name is sanitized", names, [](const Name &row) {
    QCOMPARE(AbstractDecoder::sanitizeFilename(row.posted), row.expected);
});

/// Returns the text of the exception, empty without one.
QByteArray feed(AbstractDecoder &decoder, const QByteArrayList &blocks)
{
    try {
        for (QByteArray block : blocks)
            decoder.decode(block);
        decoder.finish();
        return {};
    } catch (const std::exception &failure) {
        return failure.what();
    }
}

/// In @p text | ends a block, ^ stands for a begin line, ~ for "ab" as it is encoded, $ and % for
/// the right end lines of "ab" and "abab".
QByteArrayList yencBlocks(QByteArray text)
{
    text.replace('^', "=ybegin line=128 name=a\r\n").replace('~', "\x8b\x8c");
    return text.replace('$', "\r\n=yend size=2 crc32=9e83486d\r\n")
        .replace('%', "\r\n=yend size=4 crc32=36d70aa6\r\n")
        .split('|');
}

const QByteArray nul(1, '\0');
const struct Yenc {
    const char *name;
    QByteArray article;
    QByteArray content = "ab";
    bool ok = true;
    QString file = u"a"_s;
} yencs[] = {
    {"data ahead of the begin line", "~\r\n^~$"},
    {"all behind the end line", "^~$^|~\r\n^"},
    {"second begin line drops what is not yet written", "^~|~\r\n=ybegin name=b\r\n~%", "ab", true,
     u"b"_s},
    {"two dots at line start", "^..~..\r\n=yend size=5 crc32=986adfe8\r\n", "\4ab\4\4"},
    {"no end line: the final dot is data", "^~\r\n.\r\n", "ab\4", false},
    {"NUL behind an escape goes, the escape stays",
     "^~=" + nul + "|j\r\n=yend size=3 crc32=e19f7120\r\n", "ab" + nul},
    {"NUL behind an escape, then the block ends with a line", "^=" + nul + "~\r\n|~%", "abab"},
    {"begin line without name is data, and so is the control line behind it",
     "^\r\n=ybegin i\r\n=yend\r\n", "\x4f\x38\x3b\x3d\x3f\x44\xf6\x3f\xd6\x0f\x3b\x44\x3a", false},
    {"control line with bare LF loses its last character to the data",
     "=ybegin line=128 name=a\n~\r\n=yend size=3 crc32=13f7095\r\n", "7ab"},
    {"part line ahead of the begin line", "=ypart begin=2\r\n^~$"},
    {"part line without begin", "^=ypart end=2\r\n~$"},
    {"begin at the line's end", "^=ypart begin=2\r\n~$", nul + "ab"},
    {"part line moves what is not yet written", "^~\r\n=ypart begin=3 end=6\r\n~%",
     nul + nul + "abab"},
    {"size extends the file", "=ybegin size=4 name=a\r\n~$", "ab" + nul + nul},
    {"smaller size", "=ybegin size=4 name=a\r\n=ybegin size=3 name=a\r\n~$", "ab" + nul + nul},
    {"negative size", "=ybegin size=-4 name=a\r\n~$"},
    {"huge size", "=ybegin size=9223372036854775807 name=a\r\n~$"},
    {"size at the line's end is name", "=ybegin name=a size=9\r\n~$", "ab", true, u"a size=9"_s},
    {"no checksum", "^~\r\n=yend size=2 part=1\r\n", "ab", false},
    {"end without size", "^~\r\n=yend crc32=9e83486d\r\n", "ab", false},
    {"end size is no number", "^~\r\n=yend size=2x crc32=9e83486d\r\n", "ab", false},
    {"end size last", "^~\r\n=yend crc32=9e83486d size=2\r\n"},
    {"upper case, white space", "^~\r\n=yend size=\t2 crc32=9E83486D\t\r\n"},
    {"only part checksum right", "^~\r\n=yend size=2 crc32=1 pcrc32=9e83486d\r\n"},
    {"only file checksum right", "^~\r\n=yend size=2 pcrc32=1 crc32=9e83486d\r\n", "ab", false},
    {"padded checksum", "^\x8b\x8f\r\n=yend size=2 pcrc32=00e7ddce\r\n", "ae"},
    {"checksum without its zeros", "^\x8b\x8f\r\n=yend size=2 pcrc32=e7ddce\r\n", "ae"},
    {"no space behind =yend", "^~\r\n=yendless size=2 crc32=9e83486d\r\n"},
};
const Case decodedYenc("yEnc is decoded", yencs, [](const Yenc &row) {
    const QTemporaryDir dir;
    YencDecoder decoder(dir.path(), nullptr);
    QCOMPARE(feed(decoder, yencBlocks(row.article)), "");
    QCOMPARE(decoder.filename(), row.file);
    QCOMPARE(contentsOf(dir.filePath(row.file)), row.content);
    QCOMPARE(decoder.isOk(), row.ok);
});

const struct Failure {
    const char *name;
    QByteArray article, error;
    QString folder = u"job"_s;
} failures[] = {
    {"folder", "=ybegin name=folder\r\n", "Error opening file: "},
    {"link out of the folder", "=ybegin name=link\r\n", "Error opening file: the name leads out"},
    {"no folder", "^", "Error opening file: No such file or directory", u"none"_s},
    {"name too long for the file system", "=ybegin name=" + QByteArray(300, 'n') + "\r\n",
     "Error opening file: File name too long"},
    {"name too long for any path", "=ybegin name=" + QByteArray(5000, 'n') + "\r\n",
     "Error opening file: File name too long"},
    {"offset 0", "^=ypart begin=0 end=3\r\n", "Error seeking file"},
    {"lowest offset", "^=ypart begin=-9223372036854775808\r\n", "Error seeking file"},
    // Some file systems refuse the offset, others the first byte there.
    {"offset where no byte fits", "^=ypart begin=9223372036854775807\r\n~", "Error "},
    {"endless line", "^~|\r\n=y|" + QByteArray(1 << 20, 'x'), "line without end"},
};
const Case failedYenc("yEnc fails", failures, [](const Failure &row) {
    const QTemporaryDir dir;
    const QDir job(dir.filePath(u"job"_s));
    QVERIFY(job.mkpath(u"folder"_s));
    QVERIFY(QFile::link(dir.filePath(u"outside"_s), job.filePath(u"link"_s)));
    YencDecoder decoder(dir.filePath(row.folder), nullptr);
    const QByteArray error = feed(decoder, yencBlocks(row.article));
    QVERIFY2(!row.error.isEmpty() && error.startsWith(row.error), error.constData());
    QVERIFY(!decoder.isOk() && !QFile::exists(dir.filePath(u"outside"_s)));
});

// A limit for the size of files acts as a full disk does.
const Case fullDisk("yEnc tells of a full disk at the very write that did not fit", [] {
    const QTemporaryDir dir;
    const QByteArray article = yencArticle("a", 9000, 1, 1, 1, randomBytes(2, 9000));
    YencDecoder decoder(dir.path(), nullptr);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit low{8000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
    const QByteArray first = feed(decoder, {article.first(4000)});
    const QByteArray second = feed(decoder, {article.mid(4000, 5000)});
    setrlimit(RLIMIT_FSIZE, &before);
    QCOMPARE(first, "");
    QCOMPARE(second, "Error writing to file. Check disk space");
});

const Case manyNames("yEnc closes the file that another begin line replaces", [] {
    const QDir open(u"/proc/self/fd"_s);
    const auto count = [&] { return open.entryList(QDir::AllEntries | QDir::System).size(); };
    const qsizetype before = count();
    const QTemporaryDir dir;
    YencDecoder decoder(dir.path(), nullptr);
    QCOMPARE(feed(decoder, yencBlocks(QByteArray("^|").repeated(50))), "");
    QCOMPARE(count(), before + 1);
});

const QByteArray full = "M" + QByteArray(60, '!') + "\r\n"; // 15 times the bytes 04 10 41
const QByteArray fullBytes = QByteArray("\4\x10\x41").repeated(15);

/// @p article: | stands for the end of a block, * for a line that is "abc".
const struct Uuencode {
    const char *name;
    QByteArray article, content;
    bool ok = true;
    int number = 2;
} uuencodes[] = {
    {"line cut in three", "#8|6)|C\r\n", "abc"},
    {"grave accent ends", "**`\r\n*|*", "abcabc"},
    {"lone dot ends", "*.\n*", "abc"},
    {"end line ends", "*end\r\n*", "abc"},
    {"end line with bare LF is corrupt", "*end\n*", "abc", false},
    {"count 0", "*`abc\r\n*", "abc", false},
    {"count 1 loses its byte", "!8@\r\n*", nul + "abc"},
    {"count 46", "N" + QByteArray(64, '!') + "\r\n*", "", false},
    {"line shorter than its count", "M" + QByteArray(56, '!') + "\n", "", false},
    {"line just long enough: its end is decoded", "M" + QByteArray(57, '!') + "\n",
     fullBytes.first(42) + "\x06\xa8\x20"},
    {"first byte above 127", "\xcd" + full.mid(1), fullBytes},
    {"stuffed dots stay: the first counts 14 bytes", ".." + QByteArray(19, '!') + "\r\n",
     "\x38\x10\x41" + fullBytes.first(11)},
    {"count 4: the last byte is that of the line before", full + "$86)C86)C\r\n",
     fullBytes + "abc\4"},
    {"count 4 at the start of a block: the last byte is zero", full + "|$86)C86)C\r\n",
     fullBytes + "abc" + nul},
    {"eleven bytes of begin line", "begin 999 \n|*", "abc", true, 1},
    {"ten bytes of begin line", "begin 644 |*", "(no file)", true, 1},
    {"four digits in the mode", "begin 0644 a\r\n|*", "(no file)", true, 1},
    {"letter in the mode", "begin 6x4 a\r\n|*", "(no file)", true, 1},
    {"no begin line", "#86)C86)C86)C\r\n|*", "(no file)", true, 1},
};
const Case decodedUuencode("uuencode is decoded", uuencodes, [](const Uuencode &row) {
    const QTemporaryDir dir;
    const QByteArrayList blocks = QByteArray(row.article).replace('*', "#86)C\r\n").split('|');
    UUDecoder decoder(dir.path(), u"a/b"_s, row.number, nullptr);
    QCOMPARE(feed(decoder, blocks), "");
    QCOMPARE(contentsOf(dir.filePath(u"ab.uu00000%1"_s.arg(row.number))), row.content);
    QCOMPARE(decoder.bytes(), row.content == "(no file)" ? 0 : quint64(row.content.size()));
    QCOMPARE(decoder.isOk(), row.ok);
});

const Case uuencodeLink("uuencode stays in the folder, and is no error there", [] {
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"job"_s));
    QVERIFY(QFile::link(dir.filePath(u"outside"_s), dir.filePath(u"job/a.uu000002"_s)));
    QTest::failOnWarning(QRegularExpression(u"."_s));
    UUDecoder decoder(dir.filePath(u"job"_s), u"a"_s, 2, nullptr);
    QCOMPARE(feed(decoder, {"#86)C\r\n"}), "");
    QVERIFY(!QFile::exists(dir.filePath(u"outside"_s)));
    QVERIFY(decoder.isOk() && decoder.bytes() == 3);
    const QByteArrayList halves(2, QByteArray(512 * 1024, '!'));
    QCOMPARE(feed(decoder, halves), "");
    QCOMPARE(feed(decoder, {"!"}), "line without end");
});

/// What is odd in all combinations, among random bytes.
QByteArray oddBytes(QRandomGenerator &random)
{
    static const QByteArrayList odd =
        yencBlocks("\r\n|\r\n|\n|\r|=|=|=|.|..|y|=y|\r\n=ybegin size=9\r\n|\n=yo=\n|" + nul);
    QByteArray result;
    const unsigned longestPlain = 1 + random() % 150;
    for (quint32 count = random() % 200; count > 0; --count) {
        result += odd.at(random() % odd.size());
        if (random() % 4 == 0)
            result += randomBytes(random(), random() % longestPlain);
    }
    return result.replace(QByteArrayView("=\0", 2), "=x");
}

const Case anyCut("yEnc can be cut anywhere", [] {
    QRandomGenerator random = seededRandom();
    const QTemporaryDir dir;
    const auto decode = [&](YencDecoder &decoder, const QByteArrayList &blocks) {
        QFile::remove(dir.filePath(u"a"_s));
        const QByteArray error = feed(decoder, blocks);
        return error.isEmpty() ? contentsOf(dir.filePath(u"a"_s)) : error;
    };
    for (int round = 0; round < 300; ++round) {
        const int offset = random() % 2 ? 19 : 0;
        // Some have their odd bytes where the decoder empties its output on the way.
        QByteArray article = "ahead\r\n" + yencBlocks("^")[0]
                             + (offset ? "=ypart begin=20 end=30\r\n" : "")
                             + QByteArray(round % 5 ? 0 : 64 * 1024 - random.bounded(100), 'f')
                             + oddBytes(random) + "xx";
        YencDecoder whole(dir.path(), nullptr);
        const QByteArray expected = decode(whole, {article});
        const QByteArray data = expected.mid(offset);
        article += "\r\n=yend size=" + QByteArray::number(data.size())
                   + " crc32=" + QByteArray::number(crc32Of(data), 16) + "\r\n";
        QByteArrayList blocks;
        const unsigned longest = 1 + random() % 300;
        for (qsizetype at = 0; at < article.size(); at += blocks.last().size())
            blocks += article.mid(at, 1 + random() % longest);
        YencDecoder decoder(dir.path(), nullptr);
        QVERIFY(decode(decoder, blocks) == expected);
        QVERIFY(decoder.isOk());
    }
});

} // namespace
