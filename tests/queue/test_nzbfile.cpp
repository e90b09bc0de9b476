// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTest>

#include <limits>

#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

/// A file of @p segments segments of 100 bytes each, named "m1", "m2" and so on.
class File : public QObject {
public:
    explicit File(int segments, const QString &subject = uR"("a.rar" (1/3))"_s)
        : file(this, subject, QString(), 0, 0, 0, false, 0, false)
    {
        for (int number = 1; number <= segments; ++number)
            file.addSegment(number, 100, u"m"_s + QString::number(number));
    }

    NzbFile *operator->() { return &file; }

    void activateAll()
    {
        int seqnr = 0;
        while (!file.nextSegment(&seqnr).isEmpty()) { }
    }

private:
    NzbFile file;
};

} // namespace

class TestNzbFile final : public QObject {
    Q_OBJECT

private slots:
    void lowestSegmentFirst();
    void requeue();
    void repeatedNumber();
    void decodedBytes();
    void incomplete_data();
    void incomplete();
    void betterNameFromDecoder();
    void repairedFile();
    void status_data();
    void status();
    void baseName_data();
    void baseName();
};

void TestNzbFile::lowestSegmentFirst()
{
    File file(0);
    file->addSegment(10, 1, u"ten"_s);
    file->addSegment(9, 1, u"nine"_s);
    int seqnr = 0;
    QCOMPARE(file->nextSegment(&seqnr), u"nine"_s);
    QCOMPARE(seqnr, 9);
    QCOMPARE(file->nextSegment(&seqnr), u"ten"_s);
    QVERIFY(file->hasActiveSegments() && !file->hasPendingSegments() && !file->isFinished());
    QCOMPARE(file->nextSegment(&seqnr), QString());
    QCOMPARE(seqnr, 10);
}

void TestNzbFile::requeue()
{
    File file(2);
    int seqnr = 0;
    const QString id = file->nextSegment(&seqnr);
    file->requeueSegment(2); // pending, not active
    file->requeueSegment(77);
    QVERIFY(file->hasActiveSegments());
    file->requeueSegment(1);
    QVERIFY(!file->hasActiveSegments());
    QCOMPARE(file->nextSegment(&seqnr), id);
    QCOMPARE(seqnr, 1);
    QCOMPARE(file->nextSegment(&seqnr), u"m2"_s);
    QVERIFY(!file->hasPendingSegments());
}

void TestNzbFile::repeatedNumber()
{
    File file(3);
    file->addSegment(1, 50, u"other"_s);
    QCOMPARE(file->size(), quint64(350));
    int seqnr = 0;
    QCOMPARE(file->nextSegment(&seqnr), u"other"_s);
}

void TestNzbFile::decodedBytes()
{
    File file(3);
    QVERIFY(!file->isIncomplete());
    file.activateAll();
    file->segmentDecoded(1, QString(), 90, true, true);
    file->segmentDecoded(2, QString(), 90, true, false);
    QCOMPARE(file->completedBytes(), quint64(180));
    QVERIFY(file->isYenc());
    file->segmentDecoded(3, QString(), 90, true, true);
    QCOMPARE(file->completedBytes(), quint64(300)); // jumps to its size
    QCOMPARE(file->status(), u"Finished"_s);

    File larger(2);
    larger.activateAll();
    larger->segmentDecoded(1, QString(), 1000, true, false);
    QCOMPARE(larger->size(), quint64(1000));
    QCOMPARE(larger->completedBytes(), quint64(1000));
    QVERIFY(!larger->isYenc());
}

void TestNzbFile::incomplete_data()
{
    QTest::addColumn<int>("listed");
    QTest::addColumn<int>("damaged");
    QTest::addColumn<int>("lost");
    QTest::addColumn<QString>("status");

    QTest::newRow("all well") << 3 << 0 << 0 << u"Finished"_s;
    QTest::newRow("damaged article") << 3 << 2 << 0 << u"Finished incomplete"_s;
    QTest::newRow("lost article") << 3 << 0 << 2 << u"Finished incomplete"_s;
    QTest::newRow("fewer listed than announced") << 2 << 0 << 0 << u"Finished incomplete"_s;
}

void TestNzbFile::incomplete()
{
    QFETCH(int, listed);
    QFETCH(int, damaged);
    QFETCH(int, lost);
    File file(listed);
    QCOMPARE(file->isIncomplete(), listed < 3);
    file.activateAll();
    for (int number = 1; number <= listed; ++number) {
        if (number == lost)
            file->segmentNotFound(number);
        else
            file->segmentDecoded(number, QString(), 90, number != damaged, true);
    }
    QCOMPARE(file->completedBytes(), file->size());
    QTEST(file->status(), "status");
}

void TestNzbFile::betterNameFromDecoder()
{
    File file(3);
    file->segmentDecoded(1, QString(), 1, true, true);
    QCOMPARE(file->name(), u"a.rar"_s);
    file->segmentDecoded(2, u"b.tar.GZ"_s, 1, true, true);
    QCOMPARE(file->name(), u"b.tar.GZ"_s);
    QCOMPARE(file->extension(), u"gz"_s);
    file->segmentDecoded(3, u"README"_s, 1, true, true);
    QCOMPARE(file->extension(), QString());
}

void TestNzbFile::repairedFile()
{
    File file(1, u"(1/99999999999)"_s);
    QVERIFY(file->isIncomplete());
    file->markRepaired();
    QVERIFY(!file->isIncomplete());
    file->segmentDecoded(1, QString(), 1, true, true); // one more part than an int can count
    QVERIFY(!file->isIncomplete());
}

void TestNzbFile::status_data()
{
    QTest::addColumn<quint64>("size");
    QTest::addColumn<quint64>("completed");
    QTest::addColumn<bool>("paused");
    QTest::addColumn<bool>("finished");
    QTest::addColumn<QString>("status");

    const auto row = [](const char *name, quint64 size, quint64 completed, bool paused,
                        bool finished, const QString &status) {
        QTest::newRow(name) << size << completed << paused << finished << status;
    };
    row("empty, though paused", 0, 5, true, true, u"-empty file-"_s);
    row("finished, though paused", 10, 10, true, true, u"Finished"_s);
    row("paused, though begun", 10, 5, true, false, u"Paused"_s);
    row("queued", 10, 0, false, false, u"Queued"_s);
    row("begun", 1000, 1, false, false, u"0 %"_s);
    row("half a percent rounds up", 1000, 5, false, false, u"1 %"_s);
    row("99.6 percent", 1000, 996, false, false, u"100 %"_s);
    row("beyond the range of int", 1, std::numeric_limits<quint64>::max(), false, false,
        u"2147483647 %"_s);
}

void TestNzbFile::status()
{
    QFETCH(quint64, size);
    QFETCH(quint64, completed);
    QFETCH(bool, paused);
    QFETCH(bool, finished);
    QObject parent;
    NzbFile file(&parent, u"a.b"_s, QString(), 0, size, completed, paused, 1, false);
    if (!finished)
        file.addSegment(2, 0, u"id"_s);
    QTEST(file.status(), "status");
}

void TestNzbFile::baseName_data()
{
    QTest::addColumn<QString>("filename");
    QTest::addColumn<QString>("base");

    const auto row = [](const QString &filename, const QString &base) {
        QTest::addRow("%s", qPrintable(filename)) << filename << base;
    };
    row(u"movie.rar"_s, u"movie"_s);
    row(u"movie.part01.rar"_s, u"movie"_s);
    row(u"movie.PART01.RAR"_s, u"movie"_s);
    row(u"movie.vol003+02.par2"_s, u"movie"_s);
    row(u"movie.001.rar"_s, u"movie"_s);
    row(u"movie.0001.rar"_s, u"movie.0001"_s);
    row(u"movie.12a.rar"_s, u"movie.12a"_s);
    row(u"movie.apart.rar"_s, u"movie.apart"_s);
    row(u"movie.part1.vol0+1.par2"_s, u"movie.part1"_s);
    row(u".part1.rar"_s, u""_s);
    row(u"README"_s, u"READM"_s);
    row(u"name."_s, u"name"_s);
    row(u".rar"_s, u""_s);
}

void TestNzbFile::baseName()
{
    QFETCH(QString, filename);
    File file(1, u'"' + filename + u'"');
    QTEST(file->baseName(), "base");
}

QTEST_GUILESS_MAIN(TestNzbFile)
#include "test_nzbfile.moc"
