// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTest>

#include "queue/subject.h"
#include "support/rows.h"

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
    const auto add = rows<QString, QString, QString>();
    const auto row = [&](const QByteArray &name, const QString &subject, const QString &filename,
                         const QString &extension) {
        add(name.constData(), {subject, filename, extension});
    };
    row("quoted: extension in lower case", uR"(x "m.part01.RAR" "c.d")"_s, u"m.part01.RAR"_s,
        u"rar"_s);
    row("quoted without a dot", uR"(x.y "README" (1/2))"_s, u"README"_s, u""_s);
    row("quoted and empty", uR"("" name.txt)"_s, u""_s, u""_s);
    row("one quote only", uR"(some "name.txt yEnc)"_s, u"name.txt"_s, u"txt"_s);
    row("bare: extension as it stands", u"[1/9] a.b.c-d.MKV (1/2)"_s, u"a.b.c-d.MKV"_s, u"MKV"_s);
    row("letters beyond ASCII", u"x fil\u00e9.\u00e9x\u0661-"_s, u"fil\u00e9.\u00e9x\u0661"_s,
        u"\u00e9x\u0661"_s);
    row("first character lost", u"ab.TXT"_s, u"b.TXT"_s, u"TXT"_s);
    row("stem of one character dropped", u"a.txt"_s, u".txt"_s, u"txt"_s);
    row("dot at the start", u".hidden file"_s, u".hidden file"_s, u""_s);
    row("dot at the end", u"the end."_s, u"end."_s, u""_s);
    row("no dot", u"Hello world"_s, u".Hello"_s, u"Hello"_s);
    row("nothing", u""_s, u"."_s, u""_s);
    for (const char delimiter : QByteArray(R"(/ :\?*&`<>"|)"))
        row(QByteArray("behind ") + delimiter, u"xyz"_s + QLatin1Char(delimiter) + u"n.e"_s,
            u"n.e"_s, u"e"_s);
}

void TestSubject::name()
{
    const auto [subject, filename, extension] = thisRow<QString, QString, QString>();
    const Subject result = parseSubject(subject);
    QCOMPARE(result.filename, filename);
    QCOMPARE(result.extension, extension);
}

void TestSubject::parts_data()
{
    const auto row = rows<int>();
    row("none", {1});
    row("(1/5) name (3/10)", {10});
    row("(3/10) name (1/x) [1/20]", {10});
    row("(1(2/3)", {1});
    row("((2/3)", {3});
    row("(1/(2/3)", {3});
    row("(1/2/3)", {2});
    row("(1 /2)", {1});
    row("(/2)", {1});
    row("(1/007", {7});
    row("(1/-7)", {1});
    row("(1/0)", {0});
    row("(", {1});
    row("(1/", {1});
    row("(1/99999999999999999999)", {2'147'483'647});
}

void TestSubject::parts()
{
    const auto [parts] = thisRow<int>();
    QCOMPARE(parseSubject(QString::fromLatin1(QTest::currentDataTag())).parts, parts);
}

QTEST_GUILESS_MAIN(TestSubject)
#include "test_subject.moc"
