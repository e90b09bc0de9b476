// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QTest>
#include <stdexcept>

#include "enginefixture.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

/// The settings file, and the way of an NZB into the queue.
class TestImport final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<Nzb *>(); }
    void findsSettings();
    void namesFolders_data();
    void namesFolders();
    void failures_data();
    void failures();
    void settingsFolderCannotBeMade();
};

void TestImport::findsSettings()
{
    const QString beside = QCoreApplication::applicationDirPath() + "/Marlowick.ini"_L1;
    QFile::remove(beside);
    {
        const EngineFixture t;
        QCOMPARE(t.engine->settings()->fileName(), t.dir.filePath(u"Marlowick/Marlowick.ini"_s));
        QVERIFY(QFile::exists(t.dir.filePath(u"Marlowick"_s)));
    }
    writeFile(beside);
    const auto tidyUp = qScopeGuard([&beside] { QFile::remove(beside); });
    EngineFixture t;
    QCOMPARE(t.engine->settings()->fileName(), beside);
    t.set("downloadFolder", u"%APPDIR/a%APPDIR/%appdir"_s);
    const QString folder = QCoreApplication::applicationDirPath();
    QCOMPARE(t.engine->downloadFolder(), folder + "/a"_L1 + folder + "/%appdir"_L1);
}

void TestImport::namesFolders_data()
{
    const auto row = rows<QString, QStringList>();
    row("three of one name", {u"abc.nzb"_s, QStringList{u"abc"_s, u"abc2"_s, u"abc3"_s}});
    row("upper case and blanks", {u" x .NZB"_s, QStringList{u"x"_s, u"x2"_s}});
    row("only one ending goes", {u"x.nzb.nzb"_s, QStringList{u"x.nzb"_s}});
    row("what no queue file holds", {u"\x1 x\xFFFF.nz\tb\x7"_s, QStringList{u"x"_s, u"x2"_s}});
    row("no name", {u".nzb"_s, QStringList{u"2"_s, u"3"_s}});
    row("this folder", {u"..nzb"_s, QStringList{u".2"_s}});
    row("parent folder", {u"...nzb"_s, QStringList{u"..2"_s}});
}

void TestImport::namesFolders()
{
    const auto [nzbFile, jobs] = thisRow<QString, QStringList>();
    EngineFixture t;
    Post post;
    post.addYenc(u"a.bin"_s, "a").segment(1).inNzb = false;
    const QString path = post.writeNzb(t.dir.path(), nzbFile);
    for (const QString &name : jobs) {
        const Nzb *nzb = t.engine->addNZB(path);
        QCOMPARE(nzb->name(), name);
        QCOMPARE(nzb->folder(), t.downloads() + u'/' + name);
        QVERIFY(QFile::exists(nzb->folder()));
    }
    t.engine->saveQueue();
    Marlowick next(nullptr);
    next.loadQueue(QString());
    // Deliberate: a saved name loses such an ending again.
    for (qsizetype i = 0; i < jobs.size() && nzbFile != "x.nzb.nzb"_L1; ++i)
        QCOMPARE(next.queue()->at(i)->name(), jobs.at(i));
    QCOMPARE(QDir(t.downloads())
                 .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)
                 .size(),
             jobs.size());
}

void TestImport::failures_data()
{
    const auto row = rows<QByteArray, bool, QByteArray>();
    const QByteArray good = "<nzb><file subject='a.b'/></nzb>";
    row("no file", {QByteArray(), false, QByteArray("Error opening NZB for reading")});
    row("plain text", {QByteArray("hello"), false, QByteArray("Error parsing NZB")});
    row("no folder", {good, true, QByteArray("Error creating folder for download")});
}

void TestImport::failures()
{
    const auto [content, folderIsFile, text] = thisRow<QByteArray, bool, QByteArray>();
    EngineFixture t;
    const QSignalSpy before(t.engine.get(), &Marlowick::beforeAddNZB);
    const QSignalSpy added(t.engine.get(), &Marlowick::NZBadded);
    const QString path = t.dir.filePath(u"bad.nzb"_s);
    if (!content.isEmpty())
        writeFile(path, content);
    if (folderIsFile)
        t.set("downloadFolder", path);
    QByteArray thrown;
    try {
        t.engine->addNZB(path);
    } catch (const std::runtime_error &failure) {
        thrown = failure.what();
    }
    QCOMPARE(thrown, text);
    QCOMPARE(before.size(), 1);
    QCOMPARE(before.first().first().toString(), path);
    QCOMPARE(added.size(), 1);
    QVERIFY(added.first().first().canConvert<Nzb *>());
    QCOMPARE(added.first().first().value<Nzb *>(), nullptr);
    QVERIFY(t.engine->findChildren<Nzb *>().isEmpty());
}

void TestImport::settingsFolderCannotBeMade()
{
    QTemporaryDir dir;
    const QString file = writeFile(dir.filePath(u"file"_s));
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, file);
    Marlowick engine(nullptr);
    const QSignalSpy errors(&engine, &Marlowick::error);
    QTRY_COMPARE(errors.size(), 1);
    QVERIFY(errors.first().at(1).toString().contains(file + "/Marlowick"_L1));
}

QTEST_GUILESS_MAIN(TestImport)
#include "test_import.moc"
