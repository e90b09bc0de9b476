// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDeadlineTimer>
#include <QTest>
#include <QtEndian>

#include "enginefixture.h"
#include "post/par2process.h"
#include "support/programs.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

/// What becomes of a job that has arrived, with the real programs and the real library.
class TestPostprocessing final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        set = packWithRar({{u"film.avi"_s, film}}, {u"-m0"_s, u"-v40k"_s});
        locked = packWithRar({{u"film.avi"_s, film}}, {u"-m0"_s, u"-v40k"_s, u"-hpsecret"_s});
        recovery = recoveryOf(set, {u"-s2000"_s, u"-c12"_s});
    }
    void leavesAlone_data();
    void leavesAlone();
    void failedExtraction_data();
    void failedExtraction();
    void unpackedBeforeTheRest();
    void archivesInTurn();
    void lowDiskspace();
    void asleepWithoutRepair();
    void namesComeWithArticles();
    void volumeCutShort();
    void joinsSeriesInTurn();
    void goesInTheMidst_data();
    void goesInTheMidst();
    // Last those in which a program is started: the thread sanitizer is silent from there on.
    void failedExtractionAndRepair();
    void repairsAndUnpacks_data();
    void repairsAndUnpacks();
    void volumeMeanwhile();
    void givesUp_data();
    void givesUp();
    void unknownOutput();

private:
    static void add(Post &post, const RarVolumes &files)
    {
        for (const auto &[name, content] : files)
            post.addYenc(name, content, 5000);
    }
    /// The volumes "x.part1.rar" and so on with their PAR2 files, and an article missing.
    void addDamagedSet(Post &post) const
    {
        add(post, set);
        post.file(1).segment(3).onServer = false;
        add(post, recovery);
    }
    /// A set that arrives whole, but whose second volume is none.
    void addBadSet(Post &post) const
    {
        RarVolumes bad = set;
        bad[1].second.fill('x');
        add(post, bad);
    }
    static QString failureOf(const Nzb *nzb)
    {
        return u"Error extracting RAR: "_s + nzb->folder() + u"/x.part2.rar"_s;
    }
    /// One that comes to the moment that goesInTheMidst() calls @p sign.
    void addJobFor(const QString &sign, EngineFixture &t, Post &post) const
    {
        t.set("rarHandling", sign.contains("unrar"_L1) ? u"after"_s : u"during"_s);
        t.set("autoPAR2", true);
        if (sign == "Repairing"_L1)
            return addDamagedSet(post);
        if (sign.contains("combining"_L1)) {
            for (int piece = 1; piece <= 5; ++piece)
                post.addYenc(u"film.avi.00%1"_s.arg(piece), film);
            return;
        }
        add(post, sign == "password"_L1 ? locked : set);
        if (sign != "x.part1.rar"_L1)
            return;
        for (const PostedSegment &segment : post.file(2).segments)
            t.server->hold(segment.id);
    }

    const QByteArray film = randomBytes(1, 100'000);
    RarVolumes set;
    RarVolumes locked; // with a password
    RarVolumes recovery;
};

void TestPostprocessing::repairsAndUnpacks_data()
{
    // twice: another volume lacks an article, too: six blocks or so
    const auto row = rows<QString, bool, bool>();
    row("during", {u"during"_s, true, false});
    row("after", {u"after"_s, true, false});
    row("no setting, all volumes at once", {QString(), false, false});
    row("asks twice", {u"during"_s, true, true});
}

void TestPostprocessing::repairsAndUnpacks()
{
    const auto [rarHandling, pausePAR2, twice] = thisRow<QString, bool, bool>();
    EngineFixture t;
    t.set("rarHandling", rarHandling);
    t.set("pausePAR2", pausePAR2);
    t.set("autoPAR2", true);
    Post post;
    addDamagedSet(post);
    post.file(0).segment(2).onServer = !twice;
    Nzb *nzb = t.start(post);
    QTRY_COMPARE_WITH_TIMEOUT(t.completedJobs, QStringList{u"demo"_s}, 20'000);
    QCOMPARE(t.saved(u"demo/film.avi"_s), film);
    QCOMPARE(nzb->status(), u"Repaired"_s);
    QCOMPARE(nzb->extractedFiles().value(u"film.avi"_s), quint64(film.size()));
    QVERIFY(!QFile::exists(nzb->folder() + u"/x.part1.rar"_s));
    // Three or four blocks a volume are lacking. Those of 1 and 2, which are asked for first, do
    // for one, and no more than that is fetched.
    QCOMPARE(EngineFixture::fileOf(nzb, recovery.last().first)->isPaused(), pausePAR2);
    QCOMPARE(EngineFixture::fileOf(nzb, recovery.at(3).first)->isPaused(), pausePAR2 && !twice);
    QVERIFY(t.errors.isEmpty());
}

// It arrives before the pass that asked for it has ended, which makes another one necessary.
void TestPostprocessing::volumeMeanwhile()
{
    EngineFixture t;
    t.set("pausePAR2", true);
    t.set("autoPAR2", true);
    Post post;
    add(post, set);
    post.file(1).segment(3).onServer = false;
    const QString volume = recovery.last().first;
    add(post, {recovery.at(0), recovery.at(1), recovery.last()});
    Nzb *nzb = t.start(post);
    const QDeadlineTimer limit(20'000);
    const Par2Process *pass = nullptr;
    while (!pass && !limit.hasExpired()) {
        QCoreApplication::processEvents();
        pass = t.engine->findChild<Par2Process *>();
    }
    QVERIFY(pass);
    bool came = false;
    connect(pass, &Par2Process::needMoreBlocks, this,
            [&] { came = QTest::qWaitFor([&] { return t.completedFiles.contains(volume); }); });
    QTRY_VERIFY_WITH_TIMEOUT(!t.completedJobs.isEmpty(), 20'000);
    QVERIFY(came);
    QCOMPARE(t.saved(u"demo/film.avi"_s), film);
    QCOMPARE(nzb->status(), u"Repaired"_s);
}

// The program knows the set, but none of its files, and says so in words of its own.
void TestPostprocessing::unknownOutput()
{
    const QByteArray volume = recovery.last().second;
    const qsizetype packet =
        volume.indexOf(QByteArrayView("PAR 2.0\0Main", 12)) - 48; // behind the head of the packet
    QVERIFY(packet >= 0);
    const auto length = qFromLittleEndian<quint64>(volume.constData() + packet + 8);
    EngineFixture t;
    t.set("autoPAR2", true);
    Post post;
    add(post, set);
    post.file(1).segment(3).onServer = false;
    post.addYenc(u"x.vol00+9.par2"_s, volume.sliced(packet, static_cast<qsizetype>(length)));
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(nzb->status(), u"Damaged: repair failed"_s);
    QVERIFY(t.completedJobs.isEmpty());
}

void TestPostprocessing::givesUp_data()
{
    const auto row = rows<qsizetype>();
    row("no volumes", {qsizetype(0)});
    row("too few blocks", {qsizetype(2)}); // the index and the volume of one block
}

void TestPostprocessing::givesUp()
{
    const auto [volumes] = thisRow<qsizetype>();
    EngineFixture t;
    t.set("autoPAR2", true);
    t.set("pausePAR2", true);
    Post post;
    add(post, set);
    post.file(1).segment(3).onServer = false;
    add(post, recovery.first(volumes));
    Nzb *nzb = t.start(post);
    QTRY_COMPARE_WITH_TIMEOUT(nzb->status(), u"Damaged beyond repair"_s, 20'000);
    QVERIFY(t.completedJobs.isEmpty());
}

void TestPostprocessing::leavesAlone_data()
{
    const auto row = rows<QString, bool>();
    row("disabled", {u"disabled"_s, false});
    row("damaged, and no repair wanted", {u"after"_s, true});
}

void TestPostprocessing::leavesAlone()
{
    const auto [rarHandling, damaged] = thisRow<QString, bool>();
    EngineFixture t;
    t.set("rarHandling", rarHandling);
    Post post;
    add(post, set);
    post.addYenc(u"a.001"_s, "split");
    post.file(1).segment(3).onServer = !damaged;
    t.start(post);
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.saved(u"demo/x.part1.rar"_s), set.first().second);
    QCOMPARE(t.saved(u"demo/a.001"_s), "split");
}

void TestPostprocessing::failedExtraction_data()
{
    const auto row = rows<QString>();
    row("during", {u"during"_s});
    row("after", {u"after"_s});
}

void TestPostprocessing::failedExtraction()
{
    const auto [rarHandling] = thisRow<QString>();
    EngineFixture t;
    t.set("rarHandling", rarHandling);
    Post post;
    addBadSet(post);
    post.addYenc(u"split.001"_s, "spl");
    post.addYenc(u"split.002"_s, "it");
    const PostedFile &last = post.addYenc(u"z.txt"_s, "last");
    const bool during = rarHandling == "during"_L1;
    if (during) // it fails before the last file is there
        t.server->hold(last.id(1));
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(nzb->status(), failureOf(nzb));
    t.server->releaseAll();
    QTRY_COMPARE(t.completedFiles.size(), post.fileCount());
    QTRY_COMPARE(t.server->openConnections(), 0);
    QCOMPARE(nzb->status(), failureOf(nzb));
    if (during) { // the rest is done all the same
        QTRY_VERIFY(nzb->extractedFiles().contains(u"split"_s));
        QCOMPARE(t.saved(u"demo/split"_s), "split");
    }
    QVERIFY(t.completedJobs.isEmpty());
}

void TestPostprocessing::failedExtractionAndRepair()
{
    EngineFixture t;
    t.set("rarHandling", u"during"_s);
    t.set("autoPAR2", true);
    Post post;
    addBadSet(post);
    const RarVolumes other{{u"other.bin"_s, randomBytes(2, 20'000)}};
    add(post, other);
    post.file(post.fileCount() - 1).segment(1).onServer = false;
    add(post, recoveryOf(other, {u"-s2000"_s, u"-c5"_s}));
    t.server->hold(post.file(post.fileCount() - 1).id(1));
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(nzb->status(), failureOf(nzb));
    t.server->releaseAll();
    QTRY_COMPARE(t.saved(u"demo/other.bin"_s), other.first().second);
    QTRY_VERIFY(!nzb->hasIncompleteFiles());
    QCOMPARE(nzb->status(), failureOf(nzb));
    QVERIFY(t.completedJobs.isEmpty());
}

// The run goes on with the volumes that come after it was disabled.
void TestPostprocessing::unpackedBeforeTheRest()
{
    EngineFixture t;
    t.set("rarHandling", u"during"_s);
    Post post;
    add(post, set);
    const PostedFile &last = post.addYenc(u"z.txt"_s, "last");
    t.server->hold(last.id(1));
    Nzb *nzb = t.start(post);
    QTRY_VERIFY(t.completedFiles.contains(u"x.part1.rar"_s));
    t.set("rarHandling", u"disabled"_s);
    QTRY_VERIFY(!QFile::exists(nzb->folder() + u"/x.part3.rar"_s)
                && nzb->extractedFiles().contains(u"film.avi"_s));
    QTest::qWait(50); // for what has been posted
    QVERIFY(t.completedJobs.isEmpty());
    t.server->releaseAll();
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.saved(u"demo/film.avi"_s), film);
}

// The first is unpacked before all files of the job have been looked at.
void TestPostprocessing::archivesInTurn()
{
    for (int round = 0; round < 10; ++round) {
        EngineFixture t;
        t.set("rarHandling", u"after"_s);
        Post post;
        for (const QString &name : {u"a"_s, u"b"_s})
            add(post, rar4Set(name, {{name.toUtf8() + " film", "film"}}));
        for (int i = 0; i < 60; ++i)
            post.addYenc(u"text%1.txt"_s.arg(i), "text");
        Nzb *nzb = t.start(post);
        QTRY_COMPARE(t.completedJobs.size(), 1);
        QCOMPARE(nzb->extractedFiles().keys(), (QStringList{u"a film"_s, u"b film"_s}));
        QTRY_COMPARE(t.server->openConnections(), 0);
        QCOMPARE(t.completedJobs.size(), 1);
    }
}

void TestPostprocessing::lowDiskspace()
{
    EngineFixture t;
    Post post;
    add(post, rar4Set(u"x"_s, {{"film", "f", 0100644, quint64(1) << 60}}));
    t.start(post);
    QTRY_COMPARE(t.errors,
                 QStringList{u"RAR processing suspended. Not enough disk space to extract "
                             "1099511627776 MB file"_s});
    QVERIFY(t.completedJobs.isEmpty());
}

// A volume is damaged, which an extraction waits for that nobody ends.
void TestPostprocessing::asleepWithoutRepair()
{
    EngineFixture t;
    t.set("rarHandling", u"during"_s);
    Post post;
    add(post, set);
    post.file(1).segment(3).onServer = false;
    t.start(post);
    QTRY_COMPARE(t.completedFiles.size(), set.size());
    QTRY_COMPARE(t.server->openConnections(), 0);
    QVERIFY(t.completedJobs.isEmpty());
}

// A volume lies under its name from the first line of its first article on, which the job's file
// takes at that article's end.
void TestPostprocessing::namesComeWithArticles()
{
    EngineFixture t;
    t.set("rarHandling", u"during"_s);
    t.set("threads", 1);
    t.set("networkTimeout", 1);
    Post post;
    add(post, set);
    for (int i = 0; i < post.fileCount(); ++i)
        post.file(i).subject = u"a post %1 yEnc (1/%2)"_s.arg(i).arg(post.file(i).segmentCount());
    t.server->script(When::body(post.file(1).id(1)), Reply().stallAfter(3000), 1);
    t.start(post);
    QTRY_COMPARE_WITH_TIMEOUT(t.completedJobs.size(), 1, 10'000);
    QCOMPARE(t.saved(u"demo/film.avi"_s), film);
}

// Until the article is asked for again, no file bears the name of what lies there.
void TestPostprocessing::volumeCutShort()
{
    EngineFixture t;
    t.set("rarHandling", u"during"_s);
    t.set("threads", 2);
    t.set("networkRetry", 2);
    Post post;
    for (const auto &[name, content] : std::as_const(set))
        post.addYenc(name, content, 50'000); // in one article
    for (int i = 0; i < post.fileCount(); ++i)
        post.file(i).subject = u"a post %1 yEnc (1/1)"_s.arg(i);
    const QByteArray second = post.file(1).id(1);
    const QByteArray third = post.file(2).id(1);
    t.server->script(When::body(second), Reply::ordinary().cutAfter(20'000), 1);
    t.server->hold(second);
    t.server->hold(third);
    t.start(post);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    t.server->release(second);
    QTRY_VERIFY(QFile::exists(t.downloads() + u"/demo/x.part2.rar"_s));
    QTRY_COMPARE(t.server->openConnections(), 1);
    t.server->release(third);
    QTRY_COMPARE_WITH_TIMEOUT(t.completedJobs.size(), 1, 10'000);
    QCOMPARE(t.saved(u"demo/film.avi"_s), film);
}

void TestPostprocessing::joinsSeriesInTurn()
{
    EngineFixture t;
    Nzb *nzb = nullptr;
    const QString joins = u"Download complete, combining files"_s;
    connect(t.engine.get(), &Marlowick::notice, this, [&](int, const QString &msg) {
        // Whatever else has the decision taken again, one join is enough.
        if (msg == joins && t.notices.count(joins) < 3)
            QMetaObject::invokeMethod(t.engine.get(), "rarProcessingComplete", Q_ARG(Nzb *, nzb));
    });
    Post post;
    for (const QString &name : {u"a.avi"_s, u"b.avi"_s, u"gap.avi"_s}) {
        for (int piece = 1; piece <= 3; ++piece) {
            if (name != "gap.avi"_L1 || piece != 1)
                post.addYenc(name + u".00%1"_s.arg(piece), film.sliced(piece * 1000, 1000));
        }
    }
    nzb = t.start(post);
    QTRY_COMPARE(t.completedJobs.size(), 1);
    QCOMPARE(t.notices.count(joins), 2);
    QCOMPARE(t.saved(u"demo/a.avi"_s), film.sliced(1000, 3000));
    QCOMPARE(t.saved(u"demo/b.avi"_s), film.sliced(1000, 3000));
    QCOMPARE(nzb->extractedFiles().keys(), (QStringList{u"a.avi"_s, u"b.avi"_s}));
    QVERIFY(QFile::exists(nzb->folder() + u"/gap.avi.002"_s));
}

void TestPostprocessing::goesInTheMidst_data()
{
    const auto row = rows<QString, QString>();
    // Of the moment: a status, a notice, or a file. Repairs come last, see above.
    for (const QString &sign :
         {u"x.part1.rar"_s, u"password"_s, u"Download complete, starting unrar"_s,
          u"Download complete, combining files"_s, u"Repairing"_s}) {
        for (const QString &end : {u"job"_s, u"job and files"_s, u"engine"_s})
            row(qPrintable(end + " goes: "_L1 + sign), {sign, end});
    }
}

void TestPostprocessing::goesInTheMidst()
{
    const auto [sign, end] = thisRow<QString, QString>();
    for (int round = 0; round < 50; ++round) {
        EngineFixture t;
        connect(t.engine.get(), &Marlowick::passwordNeeded, this,
                [&] { t.notices << u"password"_s; });
        Post post;
        addJobFor(sign, t, post);
        Nzb *nzb = t.start(post);
        const QString folder = nzb->folder();
        const QDeadlineTimer limit(20'000);
        while (nzb->status() != sign && !(t.completedFiles + t.notices).contains(sign)) {
            QVERIFY(!limit.hasExpired()); // the moment is short: no wait between two looks
            QCoreApplication::processEvents();
        }
        if (end == "job and files"_L1)
            t.engine->deleteFiles(nzb);
        if (end == "engine"_L1)
            t.engine.reset();
        else
            t.engine->deleteItem(nzb);
        if (end == "job and files"_L1)
            QVERIFY2(!QFile::exists(folder), qPrintable(QDir(folder).entryList().join(u' ')));
        t.server->releaseAll();
        QTRY_COMPARE(t.server->openConnections(), 0);
        QVERIFY(t.completedJobs.isEmpty());
    }
}

QTEST_GUILESS_MAIN(TestPostprocessing)
#include "test_postprocessing.moc"
