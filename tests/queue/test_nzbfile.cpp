// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTest>

#include <memory>

#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

/// A file of @p segments segments of 100 bytes each, named "m1", "m2" and so on.
std::unique_ptr<NzbFile> fileOf(int segments, const QString &subject = uR"("a.rar" (1/3))"_s)
{
    auto file = std::make_unique<NzbFile>(nullptr, subject, QString(), 0, 0, 0, false, 0, false);
    for (int number = segments; number >= 1; --number)
        file->addSegment(number, 100, u"m"_s + QString::number(number));
    return file;
}

} // namespace

class TestNzbFile final : public QObject {
    Q_OBJECT

private slots:
    void segmentsComeAndGo();
    void fewerListedThanAnnounced();
    void moreDecodedThanListed();
    void betterNameFromDecoder();
    void repairedFile();
    void baseName();
};

void TestNzbFile::segmentsComeAndGo()
{
    const auto file = fileOf(2);
    file->addSegment(10, 50, u"first"_s);
    file->addSegment(10, 50, u"second"_s); // replaces the first, but its bytes stay
    QCOMPARE(file->size(), quint64(300));
    int seqnr = 0;
    QCOMPARE(file->nextSegment(&seqnr), u"m1"_s);
    file->requeueSegment(2); // pending, not active
    file->requeueSegment(77);
    QVERIFY(file->hasActiveSegments());
    file->requeueSegment(1);
    QVERIFY(!file->hasActiveSegments());
    for (const QString &id : {u"m1"_s, u"m2"_s, u"second"_s, QString()})
        QCOMPARE(file->nextSegment(&seqnr), id);
    QCOMPARE(seqnr, 10);
    QVERIFY(!file->hasPendingSegments() && !file->isFinished());
}

void TestNzbFile::fewerListedThanAnnounced()
{
    const auto file = fileOf(2);
    QVERIFY(file->isIncomplete());
    file->addSegment(3, 100, u"m3"_s);
    QVERIFY(!file->isIncomplete());

    const auto shorter = fileOf(2);
    for (int seqnr = 0; !shorter->nextSegment(&seqnr).isEmpty();)
        shorter->segmentDecoded(seqnr, QString(), 90, true, true);
    QCOMPARE(shorter->completedBytes(), quint64(200)); // jumps to the size
    QCOMPARE(shorter->status(), u"Finished incomplete"_s);
}

void TestNzbFile::moreDecodedThanListed()
{
    const auto file = fileOf(2);
    file->segmentDecoded(1, QString(), 90, true, true);
    file->segmentDecoded(1, QString(), 1000, true, false);
    QCOMPARE(file->size(), quint64(1090));
    QCOMPARE(file->completedBytes(), quint64(1090));
    QVERIFY(file->isYenc());
}

void TestNzbFile::betterNameFromDecoder()
{
    const auto file = fileOf(3);
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
    const auto file = fileOf(1, u"(1/99999999999)"_s);
    QVERIFY(file->isIncomplete());
    file->markRepaired();
    QVERIFY(!file->isIncomplete());
    file->segmentDecoded(1, QString(), 1, true, true); // one more part than an int can count
    file->addSegment(2, 1, u"m2"_s);
    QVERIFY(!file->isIncomplete());
}

void TestNzbFile::baseName()
{
    const std::pair<QString, QString> names[] = {{u"movie.PART01.RAR"_s, u"movie"_s},
                                                 {u"movie.vol003+02.par2"_s, u"movie"_s},
                                                 {u"movie.001.rar"_s, u"movie"_s},
                                                 {u"movie.0001.rar"_s, u"movie.0001"_s},
                                                 {u"movie.12a.rar"_s, u"movie.12a"_s},
                                                 {u"movie.apart.rar"_s, u"movie.apart"_s},
                                                 {u"movie.part1.vol0+1.par2"_s, u"movie.part1"_s},
                                                 {u"README"_s, u"READM"_s},
                                                 {u".rar"_s, u""_s}};
    for (const auto &[name, base] : names)
        QCOMPARE(fileOf(1, u'"' + name + u'"')->baseName(), base);
}

QTEST_GUILESS_MAIN(TestNzbFile)
#include "test_nzbfile.moc"
