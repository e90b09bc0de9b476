// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <quazip/quagzipfile.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <algorithm>
#include <csignal>
#include <sys/inotify.h>
#include <unistd.h>

#include "support/files.h"
#include "support/newsserver.h"
#include "support/posts.h"
#include "support/seededrandom.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int killCount = 32;

using Articles = QSet<QByteArray>;
/// The articles still to be fetched, by file name.
using Job = QMap<QString, Articles>;
using Queue = QMap<QString, Job>;

/// Nothing if the program could not load it either.
std::optional<Queue> readQueue(const QString &path)
{
    QuaGzipFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    Queue queue;
    Job *job = nullptr;
    Articles *articles = nullptr;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = xml.attributes();
        const QString name = attributes.value("name"_L1).toString();
        if (xml.name() == "nzb"_L1)
            job = &queue[queue.contains(name) ? name + " again"_L1 : name];
        else if (xml.name() == "file"_L1)
            articles = &(*job)[attributes.value("subject"_L1).toString().section(u'"', 1, 1)];
        else if (xml.name() == "segment"_L1)
            articles->insert(xml.readElementText().toUtf8());
    }
    return xml.hasError() ? std::nullopt : std::optional(queue);
}

/// PAR2 files stay as they are for as long as their job is in the queue.
bool isHeldBack(const QString &file) { return file.endsWith(".par2"_L1); }

Articles wantedOf(const Queue &queue)
{
    Articles wanted;
    for (const Job &job : queue) {
        for (auto file = job.cbegin(); file != job.cend(); ++file) {
            if (!isHeldBack(file.key()))
                wanted += *file;
        }
    }
    return wanted;
}

} // namespace

/// The program itself, with a user at work in it, is killed again and again while it downloads,
/// saves and deletes. What it leaves on disk is held against what the user and the server know.
class TestKill final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QFile::copy(QStringLiteral(MARLOWICK_PROGRAM), path(u"marlowick"_s)));
        QVERIFY(QDir(dir.path()).mkdir(u"run"_s));
        QVERIFY(QDir(dir.path()).mkdir(u"downloads"_s));
        QFile::setPermissions(path(u"run"_s),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY(inotify_add_watch(creations, QFile::encodeName(dir.path()).constData(), IN_CREATE)
                > 0);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_RUNTIME_DIR"_s, path(u"run"_s));
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        environment.insert(u"QT_PLUGIN_PATH"_s, QStringLiteral(SIMULATED_USER_FOLDER));
        environment.insert(u"QT_QPA_GENERIC_PLUGINS"_s, u"simulateduser"_s);
        program.setProcessEnvironment(environment);
        program.setStandardErrorFile(path(u"errors"_s));
    }
    void losesNothing();
    void cleanup()
    {
        if (QTest::currentTestFailed())
            qInfo().noquote() << words << contentsOf(path(u"errors"_s));
    }

private:
    [[nodiscard]] QString path(const QString &name) const { return dir.filePath(name); }
    void start(quint32 userSeed, int newJobs);
    [[nodiscard]] QString giveJob();
    /// Some time after the start, the first request or a delete.
    void waitForMoment()
    {
        enum { Started, Deleting, Fetching };
        const int moment = random.bounded(6);
        const auto hasCome = [&] {
            words += program.readAllStandardOutput();
            return moment == Started || (moment == Deleting && words.contains("delete\t"))
                   || (moment >= Fetching && server.log().size() > firstRequest);
        };
        static_cast<void>(QTest::qWaitFor(hasCome, 2000)); // it may never come
        QTest::qWait(random.bounded(moment == Deleting ? 20 : 300));
    }
    /// Kills the program and judges its life.
    void end()
    {
        QCOMPARE(program.state(), QProcess::Running);
        program.kill();
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), SIGKILL);
        QTRY_COMPARE(server.openConnections(), 0); // its last requests have been read, too
        hearUser();
        const QList<NewsServer::Command> requests = server.log().sliced(firstRequest);
        for (const NewsServer::Command &request : requests) {
            if (request.text.startsWith("BODY "))
                QVERIFY2(wanted.remove(request.text.sliced(6).chopped(1)),
                         request.text.constData());
        }
        judgeQueue();
        count.fetching += !requests.isEmpty() && !wantedOf(loaded).isEmpty();
    }
    void hearUser();
    void judgeQueue();
    void judgeJob(const QString &name, const Job &job)
    {
        standing.insert(name);
        QCOMPARE(job.size(), posted[name].size() + 1);
        for (auto file = job.cbegin(); file != job.cend(); ++file) {
            const QString title = name + u'/' + file.key();
            if (loaded.contains(name))
                QVERIFY2(loaded[name][file.key()].contains(*file),
                         qPrintable(title + " fell back"_L1));
            if (file->isEmpty() && !deleted.contains(name))
                QVERIFY2(isAsPosted(name, file.key()), qPrintable(title + " differs"_L1));
        }
    }
    /// How often since the last call.
    [[nodiscard]] qsizetype queueCreations() const
    {
        QByteArray events(65'536, '\0'); // each with the name of a file, ended by a null
        events.resize(std::max<qsizetype>(read(creations, events.data(), events.size()), 0));
        return events.count(QByteArrayView("queue.qzb\0", 10));
    }
    [[nodiscard]] bool isAsPosted(const QString &job, const QString &file) const
    {
        return contentsOf(path(u"downloads/"_s + job + u'/' + file)) == posted[job][file];
    }
    [[nodiscard]] bool isAsPosted(const QString &job) const
    {
        const QStringList files = posted[job].keys();
        return std::all_of(files.cbegin(), files.cend(),
                           [&](const QString &file) { return isAsPosted(job, file); });
    }
    /// Left alone at last, the program fetches what is left.
    void finish()
    {
        server.clearScript();
        clearing = false;
        start(0, 0);
        const auto isDone = [this] {
            const std::optional<Queue> queue = readQueue(path(u"queue.qzb"_s));
            return queue && wantedOf(*queue).isEmpty();
        };
        QTRY_VERIFY_WITH_TIMEOUT(isDone(), 60'000);
        end();
        const QSet<QString> kept = standing - deleted;
        for (const QString &job : kept)
            QVERIFY2(isAsPosted(job), qPrintable(job));
    }

    QTemporaryDir dir;
    const int creations = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    NewsServer server;
    QRandomGenerator random{seededRandom()};
    QMap<QString, QMap<QString, QByteArray>> posted; ///< by job and file name
    Queue loaded; ///< what the next start finds
    bool everCreated = false; ///< the queue file
    bool everSaved = false;
    QSet<QString> standing; ///< jobs ever found in the queue
    QSet<QString> deleted; ///< jobs that the user ever deleted, with or without their files

    // Of one life:
    QProcess program;
    bool clearing = false;
    Articles wanted;
    qsizetype firstRequest = 0;
    QByteArray words; ///< of the user
    QSet<QString> seenSaved;
    QSet<QString> deletedNow;

    struct {
        int damaged, fetching, backups, saves, deletes, cleared;
    } count{};
};

void TestKill::losesNothing()
{
    server.script(When::body(), Reply::ordinary().delayed(2));
    for (int kill = 1; kill <= killCount; ++kill) {
        clearing = random.bounded(2) == 0;
        start(random.bounded(1u, 1'000'000u), random.bounded(1, 4));
        waitForMoment();
        end();
        if (QTest::currentTestFailed())
            return qInfo("in life %d", kill);
    }
    finish();
    qInfo("%d kills: %d in a save, %d while fetching; %d backups loaded; %d saves by the user, "
          "%d jobs deleted, %d cleared, %d of %d never saved; %d articles asked for",
          killCount, count.damaged, count.fetching, count.backups, count.saves, count.deletes,
          count.cleared, int(posted.size()) - int(standing.size()), int(posted.size()),
          int(server.log().size()));
    QVERIFY(count.damaged > 0 && count.fetching > 0 && count.saves > 0 && count.deletes > 0);
}

/// @param userSeed  0 for a user who only answers
void TestKill::start(quint32 userSeed, int newJobs)
{
    writeFile(path(u"Marlowick.ini"_s),
              "hostname=127.0.0.1\nthreads=4\nnetworkTimeout=30\npausePAR2=true\n"
              "downloadFolder=%APPDIR/downloads\nport="
                  + QByteArray::number(server.serverPort())
                  + "\nclearOnCompletion=" + (clearing ? "true\n" : "false\n"));
    firstRequest = server.log().size();
    words.clear();
    wanted = wantedOf(loaded);
    // A delete that was cut short leaves its job in the queue without its folder, and then the
    // first article of it pauses all downloads until the user acts.
    for (auto job = loaded.keyBegin(); job != loaded.keyEnd(); ++job)
        QVERIFY(QDir(dir.path()).mkpath(u"downloads/"_s + *job));
    QStringList nzbs;
    for (int i = 0; i < newJobs; ++i)
        nzbs << giveJob();
    program.start(path(u"marlowick"_s), nzbs);
    QVERIFY(program.waitForStarted());
    if (userSeed > 0)
        program.write("hurry\t" + QByteArray::number(userSeed) + '\n');
}

/// Returns the path of a new NZB. Its PAR2 file makes the queue long, and hard to compress, so that
/// saving takes time.
QString TestKill::giveJob()
{
    const QString name = u"job%1"_s.arg(posted.size() + 1);
    Post post(name);
    const PostedFile *files[] = {
        &post.addYenc(u"film.bin"_s, randomBytes(random.generate(), 10'000), 500),
        // In one article: what a join has taken over is lost when it is cut short.
        &post.addUuencoded(u"film.nfo"_s, randomBytes(random.generate(), 45 * 20)),
        &post.addYenc(u"sample.bin"_s, randomBytes(random.generate(), 3'000), 500),
    };
    for (const PostedFile *file : files) {
        posted[name][file->name] = file->data;
        for (const PostedSegment &segment : file->segments)
            wanted.insert(segment.id);
    }
    for (PostedSegment &segment : post.addYenc(u"film.par2"_s, randomBytes(1, 250), 1).segments)
        segment.id = randomBytes(random.generate(), 16).toHex();
    post.upload(server);
    return post.writeNzb(dir.path());
}

void TestKill::hearUser()
{
    seenSaved.clear();
    deletedNow.clear();
    words += program.readAllStandardOutput();
    const QStringList lines = QString::fromUtf8(words).split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        const QStringList said = line.split(u'\t');
        if (said.first() == "delete"_L1) {
            deletedNow.insert(said.at(1));
            ++count.deletes;
        } else if (said.first() == "saved"_L1) {
            seenSaved += QSet<QString>(said.cbegin() + 1, said.cend());
            everSaved = true;
            ++count.saves;
        } else if (!QStringList{u"ready"_s, u"kept"_s, u"gone"_s}.contains(said.first())) {
            QVERIFY2(line.startsWith("box\tLoading queue failed\t"_L1), qPrintable(line));
            ++count.backups;
        }
    }
    deleted += deletedNow;
}

void TestKill::judgeQueue()
{
    const QString file = path(u"queue.qzb"_s);
    // A missing file counts as an empty queue, and only what is missing can be created.
    QVERIFY(QFile::exists(file) || !everSaved);
    QVERIFY2(queueCreations() <= (everCreated ? 0 : 1), "the queue file was missing");
    everCreated = QFile::exists(file);
    std::optional<Queue> found = readQueue(file);
    if (!found) {
        found = readQueue(file + ".old"_L1);
        ++count.damaged;
    }
    QVERIFY2(found || !everSaved, "neither the queue nor its backup can be loaded");
    everSaved = everSaved || found;
    const Queue queue = found.value_or(Queue());
    const QSet<QString> expected = seenSaved + QSet<QString>(loaded.keyBegin(), loaded.keyEnd());
    for (const QString &job : expected) {
        if (queue.contains(job) || deletedNow.contains(job))
            continue;
        // A job whose delete was cut short may have been completed without the deleted files.
        QVERIFY2(clearing && (deleted.contains(job) || isAsPosted(job)),
                 qPrintable(job + " has vanished"_L1));
        ++count.cleared;
    }
    for (auto job = queue.cbegin(); job != queue.cend() && !QTest::currentTestFailed(); ++job)
        judgeJob(job.key(), *job);
    loaded = queue;
}

QTEST_GUILESS_MAIN(TestKill)
#include "test_kill.moc"
