// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QPointer>
#include <QTest>

#include "enginefixture.h"
#include "support/files.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

/// Items leave the queue and files the disk, also while articles are under way.
class TestRemoval final : public QObject {
    Q_OBJECT

private slots:
    void lateResultFreesItem_data();
    void lateResultFreesItem();
    void removedFileThenJob();
    void deletesOnlyOwnFiles();
    void deletesPartsOfUnfinishedFile();
    void deletedJobDoesNotPauseQueue();
};

void TestRemoval::lateResultFreesItem_data()
{
    const auto row = rows<bool, Reply>();
    row("job, article arrives", {true, Reply::ordinary()});
    row("job, connection cut", {true, Reply::ordinary().cutAfter(500)});
    row("file, article arrives", {false, Reply::ordinary()});
    row("file, article missing", {false, Reply::code("430 no")});
    row("file, connection cut", {false, Reply::ordinary().cutAfter(500)});
}

void TestRemoval::lateResultFreesItem()
{
    const auto [wholeJob, lateReply] = thisRow<bool, Reply>();
    EngineFixture t;
    t.set("threads", 2);
    Post doomed(u"doomed"_s);
    doomed.addYenc(u"gone.bin"_s, randomBytes(1, 2000), 1000);
    Post other(u"other"_s);
    other.addYenc(u"kept.bin"_s, randomBytes(2, 5000), 1000);
    t.server->script(When::body(doomed.file(0).id(1)), lateReply, 1);
    t.server->script(When::body(doomed.file(0).id(2)), lateReply, 1);
    const QPointer<Nzb> nzb(t.startHeld(doomed));
    const QPointer<NzbFile> file(nzb->fileAt(0));
    t.start(other);
    QTRY_COMPARE(t.server->waiting().size(), 2);

    const QSignalSpy gone(t.engine.get(), &Marlowick::NzbItemDeleted);
    t.engine->deleteItem(wholeJob ? static_cast<INzbItem *>(nzb) : file);
    QCOMPARE(gone.size(), 1);
    QVERIFY(file); // its articles are under way
    t.server->release(doomed.file(0).id(1));
    QTRY_VERIFY(!t.server->waiting().contains(doomed.file(0).id(1)));
    QVERIFY(file);
    t.server->releaseAll();
    QTRY_VERIFY(!file);
    QCOMPARE(nzb.isNull(), wholeJob);
    QTRY_COMPARE(t.completedJobs, QStringList{u"other"_s});
    QCOMPARE(t.completedFiles, QStringList{u"kept.bin"_s});
}

void TestRemoval::removedFileThenJob()
{
    EngineFixture t;
    const QPointer<Nzb> nzb(t.startHeldFilm(1000));
    const QPointer<NzbFile> file(nzb->fileAt(0));
    QTRY_COMPARE(t.server->waiting().size(), 1);
    t.engine->deleteItem(file);
    t.engine->deleteItem(nzb);
    QVERIFY(file);
    t.server->releaseAll();
    QTRY_VERIFY(!nzb);
    QTRY_COMPARE(t.engine->connectionCount(), 0);
}

void TestRemoval::deletesOnlyOwnFiles()
{
    EngineFixture t;
    t.set("threads", 0);
    Post post;
    const QStringList names{u"own.bin"_s, u".hidden"_s,      u"/etc/x"_s, u"\\x"_s,
                            u"c:x"_s,     u"../../victim"_s, u"link"_s,   u"sub/../../../victim"_s};
    for (const QString &name : names)
        post.addYenc(name, "x").subject = u'"' + name + "\" (1/1)"_L1;
    Nzb *nzb = t.start(post);
    const QDir folder(nzb->folder());
    const QString victim = t.dir.filePath(u"victim"_s);
    for (const QString &name : {u"own.bin"_s, u".hidden"_s, u"c:x"_s, u"unknown"_s})
        writeFile(folder.filePath(name));
    writeFile(victim);
    QVERIFY(QFile::link(victim, folder.filePath(u"link"_s)));
    QVERIFY(folder.mkpath(u"sub/deeper"_s) && folder.mkpath(u"full"_s));
    writeFile(folder.filePath(u"sub/made.bin"_s));
    writeFile(folder.filePath(u"full/unknown"_s));
    nzb->addExtractedFile(u"sub/made.bin"_s, 0);
    nzb->addExtractedFile(u"sub/../../../victim"_s, 0);

    t.engine->deleteFiles(nzb);
    QVERIFY(QFile::exists(victim));
    const QStringList left =
        folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QCOMPARE(left, (QStringList{u".hidden"_s, u"c:x"_s, u"full"_s, u"link"_s, u"unknown"_s}));
}

void TestRemoval::deletesPartsOfUnfinishedFile()
{
    EngineFixture t;
    t.set("threads", 1);
    Post post;
    PostedFile &posted = post.addUuencoded(u"text.txt"_s, randomBytes(1, 45 * 30), 10);
    t.server->hold(posted.id(3));
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.server->waiting().size(), 1);
    QCOMPARE(QDir(nzb->folder()).entryList(QDir::Files).size(), 2);
    const QString folder = nzb->folder();
    t.engine->deleteFiles(nzb);
    t.engine->deleteItem(nzb);
    QVERIFY(!QFile::exists(folder));
}

void TestRemoval::deletedJobDoesNotPauseQueue()
{
    EngineFixture t;
    t.set("threads", 1);
    Post doomed(u"doomed"_s);
    doomed.addYenc(u"gone.bin"_s, randomBytes(1, 2000), 1000);
    Post other(u"other"_s);
    other.addYenc(u"kept.bin"_s, randomBytes(2, 2000), 1000);
    Nzb *nzb = t.startHeld(doomed);
    t.start(other);
    QTRY_COMPARE(t.server->waiting().size(), 1);
    t.engine->deleteFiles(nzb); // with its folder, so that the late article cannot be written
    t.engine->deleteItem(nzb);
    t.server->releaseAll();
    QTRY_COMPARE(t.completedJobs, QStringList{u"other"_s});
    QVERIFY(t.errors.isEmpty());
}

QTEST_GUILESS_MAIN(TestRemoval)
#include "test_removal.moc"
