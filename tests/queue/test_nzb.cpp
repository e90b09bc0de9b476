// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTest>
#include <QThread>

#include <algorithm>

#include "queue/nzbfile.h"
#include "queue/readjob.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<Nzb> jobOf(const QStringList &names)
{
    QByteArray xml;
    for (const QString &name : names)
        xml += "<file subject='&quot;" + name.toUtf8() + "&quot;'/>";
    return readJob(xml);
}

QStringList namesIn(const Nzb &job)
{
    QStringList names;
    for (int i = 0; i < job.fileCount(); ++i)
        names << job.fileAt(i)->name();
    return names;
}

} // namespace

class TestNzb final : public QObject {
    Q_OBJECT

private slots:
    void status_data();
    void status();
    void completeness();
    void sort_data();
    void sort();
    void moveFile();
    void extractedFileFromOtherThread();
};

void TestNzb::status_data()
{
    const auto row = rows<QByteArray, QString, QString>();
    const auto pending = [](const QByteArray &attributes) -> QByteArray {
        return "<file subject='\"a.par2\"' " + attributes
               + "><segment number='1'>a</segment></file>";
    };
    const QByteArray done = "<file size='10' completed='10' completedparts='1'/>";
    const QByteArray held = "<file size='10' completed='5' paused='1'/>";
    const QByteArray par2 = pending("size='10' completed='5' paused='1'");
    row("par2 held back", {done + par2, u"Finished"_s, u"Finished"_s});
    row("par2 only, held back", {par2, u"Finished"_s, u"Paused"_s});
    row("other file held back", {done + held, u"100 %"_s, u"Finished"_s});
    row("all held back", {par2 + held, u"Paused"_s, u"Paused"_s});
    row("incomplete", {"<file size='10' completed='10'/>" + done, u"Finished incomplete"_s,
                       u"Finished incomplete"_s});
    row("nothing done", {pending("size='10'") + par2, QString(), u"Queued"_s});
    row("held back files do not count",
        {pending("size='200' completed='99'") + held, u"50 %"_s, u"50 %"_s});
    row("more done than there is",
        {pending("size='1' completed='-1'"), u"2147483647 %"_s, u"2147483647 %"_s});
    row("more done than nothing", {pending("completed='5' paused='1'") + pending("completed='5'"),
                                   u"2147483647 %"_s, u"-empty file-"_s});
}

void TestNzb::status()
{
    const auto [files, ofJob, ofFirst] = thisRow<QByteArray, QString, QString>();
    const auto job = readJob(files);
    QCOMPARE(job->status(), ofJob);
    QCOMPARE(job->fileAt(0)->status(), ofFirst);
}

void TestNzb::completeness()
{
    const QByteArray pending = "<segment number='1'>id</segment></file>";
    const auto job = readJob("<file subject='\"a.PAR2\"'>" + pending + "<file>" + pending);
    job->fileAt(0)->setPaused(true);
    QVERIFY(!job->isComplete() && !job->isPaused());
    job->setPaused(true);
    QVERIFY(!job->isComplete() && job->isPaused());
    int seqnr = 0;
    static_cast<void>(job->fileAt(1)->nextSegment(&seqnr));
    job->fileAt(1)->segmentNotFound(seqnr);
    QVERIFY(job->isComplete());
    job->setPaused(false);
    QVERIFY(!job->isComplete());
    const Nzb empty(nullptr, QString(), QString());
    QVERIFY(empty.isComplete() && empty.isPaused());
    QCOMPARE(empty.status(), u"Finished"_s);
}

void TestNzb::sort_data()
{
    const auto row = rows<QStringList>();
    row("old-style volumes",
        {QStringList{u"x.nfo"_s, u"x.rar"_s, u"x.r00"_s, u"x.r01"_s, u"x.sfv"_s}});
    row("any first character", {QStringList{u"x.rar"_s, u"x.001"_s, u"x.r00"_s, u"x.s12"_s}});
    row("upper case", {QStringList{u"x.RAR"_s, u"x.R00"_s, u"x.R01"_s}});
    row("other set between", {QStringList{u"x.rar"_s, u"x.r00"_s, u"y.rar"_s, u"y.r00"_s}});
    row("new-style volumes", {QStringList{u"x.part1.rar"_s, u"x.part2.rar"_s}});
    row("only higher volumes", {QStringList{u"x.r"_s, u"x.rar"_s, u"x.rb"_s, u"x.s00"_s}});
    row("a name in a circle", {QStringList{u"x.rar"_s, u"x.r00"_s, u"x.r9z"_s}});
    row("names of extension only", {QStringList{u".rar"_s, u".r00"_s, u"a"_s}});
}

void TestNzb::sort()
{
    const auto [sorted] = thisRow<QStringList>();
    QStringList names = sorted;
    do {
        std::next_permutation(names.begin(), names.end());
        const auto job = jobOf(names);
        job->sortFiles();
        QCOMPARE(namesIn(*job), sorted);
    } while (names != sorted);
}

void TestNzb::moveFile()
{
    const auto job = jobOf({u"a"_s, u"b"_s, u"c"_s});
    for (const auto &[from, to] : {std::pair(3, 0), {-1, 0}, {1, -1}, {2, 3}})
        job->moveFile(from, to);
    QCOMPARE(namesIn(*job).join(QString()), u"abc"_s);
    job->moveFile(0, 3);
    QCOMPARE(namesIn(*job).join(QString()), u"bca"_s);
}

void TestNzb::extractedFileFromOtherThread()
{
    Nzb job(nullptr, QString(), QString());
    const std::unique_ptr<QThread> worker(
        QThread::create([&] { job.addExtractedFile(u"a"_s, 2); }));
    worker->start();
    QVERIFY(worker->wait());
    QVERIFY(job.extractedFiles().isEmpty()); // not from there, but once this thread gets to it
    QTRY_COMPARE(job.extractedFiles().value(u"a"_s), quint64(2));
}

QTEST_GUILESS_MAIN(TestNzb)
#include "test_nzb.moc"
