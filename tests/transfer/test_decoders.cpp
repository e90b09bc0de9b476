// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "support/articles.h"
#include "support/case.h"
#include "support/files.h"
#include "transfer/uudecoder.h"
#include "transfer/yencdecoder.h"

namespace {

/// What comes of an article that is decoded into a folder with a folder, and links that lead out of
/// it: the kind of error, or "name: content" with 0 for zeros, and the verdict if it is bad.
/// @param number  of a uuencoded one
QByteArray decoded(const QByteArrayList &blocks, int number = 0)
{
    const QTemporaryDir dir;
    const QDir folder(dir.filePath("job"));
    folder.mkpath("folder");
    for (const QString link : {"link", "ab.uu000003"})
        QFile::link(dir.filePath("outside"), folder.filePath(link));
    std::unique_ptr<AbstractDecoder> decoder(new YencDecoder(folder.path(), nullptr));
    if (number > 0)
        decoder.reset(new UUDecoder(folder.path(), "a/b", number, nullptr));
    try {
        for (QByteArray block : blocks)
            decoder->decode(block);
        decoder->finish();
    } catch (const std::exception &failure) {
        return QByteArray(failure.what()).split(':').first();
    }
    const QString file = folder.entryList({decoder->filename() + "*"}, QDir::Files).value(0);
    return decoder->filename().toLatin1() + ": "
           + contentsOf(folder.filePath(file)).replace('\0', '0')
           + (decoder->isOk() ? "" : " (damaged)");
}

/// @p article: @ stands for the end of a block. In yEnc ^ stands for a begin line, # for "ab", $
/// and % for the right end lines of "ab" and "abab"; in a uuencoded one * for a line of "abc".
struct Article {
    const char *name;
    QByteArray article;
    QByteArray result = "a: ab";
    int number = 2; ///< of a uuencoded one
};

QByteArrayList yencBlocks(QByteArray text)
{
    text.replace('^', "=ybegin line=128 name=a\r\n").replace('#', "\x8b\x8c");
    return text.replace('$', "\r\n=yend size=2 crc32=9e83486d\r\n")
        .replace('%', "\r\n=yend size=4 crc32=36d70aa6\r\n")
        .split('@');
}

const QByteArray nul(1, '\0');
const Article yencs[] = {
    {"data ahead of the begin line and behind the end line", "#\r\n^#$^@#\r\n^"},
    {"second begin line drops what is not yet written", "^#@#\r\n=ybegin name=b\r\n#%", "b: ab"},
    {"no end line: the final dot is data", "^#\r\n.\r\n", "a: ab\4 (damaged)"},
    {"NUL behind an escape goes, the escape stays",
     "^#=" + nul + "@j\r\n=yend size=3 crc32=e19f7120\r\n", "a: ab0"},
    {"NUL behind an escape, then the block ends with a line", "^=" + nul + "#\r\n@#%", "a: abab"},
    {"begin line without name is data, and so is the control line behind it",
     "^\r\n=ybegin i\r\n=yend\r\n",
     "a: \x4f\x38\x3b\x3d\x3f\x44\xf6\x3f\xd6\x0f\x3b\x44\x3a (damaged)"},
    {"control line with bare LF loses its last character to the data",
     "=ybegin line=128 name=a\n#\r\n=yend size=3 crc32=13f7095\r\n", "a: 7ab"},
    {"part lines: too early, begin at the end, none",
     "=ypart begin=4\r\n^=ypart begin=2\r\n=ypart end=9\r\n#$", "a: 0ab"},
    {"part line moves what is not yet written", "^#\r\n=ypart begin=3 end=6\r\n#%", "a: 00abab"},
    {"offset 0", "^=ypart begin=0 end=3\r\n", "Error seeking file"},
    {"a size, then a smaller one", "=ybegin size=4 name=a\r\n=ybegin size=3 name=a\r\n#$",
     "a: ab00"},
    {"size at the line's end is name", "=ybegin name=a size=9\r\n#$", "a size=9: ab"},
    {"no checksum", "^#\r\n=yend size=2 part=1\r\n", "a: ab (damaged)"},
    {"end without size", "^#\r\n=yend crc32=9e83486d\r\n", "a: ab (damaged)"},
    {"part checksum counts, in upper case, with white space",
     "^#\r\n=yend size=\t2 crc32=1 pcrc32=9E83486D\t\r\n"},
    {"name with all that is dropped", "=ybegin name=a /:\\?*&`<>\"|'b\r\n#$", "a b: ab"},
    {"name beyond printable ASCII", "=ybegin name=\xe4\x1f \x7f~\r\n#$", " ~: ab"},
    {"name of which nothing is left", "=ybegin name=?\r\n#$", "invalid-name-3f0d: ab"},
    {"name that would be hidden", "=ybegin name=/.x\r\n#$", "invalid-name-2f2e780d: ab"},
    {"a link out of the folder", "=ybegin name=link\r\n#$", "Error opening file"},
};
const Case yenc("yEnc is decoded", yencs,
                [](const Article &row) { QCOMPARE(decoded(yencBlocks(row.article)), row.result); });

const Article uuencodes[] = {
    {"line cut in three", "#8@6)@C\r\n", "ab: abc"},
    {"line cut ahead of its end", "#86)C\r@\n*@*", "ab: abcabcabc"},
    {"grave accent ends", "**`\r\n*@*", "ab: abcabc"},
    {"end line ends", "*end\r\n*", "ab: abc"},
    {"count 0", "*`abc\r\n*", "ab: abc (damaged)"},
    {"count 1 loses its byte", "!8D\r\n*", "ab: 0abc"},
    {"line shorter than its count", "M" + QByteArray(56, '!') + "\n", "ab:  (damaged)"},
    {"line just long enough: its end is decoded", "M" + QByteArray(57, '!') + "\n",
     "ab: " + QByteArray("\4\x10\x41").repeated(14) + "\x06\xa8\x20"},
    {"count 46", "N" + QByteArray(64, '!') + "\r\n*", "ab:  (damaged)"},
    {"eleven bytes of begin line", "begin 909 \n@*", "ab: abc", 1},
    {"no begin line: ten bytes, four digits, letters",
     "begin 644 @begin 0644 a\n@begin x44 \n@begin 6x4 \n@begin 64x \n@*", "ab: (no file)", 1},
    {"a link out of the folder", "*", "ab: (no file)", 3},
};
const Case uuencode("uuencode is decoded", uuencodes, [](const Article &row) {
    QTest::failOnWarning(QRegularExpression("."));
    const QByteArray article = QByteArray(row.article).replace('*', "#86)C\r\n");
    QCOMPARE(decoded(article.split('@'), row.number), row.result);
});

const Case anyCut("yEnc can be cut anywhere", [] {
    const QByteArrayList odd =
        yencBlocks("\r\n@\r\n@\n@\r@=@=@=@.@..@y@=y@\r\n=ybegin size=9\r\n@\n=yo=\n@" + nul);
    QRandomGenerator random = seededRandom();
    for (int round = 0; round < 200; ++round) {
        // Some have their odd bytes where the decoder empties its output on the way.
        QByteArray article = yencBlocks("^").first()
                             + QByteArray(round % 5 ? 0 : 64 * 1024 - random.bounded(100), 'f');
        const int longestPlain = 1 + random.bounded(150);
        for (int count = random.bounded(200); count > 0; --count)
            article += odd[random.bounded(odd.size())]
                       + randomBytes(random(), std::max(0, random.bounded(-300, longestPlain)));
        article.replace(QByteArrayView("=\0", 2), "=x") += "xx";
        QByteArrayList blocks;
        const int longest = 1 + random.bounded(300);
        for (qsizetype at = 0; at < article.size(); at += blocks.last().size())
            blocks += article.mid(at, 1 + random.bounded(longest));
        QVERIFY(decoded({article}) == decoded(blocks));
    }
});

} // namespace
