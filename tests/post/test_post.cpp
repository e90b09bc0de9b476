// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The three post-processors, each by itself: par2, the RAR handler, the joining of files.
#include <QDir>
#include <QDirIterator>
#include <QSignalSpy>
#include <QtEndian>

#include <csignal>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>

#include "post/filecombiner.h"
#include "post/par2process.h"
#include "post/rarhandler.h"
#include "post/rarnames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/articles.h"
#include "support/case.h"
#include "support/failingclose.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

/// A job, its folder, the volumes that arrive there, and what the handler says in this thread.
struct RarJob {
    explicit RarJob(const RarVolumes &set)
        : volumes(set)
    {
        QByteArray files;
        for (const auto &[name, content] : volumes)
            files += "<file subject='\"" + name.toUtf8()
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
    [[nodiscard]] QString at(const QString &name) const { return job->folder() + u'/' + name; }
    [[nodiscard]] QString path(int index) const { return at(volumes.at(index).first); }
    [[nodiscard]] int count() const { return static_cast<int>(volumes.size()); }
    void book(int index, bool whole = true) const
    {
        int segment = 0;
        static_cast<void>(job->fileAt(index)->nextSegment(&segment));
        job->fileAt(index)->segmentDecoded(segment, {}, 9, whole, true);
    }
    /// The volume is there, and the handler hears of it.
    void arrive(int index, bool whole = true) const
    {
        writeFile(path(index), volumes.at(index).second);
        book(index, whole);
        handler->fileCompleted(job->fileAt(index));
    }
    void arriveAll() const
    {
        for (int i = count(); i-- > 0;)
            arrive(i);
    }
    void awaitSleep() const { QTRY_VERIFY(handler->isWaitingForVolume()); }
    /// All that lies in the job's folder, by its path within.
    [[nodiscard]] QStringList content() const
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

struct FirstVolume {
    const char *name;
    bool first = false;
};
const FirstVolume firstVolumes[] = {
    {"a.rar", true},
    {"a.b.rar", true},
    {"a.part1.rar", true},
    {"a.PART001.RAR", true},
    {".part1.rar", true},
    {".rar", true},
    {"a.part2.rar"},
    {"a.part11.rar"},
    {"a.part.rar"},
    {"a.part1x.rar"},
    {"a.r00"},
    {"rar"},
};
const Case firstVolume("a first volume", firstVolumes, [](const FirstVolume &row) {
    QCOMPARE(isFirstVolume(QString::fromLatin1(row.name)), row.first);
});

struct Packing {
    const char *name; // the options; none: the old format
    QString password = {};
};
const Packing packings[] = {
    {"-m5,-s,-v30k"},
    {"-m0,-v30k,-psecret", u"secret"_s},
    {"-m1,-v30k,-hpgeheim ß", u"geheim ß"_s},
    {""},
};
// Each volume lies there half-written, under its final name, before it is whole.
const Case unpacks("unpacks", packings, [](const Packing &row) {
    // For the links that the archive is read through: none may be left behind.
    const QTemporaryDir temporary;
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    const auto restore = qScopeGuard([&] { qputenv("TMPDIR", before); });
    const RarVolumes set =
        *row.name ? packWithRar(sample, QString::fromUtf8(row.name).split(u',')) : oldSet();
    for (const bool inOrder : {true, false}) {
        RarJob job(set);
        QObject::connect(job.handler, &RarHandler::passwordNeeded, &job.listener,
                         [&] { job.handler->setRarPassword(row.password); });
        for (int i = 0; i < job.count(); ++i)
            writeFile(job.path(i), set.at(i).second.left(set.at(i).second.size() / 2));
        for (int i = 0; inOrder && i < job.count(); ++i) {
            job.arrive(i);
            if (i + 1 < job.count())
                job.awaitSleep();
        }
        if (!inOrder)
            job.arriveAll();
        QTRY_COMPARE(job.completed, 1);
        QVERIFY(job.failures.isEmpty() && !job.handler->isProcessing());
        QCOMPARE(job.prompts.size(), row.password.isEmpty() ? 0 : 1);
        for (auto file = sample.cbegin(); file != sample.cend(); ++file) {
            QCOMPARE(contentsOf(job.at(file.key())), file.value());
            QCOMPARE(job.job->extractedFiles().value(file.key()), quint64(file.value().size()));
        }
        QCOMPARE(job.content().filter(u".r"_s), QStringList());
    }
    QCOMPARE(QDir(temporary.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 0);
});

struct Password {
    const char *name;
    QString option;
    QString answer = {};
};
const Password passwords[] = {
    {"of members, wrong", u"-psecret"_s, u"other"_s},
    {"of members, too long", u"-psecret"_s, QString(3000, u'x')},
    {"of members, declined", u"-psecret"_s},
    {"of headers, wrong", u"-hpsecret"_s, u"other"_s},
    {"of headers, declined", u"-hpsecret"_s},
};
const Case password("a password", passwords, [](const Password &row) {
    RarJob job(packWithRar(sample, {u"-v30k"_s, row.option}));
    job.arriveAll();
    QTRY_COMPARE(job.prompts, QStringList{job.path(0)});
    QVERIFY(!job.handler->isAtWork());
    job.handler->setRarPassword(row.answer);
    QVERIFY(job.handler->wait());
    QTRY_COMPARE(job.failures.size(), row.answer.isEmpty() ? 0 : 1);
    QCOMPARE(job.handler->hasFailed(), !row.answer.isEmpty());
    QCOMPARE(job.handler->isProcessing(), row.answer.isEmpty()); // suspended for good
    QVERIFY(job.prompts.size() == 1 && job.completed == 0);
    QCOMPARE(job.content().filter(u".rar"_s), job.content()); // and no empty file
    job.handler->checkCompletedFiles();
    QCOMPARE(job.handler->isRunning(), !row.answer.isEmpty());
});

// One start after another, at the moment that the run before reports its end.
const Case inTurn("archives in turn", [] {
    RarVolumes sets;
    QStringList extracted;
    for (int i = 10; i < 40; ++i) {
        extracted << u"member%1"_s.arg(i);
        sets += rar4Set(u"set%1"_s.arg(i), {{extracted.last().toUtf8(), "data"}});
    }
    RarJob job(sets);
    QObject::connect(job.handler, &RarHandler::processingComplete, job.handler,
                     &RarHandler::checkCompletedFiles);
    // On the worker, which so ends a little after it has reported.
    QObject::connect(
        job.handler, &RarHandler::processingComplete, &job.listener, [] { QThread::msleep(1); },
        Qt::DirectConnection);
    job.arriveAll();
    QTRY_COMPARE(job.completed, sets.size());
    QCOMPARE(job.content(), extracted);
});

struct Damage {
    const char *name;
    int volume;
    int reported;
    void (*spoil)(QByteArray &);
};
const Damage damages[] = {
    {"no archive", 0, 0, [](QByteArray &bytes) { bytes.fill('x'); }},
    {"empty", 0, 0, [](QByteArray &bytes) { bytes.clear(); }},
    {"first cut short", 0, 0, [](QByteArray &bytes) { bytes.chop(5'000); }},
    {"second cut short", 1, 1, [](QByteArray &bytes) { bytes.chop(5'000); }},
    {"second cut within its mark", 1, 1, [](QByteArray &bytes) { bytes.truncate(3); }},
    {"one byte of data", 1, 3, [](QByteArray &bytes) { bytes[15'000] ^= 1; }}, // found at the end
};
const Case damage("a damaged archive", damages, [](const Damage &row) {
    RarVolumes set = packWithRar(sample, {u"-m0"_s, u"-v30k"_s});
    row.spoil(set[row.volume].second);
    const int other = static_cast<int>(set.size());
    RarJob job(set + rar4Set(u"other"_s, {{"member", "m"}}));
    for (int i = other; i-- > 0;)
        job.arrive(i);
    QTRY_COMPARE(job.failures, QStringList{job.path(row.reported)});
    QVERIFY(job.handler->hasFailed() && !job.handler->isProcessing());
    job.arrive(other);
    QTRY_COMPARE(job.completed, 1);
    QCOMPARE(job.content().filter(u".rar"_s).size(), set.size()); // those of the failed run
    job.handler->checkCompletedFiles();
    QTRY_COMPARE(job.failures.size(), 2);
});

struct Hostile {
    const char *name;
    Rar4Member member;
    QStringList left = {};
    bool fails = false;
};
const QByteArray outside = QFile::encodeName(QDir::tempPath()) + "/outside";
const Hostile hostiles[] = {
    {"absolute", {outside, "x"}},
    {"parent", {"../outside", "x"}},
    {"parent, with backslashes", {"..\\outside", "x"}},
    {"root, with backslashes", {"\\outside", "x"}},
    {"out of a folder that is there", {"folder/../../outside", "x"}},
    {"out of one that is not", {"new/../../outside", "x"}},
    {"link", {"link", outside, 0120777}},
    {"link, as a folder", {"link", outside, 0120777, {}, true}},
    {"colon", {"c:outside", "x"}},
    {"short name", {"a.txt", "x"}},
    {"empty", {"", "x"}},
    {"by way of a link that is there", {"away/outside", "x"}},
    {"2000 bytes", {QByteArray(2000, 'n'), "x"}, {}, true},
    {"folder in the way", {"folder", "x"}, {}, true},
    {"a volume's name", {"folder/../X.RAR/../x.rar", "inner"}, {}, true},
    {"folder", {"made", "", 040755, {}, true}, {u"made"_s}},
    {"within", {"folder/inner/x", "x"}, {u"folder/inner"_s, u"folder/inner/x"_s}},
    {"hidden", {".hidden", "x"}, {u".hidden"_s}},
};
// The members before and behind it tell whether the run goes on.
const Case hostile("a hostile member", hostiles, [](const Hostile &row) {
    RarJob job(rar4Set(u"x"_s, {{"before", "b"}, row.member, {"zlast", "z"}}));
    QVERIFY(QDir().mkpath(job.at(u"folder/keep"_s)) && QDir().mkpath(job.at(u"X.RAR"_s)));
    QVERIFY(QFile::link(QFile::decodeName(outside), job.at(u"away"_s)));
    job.arriveAll();
    QTRY_COMPARE(row.fails ? static_cast<int>(job.failures.size()) : job.completed, 1);
    QStringList expected{u"X.RAR"_s, u"away"_s, u"before"_s, u"folder"_s, u"folder/keep"_s};
    expected += row.fails ? QStringList{u"x.rar"_s} : row.left + QStringList{u"zlast"_s};
    expected.sort();
    QCOMPARE(job.content(), expected);
    QVERIFY(!QFile::exists(QFile::decodeName(outside)) && !QFile::exists(job.at(u"../outside"_s)));
});

// The header of a link, but for the attributes, which are those of a plain file.
const Case disguised("a link in disguise", [] {
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
});

const Case lowSpace("low disk space", [] {
    constexpr quint64 size = quint64(1) << 60;
    // The name alone would have it skipped.
    RarJob job(rar4Set(u"x"_s, {{"first", "1"}, {"a.txt", "2", 0100644, size}, {"last", "3"}}));
    job.arrive(0);
    QTRY_COMPARE(job.lowDisk, QList<quint64>{size});
    QVERIFY(job.handler->wait());
    QCOMPARE(job.content(), QStringList({u"first"_s, u"x.rar"_s}));
    QVERIFY(job.handler->isProcessing() && !job.handler->hasFailed());
});

const Case asleep("a run that sleeps for a volume", [] {
    RarJob damagedJob(oldSet());
    for (int i = 0; i < damagedJob.count(); ++i)
        damagedJob.arrive(i, i != 1);
    damagedJob.awaitSleep();
    QVERIFY(damagedJob.completed == 0 && damagedJob.failures.isEmpty());
    damagedJob.job->fileAt(1)->markRepaired();
    damagedJob.handler->checkCompletedFiles();
    QTRY_COMPARE(damagedJob.completed, 1);

    RarJob woken(oldSet()); // although an article of the file is under way
    woken.arrive(0);
    woken.awaitSleep();
    writeFile(woken.path(1), woken.volumes.at(1).second);
    QTRY_VERIFY((woken.handler->fileCompleted(woken.job->fileAt(1)), !woken.failures.isEmpty()));
    QCOMPARE(woken.failures.first(), woken.path(0));

    const RarVolumes set = oldSet(); // by hand: no file of the job bears the names of the others
    RarJob placed({set.first()});
    for (qsizetype i = 1; i < set.size(); ++i)
        writeFile(placed.at(set.at(i).first), set.at(i).second);
    placed.arrive(0);
    QTRY_COMPARE(placed.completed, 1);
    QCOMPARE(placed.content().filter(u"x."_s), QStringList());

    RarJob socket(oldSet()); // the library asks for such a volume again and again
    QCOMPARE(mknod(QFile::encodeName(socket.path(1)).constData(), S_IFSOCK | 0600, 0), 0);
    for (int i = 1; i < socket.count(); ++i)
        socket.book(i);
    socket.arrive(0);
    QTRY_COMPARE(socket.failures, QStringList{socket.path(1)});
});

const Case deletion("a handler is deleted, asleep or at work", [] {
    RarJob sleeper(oldSet());
    sleeper.book(0);
    for (int i = 0; i < 50; ++i) {
        writeFile(sleeper.path(0), sleeper.volumes.first().second);
        sleeper.handler->checkCompletedFiles();
        if (i % 2 == 0) // every other time perhaps a moment before it sleeps
            sleeper.awaitSleep();
        sleeper.createHandler();
    }
    QVERIFY(QFile::exists(sleeper.path(0)));
    for (int i = 0; i < 50; ++i) { // the thread goes on to the end of its archive
        auto job = std::make_unique<RarJob>(oldSet(20'000));
        job->arriveAll();
        const QString folder = job->job->folder();
        job->job.reset();
        QCOMPARE(contentsOf(folder + u"/film.bin"_s), sample.value(u"film.bin"_s));
        QVERIFY(!QFile::exists(folder + u"/x.r00"_s));
    }
});

struct Series {
    const char *name;
    QStringList pieces;
    bool gaps = false;
};
const Series series[] = {
    {"none", {}, true},
    {"whole, unsorted", {u"/x.002"_s, u"/x.001"_s}},
    {"from zero", {u"/x.000"_s, u"/x.002"_s}, true},
    {"hole", {u"/x.001"_s, u"/x.003"_s}, true},
    {"judged by its ends", {u"/x.001"_s, u"/x.001b"_s, u"/x.003"_s}},
    {"no extension", {u"/x"_s}, true},
};
const Case gaps("a series has gaps", series, [](const Series &row) {
    FileCombiner combiner(nullptr, nullptr);
    for (const QString &piece : row.pieces)
        combiner.addFile(piece);
    QCOMPARE(combiner.hasGaps(), row.gaps);
});

struct Join {
    const char *name;
    QByteArrayList pieces; // "x.001" and so on; "-": not there, "full": on a disk that is full
    QByteArray earlier = {}; ///< output that is there already
    QByteArray content = {};
    QStringList left = {};
    QString error = {};
    const char *refusedAtClose = nullptr;
};
const QByteArray buffer(32'768, 'b');
const QString exists = u"Output filename '%1' already exists"_s;
const QString writing = u"Error writing to file: "_s;
const Join joins[] = {
    {"one", {"only"}, {}, "only"},
    {"empty ones", {"", "a", "", "b"}, {}, "ab"},
    {"about the buffer's size", {"a", buffer, buffer + 'c'}, {}, 'a' + buffer + buffer + 'c'},
    {"missing piece",
     {"one", "-", "three"},
     {},
     "one",
     {u"x.003"_s},
     u"Error opening file: %1.002"_s},
    {"output of the right size", {"one", "two"}, "123456", "123456"},
    {"shorter output", {"one", "two"}, "123", "123", {u"x.001"_s, u"x.002"_s}, exists},
    {"empty output", {"one", "two"}, "", "", {u"x.001"_s, u"x.002"_s}, exists},
    {"full disk", {"full", "two"}, {}, {}, {u"x.002"_s}, writing},
    {"quota told at the close", {"one", "two"}, {}, "onetwo", {u"x.002"_s}, writing, "/x"},
};
const Case join("join", joins, [](const Join &row) {
    const QTemporaryDir folder;
    const auto at = [&](const QString &name) { return folder.filePath(name); };
    FileCombiner combiner(nullptr, nullptr);
    QSignalSpy done(&combiner, &FileCombiner::processingComplete);
    QSignalSpy failed(&combiner, &FileCombiner::processingError);
    for (qsizetype i = row.pieces.size(); i-- > 0;) {
        const QString path = at(u"x.00%1"_s.arg(i + 1));
        if (row.pieces[i] == "full") // renamed, it is a link to a device that is always full
            QVERIFY(QFile::link(u"/dev/full"_s, path));
        else if (row.pieces[i] != "-")
            writeFile(path, row.pieces[i]);
        combiner.addFile(path);
    }
    if (!row.earlier.isNull())
        writeFile(at(u"x"_s), row.earlier);
    const FailingClose quota(row.refusedAtClose);
    combiner.run();
    QCOMPARE(done.size() + failed.size(), 1);
    const QVariantList said = row.error.isEmpty() ? done.value(0) : failed.value(0);
    QCOMPARE(said.value(1).toString(), at(u"x"_s));
    if (!row.error.isEmpty())
        QVERIFY(said.value(2).toString().startsWith(
            row.error.contains(u'%') ? row.error.arg(at(u"x"_s)) : row.error));
    if (!row.content.isNull())
        QCOMPARE(contentsOf(at(u"x"_s)), row.content);
    QCOMPARE(QDir(folder.path()).entryList({u"x.*"_s}), row.left);
});

const Case sparse("a sparse join does not follow links", [] {
    const QTemporaryDir folder;
    const auto at = [&](const QString &name) { return folder.filePath(name); };
    FileCombiner combiner(nullptr, nullptr);
    combiner.setSparseOutput(true);
    combiner.addFile(writeFile(at(u"x.003"_s), "3"));
    combiner.addFile(writeFile(at(u"x.002"_s), "two"));
    QVERIFY(QFile::link(at(u"outside"_s), at(u"x"_s)));
    combiner.run();
    QVERIFY(!QFile::exists(at(u"outside"_s)) && QFile::remove(at(u"x"_s)));
    combiner.run();
    QCOMPARE(contentsOf(at(u"x"_s)), QByteArray("\0\0\0two\0\0\0003", 10));
});

/// A pass over a folder whose name a shell, or a program's option reader, could stumble over.
struct Pass {
    [[nodiscard]] QString at(const QString &name) const { return folder.filePath(name); }
    [[nodiscard]] QString script(const QByteArray &lines) const
    {
        const QString path = writeFile(at(u"program"_s), "#!/bin/sh\n" + lines);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }
    /// Runs the whole pass; returns what it said.
    QString eventsOf(Par2Process &par2)
    {
        QStringList events;
        QObject::connect(&par2, &Par2Process::repairComplete, [&] { events << u"repaired"_s; });
        QObject::connect(&par2, &Par2Process::nothingToRepair, [&] { events << u"nothing"_s; });
        QObject::connect(&par2, &Par2Process::needMoreBlocks,
                         [&](Nzb *, int number, const QString &name) {
                             events << u"%1 for %2"_s.arg(number).arg(
                                 QDir(folder.path()).relativeFilePath(name));
                         });
        bool ended = false;
        QObject::connect(&par2, &Par2Process::passEnded, [&](Nzb *, bool answered) {
            events << (answered ? u"end"_s : u"unanswered"_s);
            ended = true;
        });
        par2.startNextGroup();
        static_cast<void>(QTest::qWaitFor([&] { return ended; }, 20'000));
        return events.join(u", "_s);
    }

    QTemporaryDir folder{QDir::tempPath() + u"/-q 'x;$(touch y)*? XXXXXX"_s};
    Nzb job{nullptr, QString(), QString()};
};

/// With a script in the place of the program.
struct ScriptedPar2 final : Par2Process {
    ScriptedPar2(Nzb *nzb, const QStringList &files, const QString &script)
        : Par2Process(nzb, files, nullptr, {u"/none"_s, script, u"/none2"_s})
    {
    }
};

struct Output {
    const char *name;
    QByteArray lines;
    QString events;
};
QByteArray zeros(qsizetype count)
{
    return "; head -c " + QByteArray::number(count) + " /dev/zero";
}
const Output outputs[] = {
    {"last line decides", "echo 'You need 3'; echo 'Repair complete!\n'", u"repaired, end"_s},
    {"inside a line", "echo ' Repair complete.'", u"unanswered"_s},
    {"in pieces, exit code", "printf '\\r\\nRep'; printf 'air comp' >&2; printf lete; exit 3",
     u"repaired, end"_s},
    {"no number", "echo 'You need  3'", u"0 for set, end"_s},
    {"crash", "echo 'All files are correct'; kill -9 $$", u"nothing, end"_s},
    {"long line", ":" + zeros(2'000'000) + "; echo; echo Repair complete", u"repaired, end"_s},
    {"far back", "echo Repair complete" + zeros(Par2Output::maxSize), u"unanswered"_s},
    {"cut line", "printf x'Repair complete'" + zeros(Par2Output::maxSize - 15), u"unanswered"_s},
};
const Case output("what par2 prints", outputs, [](const Output &row) {
    Pass t;
    ScriptedPar2 par2(&t.job, {t.at(u"set.vol0+1"_s)}, t.script(row.lines));
    QCOMPARE(t.eventsOf(par2), row.events);
});

struct Steps {
    const char *name;
    QStringList volumes;
    QString events;
};
const Steps steps[] = {
    {"no volume", {u"main.par2"_s, u"other.VOL00+1.PAR2"_s}, u"unanswered"_s},
    {"the next volume of the set", {u"a.vol1"_s, u"a.vol0"_s}, u"nothing, end"_s},
    {"the next set", {u"a.vol1"_s, u"b.vol0"_s}, u"1 for a, nothing, end"_s},
    {"then repaired", {u"a.vol1"_s, u"b.vol2"_s}, u"1 for a, end"_s},
    {"all repaired", {u"b.vol2"_s, u"a.vol2"_s}, u"repaired, end"_s},
    {"one sound outweighs", {u"a.vol2"_s, u"b.vol0"_s}, u"nothing, end"_s},
    {"lack stops", {u"a.vol4"_s, u"b.vol0"_s}, u"7 for a, end"_s},
    {"then silent", {u"a.vol2"_s, u"b.vol3"_s}, u"unanswered"_s},
    {"no folder to run in", {u"no/x.vol0"_s, u"no/y.vol0"_s}, u"unanswered"_s},
};
const Case step("how a pass of par2 goes on", steps, [](const Steps &row) {
    Pass t;
    const QString program = t.script("case \"$3\" in *vol0) echo All files are correct;;\n"
                                     "*vol1) echo Main packet not found >&2;;\n"
                                     "*vol2) echo Repair complete;; *vol4) echo You need 7;; esac");
    QStringList volumes;
    for (const QString &volume : row.volumes)
        volumes << t.at(volume);
    const QString corrupt = writeFile(t.at(u"a.vol1"_s));
    ScriptedPar2 par2(&t.job, volumes, program);
    QCOMPARE(t.eventsOf(par2), row.events);
    QCOMPARE(QFile::exists(corrupt), !row.volumes.contains(u"a.vol1"_s));
});

const Case realPar2("the real par2", [] {
    Pass t;
    const QByteArray content = randomBytes(7, 40'000);
    for (const auto &[name, volume] : recoveryOf({{u"-a b"_s, content}}, {u"-s1000"_s, u"-c6"_s}))
        writeFile(t.at(name), volume);
    const QStringList volumes{t.at(u"x.vol0+1.par2"_s), t.at(u"x.vol1+2.par2"_s),
                              t.at(u"x.vol3+3.par2"_s)};
    QVERIFY(QFile::exists(volumes.last()));
    const std::pair<int, QString> passes[] = {
        {10, u"4 for x, end"_s}, {6, u"repaired, end"_s}, {0, u"nothing, end"_s}};
    for (const auto &[badBlocks, events] : passes) {
        QByteArray bad = content;
        for (int block = 0; block < badBlocks; ++block)
            bad[block * 1000 + 500] ^= 1;
        writeFile(t.at(u"-a b"_s), bad);
        Par2Process par2(&t.job, volumes, nullptr);
        QCOMPARE(t.eventsOf(par2), events);
        QCOMPARE(contentsOf(t.at(u"-a b"_s)) == content, badBlocks <= 6);
    }
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, ScriptedPar2(&t.job, {}, t.at(u"no"_s)));
});

const Case par2Deleted("par2 is deleted, in a slot or while it runs", [] {
    Pass t;
    for (const QByteArray line : {"Repair complete", "Main packet not found", "You need 1"}) {
        auto *par2 = new ScriptedPar2(&t.job, {t.at(u"a.vol1"_s), t.at(u"b.vol1"_s)},
                                      t.script("echo " + line));
        const QPointer<Par2Process> alive(par2);
        const auto destroy = [par2] { delete par2; };
        QObject::connect(par2, &Par2Process::repairComplete, destroy);
        QObject::connect(par2, &Par2Process::needMoreBlocks, destroy);
        par2->startNextGroup();
        QTRY_VERIFY(!alive);
    }
    const QTemporaryDir plain;
    const QString file = plain.filePath(u"-a 'b.vol0+1.par2"_s);
    const QString program =
        t.script("printf '%s\\n' $$ \"$@\" >new; cat; mv new started; exec tail -f /dev/null");
    auto par2 = std::make_unique<ScriptedPar2>(&t.job, QStringList{file}, program);
    QObject::connect(par2.get(), &Par2Process::passEnded, [] { QFAIL("ended by its deletion"); });
    par2->startNextGroup();
    QTRY_VERIFY(QFile::exists(plain.filePath(u"started"_s)));
    const QByteArrayList lines = contentsOf(plain.filePath(u"started"_s)).split('\n');
    QCOMPARE(lines.mid(1), QByteArrayList({"r", "-q", file.toUtf8(), "*", ""}));
    const int pid = lines.first().toInt();
    QVERIFY(pid > 0 && kill(pid, 0) == 0);
    par2.reset();
    QVERIFY(kill(pid, 0) != 0);
});

} // namespace
