// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QDirIterator>
#include <QTest>
#include <QtEndian>

#include <sys/stat.h>

#include <memory>
#include <mutex>

#include "post/rarhandler.h"
#include "post/rarnames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/articles.h"
#include "support/programs.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

namespace {

std::mutex logMutex;
QString debugLog;
QtMessageHandler previousHandler = nullptr;

void logMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type != QtDebugMsg)
        previousHandler(type, context, text);
    const std::lock_guard lock(logMutex);
    debugLog += text + u'\n';
}

qsizetype logged(const QString &text)
{
    const std::lock_guard lock(logMutex);
    return debugLog.count(text);
}

/// A job, its folder, the volumes that arrive there, and what the handler says in this thread.
struct RarJob {
    explicit RarJob(const RarVolumes &set)
        : volumes(set)
    {
        QByteArray files;
        for (const auto &volume : volumes)
            files += "<file subject='\"" + volume.first.toUtf8()
                     + "\" (1/1)'><segment bytes='9' number='1'>id</segment></file>";
        const QString nzb = writeFile(root.filePath(u"job.nzb"_s), "<nzb>" + files + "</nzb>");
        job = std::make_unique<Nzb>(nullptr, root.filePath(u"downloads"_s), nzb);
        QDir().mkpath(job->folder());
        createHandler();
    }

    // Not with QSignalSpy, which would write its list on the worker thread.
    void createHandler()
    {
        delete handler;
        handler = new RarHandler(job.get());
        QObject::connect(handler, &RarHandler::errorProcessing, &listener,
                         [this](Nzb *, const QString &file) { failures << file; });
        QObject::connect(handler, &RarHandler::processingComplete, &listener,
                         [this] { ++completed; });
        QObject::connect(handler, &RarHandler::passwordNeeded, &listener,
                         [this](Nzb *, const QString &file) { prompts << file; });
        QObject::connect(handler, &RarHandler::lowDiskspace, &listener,
                         [this](quint64 needed) { lowDisk << needed; });
    }
    QString at(const QString &name) const { return job->folder() + u'/' + name; }
    QString path(int index) const { return at(volumes.at(index).first); }
    int count() const { return static_cast<int>(volumes.size()); }
    void writeVolume(int index, qsizetype length = 1 << 30) const
    {
        writeFile(path(index), volumes.at(index).second.left(length));
    }
    void book(int index, bool whole = true) const
    {
        int segment = 0;
        static_cast<void>(job->fileAt(index)->nextSegment(&segment));
        job->fileAt(index)->segmentDecoded(segment, {}, 9, whole, true);
    }
    /// The volume is there, and the handler hears of it.
    void arrive(int index, bool whole = true) const
    {
        writeVolume(index);
        book(index, whole);
        handler->fileCompleted(job->fileAt(index));
    }
    void arriveAll() const
    {
        for (int i = count(); i-- > 0;)
            arrive(i);
    }
    /// All that lies in the job's folder, by its path within.
    QStringList content() const
    {
        constexpr auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        QStringList found;
        QDirIterator below(job->folder(), all, QDirIterator::Subdirectories);
        while (below.hasNext())
            found << QDir(job->folder()).relativeFilePath(below.next());
        found.sort();
        return found;
    }

    RarVolumes volumes;
    QTemporaryDir root;
    QObject listener;
    std::unique_ptr<Nzb> job;
    RarHandler *handler = nullptr; // a child of the job
    QStringList failures;
    QStringList prompts;
    QList<quint64> lowDisk;
    int completed = 0;
};

const QString needsVolume = u"RARHandler: needs next volume"_s;
const QMap<QString, QByteArray> sample{{u"film.bin"_s, randomBytes(1, 100'000)},
                                       {u"notes/read me.txt"_s, QByteArray(50'000, 'r')},
                                       {u"größe.bin"_s, randomBytes(2, 5'000)}};

RarVolumes oldSet(qsizetype dataPerVolume = 30'000)
{
    QList<Rar4Member> members;
    for (auto file = sample.cbegin(); file != sample.cend(); ++file)
        members.append({file.key().toUtf8(), file.value()});
    return rar4Set(u"x"_s, members, dataPerVolume);
}

} // namespace

class TestRarHandler final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        previousHandler = qInstallMessageHandler(logMessage);
        // For the links that the archive is read through: none may be left behind.
        static const QTemporaryDir temporary;
        qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    }
    void init() { debugLog.clear(); }
    void firstVolumes();
    void unpacks_data();
    void unpacks();
    void password_data();
    void password();
    void archivesInTurn();
    void damage_data();
    void damage();
    void cannotOpenVolume();
    void members_data();
    void members();
    void keepsItsVolumes();
    void disguisedLink();
    void lowDiskspace();
    void repairedWhileAsleep();
    void wokenForNothing();
    void placedByHand();
    void deletedAsleep();
    void deletedAtWork();
};

void TestRarHandler::firstVolumes()
{
    for (const QString &name : {u"a.rar"_s, u"a.b.rar"_s, u"a.part1.rar"_s, u"a.PART001.RAR"_s,
                                u"a.part1.b.rar"_s, u".part1.rar"_s, u".rar"_s})
        QVERIFY2(isFirstVolume(name), qPrintable(name));
    for (const QString &name : {u"a.part2.rar"_s, u"a.part11.rar"_s, u"a.part.rar"_s,
                                u"a.part1x.rar"_s, u"a.r00"_s, u"rar"_s, u""_s})
        QVERIFY2(!isFirstVolume(name), qPrintable(name));
    const RarJob outside({{u"../x.rar"_s, oldSet(0).first().second}});
    outside.arrive(0);
    QVERIFY(!outside.handler->isProcessing());
}

void TestRarHandler::unpacks_data()
{
    const auto row = rows<RarVolumes, QString>();
    const auto packed = [&](const char *options, const QString &password = {}) {
        row(options, {packWithRar(sample, QString::fromUtf8(options).split(u',')), password});
    };
    packed("-m0");
    packed("-m5,-s,-v30k");
    packed("-m0,-v30k,-rr10p");
    packed("-m0,-v30k,-psecret", u"secret"_s);
    packed("-m1,-v30k,-hpgeheim ß", u"geheim ß"_s);
    row("old names", {oldSet(), {}});
}

// Each volume lies there half-written, under its final name, before it is whole.
void TestRarHandler::unpacks()
{
    const auto [set, password] = thisRow<RarVolumes, QString>();
    for (const QString &order : {u"in order"_s, u"first one last"_s, u"after the download"_s}) {
        RarJob job(set);
        connect(job.handler, &RarHandler::passwordNeeded, this,
                [&, password = password] { job.handler->setRarPassword(password); });
        for (int i = 0; i < job.count(); ++i)
            job.writeVolume(i, set.at(i).second.size() / 2);
        debugLog.clear();
        for (int i = 0; i < job.count() && order != "first one last"_L1; ++i) {
            if (order == "in order"_L1) {
                QTRY_COMPARE(logged(needsVolume + u" \"" + job.path(i)), i == 0 ? 0 : 1);
                job.arrive(i);
            } else {
                job.writeVolume(i);
                job.book(i);
            }
        }
        if (order == "first one last"_L1)
            job.arriveAll();
        else if (order == "after the download"_L1)
            job.handler->checkCompletedFiles();
        QTRY_COMPARE(job.completed + job.failures.size(), 1);
        QCOMPARE(job.completed, 1);
        QCOMPARE(job.prompts.size(), password.isEmpty() ? 0 : 1);
        QVERIFY(!job.handler->isProcessing());
        for (auto file = sample.cbegin(); file != sample.cend(); ++file) {
            QCOMPARE(contentsOf(job.at(file.key())), file.value());
            QCOMPARE(job.job->extractedFiles().value(file.key()), quint64(file.value().size()));
        }
        QCOMPARE(job.content().filter(u".r"_s), QStringList());
        QCOMPARE(QDir(QDir::tempPath()).entryList({u"*-??????"_s}, QDir::Dirs).size(), 1);
    }
}

void TestRarHandler::password_data()
{
    const auto row = rows<QString, QString>();
    row("of members, wrong", {u"-psecret"_s, u"other"_s});
    row("of members, too long", {u"-psecret"_s, QString(3000, u'x')});
    row("of members, declined", {u"-psecret"_s, {}});
    row("of headers, wrong", {u"-hpsecret"_s, u"other"_s});
    row("of headers, declined", {u"-hpsecret"_s, {}});
}

void TestRarHandler::password()
{
    const auto [option, answer] = thisRow<QString, QString>();
    RarJob job(packWithRar(sample, {u"-v30k"_s, option}));
    job.arriveAll();
    QTRY_COMPARE(job.prompts.size(), 1);
    QCOMPARE(job.prompts.first(), job.path(0));
    job.handler->setRarPassword(answer);
    QVERIFY(job.handler->wait());
    QTRY_COMPARE(job.failures.size(), answer.isEmpty() ? 0 : 1);
    QCOMPARE(job.handler->hasFailed(), !answer.isEmpty());
    QCOMPARE(job.handler->isProcessing(), answer.isEmpty()); // suspended for good
    QVERIFY(job.prompts.size() == 1 && job.completed == 0);
    QCOMPARE(job.content().size(), job.volumes.size()); // and no empty file
    job.handler->checkCompletedFiles();
    QCOMPARE(job.handler->isRunning(), !answer.isEmpty());
}

// One start after another, at the moment that the run before reports its end.
void TestRarHandler::archivesInTurn()
{
    RarVolumes sets;
    QStringList extracted;
    for (int i = 10; i < 60; ++i) {
        extracted << u"member%1"_s.arg(i);
        sets += rar4Set(u"set%1"_s.arg(i), {{extracted.last().toUtf8(), "data"}});
    }
    RarJob job(sets);
    connect(job.handler, &RarHandler::processingComplete, job.handler,
            &RarHandler::checkCompletedFiles);
    // On the worker, which so ends a little after it has reported.
    connect(
        job.handler, &RarHandler::processingComplete, this, [] { QThread::msleep(1); },
        Qt::DirectConnection);
    job.arriveAll();
    QTRY_COMPARE(job.completed, sets.size());
    QCOMPARE(job.content(), extracted);
    QVERIFY(!job.handler->isProcessing());
}

void TestRarHandler::damage_data()
{
    const auto row = rows<RarVolumes, int>();
    const RarVolumes good = packWithRar(sample, {u"-m0"_s, u"-v30k"_s});
    const auto replaced = [&](const char *name, int damaged, int reported, const QByteArray &by) {
        RarVolumes set = good;
        set[damaged].second = by;
        row(name, {set, reported});
    };
    const QByteArray second = good.at(1).second;
    replaced("no archive", 0, 0, QByteArray(30'000, 'x'));
    replaced("empty", 0, 0, {});
    replaced("first cut short", 0, 0, good.first().second.chopped(5'000));
    replaced("second cut short", 1, 1, second.chopped(5'000));
    replaced("second cut within its mark", 1, 1, second.first(3));
    replaced("second is no archive", 1, 1, QByteArray(30'000, 'x'));
    QByteArray flipped = second;
    flipped[15'000] ^= 1;
    replaced("one byte of data", 1, 3, flipped); // found at the end of the member
}

void TestRarHandler::damage()
{
    const auto [set, reported] = thisRow<RarVolumes, int>();
    RarJob job(set + rar4Set(u"other"_s, {{"member", "m"}}));
    const int other = static_cast<int>(set.size());
    for (int i = other; i-- > 0;)
        job.arrive(i);
    QTRY_COMPARE(job.failures.size(), 1);
    QCOMPARE(job.failures.first(), job.path(reported));
    QVERIFY(job.handler->hasFailed() && !job.handler->isProcessing());
    job.arrive(other);
    QTRY_COMPARE(job.completed, 1);
    QCOMPARE(job.content().filter(u".rar"_s).size(), set.size()); // those of the failed run
    job.handler->checkCompletedFiles();
    QTRY_COMPARE(job.failures.size(), 2);
    QVERIFY(job.handler->hasFailed());
}

// The library asks for such a volume again and again.
void TestRarHandler::cannotOpenVolume()
{
    RarJob job(oldSet());
    QCOMPARE(mknod(QFile::encodeName(job.path(1)).constData(), S_IFSOCK | 0600, 0), 0);
    for (int i = 0; i < job.volumes.size(); ++i)
        job.book(i);
    job.writeVolume(0);
    job.handler->checkCompletedFiles();
    QTRY_COMPARE(job.failures.size(), 1);
    QCOMPARE(job.failures.first(), job.path(1));
}

void TestRarHandler::members_data()
{
    const auto row = rows<Rar4Member, QStringList, bool>();
    const QByteArray outside = QFile::encodeName(QDir::tempPath()) + "/outside";
    row("absolute", {{outside, "x"}, {}, false});
    row("parent", {{"../outside", "x"}, {}, false});
    row("parent, with backslashes", {{"..\\outside", "x"}, {}, false});
    row("root, with backslashes", {{"\\outside", "x"}, {}, false});
    row("out of a folder that is there", {{"folder/../../outside", "x"}, {}, false});
    row("out of one that is not", {{"new/../../outside", "x"}, {}, false});
    row("out, and with a dot", {{"./../outside", "x"}, {}, false});
    row("link", {{"link", outside, 0120777}, {}, false});
    row("link, as a folder", {{"link", outside, 0120777, {}, true}, {}, false});
    row("colon", {{"c:outside", "x"}, {}, false});
    row("short name", {{"a.txt", "x"}, {}, false});
    row("empty", {{"", "x"}, {}, false});
    row("link that is there", {{"away", "x"}, {}, false});
    row("by way of a link that is there", {{"away/outside", "x"}, {}, false});
    row("300 characters", {{QByteArray(300, 'n'), "x"}, {}, true});
    row("2000 bytes, of which not all are told", {{QByteArray(2000, 'n'), "x"}, {}, true});
    row("folder in the way", {{"folder", "x"}, {}, true});
    row("folder", {{"made", "", 040755, {}, true}, {u"made"_s}, false});
    row("within", {{"folder/inner/x", "x"}, {u"folder/inner"_s, u"folder/inner/x"_s}, false});
    row("hidden", {{".hidden", "x"}, {u".hidden"_s}, false});
}

// The members before and behind it tell whether the run goes on.
void TestRarHandler::members()
{
    const auto [member, left, fails] = thisRow<Rar4Member, QStringList, bool>();
    RarJob job(rar4Set(u"x"_s, {{"before", "b"}, member, {"zlast", "z"}}));
    QDir().mkpath(job.at(u"folder/keep"_s));
    const QString outside = QDir::tempPath() + u"/outside"_s;
    QVERIFY(QFile::link(outside, job.at(u"away"_s)));
    job.arriveAll();
    QTRY_COMPARE(fails ? static_cast<int>(job.failures.size()) : job.completed, 1);
    QStringList expected{u"away"_s, u"before"_s, u"folder"_s, u"folder/keep"_s};
    expected += fails ? QStringList{u"x.rar"_s} : left + QStringList{u"zlast"_s};
    expected.sort();
    QCOMPARE(job.content(), expected);
    QVERIFY(!QFile::exists(outside) && !QFile::exists(job.at(u"../outside"_s)));
}

// As when a post was packed twice.
void TestRarHandler::keepsItsVolumes()
{
    for (const char *name : {"set.rar", "folder/../SET.RAR/../set.rar", "set.r00"}) {
        RarJob job(rar4Set(u"set"_s, {{"film", "film"}, {name, "inner"}}, 1));
        QVERIFY(QDir().mkpath(job.at(u"folder"_s)) && QDir().mkpath(job.at(u"SET.RAR"_s)));
        job.arriveAll();
        QTRY_COMPARE(job.failures.size(), 1);
        for (int i = 0; i < job.count(); ++i)
            QCOMPARE(contentsOf(job.path(i)), job.volumes.at(i).second);
    }
}

// The header of a link, but for the attributes, which are those of a plain file.
void TestRarHandler::disguisedLink()
{
    const QTemporaryDir folder;
    QVERIFY(QFile::link(u"target"_s, folder.filePath(u"link"_s)));
    RarVolumes set = packWithRar({}, {u"-ol"_s, u"-ep"_s, folder.filePath(u"link"_s)});
    QByteArray &archive = set.first().second;
    const qsizetype at = archive.indexOf("\xff\xc3\x02");
    archive.replace(at, 3, "\xa4\x83\x02");
    // Ahead of the attributes: a CRC in four bytes, the size of what follows, six fields.
    const qsizetype size = at - 7;
    const quint32 crc = crc32Of(archive.sliced(size, 1 + archive.at(size)));
    qToLittleEndian(crc, archive.data() + size - 4);
    RarJob job(set);
    job.arrive(0);
    QTRY_COMPARE(job.completed, 1);
    QCOMPARE(job.content(), QStringList());
}

void TestRarHandler::lowDiskspace()
{
    constexpr quint64 size = quint64(1) << 60;
    // The name alone would have it skipped.
    RarJob job(rar4Set(u"x"_s, {{"first", "1"}, {"a.txt", "2", 0100644, size}, {"last", "3"}}));
    job.arrive(0);
    QTRY_COMPARE(job.lowDisk.size(), 1);
    QCOMPARE(job.lowDisk.first(), size);
    QVERIFY(job.handler->wait());
    QCOMPARE(job.content(), QStringList({u"first"_s, u"x.rar"_s}));
    QVERIFY(job.handler->isProcessing() && !job.handler->hasFailed());
}

void TestRarHandler::repairedWhileAsleep()
{
    RarJob job(oldSet());
    for (int i = 0; i < job.count(); ++i)
        job.arrive(i, i != 1);
    job.writeVolume(1, 100);
    QTRY_COMPARE(logged(needsVolume), 1);
    QCoreApplication::processEvents();
    QVERIFY(job.completed == 0 && job.failures.isEmpty());
    job.writeVolume(1);
    job.job->fileAt(1)->markRepaired();
    job.handler->checkCompletedFiles();
    QTRY_COMPARE(job.completed, 1);
}

// The file is said to have arrived, and yet an article of it is under way.
void TestRarHandler::wokenForNothing()
{
    RarJob job(oldSet());
    job.arrive(0);
    QTRY_COMPARE(logged(needsVolume), 1);
    job.writeVolume(1);
    // Again, as it is perhaps not asleep yet.
    QTRY_VERIFY((job.handler->fileCompleted(job.job->fileAt(1)), !job.failures.isEmpty()));
    QCOMPARE(job.failures.first(), job.path(0));
}

void TestRarHandler::placedByHand()
{
    RarVolumes set = oldSet();
    RarJob job({set.first()});
    for (qsizetype i = 1; i < set.size(); ++i)
        writeFile(job.at(set.at(i).first), set.at(i).second);
    job.arrive(0);
    QTRY_COMPARE(job.completed, 1);
    QCOMPARE(job.content().filter(u"x."_s), QStringList());
}

void TestRarHandler::deletedAsleep()
{
    const std::pair<RarVolumes, QString> states[] = {
        {oldSet(), needsVolume},
        {packWithRar(sample, {u"-psecret"_s}), u"Password needed to decrypt RAR"_s}};
    for (const auto &[set, state] : states) {
        RarJob job(set);
        job.book(0);
        for (int i = 0; i < 200; ++i) {
            debugLog.clear();
            job.writeVolume(0);
            job.handler->checkCompletedFiles();
            // Every other time perhaps a moment before it sleeps.
            if (i % 2 == 0)
                QTRY_COMPARE(logged(state), 1);
            job.createHandler();
        }
        QCOMPARE(job.content().filter(u"x."_s), QStringList{u"x.rar"_s});
    }
}

// The thread goes on to the end of its archive.
void TestRarHandler::deletedAtWork()
{
    const RarVolumes set = oldSet(20'000);
    for (int i = 0; i < 200; ++i) {
        auto job = std::make_unique<RarJob>(set);
        job->arriveAll();
        if (i % 2 == 0)
            QVERIFY(QTest::qWaitFor([&] { return logged(needsVolume) > i % 50 / 10; }));
        const QString folder = job->job->folder();
        job->job.reset();
        QCOMPARE(contentsOf(folder + u"/film.bin"_s), sample.value(u"film.bin"_s));
        QVERIFY(!QFile::exists(folder + u"/x.r00"_s));
        debugLog.clear();
    }
}

QTEST_GUILESS_MAIN(TestRarHandler)
#include "test_rarhandler.moc"
