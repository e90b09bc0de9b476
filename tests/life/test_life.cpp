// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The real program with a user in it, under random faults of its server and kills: it keeps its
// files whole and its queue loadable, and it does not crash, hang or grow. SOAK_MINUTES in the
// environment makes it last, SOAK_SEED chooses what happens.
#include <QProcess>
#include <QRandomGenerator>

#include <csignal>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/case.h"
#include "support/newsserver.h"
#include "support/posts.h"
#include "support/programs.h"
#include "support/testcertificate.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int patienceMsec = 60'000;

struct Job {
    QString name;
    std::shared_ptr<Post> post;
    RarVolumes wanted; ///< what must be on disk in the end
    bool saved = false; ///< the queue file has it
    bool judged = true;
};

/// All but "plain" ones are in a state that cannot be foretold after the end of the program. A user
/// deletes "victims" and files of them. Of a "par2" job an article is missing.
Job makeJob(int number, QRandomGenerator &random)
{
    static const QString kinds[] = {u"plain"_s, u"uu"_s,   u"split"_s,  u"rar"_s,
                                    u"plain"_s, u"par2"_s, u"victim"_s, u"par2"_s};
    const QString kind = kinds[number % std::size(kinds)];
    const QByteArray film = randomBytes(random.generate(), random.bounded(1'000, 4'000) * 45);
    const QString name = u"film.avi"_s;
    RarVolumes posted{{name + u".001"_s, film.first(20'000)},
                      {name + u".002"_s, film.sliced(20'000)}};
    Job job{kind + u" é中 %1"_s.arg(number),
            std::make_shared<Post>(kind + QString::number(number)),
            {{name, film}}};
    if (kind == "plain"_L1)
        posted = job.wanted = {{name, film}, {u"one.dat"_s, film.first(5'000)}};
    if (kind == "rar"_L1)
        posted = packWithRar({{name, film}}, {u"-m0"_s, u"-v50k"_s, u"-hpsecret"_s});
    if (kind == "par2"_L1)
        posted += recoveryOf(posted, {u"-s4000"_s, u"-c6"_s});
    for (const auto &[each, data] : std::as_const(posted))
        job.post->addYenc(each, data, 4'000);
    if (kind == "uu"_L1) {
        job.post = std::make_shared<Post>(kind + QString::number(number));
        job.post->addUuencoded(name, film, 60);
    }
    job.post->file(0).segment(1).onServer = kind != "par2"_L1;
    job.judged = kind != "victim"_L1;
    return job;
}

Reply misfortune(QRandomGenerator &random)
{
    const qsizetype place = random.bounded(2) ? random.bounded(4'500) : -random.bounded(8);
    const Reply ordinary;
    const Reply replies[] = {
        ordinary.cutAfter(place),
        ordinary.resetAfter(place),
        ordinary.closeAfter(place),
        ordinary.stallAfter(place),
        ordinary.splitAt({place / 2, place, -5, -3}).delayed(random.bounded(200)),
        ordinary.delayed(random.bounded(500)),
        Reply::code("400 going down"),
        Reply::code("423 what"),
        Reply::code("480 who"),
        Reply::code("502 no"),
        Reply::code("gar\xff\x00bage"),
        Reply::code("281 fine"),
    };
    return replies[random.bounded(int(std::size(replies)))];
}

/// The program, its server and its user, and what is known about them. A finding ends the test at
/// once and leaves the folder.
struct Life {
    Life()
    {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
        demand(certificate && QDir().mkpath(path("Marlowick")) && QDir().mkpath(path("downloads")),
               u"no start"_s);
        writeFile(path("authorities"), certificate->authority.toPem());
        inotify_add_watch(creations, qPrintable(path("Marlowick")), IN_CREATE);
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.path()));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(dir.path()));
        qputenv("QT_PLUGIN_PATH", USER_FOLDER);
        qputenv("QT_QPA_GENERIC_PLUGINS", "user:" + QFile::encodeName(path("authorities")));
    }
    ~Life()
    {
        program.kill();
        program.waitForFinished();
        close(creations);
    }
    Q_DISABLE_COPY_MOVE(Life)

    [[nodiscard]] QString path(const char *name) const
    {
        return dir.filePath(QString::fromUtf8(name));
    }
    void demand(bool met, const QString &what)
    {
        dir.setAutoRemove(met);
        if (!met)
            qFatal("%s%s: see %s", program.readAllStandardError().right(10'000).constData(),
                   qPrintable(what), qPrintable(dir.path()));
    }
    /// @param code  the signal that ends it, or 0
    void demandEnd(QProcess &process, int code)
    {
        const auto hasEnded = [&] { return process.state() == QProcess::NotRunning; };
        demand(QTest::qWaitFor(hasEnded, patienceMsec) && process.exitCode() == code,
               u"it has not ended well"_s);
    }
    [[nodiscard]] bool isWhole(const Job &job, const QString &file = {}) const
    {
        return std::all_of(job.wanted.begin(), job.wanted.end(), [&](const auto &each) {
            const QString place = path("downloads") + u'/' + job.name + u'/' + each.first;
            return (!file.isNull() && each.first != file) || contentsOf(place) == each.second;
        });
    }
    void start(int threads)
    {
        const bool ssl = random.bounded(3) == 0;
        server = ssl ? std::make_unique<NewsServer>(certificate->serverConfiguration())
                     : std::make_unique<NewsServer>();
        server->chooseReplies([this](const QByteArray &event) {
            const bool fails = random.bounded(100) < faultPercent && event != "QUIT";
            ++requests;
            return fails ? misfortune(random) : Reply::ordinary();
        });
        const QString settings =
            u"hostname=127.0.0.1\nport=%1\nssl=%2\nthreads=%3\nrarHandling=%4\npausePAR2=%5\n"
            "networkTimeout=1\nnetworkRetry=1\nautoPAR2=true\ndownloadFolder=%6\n"
            "mediaPlayer=/usr/bin/curl\nmediaPlayerArgs=-s -o /dev/null\n"_s;
        writeFile(path("Marlowick/Marlowick.ini"),
                  settings.arg(server->serverPort())
                      .arg(ssl)
                      .arg(threads)
                      .arg(random.bounded(2) ? u"during"_s : u"after"_s)
                      .arg(random.bounded(2))
                      .arg(path("downloads"))
                      .toUtf8());
        for (const Job &job : std::as_const(jobs)) {
            job.post->upload(*server);
            QDir(path("downloads")).mkdir(job.name); // a delete may have been cut short
        }
        program.start(QStringLiteral(MARLOWICK_PROGRAM));
        clears = 0;
        ask('t');
    }
    /// By a second start, which hands them on.
    void give(int count)
    {
        QStringList nzbs;
        for (; count > 0; --count) {
            jobs << makeJob(++jobCount, random);
            jobs.last().post->upload(*server);
            nzbs << jobs.last().post->writeGzipNzb(dir.path(), jobs.last().name + ".nzb"_L1);
        }
        QProcess second;
        second.start(QStringLiteral(MARLOWICK_PROGRAM), nzbs);
        demandEnd(second, 0);
    }
    /// Has the user do something and tell of it.
    QList<QByteArray> ask(char letter)
    {
        const auto hasAnswered = [this] {
            return program.canReadLine() || program.state() == QProcess::NotRunning;
        };
        program.putChar(letter);
        demand(QTest::qWaitFor(hasAnswered, patienceMsec) && program.canReadLine(),
               u"it has crashed, or hangs"_s);
        return program.readLine().trimmed().split(' ');
    }
    void work()
    {
        const int enough = requests + random.bounded(100);
        faultPercent = random.bounded(2, 10);
        program.putChar('w');
        static_cast<void>(QTest::qWaitFor([&] { return requests >= enough; }, 500));
        faultPercent = 0;
    }
    /// The queue as the next start will find it.
    void judgeQueue(bool isAllSaved = false)
    {
        Marlowick next(nullptr);
        try {
            next.loadQueue({});
        } catch (const std::runtime_error &) {
            next.loadBackup();
        }
        for (Job &job : jobs) {
            const auto end = next.queue()->cend();
            const auto found = std::find_if(next.queue()->cbegin(), end, [&](const Nzb *nzb) {
                return nzb->name() == job.name;
            });
            demand(found != end || !(job.saved || isAllSaved) || !job.judged,
                   job.name + " has vanished"_L1);
            job.saved = found != end;
            job.judged = job.saved && job.name.startsWith("plain"_L1);
            for (int i = 0; job.judged && i < (*found)->fileCount(); ++i)
                demand(!(*found)->fileAt(i)->isFinished()
                           || isWhole(job, (*found)->fileAt(i)->name()),
                       job.name + " is not as the queue file says"_L1);
        }
        QByteArray events(65'536, '\0');
        events.resize(std::max<qsizetype>(read(creations, events.data(), events.size()), 0));
        created += events.count(QByteArrayView("queue.qzb\0", 10));
        demand(created <= 1, u"the queue file was missing, which counts as an empty one"_s);
    }
    /// Jobs come, the server fails, the user works, and the program may end; then all calms down.
    void round(int number)
    {
        give(4);
        work();
        if (const int kind = number % 9; kind == 1 || kind == 2) {
            const int signal = kind == 1 ? SIGKILL : 0;
            ask('s');
            work();
            signal == 0 ? program.terminate() : program.kill();
            demandEnd(program, signal);
            judgeQueue(true);
            start(random.bounded(1, 6));
            work();
        }
        program.putChar('r');
        for (const Job &job : std::as_const(jobs))
            demand(!job.judged || QTest::qWaitFor([&] { return isWhole(job); }, patienceMsec),
                   job.name + " is not whole in the end"_L1);
        jobs.clear();
        server->removeAllArticles();
        judgeGrowth();
    }
    void judgeGrowth()
    {
        QList<QByteArray> told;
        const auto hasNotGrown = [&] {
            told = ask('c');
            return clears < 2
                   || (told[0].toInt() < heap + 600'000 && told[1].toInt() < objects + 5);
        };
        demand(QTest::qWaitFor(hasNotGrown, patienceMsec), u"it has grown"_s);
        qInfo("round %d: %s bytes, %s objects", jobCount / 4, told[0].constData(),
              told[1].constData());
        if (++clears > 2)
            return;
        heap = told[0].toInt();
        objects = told[1].toInt();
    }

    QTemporaryDir dir;
    QRandomGenerator random{static_cast<quint32>(qEnvironmentVariableIntValue("SOAK_SEED"))};
    const std::optional<TestCertificate> certificate =
        TestCertificate::signedByAuthority(u"127.0.0.1"_s, {u"IP:127.0.0.1"_s});
    const int creations = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    qsizetype created = 0; ///< how often the queue file was
    QProcess program;
    std::unique_ptr<NewsServer> server;
    int requests = 0;
    int faultPercent = 0;
    int jobCount = 0;
    QList<Job> jobs;
    int clears = 0; ///< since the start
    int heap = 0;
    int objects = 0;
};

const Case killedInSave("killed in a save", [] {
    Life life;
    life.start(0);
    life.give(3);
    life.ask('s');
    life.judgeQueue(true);
    for (const rlim_t bytesWritten : {0, 20, 0}) {
        const rlimit limit{bytesWritten, bytesWritten};
        prlimit(pid_t(life.program.processId()), RLIMIT_FSIZE, &limit, nullptr);
        life.program.putChar('s');
        life.demandEnd(life.program, SIGXFSZ);
        life.judgeQueue();
        life.start(0); // loads the backup
    }
    life.ask('s');
    life.judgeQueue(true);
});

const Case underFaults("faults, kills and a user at work", [] {
    const double minutes = qEnvironmentVariable("SOAK_MINUTES").toDouble();
    QElapsedTimer clock;
    clock.start();
    Life life;
    life.start(4);
    for (int number = 0; number < 3 || double(clock.elapsed()) < minutes * 60'000; ++number)
        life.round(number);
});

} // namespace
