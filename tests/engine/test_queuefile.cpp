// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QTest>

#include <csignal>
#include <quazip/quagzipfile.h>
#include <stdexcept>
#include <sys/resource.h>

#include "enginefixture.h"
#include "support/files.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

namespace {

/// All file handles of the process in use, as long as it lives.
class NoFreeHandles final {
public:
    NoFreeHandles()
    {
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoFreeHandles() { setrlimit(RLIMIT_NOFILE, &before); }
    Q_DISABLE_COPY_MOVE(NoFreeHandles)

private:
    rlimit before{};
};

QByteArray segment(int number, const QByteArray &id)
{
    return "<segment number='" + QByteArray::number(number) + "' bytes='100'>" + id + "</segment>";
}

} // namespace

/// The queue across runs, each of which is an engine without connections.
class TestQueueFile final : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        t = std::make_unique<EngineFixture>();
        t->set("threads", 0);
    }
    void cleanup() { t.reset(); }

    void writesDocument();
    void comesBack();
    void hostileTexts();
    void readsWhatIsThere_data();
    void readsWhatIsThere();
    void backupIsOneSaveOld();
    void failedSaveRestoresBackup();
    void fullDiskLeavesBackup();

private:
    Nzb *add(const QString &name, const QByteArray &elements)
    {
        return t->engine->addNZB(
            writeFile(t->dir.filePath(name + ".nzb"_L1), "<nzb>" + elements + "</nzb>"));
    }
    /// Another engine on the same files.
    void restart() { t->engine = std::make_unique<Marlowick>(nullptr); }
    [[nodiscard]] QString path() const { return t->dir.filePath(u"Marlowick/queue.qzb"_s); }
    [[nodiscard]] QByteArray document(const QString &suffix = {}) const;
    [[nodiscard]] QStringList jobs() const
    {
        QStringList names;
        for (const Nzb *nzb : *t->engine->queue())
            names << nzb->name();
        return names;
    }
    [[nodiscard]] Nzb *job(int index) const { return t->engine->queue()->at(index); }

    std::unique_ptr<EngineFixture> t;
};

QByteArray TestQueueFile::document(const QString &suffix) const
{
    QuaGzipFile file(path() + suffix);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void TestQueueFile::writesDocument()
{
    Nzb *nzb = add(u"abc"_s, "<file subject='\"abc.rar\" (1/3)'>" + segment(1, "a@b")
                                 + segment(2, "c&amp;d@b") + segment(3, "e@b") + "</file>"
                                 + "<file subject='.plain'/>");
    NzbFile *file = EngineFixture::fileOf(nzb, u"abc.rar"_s);
    int number = 0;
    file->nextSegment(&number);
    file->segmentDecoded(number, {}, 90, true, true);
    file->nextSegment(&number); // stays under way
    file->setPaused(true);
    nzb->addExtractedFile(u"abc.iso"_s, 1000);
    add(u"none"_s, {});
    t->engine->saveQueue();
    QVERIFY(contentsOf(path()).startsWith("\x1f\x8b"));
    QCOMPARE(document(), R"xml(<?xml version="1.0" encoding="UTF-8"?>
<!--Marlowick queue file - looks a bit like a NZB but is not-->
<qzb>
    <nzb name="abc">
        <file size="0" completed="0" subject=".plain">
            <segments/>
        </file>
        <file size="300" completed="90" paused="1" completedparts="1" yenc="1" subject="&quot;abc.rar&quot; (1/3)">
            <segments>
                <segment number="2">c&amp;d@b</segment>
                <segment number="3">e@b</segment>
            </segments>
        </file>
        <relatedfiles>
            <extractedfile name="abc.iso" size="1000"/>
        </relatedfiles>
    </nzb>
    <nzb name="none"/>
</qzb>
)xml");
    QVERIFY(!QFile::exists(path() + ".old"_L1)); // there was nothing to back up
}

void TestQueueFile::comesBack()
{
    const QByteArray two = segment(1, "a@b") + segment(2, "c@d");
    Nzb *nzb = add(u"abc"_s, "<file subject='\"b.half\" (1/2)'>" + two
                                 + "</file><file subject='\"a.LOST\" (1/2)'>" + two
                                 + "</file><file subject='\"c.mended\" (1/3)'>" + two + "</file>");
    int number = 0;
    nzb->fileAt(0)->nextSegment(&number);
    nzb->fileAt(0)->segmentNotFound(number);
    nzb->fileAt(1)->nextSegment(&number);
    nzb->fileAt(1)->segmentDecoded(number, u"B.Half"_s, 90, true, false);
    nzb->fileAt(2)->markRepaired();
    nzb->moveFile(0, 1);
    nzb->addExtractedFile(u".nfo"_s, 1);
    nzb->setStatus(u"Damaged"_s);
    t->engine->saveQueue();
    restart();
    t->set("pausePAR2", true);
    t->set("downloadFolder", u"/elsewhere"_s);
    const QSignalSpy before(t->engine.get(), &Marlowick::beforeAddNZB);
    QList<Nzb *> added;
    connect(t->engine.get(), &Marlowick::NZBadded, this, [&](Nzb *loaded) { added << loaded; });
    t->engine->loadQueue(QString());

    QCOMPARE(jobs(), QStringList{u"abc"_s});
    QCOMPARE(before.value(0), QVariantList{u"abc"_s});
    QCOMPARE(added, *t->engine->queue());
    QCOMPARE(job(0)->folder(), u"/elsewhere/abc"_s);
    QCOMPARE(job(0)->status(), u"15 %"_s);
    QVERIFY(job(0)->extractedFiles().isEmpty());
    const NzbFile *half = job(0)->fileAt(0);
    QCOMPARE(half->name(), u"B.Half"_s);
    QCOMPARE(half->extension(), u"half"_s);
    QCOMPARE(half->status(), u"45 %"_s);
    QVERIFY(!half->isIncomplete() && !half->isYenc());
    QVERIFY(job(0)->fileAt(1)->isIncomplete());
    QVERIFY(!job(0)->fileAt(2)->isIncomplete());
    QCOMPARE(job(0)->fileAt(2)->partCount(), 3);
    QByteArray saved = document();
    t->engine->saveQueue();
    const qsizetype related = saved.indexOf("        <relatedfiles>");
    const QByteArray end = "</relatedfiles>\n";
    saved.remove(related, saved.indexOf(end) + end.size() - related);
    QCOMPARE(document(), saved);
}

// What an .nzb smuggles in must not make the queue file unreadable, which would lose all jobs.
void TestQueueFile::hostileTexts()
{
    const QByteArray quotes(600'000, '"');
    Nzb *nzb = add(u"abc"_s, "<file subject='&#xD800;x&#1;.bin'>"
                                 + segment(1, "half &#xDC00; &#xFFFE; pair")
                                 + segment(2, "&lt;/segment>") + "</file><file subject='" + quotes
                                 + "'/><file subject='\"a&quot;b\"'/>");
    nzb->addExtractedFile(u"film\xFFFF"_s, 1);
    t->engine->saveQueue();
    t->engine->saveQueue();
    QCOMPARE(document(u".old"_s), document()); // what is dropped counts as no failure
    restart();
    t->engine->loadQueue(QString());
    QCOMPARE(job(0)->fileCount(), 3);
}

void TestQueueFile::readsWhatIsThere_data()
{
    const auto row = rows<QByteArray, QString, QStringList>();
    row("no compression, another root",
        {"<x><nzb name='a'/><nzb name='b.nzb'/></x>", {}, {u"a"_s, u"b"_s}});
    row("no jobs", {"<qzb/>", {}, {}});
    row("files and texts outside of a job",
        {"<qzb>x<file subject='a.bin'/><segment>y</segment></qzb>", {}, {}});
    row("names that lead elsewhere",
        {"<qzb><nzb name='../../x'/><nzb name='..'/><nzb name='.'/><nzb/></qzb>",
         {},
         {u".._.._x"_s, u"_.."_s, u"_."_s, u"_"_s}});
    row("jobs in jobs", {"<qzb><nzb name='a'><nzb name='b'/></nzb></qzb>", {}, {u"a"_s, u"b"_s}});
    const QString damaged = u"Error parsing queue file"_s;
    row("empty, as a crash leaves it", {QByteArray(), damaged, {}});
    row("cut short",
        {"<qzb><nzb name='a'/><nzb name='b'><file subject='x.bin'>", damaged, {u"a"_s, u"b"_s}});
    row("bad compression", {"\x1f\x8b nonsense", damaged, {}});
}

void TestQueueFile::readsWhatIsThere()
{
    const auto [content, error, names] = thisRow<QByteArray, QString, QStringList>();
    writeFile(path(), content);
    QString thrown;
    try {
        t->engine->loadQueue(QString());
    } catch (const std::runtime_error &failure) {
        thrown = QString::fromUtf8(failure.what());
    }
    QCOMPARE(thrown, error);
    QCOMPARE(jobs(), names);
}

void TestQueueFile::backupIsOneSaveOld()
{
    t->engine->loadQueue(QString()); // a first start
    constexpr auto others = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    QVERIFY(!(QFileInfo(QFileInfo(path()).path()).permissions() & others));
    add(u"a"_s, {});
    t->engine->saveQueue();
    const QByteArray first = document();
    add(u"b"_s, {});
    t->engine->saveQueue();
    QCOMPARE(document(u".old"_s), first);
    add(u"c"_s, {});
    t->engine->saveQueue();
    writeFile(path(), "<qzb><nzb name='x'/>");
    restart();
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, t->engine->loadQueue(QString()));
    const QByteArray backup = document(u".old"_s);
    t->engine->loadBackup();
    QCOMPARE(jobs(), (QStringList{u"a"_s, u"b"_s}));
    t->engine->saveQueue();
    QCOMPARE(document(u".old"_s), backup); // the damaged file has not taken its place
}

void TestQueueFile::failedSaveRestoresBackup()
{
    // Nothing that is no backup takes the queue's place.
    QVERIFY(QDir().mkpath(path() + ".old/x"_L1));
    {
        const NoFreeHandles handles;
        t->engine->saveQueue();
    }
    QVERIFY(!QFile::exists(path()));
    QVERIFY(QDir(path() + ".old"_L1).removeRecursively());
    t->errors.clear();

    add(u"a"_s, {});
    t->engine->saveQueue();
    const QByteArray saved = document();
    add(u"b"_s, {});
    t->engine->setSaveInterval(0);
    {
        const NoFreeHandles handles;
        t->engine->saveQueue();
    }
    QCOMPARE(t->errors, QStringList{u"Error saving queue file"_s});
    QCOMPARE(document(), saved);
    for (int i = 0; i < 10; ++i)
        QCoreApplication::processEvents();
    QCOMPARE(document(), saved); // no further try until the timer is started anew
}

// A limit for the size of files acts as a full disk does.
void TestQueueFile::fullDiskLeavesBackup()
{
    add(u"a"_s, {});
    t->engine->saveQueue();
    const QByteArray saved = document();
    add(u"b"_s, {});
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit low{20, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
    t->engine->saveQueue();
    t->engine->saveQueue(); // must not put the damaged file in the place of the backup
    setrlimit(RLIMIT_FSIZE, &before);
    QVERIFY(t->errors.isEmpty()); // only the next start tells
    QCOMPARE(document(u".old"_s), saved);
    restart();
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, t->engine->loadQueue(QString()));
    t->engine->loadBackup();
    QCOMPARE(jobs(), QStringList{u"a"_s});
}

QTEST_GUILESS_MAIN(TestQueueFile)
#include "test_queuefile.moc"
