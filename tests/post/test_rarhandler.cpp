// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QDirIterator>
#include <QTest>
#include <QtEndian>

#include <sys/stat.h>
#include <zlib.h>

#include <memory>
#include <mutex>

#include "post/rarhandler.h"
#include "post/rarnames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/rarprogram.h"
#include "support/seededrandom.h"

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

QByteArray randomBytes(int count)
{
    static QRandomGenerator generator = seededRandom();
    QByteArray bytes(count, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(generator.bounded(256));
    return bytes;
}

/// A job, its folder, the volumes that arrive there, and what the handler says in this thread.
struct RarJob {
    explicit RarJob(const RarVolumes &set);

    QString at(const QString &name) const { return job->folder() + u'/' + name; }
    QString path(int index) const { return at(volumes.at(index).first); }
    int count() const { return static_cast<int>(volumes.size()); }
    void writeVolume(int index, qsizetype length = 1 << 30) const
    {
        writeFile(path(index), volumes.at(index).second.left(length));
    }
    void book(int index, bool whole = true) const;
    /// The volume is there, and the handler hears of it.
    void arrive(int index, bool whole = true) const;
    void arriveAll() const;
    /// All that lies in the job's folder, by its path within.
    QStringList content() const;
    void createHandler();

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

RarJob::RarJob(const RarVolumes &set)
    : volumes(set)
{
    QByteArray nzb = "<nzb>";
    for (const auto &volume : volumes) {
        nzb += "<file subject='\"" + volume.first.toUtf8()
               + "\" yEnc (1/1)'><segments><segment bytes='9' number='1'>id</segment>"
                 "</segments></file>";
    }
    const QString path = writeFile(root.filePath(u"job.nzb"_s), nzb + "</nzb>");
    job = std::make_unique<Nzb>(nullptr, root.filePath(u"downloads"_s), path);
    QDir().mkpath(job->folder());
    createHandler();
}

// Not with QSignalSpy, which would write its list on the worker thread.
void RarJob::createHandler()
{
    delete handler;
    handler = new RarHandler(job.get());
    QObject::connect(handler, &RarHandler::errorProcessing, &listener,
                     [this](Nzb *, const QString &file) { failures << file; });
    QObject::connect(handler, &RarHandler::processingComplete, &listener, [this] { ++completed; });
    QObject::connect(handler, &RarHandler::passwordNeeded, &listener,
                     [this](Nzb *, const QString &file) { prompts << file; });
    QObject::connect(handler, &RarHandler::lowDiskspace, &listener,
                     [this](quint64 needed) { lowDisk << needed; });
}

void RarJob::book(int index, bool whole) const
{
    int segment = 0;
    static_cast<void>(job->fileAt(index)->nextSegment(&segment));
    job->fileAt(index)->segmentDecoded(segment, {}, 9, whole, true);
}

void RarJob::arrive(int index, bool whole) const
{
    writeVolume(index);
    book(index, whole);
    handler->fileCompleted(job->fileAt(index));
}

void RarJob::arriveAll() const
{
    for (int i = count(); i-- > 0;)
        arrive(i);
}

QStringList RarJob::content() const
{
    constexpr auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QStringList found;
    QDirIterator below(job->folder(), all, QDirIterator::Subdirectories);
    while (below.hasNext())
        found << QDir(job->folder()).relativeFilePath(below.next());
    found.sort();
    return found;
}

const QString needsVolume = u"RARHandler: needs next volume"_s;
const QMap<QString, QByteArray> sample{{u"film.bin"_s, randomBytes(100'000)},
                                       {u"notes/read me.txt"_s, QByteArray(50'000, 'r')},
                                       {u"größe.bin"_s, randomBytes(5'000)}};

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
    void initTestCase();
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
    void firstVolumeOutside();
    void lowDiskspace();
    void repairedWhileAsleep();
    void wokenForNothing();
    void placedByHand();
    void deletedAsleep_data();
    void deletedAsleep();
    void deletedAtWork();
};

void TestRarHandler::initTestCase()
{
    previousHandler = qInstallMessageHandler(logMessage);
    // For the links that the archive is read through: none may be left behind.
    static const QTemporaryDir temporary;
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
}

void TestRarHandler::firstVolumes()
{
    for (const QString &name : {u"a.rar"_s, u"a.b.rar"_s, u"a.part1.rar"_s, u"a.PART001.RAR"_s,
                                u"a.part1.b.rar"_s, u".part1.rar"_s, u".rar"_s})
        QVERIFY2(isFirstVolume(name), qPrintable(name));
    for (const QString &name : {u"a.part2.rar"_s, u"a.part11.rar"_s, u"a.part.rar"_s,
                                u"a.part1x.rar"_s, u"a.r00"_s, u"rar"_s, u""_s})
        QVERIFY2(!isFirstVolume(name), qPrintable(name));
}

void TestRarHandler::unpacks_data()
{
    QTest::addColumn<RarVolumes>("set");
    QTest::addColumn<QString>("password");

    const auto row = [](const char *name, const QStringList &options,
                        const QString &password = {}) {
        QTest::newRow(name) << packWithRar(sample, options) << password;
    };
    row("one volume", {});
    row("stored", {u"-m0"_s, u"-v30k"_s});
    row("compressed, solid", {u"-m5"_s, u"-s"_s, u"-v30k"_s});
    row("with recovery record", {u"-m0"_s, u"-v30k"_s, u"-rr10p"_s});
    row("encrypted members", {u"-m0"_s, u"-v30k"_s, u"-psecret"_s}, u"secret"_s);
    row("encrypted headers", {u"-m1"_s, u"-v30k"_s, u"-hpgeheim ß"_s}, u"geheim ß"_s);
    QTest::newRow("old names") << oldSet() << QString();
}

// Each volume lies there half-written, under its final name, before it is whole.
void TestRarHandler::unpacks()
{
    QFETCH(RarVolumes, set);
    QFETCH(QString, password);
    for (const QString &order : {u"in order"_s, u"first one last"_s, u"after the download"_s}) {
        RarJob job(set);
        connect(job.handler, &RarHandler::passwordNeeded, this,
                [&] { job.handler->setRarPassword(password); });
        for (int i = 0; i < job.count(); ++i)
            job.writeVolume(i, set.at(i).second.size() / 2);
        debugLog.clear();
        for (int i = 0; i < job.count() && order == u"in order"_s; ++i) {
            QTRY_COMPARE(logged(needsVolume + u" \"" + job.path(i)), i == 0 ? 0 : 1);
            job.arrive(i);
        }
        for (int i = 0; i < job.count() && order == u"after the download"_s; ++i) {
            job.writeVolume(i);
            job.book(i);
        }
        if (order == u"first one last"_s)
            job.arriveAll();
        else if (order == u"after the download"_s)
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
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("answer");

    for (const char *option : {"-psecret", "-hpsecret"}) {
        QTest::addRow("%s, wrong", option) << QString::fromUtf8(option) << u"other"_s;
        QTest::addRow("%s, too long", option) << QString::fromUtf8(option) << QString(3000, u'x');
        QTest::addRow("%s, declined", option) << QString::fromUtf8(option) << QString();
    }
}

void TestRarHandler::password()
{
    QFETCH(QString, option);
    QFETCH(QString, answer);
    RarJob job(packWithRar(sample, {u"-v30k"_s, option}));
    job.arriveAll();
    QTRY_COMPARE(job.prompts.size(), 1);
    QCOMPARE(job.prompts.first(), job.path(0));
    job.handler->setRarPassword(answer);
    QVERIFY(job.handler->wait());
    QTRY_COMPARE(job.failures.size(), answer.isEmpty() ? 0 : 1);
    QCOMPARE(job.handler->hasFailed(), !answer.isEmpty());
    QCOMPARE(job.handler->isProcessing(), answer.isEmpty()); // suspended for good
    QCOMPARE(job.prompts.size(), 1);
    QVERIFY(job.completed == 0);
    QCOMPARE(job.content().filter(u".rar"_s).size(), job.volumes.size());
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
    QTest::addColumn<RarVolumes>("set");
    QTest::addColumn<int>("reported");

    const RarVolumes good = packWithRar(sample, {u"-m0"_s, u"-v30k"_s});
    const auto row = [&good](const char *name, int damaged, int reported, const auto &harm) {
        RarVolumes set = good;
        harm(set[damaged].second);
        QTest::newRow(name) << set << reported;
    };
    row("no archive", 0, 0, [](QByteArray &volume) { volume.fill('x'); });
    row("empty", 0, 0, [](QByteArray &volume) { volume.clear(); });
    row("first cut short", 0, 0, [](QByteArray &volume) { volume.chop(5'000); });
    row("second cut short", 1, 1, [](QByteArray &volume) { volume.chop(5'000); });
    row("second cut within its mark", 1, 1, [](QByteArray &volume) { volume.truncate(3); });
    row("second is no archive", 1, 1, [](QByteArray &volume) { volume.fill('x'); });
    // Found at the end of the member.
    row("one byte of data", 1, 3, [](QByteArray &volume) { volume[15'000] ^= 1; });
}

void TestRarHandler::damage()
{
    QFETCH(RarVolumes, set);
    QFETCH(int, reported);
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
    QTest::addColumn<Rar4Member>("member");
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<bool>("fails");

    const auto row = [](const char *title, const Rar4Member &member, const QStringList &left = {},
                        bool fails = false) { QTest::newRow(title) << member << left << fails; };
    const QByteArray outside = QFile::encodeName(QDir::tempPath()) + "/outside";
    row("absolute", {outside, "x"});
    row("parent", {"../outside", "x"});
    row("parent, with backslashes", {"..\\outside", "x"});
    row("root, with backslashes", {"\\outside", "x"});
    row("out of a folder that is there", {"folder/../../outside", "x"});
    row("out of one that is not", {"new/../../outside", "x"});
    row("out, and with a dot", {"./../outside", "x"});
    row("link", {"link", outside, 0120777});
    row("link, as a folder", {"link", outside, 0120777, {}, true});
    row("colon", {"c:outside", "x"});
    row("short name", {"a.txt", "x"});
    row("empty", {"", "x"});
    row("2000 bytes", {QByteArray(2000, 'n'), "x"});
    row("link that is there", {"away", "x"});
    row("by way of a link that is there", {"away/outside", "x"});
    row("300 characters", {QByteArray(300, 'n'), "x"}, {}, true);
    row("folder in the way", {"folder", "x"}, {}, true);
    row("folder", {"made", "", 040755, {}, true}, {u"made"_s});
    row("within", {"folder/inner/x", "x"}, {u"folder/inner"_s, u"folder/inner/x"_s});
    row("hidden", {".hidden", "x"}, {u".hidden"_s});
}

// The members before and behind it tell whether the run goes on.
void TestRarHandler::members()
{
    QFETCH(Rar4Member, member);
    QFETCH(QStringList, left);
    QFETCH(bool, fails);
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
        QDir().mkpath(job.at(u"folder"_s));
        QDir().mkpath(job.at(u"SET.RAR"_s));
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
    const auto crc = crc32(0, reinterpret_cast<const Bytef *>(archive.constData()) + size,
                           1u + static_cast<uInt>(archive.at(size)));
    qToLittleEndian(static_cast<quint32>(crc), archive.data() + size - 4);
    RarJob job(set);
    job.arrive(0);
    QTRY_COMPARE(job.completed, 1);
    QCOMPARE(job.content(), QStringList());
}

void TestRarHandler::firstVolumeOutside()
{
    RarJob job({{u"../x.rar"_s, oldSet(0).first().second}});
    job.arrive(0);
    QVERIFY(!job.handler->isProcessing());
}

void TestRarHandler::lowDiskspace()
{
    constexpr quint64 size = quint64(1) << 60;
    // The name alone would have it skipped.
    RarJob job(rar4Set(u"x"_s, {{"first", "1"}, {"a.txt", "2", 0100644, size}, {"last", "3"}}));
    job.arriveAll();
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

void TestRarHandler::deletedAsleep_data()
{
    QTest::addColumn<RarVolumes>("set");
    QTest::addColumn<QString>("state");

    QTest::newRow("for a volume") << oldSet() << needsVolume;
    QTest::newRow("for a password")
        << packWithRar(sample, {u"-psecret"_s}) << u"Password needed to decrypt RAR"_s;
}

void TestRarHandler::deletedAsleep()
{
    QFETCH(RarVolumes, set);
    QFETCH(QString, state);
    RarJob job(set);
    job.book(0);
    for (int i = 0; i < 200; ++i) {
        debugLog.clear();
        job.writeVolume(0);
        job.handler->checkCompletedFiles();
        // Every other time perhaps a moment before it sleeps.
        if (i % 2 == 0)
            QVERIFY(QTest::qWaitFor([&] { return logged(state) == 1; }));
        job.createHandler();
    }
    QCOMPARE(job.content().filter(u"x."_s), QStringList{u"x.rar"_s});
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
