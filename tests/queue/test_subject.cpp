// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTest>

#include <limits>

#include "queue/subject.h"

using namespace Qt::StringLiterals;

class TestSubject final : public QObject {
    Q_OBJECT

private slots:
    void name_data();
    void name();
    void parts_data();
    void parts();
};

void TestSubject::name_data()
{
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("filename");
    QTest::addColumn<QString>("extension");

    const auto row = [](const char *name, const QString &subject, const QString &filename,
                        const QString &extension) {
        QTest::newRow(name) << subject << filename << extension;
    };
    row("quoted, extension in lower case", uR"(abc "movie.part01.RAR" yEnc (1/33))"_s,
        u"movie.part01.RAR"_s, u"rar"_s);
    row("quoted without a dot", uR"(x.y "README" (1/2))"_s, u"README"_s, u""_s);
    row("quoted and empty", uR"("" name.txt)"_s, u""_s, u""_s);
    row("quoted, dot at the end", uR"("name." (1/2))"_s, u"name."_s, u""_s);
    row("two quoted names", uR"("a.b" "c.d")"_s, u"a.b"_s, u"b"_s);
    row("one quote before the dot", uR"(some "name.txt yEnc)"_s, u"name.txt"_s, u"txt"_s);
    row("one quote behind the dot", uR"(some name.txt" yEnc)"_s, u"name.txt"_s, u"txt"_s);

    row("bare name", u"some name.r01 yEnc (10/22)"_s, u"name.r01"_s, u"r01"_s);
    row("only the last dot counts", u"a name.part1.rar (1/2) v1.0"_s, u"v1.0"_s, u"0"_s);
    row("more dots in the name", u"[1/9] a.b.c-d.MKV (1/2)"_s, u"a.b.c-d.MKV"_s, u"MKV"_s);
    row("first character lost", u"ab.TXT"_s, u"b.TXT"_s, u"TXT"_s);
    row("delimiter at the start is not looked at", u" b.txt"_s, u"b.txt"_s, u"txt"_s);
    row("stem of one character dropped", u"a.txt"_s, u".txt"_s, u"txt"_s);
    row("dot at the start", u".hidden file"_s, u".hidden file"_s, u""_s);
    row("no dot", u"Hello world"_s, u".Hello"_s, u"Hello"_s);
    row("no dot, no letter", u"(1/2)"_s, u"."_s, u""_s);
    row("nothing", u""_s, u"."_s, u""_s);
    row("dot at the end", u"the end."_s, u"end."_s, u""_s);
    row("delimiter just before the dot", u"a b/.nfo"_s, u".nfo"_s, u"nfo"_s);
    row("letters beyond ASCII", u"x fil\u00e9.\u00e9x\u0661-"_s, u"fil\u00e9.\u00e9x\u0661"_s,
        u"\u00e9x\u0661"_s);
    for (const char delimiter : {'/', ' ', ':', '\\', '?', '*', '&', '`', '<', '>', '"', '|'})
        QTest::addRow("behind %c", delimiter)
            << u"xyz"_s + QLatin1Char(delimiter) + u"n.e"_s << u"n.e"_s << u"e"_s;
}

void TestSubject::name()
{
    QFETCH(QString, subject);
    const Subject result = parseSubject(subject);
    QTEST(result.filename, "filename");
    QTEST(result.extension, "extension");
}

void TestSubject::parts_data()
{
    QTest::addColumn<QString>("subject");
    QTest::addColumn<int>("parts");

    const auto row = [](const QString &subject, int parts) {
        QTest::addRow("%s", qPrintable(subject)) << subject << parts;
    };
    row(u"none"_s, 1);
    row(u"a (1/33)"_s, 33);
    row(u"(1/5) name (3/10)"_s, 10);
    row(u"(3/10) name (1/x)"_s, 10);
    row(u"(3/10) name [1/20]"_s, 10);
    row(u"(1(2/3)"_s, 1);
    row(u"((2/3)"_s, 3);
    row(u"(1/(2/3)"_s, 3);
    row(u"(1/2/3)"_s, 2);
    row(u"( 1/2)"_s, 1);
    row(u"(1 /2)"_s, 1);
    row(u"(1/ 2)"_s, 1);
    row(u"(/2)"_s, 1);
    row(u"(1/7"_s, 7);
    row(u"(1/-7)"_s, 1);
    row(u"(1/007)"_s, 7);
    row(u"(1/0)"_s, 0);
    row(u"("_s, 1);
    row(u"(1/"_s, 1);
    row(u"(1/2147483647)"_s, std::numeric_limits<int>::max());
    row(u"(1/99999999999999999999)"_s, std::numeric_limits<int>::max());
    row(u"(\u0661/\u0662)"_s, 1);
}

void TestSubject::parts()
{
    QFETCH(QString, subject);
    QTEST(parseSubject(subject).parts, "parts");
}

QTEST_GUILESS_MAIN(TestSubject)
#include "test_subject.moc"
