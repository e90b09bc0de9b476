// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QPointer>
#include <QRandomGenerator>
#include <QTest>
#include <QThread>
#include <QXmlAttributes>

#include <algorithm>
#include <functional>
#include <memory>

#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

void startElement(Nzb &job, const QString &name, const QString &attributeList)
{
    QXmlAttributes attributes;
    for (const QString &item : attributeList.split(u';', Qt::SkipEmptyParts))
        attributes.append(item.section(u'=', 0, 0), QString(), QString(), item.section(u'=', 1));
    QVERIFY(job.startElement(QString(), QString(), name, attributes));
}

/// A file with the attributes of @p attributeList, "size=1;paused=1", and one pending segment
/// unless @p finished.
NzbFile *addFile(Nzb &job, const QString &attributeList, bool finished = true)
{
    startElement(job, u"file"_s, attributeList);
    NzbFile *file = job.fileAt(job.fileCount() - 1);
    if (!finished)
        file->addSegment(1, 0, u"id"_s);
    return file;
}

using Order = std::function<bool(const NzbFile *, const NzbFile *)>;

/// The order of two files looked at by themselves: "rar" ahead of its old-style volumes.
bool pairwiseLess(const NzbFile *a, const NzbFile *b)
{
    static const auto volumeOf = [](const NzbFile *rar, const NzbFile *volume) {
        const QString extension = volume->extension();
        return rar->extension() == "rar"_L1 && extension.size() == 3 && extension.at(1).isDigit()
               && extension.at(2).isDigit() && rar->name().chopped(4) == volume->name().chopped(4);
    };
    if (volumeOf(a, b))
        return true;
    return !volumeOf(b, a) && a->name() < b->name();
}

bool isStrictWeakOrder(const QList<NzbFile *> &files, const Order &less)
{
    const auto equal = [&](auto *a, auto *b) { return !less(a, b) && !less(b, a); };
    for (const auto *a : files) {
        for (const auto *b : files) {
            for (const auto *c : files) {
                if ((less(a, b) && less(b, c) && !less(a, c))
                    || (equal(a, b) && equal(b, c) && !equal(a, c)))
                    return false;
            }
        }
    }
    return true;
}

QList<NzbFile *> filesOf(const Nzb &job)
{
    QList<NzbFile *> files;
    for (int i = 0; i < job.fileCount(); ++i)
        files << job.fileAt(i);
    return files;
}

QStringList namesOf(const QList<NzbFile *> &files)
{
    QStringList names;
    for (const NzbFile *file : files)
        names << file->name();
    return names;
}

std::unique_ptr<Nzb> jobOf(const QStringList &names)
{
    auto job = std::make_unique<Nzb>(nullptr, u"/folder"_s, QString());
    for (const QString &name : names)
        addFile(*job, u"subject=\""_s + name + u'"');
    return job;
}

} // namespace

class TestNzb final : public QObject {
    Q_OBJECT

private slots:
    void status_data();
    void status();
    void statusOverride();
    void completeness();
    void sort_data();
    void sort();
    void sortRandomLists();
    void moveFile_data();
    void moveFile();
    void removal();
    void removalOfActiveFile();
    void cleanName_data();
    void cleanName();
    void extractedFileFromOtherThread();
};

void TestNzb::status_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("status");

    const auto row = [](const char *name, const QStringList &files, const QString &status) {
        QTest::newRow(name) << files << status;
    };
    const QString done = u"size=10;completed=10;completedparts=1"_s;
    const QString par2 = u"size=10;paused=1;subject=\"a.par2\""_s;
    row("no file", {}, u"Finished"_s);
    row("done", {done, done}, u"Finished"_s);
    row("done, par2 held back", {done, par2}, u"Finished"_s);
    row("par2 held back only", {par2}, u"Finished"_s);
    row("done, other file held back", {done, u"size=10;paused=1"_s}, u"100 %"_s);
    row("all paused", {par2, u"size=10;paused=1"_s}, u"Paused"_s);
    row("incomplete", {done, u"size=10;completed=10"_s}, u"Finished incomplete"_s);
    row("incomplete file paused", {done, u"size=10;paused=1;subject=\"a.par2\" (1/9)"_s},
        u"Finished"_s);
    row("nothing done", {u"size=10"_s, par2}, QString());
    row("paused files do not count", {u"size=10;completed=5"_s, u"size=90;paused=1"_s}, u"50 %"_s);
    row("99.6 percent", {u"size=1000;completed=996"_s}, u"100 %"_s);
    row("more done than there is", {u"size=0;completed=5"_s}, u"2147483647 %"_s);
    row("sizes below zero", {u"size=-1;completed=-1"_s}, u"Finished incomplete"_s);
}

void TestNzb::status()
{
    QFETCH(QStringList, files);
    Nzb job(nullptr, QString(), QString());
    for (const QString &attributes : files)
        addFile(job, attributes);
    QTEST(job.status(), "status");
}

void TestNzb::statusOverride()
{
    const auto job = jobOf({u"a"_s});
    job->setStatus(u"Repairing"_s);
    QCOMPARE(job->status(), u"Repairing"_s);
    job->setStatus(QString());
    QCOMPARE(job->status(), u"Finished incomplete"_s);
}

void TestNzb::completeness()
{
    Nzb job(nullptr, QString(), QString());
    QVERIFY(job.isComplete() && job.isPaused() && !job.hasIncompleteFiles());
    addFile(job, u"completedparts=1"_s);
    NzbFile *par2 = addFile(job, u"completedparts=1;subject=\"a.PAR2\""_s, false);
    QVERIFY(!job.isComplete() && !job.isPaused() && !job.hasIncompleteFiles());
    par2->setPaused(true);
    QVERIFY(job.isComplete() && !job.isPaused());
    NzbFile *other = addFile(job, u"subject=(1/2)"_s, false);
    other->setPaused(true);
    QVERIFY(!job.isComplete() && job.hasIncompleteFiles());
    job.setPaused(true);
    QVERIFY(job.isPaused());
    job.setPaused(false);
    QVERIFY(!par2->isPaused() && !other->isPaused());
}

void TestNzb::sort_data()
{
    QTest::addColumn<QStringList>("sorted");

    QTest::newRow("old-style volumes")
        << QStringList{u"x.nfo"_s, u"x.rar"_s, u"x.r00"_s, u"x.r01"_s, u"x.sfv"_s};
    QTest::newRow("any first character")
        << QStringList{u"x.rar"_s, u"x.001"_s, u"x.r00"_s, u"x.s12"_s};
    QTest::newRow("upper case") << QStringList{u"x.RAR"_s, u"x.R00"_s, u"x.R01"_s};
    QTest::newRow("other set between")
        << QStringList{u"x.rar"_s, u"x.r00"_s, u"y.rar"_s, u"y.r00"_s};
    QTest::newRow("new-style volumes") << QStringList{u"x.part1.rar"_s, u"x.part2.rar"_s};
    QTest::newRow("only higher volumes") << QStringList{u"x.r"_s, u"x.rar"_s, u"x.s00"_s};
    QTest::newRow("a name in a circle") << QStringList{u"x.rar"_s, u"x.r00"_s, u"x.r9z"_s};
    QTest::newRow("names of extension only") << QStringList{u".rar"_s, u".r00"_s, u"a"_s};
}

void TestNzb::sort()
{
    QFETCH(QStringList, sorted);
    QStringList names = sorted;
    do {
        std::next_permutation(names.begin(), names.end());
        const auto job = jobOf(names);
        job->sortFiles();
        QCOMPARE(namesOf(filesOf(*job)), sorted);
    } while (names != sorted);
}

void TestNzb::sortRandomLists()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    static const QStringList stems{u"x"_s, u"y"_s, u"x.r"_s};
    static const QStringList extensions{u"rar"_s, u"Rar"_s, u"r00"_s, u"r01"_s, u"r9z"_s,
                                        u"rb"_s,  u"s12"_s, u"001"_s, u"R00"_s, u"RAR"_s};
    const auto oneOf = [&](const QStringList &list) {
        return list.at(random.bounded(int(list.size())));
    };
    int consistent = 0;
    for (int round = 0; round < 3000; ++round) {
        QStringList names;
        for (int i = random.bounded(2, 8); i > 0; --i)
            names << oneOf(stems) + u'.' + oneOf(extensions);
        auto job = jobOf(names);
        QList<NzbFile *> expected = filesOf(*job);
        job->sortFiles();
        const QStringList result = namesOf(filesOf(*job));
        if (isStrictWeakOrder(expected, pairwiseLess)) {
            ++consistent;
            std::sort(expected.begin(), expected.end(), pairwiseLess);
            QCOMPARE(result, namesOf(expected));
        }
        std::shuffle(names.begin(), names.end(), random);
        job = jobOf(names);
        job->sortFiles();
        QCOMPARE(namesOf(filesOf(*job)), result);
    }
    QVERIFY(consistent > 500 && consistent < 2900);
}

void TestNzb::moveFile_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QString>("result");

    QTest::newRow("down") << 0 << 1 << u"bac"_s;
    QTest::newRow("up") << 2 << 0 << u"cab"_s;
    QTest::newRow("behind the last") << 0 << 3 << u"bca"_s;
    QTest::newRow("last behind the last") << 2 << 3 << u"abc"_s;
    QTest::newRow("from nowhere") << 3 << 0 << u"abc"_s;
    QTest::newRow("from below zero") << -1 << 0 << u"abc"_s;
    QTest::newRow("to below zero") << 1 << -1 << u"abc"_s;
}

void TestNzb::moveFile()
{
    QFETCH(int, from);
    QFETCH(int, to);
    const auto job = jobOf({u"a"_s, u"b"_s, u"c"_s});
    job->moveFile(from, to);
    QTEST(namesOf(filesOf(*job)).join(QString()), "result");
}

void TestNzb::removal()
{
    const auto job = jobOf({u"a"_s, u"b"_s});
    const QPointer<NzbFile> first = job->fileAt(0);
    job->removeFile(first);
    QVERIFY(first.isNull());
    QCOMPARE(namesOf(filesOf(*job)), QStringList{u"b"_s});
}

void TestNzb::removalOfActiveFile()
{
    const auto job = jobOf({u"a"_s});
    const QPointer<NzbFile> file = job->fileAt(0);
    file->addSegment(1, 10, u"id"_s);
    QVERIFY(!job->hasActiveSegments());
    int seqnr = 0;
    QCOMPARE(file->nextSegment(&seqnr), u"id"_s);
    job->removeFile(file);
    QCOMPARE(job->indexOf(file), -1);
    QVERIFY(!file.isNull());
    QVERIFY(job->hasActiveSegments());
    QCOMPARE(qobject_cast<Nzb *>(file->parent()), job.get());
    file->segmentDecoded(1, QString(), 10, true, true);
    QVERIFY(!job->hasActiveSegments());
}

void TestNzb::cleanName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("clean");

    const auto row = [](const QString &name, const QString &clean) {
        QTest::addRow("[%s]", qPrintable(name)) << name << clean;
    };
    row(u" x.NZB"_s, u"x"_s);
    row(u"x.nzb.nzb"_s, u"x.nzb"_s);
    row(u"x.nzb2"_s, u"x.nzb2"_s);
    row(u"x .nzb"_s, u"x"_s);
    row(u" x.nzb "_s, u"x.nzb"_s);
    row(u".nzb"_s, u""_s);
    row(u"nzb"_s, u"nzb"_s);
}

void TestNzb::cleanName()
{
    QFETCH(QString, name);
    QTEST(Nzb::cleanName(name), "clean");
}

void TestNzb::extractedFileFromOtherThread()
{
    Nzb job(nullptr, QString(), QString());
    job.addExtractedFile(u"a"_s, 1);
    const std::unique_ptr<QThread> worker(
        QThread::create([&] { job.addExtractedFile(u"a"_s, 2); }));
    worker->start();
    QVERIFY(worker->wait());
    QCOMPARE(job.extractedFiles().value(u"a"_s), quint64(1));
    QTRY_COMPARE(job.extractedFiles().value(u"a"_s), quint64(2));
}

QTEST_GUILESS_MAIN(TestNzb)
#include "test_nzb.moc"
