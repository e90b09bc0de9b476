// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTest>

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
    QTest::addColumn<int>("parts");

    QTest::newRow("none") << 1;
    QTest::newRow("(1/5) name (3/10)") << 10;
    QTest::newRow("(3/10) name (1/x) [1/20]") << 10;
    QTest::newRow("(1(2/3)") << 1;
    QTest::newRow("((2/3)") << 3;
    QTest::newRow("(1/(2/3)") << 3;
    QTest::newRow("(1/2/3)") << 2;
    QTest::newRow("(1 /2)") << 1;
    QTest::newRow("(/2)") << 1;
    QTest::newRow("(1/007") << 7;
    QTest::newRow("(1/-7)") << 1;
    QTest::newRow("(1/0)") << 0;
    QTest::newRow("(") << 1;
    QTest::newRow("(1/") << 1;
    QTest::newRow("(1/99999999999999999999)") << 2'147'483'647;
}

void TestSubject::parts()
{
    QTEST(parseSubject(QString::fromLatin1(QTest::currentDataTag())).parts, "parts");
}

QTEST_GUILESS_MAIN(TestSubject)
#include "test_subject.moc"
