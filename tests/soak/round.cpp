// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "soak/round.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <QTextStream>

#include <csignal>

#include "soak/silence.h"
#include "support/files.h"

using namespace Qt::StringLiterals;

namespace {

#ifdef SOAK_SANITIZED
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

constexpr int lifeMsec = 7'000;
constexpr int drainMsec = sanitized ? 120'000 : 45'000;
constexpr int idleMsec = sanitized ? 40'000 : 20'000; // above time-out, its check and the retry
constexpr int calmMsec = 3'000; // nothing is on its way by itself any more
constexpr int warmUpRounds = 2;
constexpr qint64 heapMargin = 600'000; // what is cached, up to 301 KiB, comes in some rounds
constexpr int objectMargin = 5;
constexpr int descriptorMargin = 2;

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QString counted(const QMap<QString, int> &counts)
{
    QStringList texts;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        texts << count.key() + u' ' + QString::number(*count);
    return texts.isEmpty() ? u"none"_s : texts.join(", "_L1);
}

bool isOpen(const QString &status)
{
    return !status.startsWith("Finished"_L1) && !status.startsWith(u'-');
}

} // namespace

Round::Round(World &world, quint32 seed)
    : world(world)
    , seed(seed)
    , random(seed)
    , server(random.bounded(4) ? &world.plain : &world.secure)
    , faults(seed, random.bounded(2, 10))
    , firstRequest(server->log().size())
{
    const int dice = random.bounded(10);
    ending = dice == 0 ? Ending::Kill : dice == 1 ? Ending::Close : Ending::None;
    now.downloads = world.folder.filePath(u"downloads"_s);
    world.program.listener = [this](const QStringList &words) { hear(words); };
    server->chooseReplies([this](const QByteArray &event) { return faults.choose(event); });
}

Round::~Round()
{
    world.program.listener = {};
    for (NewsServer *each : {&world.plain, &world.secure}) {
        each->chooseReplies({});
        each->removeAllArticles();
    }
}

bool Round::run()
{
    prepare();
    if (findings.isEmpty())
        live();
    if (findings.isEmpty())
        drain();
    if (findings.isEmpty())
        checkStreams();
    if (findings.isEmpty())
        clear();
    if (findings.isEmpty())
        measure();
    printLine();
    return findings.isEmpty();
}

void Round::prepare()
{
    for (int i = random.bounded(3, 6); i > 0; --i) {
        jobs.push_back(makeJob(++world.jobCount, random));
        jobs.back()->post->upload(*server);
    }
    jobs.push_back(makeJobWithGaps(++world.jobCount, random));
    jobs.back()->post->upload(*server);
    if (!world.program.isRunning()) {
        world.heapAtStart.reset();
        world.roundsOfProgram = 0;
        if (!world.program.start())
            return find(u"the program does not start"_s);
    }
    setUp();
}

/// Also while the program runs: each setting is read when it is needed.
void Round::setUp()
{
    const int dice = random.bounded(10);
    now.rarHandling = dice == 0 ? u"disabled"_s : dice < 6 ? u"during"_s : u"after"_s;
    now.autoPar2 = random.bounded(5) > 0;
    now.cleared = random.bounded(4) == 0;
    const auto text = [](bool value) { return value ? u"true"_s : u"false"_s; };
    const std::pair<QString, QString> settings[] = {
        {u"port"_s, QString::number(server->serverPort())},
        {u"ssl"_s, text(server == &world.secure)},
        {u"threads"_s, QString::number(random.bounded(1, 9))},
        {u"networkTimeout"_s, u"2"_s},
        {u"networkRetry"_s, u"1"_s},
        {u"rarHandling"_s, now.rarHandling},
        {u"autoPAR2"_s, text(now.autoPar2)},
        {u"pausePAR2"_s, text(random.bounded(4) > 0)},
        {u"clearOnCompletion"_s, text(now.cleared)},
    };
    // All at once, before the first job: a second start may overtake what the user is told, and a
    // connection of half the new settings would try for ever.
    QStringList command{u"set"_s};
    for (const auto &[key, value] : settings)
        command << key << value;
    if (world.program.ask(command, u"set"_s).isNull())
        find(u"the window does not answer"_s);
}

void Round::give(const Job &job)
{
    const QString name = job.name + ".nzb"_L1;
    const QString path = random.bounded(2) ? job.post->writeNzb(world.folder.path(), name)
                                           : job.post->writeGzipNzb(world.folder.path(), name);
    const int way = random.bounded(3);
    static const QString ways[] = {u"add"_s, u"drop"_s, u"second start"_s};
    ++actions[ways[way]];
    if (way < 2)
        world.program.say({ways[way], path});
    else if (!world.program.startAgain(path))
        find(u"a second start has failed"_s);
}

/// Jobs come in the course of the first seconds, but for the last.
void Round::live()
{
    world.program.say({u"work"_s, QString::number(seed)});
    QElapsedTimer clock;
    clock.start();
    const int end = random.bounded(1'000, lifeMsec);
    size_t given = 0;
    bool ended = false;
    while (findings.isEmpty() && !clock.hasExpired(lifeMsec)) {
        if (given + 1 < jobs.size())
            give(*jobs[given++]);
        else if (random.bounded(8) == 0)
            disturbServer();
        QTest::qWait(random.bounded(300));
        if (ending != Ending::None && !ended && clock.hasExpired(end)) {
            ended = true;
            endProgram();
        }
        if (!world.program.isRunning())
            find(u"the program has crashed"_s);
    }
    faults.end();
    world.secure.setCertificate(world.certificates[0].serverConfiguration());
    if (findings.isEmpty() && world.program.ask({u"rest"_s}, u"resting"_s).isNull())
        find(u"the window does not answer"_s);
}

void Round::disturbServer()
{
    const int dice = random.bounded(6);
    if (dice == 0) {
        ++faults.dealt[u"outage"_s];
        const quint16 port = server->serverPort();
        server->takeOffline();
        QTest::qWait(random.bounded(1'000));
        world.listen(*server, port);
    } else if (dice == 1) {
        ++faults.dealt[u"drop"_s];
        server->dropConnections();
    } else if (server == &world.secure) {
        ++faults.dealt[u"certificate"_s];
        const auto which = static_cast<size_t>(random.bounded(3));
        world.secure.setCertificate(world.certificates[which].serverConfiguration());
        server->dropConnections();
    }
}

/// What was being unpacked then is not taken up again by itself, and a kill may have cut a join, or
/// have come between it and the save of the queue.
void Round::endProgram()
{
    const bool killed = ending == Ending::Kill;
    now.killed = killed;
    if (killed)
        world.program.kill();
    else if (!world.program.close())
        return find(u"the program does not end well"_s);
    for (const auto &job : jobs) {
        job->disturbed = true;
        if (wasAllAskedFor(*job) || (killed && (job->kind == "uu"_L1 || !job->unpacked.isEmpty())))
            job->demand = killed ? Job::Demand::Nothing : Job::Demand::Whole;
        if (job->deleted) // its folder may be gone, and the job be back
            QDir(now.downloads).mkpath(job->name);
        if (killed) {
            job->kept.clear();
            job->gone.clear();
        }
    }
    poolMayBeEmpty = true;
    world.heapAtStart.reset();
    world.roundsOfProgram = 0;
    if (!world.program.start())
        return find(u"the program does not start again"_s);
    world.program.say({u"work"_s, QString::number(seed + 1)});
}

Job *Round::jobNamed(const QString &name) const
{
    for (const auto &job : jobs) {
        if (job->name == name)
            return job.get();
    }
    return nullptr;
}

void Round::hear(const QStringList &words)
{
    const QString verb = words.first();
    ++actions[verb];
    Job *job = jobNamed(words.value(1));
    if (verb == "box"_L1)
        hearBox(words.value(1), words.value(2));
    if (verb == "settings"_L1) {
        poolMayBeEmpty = true;
        now.cleared = now.cleared || words.value(1) == "clears"_L1;
    }
    if (verb == "password"_L1)
        now.passwordDeclined = now.passwordDeclined || words.value(1) == "declined"_L1;
    if (verb == "saved"_L1) {
        for (const QString &name : words.sliced(1)) {
            if (Job *each = jobNamed(name))
                each->saved = true;
        }
    }
    if (!job)
        return;
    if (verb == "pause"_L1)
        job->disturbed = true;
    if (verb == "preview"_L1)
        streamsUnknown = streamsUnknown || job->film.isEmpty() || !job->damaged.isEmpty();
    if (verb == "kept"_L1 || verb == "gone"_L1)
        job->noteDeleted(words.sliced(2), verb == "gone"_L1);
    if (verb == "delete"_L1 && words.value(2).isEmpty())
        job->deleted = true;
    else if (verb == "delete"_L1)
        job->deletedFiles.insert(nameOnDisk(words.value(2)));
}

/// All other boxes tell of something that must not happen.
void Round::hearBox(const QString &title, const QString &text)
{
    const bool password = title == "Error"_L1 && text.contains("password"_L1);
    poolMayBeEmpty = poolMayBeEmpty || password;
    const bool expected = password || title == "Check server settings"_L1 || title == "Preview"_L1
                          || (title == "Loading queue failed"_L1 && now.killed);
    if (!expected)
        find("a box: "_L1 + title + ": "_L1 + text);
}

bool Round::wasAllAskedFor(const Job &job) const
{
    for (int i = 0; i < job.post->fileCount(); ++i) {
        const PostedFile &file = job.post->file(i);
        for (const PostedSegment &segment : file.segments) {
            if (!isRecovery(file.name) && server->bodyCount(segment.id) == 0)
                return false;
        }
    }
    return true;
}

/// Nobody looks at a job whose last result is that of an article that is not there, nor at one of
/// which the user has paused PAR2 files that the program had asked for.
bool Round::mayBeUnfinished(const Job &job) const
{
    constexpr int window = 16; // two articles for each connection
    if (job.disturbed)
        return true;
    QSet<QByteArray> missing;
    QSet<QByteArray> all;
    for (int i = 0; i < job.post->fileCount(); ++i) {
        for (const PostedSegment &segment : job.post->file(i).segments) {
            const QByteArray request = "BODY <" + segment.id + '>';
            all.insert(request);
            if (!segment.onServer)
                missing.insert(request);
        }
    }
    const QList<NewsServer::Command> &log = server->log();
    int seen = 0;
    for (qsizetype i = log.size() - 1; i >= firstRequest && seen < window; --i) {
        seen += all.contains(log.at(i).text);
        if (missing.contains(log.at(i).text))
            return true;
    }
    return false;
}

QStringList Round::complaints(const QJsonObject &state) const
{
    const QJsonArray rows = state["jobs"_L1].toArray();
    QStringList all;
    for (const auto &job : jobs) {
        QJsonObject row;
        for (const QJsonValue &each : rows) {
            if (each["name"_L1].toString() == job->name)
                row = each.toObject();
        }
        all += judge(*job, row, now, mayBeUnfinished(*job));
    }
    return all;
}

/// Gives the last job, and waits until everything is as it must be, with a user who helps where the
/// program wants one.
void Round::drain()
{
    give(*jobs.back());
    quiet.start();
    QElapsedTimer clock;
    clock.start();
    QStringList wrong;
    QJsonObject state;
    while (findings.isEmpty() && !clock.hasExpired(drainMsec)) {
        state = world.program.state();
        if (state.isEmpty())
            return find(u"the program has crashed, or hangs"_s);
        helpOn(state);
        if (isLeftSilent(*server))
            find(u"a connection is left without a command"_s);
        wrong = complaints(state);
        if (wrong.isEmpty() && wasAllAskedFor(*jobs.back()) && state["connections"_L1].toInt() == 0
            && !abandoned.isValid())
            return;
        QTest::qWait(200);
    }
    if (findings.isEmpty())
        find(wrong.isEmpty() ? u"it does not come to rest"_s : wrong.join(u'\n'));
    findings << QString::fromUtf8(QJsonDocument(state).toJson(QJsonDocument::Compact));
}

void Round::helpOn(const QJsonObject &state)
{
    if (server->bytesSent() != sentBefore)
        quiet.start();
    sentBefore = server->bytesSent();
    bool pending = false;
    bool paused = false;
    const QJsonArray rows = state["jobs"_L1].toArray();
    for (const QJsonValue &row : rows) {
        const QJsonObject files = row["files"_L1].toObject();
        for (auto file = files.begin(); file != files.end(); ++file) {
            const QString of = file.value().toString();
            pending = pending || (of != "Paused"_L1 && isOpen(of));
        }
        const QString status = row["status"_L1].toString();
        paused = paused || status.isEmpty() || status == "Paused"_L1 || status.endsWith(u'%');
    }
    watchIdleness(pending, state["connections"_L1].toInt());
    if ((paused && quiet.hasExpired(calmMsec / 3)) || (abandoned.isValid() && poolMayBeEmpty))
        world.program.say({u"resume"_s});
}

void Round::watchIdleness(bool pending, int connections)
{
    if (!pending || connections > 0)
        abandoned.invalidate();
    else if (!abandoned.isValid())
        abandoned.start();
    if (!pending)
        return;
    if (abandoned.isValid() && !poolMayBeEmpty && !faults.loginRefused
        && abandoned.hasExpired(calmMsec))
        find(u"articles are pending, and nothing has closed the connections for good"_s);
    if (quiet.hasExpired(idleMsec))
        find(u"connections are idle with articles pending"_s);
}

/// The user closes the players: a preview may rest for as long as there is one.
void Round::checkStreams()
{
    const QList<pid_t> players = world.program.children();
    for (const pid_t player : players)
        ::kill(player, SIGTERM);
    if (!QTest::qWaitFor([this] { return world.program.children().isEmpty(); }, drainMsec))
        return find(u"a player's end is not noticed"_s);
    const QDir place(world.folder.path());
    const QStringList streams = place.entryList({u"player.stream.*"_s}, QDir::Files);
    for (const QString &name : streams) {
        const QByteArray stream = contentsOf(place.filePath(name));
        QFile::remove(place.filePath(name));
        const bool known = std::any_of(jobs.cbegin(), jobs.cend(),
                                       [&](const auto &job) { return shows(stream, job->film); });
        ++actions[known ? u"watched"_s : u"watched something"_s];
        if (!known && !streamsUnknown)
            find(u"a preview of %1 bytes shows none of the films"_s.arg(stream.size()));
    }
}

void Round::clear()
{
    if (world.program.ask({u"clear"_s}, u"cleared"_s).isNull())
        return find(u"the jobs cannot be deleted"_s);
    const auto isAtRest = [this] {
        const QJsonObject state = world.program.state();
        return state["connections"_L1].toInt() == 0 && state["jobs"_L1].toArray().isEmpty()
               && world.program.children().isEmpty();
    };
    if (!QTest::qWaitFor(isAtRest, drainMsec))
        find(u"the deleted jobs leave something running"_s);
    for (const auto &job : jobs) {
        for (const QString &wrong : judgeDeleted(*job, now))
            find(wrong);
    }
}

void Round::measure()
{
    const QStringList told = world.program.ask({u"heap"_s}, u"heap"_s).split(u' ');
    heap = told.value(0).toLongLong();
    objects = told.value(1).toInt();
    const int descriptors = world.program.descriptors();
    if (!world.descriptorsAtStart)
        world.descriptorsAtStart = descriptors;
    if (descriptors > *world.descriptorsAtStart + descriptorMargin)
        find(u"%1 descriptors are open, %2 more than at first"_s.arg(descriptors)
                 .arg(descriptors - *world.descriptorsAtStart));
    ++world.roundsOfProgram;
    if (world.roundsOfProgram < warmUpRounds)
        return;
    if (!world.heapAtStart) {
        world.heapAtStart = heap;
        world.objectsAtStart = objects;
    }
    if (!sanitized && heap > *world.heapAtStart + heapMargin)
        find(u"the heap has grown from %1 to %2 bytes in %3 rounds"_s.arg(*world.heapAtStart)
                 .arg(heap)
                 .arg(world.roundsOfProgram));
    if (objects > world.objectsAtStart + objectMargin)
        find(u"there are %1 objects, %2 more than at first"_s.arg(objects).arg(
            objects - world.objectsAtStart));
}

void Round::find(const QString &what)
{
    findings << what;
    world.folder.setAutoRemove(false);
}

void Round::printLine() const
{
    QMap<QString, int> kinds;
    for (const auto &job : jobs)
        ++kinds[job->kind + (job->damaged.isEmpty() ? QString() : u" damaged"_s)];
    static const QString endings[] = {QString(), u", closed and opened"_s, u", killed"_s};
    out() << "seed " << seed << (server == &world.secure ? ", TLS" : "")
          << endings[static_cast<int>(ending)] << " | jobs: " << counted(kinds)
          << " | faults: " << counted(faults.dealt) << " | user: " << counted(actions) << " | rss "
          << world.program.residentBytes() / 1024 << " KiB, heap " << heap / 1024
          << " KiB, objects " << objects << ", fds " << world.program.descriptors() << Qt::endl;
    if (findings.isEmpty())
        return;
    out() << "FOUND: " << findings.join(u'\n')
          << "\nThe program's log, settings and downloads are in " << world.folder.path()
          << "\nRepeat this round: scripts/soak " << (sanitized ? "--asan " : "") << "--round "
          << seed << Qt::endl;
}
