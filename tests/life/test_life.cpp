// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The program as a user starts it, once and again; how signals end it, and how it lives with random
// faults of its server, kills, and a user at work: it keeps its files whole and its queue loadable,
// and it does not crash, hang or grow. SOAK_MINUTES in the environment makes that last, SOAK_SEED
// chooses what happens.
#include <QDir>
#include <QLocalSocket>
#include <QProcess>
#include <QRandomGenerator>

#include <csignal>
#include <future>
#include <list>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

#include "engine/enginefixture.h"
#include "support/case.h"
#include "support/programs.h"
#include "ui/instancelink.h"

constexpr int patience = 60'000;

/// The program finds the settings and the queue of the fixture's engine.
struct World : EngineFixture {
    explicit World(const QByteArray &plugin = {})
    {
        QDir().mkpath(downloads()); // or the program would ask for another
        for (const int number : {SIGINT, SIGHUP})
            signal(number, SIG_DFL); // the program inherits it, and a shell may have it ignored
        for (const char *folder : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
            qputenv(folder, QFile::encodeName(dir.path()));
        qputenv("QT_PLUGIN_PATH", USER_FOLDER);
        qputenv("QT_QPA_GENERIC_PLUGINS", plugin);
    }
    QProcess &start(const QStringList &arguments, const QByteArray &language = {})
    {
        engine->settings()->sync();
        qputenv("LANGUAGE", language);
        QProcess &program = *programs.emplace_back(std::make_unique<QProcess>());
        program.setWorkingDirectory(dir.path());
        program.start(MARLOWICK_PROGRAM, arguments);
        return program;
    }
    static void waitFor(QProcess &program, const QByteArray &text)
    {
        QByteArray said;
        QTRY_VERIFY_WITH_TIMEOUT((said += program.readAllStandardError()).contains(text), patience);
        QVERIFY(!said.contains("secret") && !said.contains("c2VjcmV0")); // nor in Base64
    }
    static void stop(const QProcess &program, const QList<int> &signalNumbers, bool proper = true)
    {
        QVERIFY(program.processId() > 0);
        for (const int number : QList{SIGSTOP} + signalNumbers + QList{SIGCONT})
            kill(pid_t(program.processId()), number);
        QTRY_COMPARE_WITH_TIMEOUT(program.state(), QProcess::NotRunning, patience);
        QCOMPARE(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0, proper);
    }

    std::vector<std::unique_ptr<QProcess>> programs;
};

const struct {
    const char *name, *host;
    int signalNumber;
} stops[] = {{"downloading, under a box", "127.0.0.1", SIGINT},
             {"under the settings, before the window is there", "", SIGHUP}};
const Case goesOn("takes a second start's files, ends by a signal, goes on", stops, [](auto &row) {
    World t;
    t.server->requireLogin("joe", "secret");
    t.setLogin("joe", "secret");
    Post post;
    const QByteArray film = post.addYenc("film.bin", randomBytes(1, 50'000)).data;
    post.upload(*t.server);
    t.server->holdAll();
    t.set("hostname", row.host);
    writeFile(t.dir.filePath("bad.nzb"), "bad");
    QProcess &first = t.start({"bad.nzb"});
    World::waitFor(first, "Queue filename");
    QVERIFY(!post.writeGzipNzb(t.dir.path(), "später.nzb").isEmpty());
    QProcess &second = t.start({"bad.nzb", "none.nzb", "später.nzb"});
    World::stop(second, {});
    QCOMPARE(second.readAllStandardError(), t.dir.filePath("none.nzb") + " does not exist\n");
    if (*row.host)
        QTRY_COMPARE_WITH_TIMEOUT(t.server->waiting().size(), 4, patience);
    World::stop(first, {row.signalNumber});
    QTRY_COMPARE(t.server->openConnections(), 0);
    t.server->releaseAll();
    t.set("hostname", "127.0.0.1");
    QProcess &next = t.start({}, "fr_BE");
    World::waitFor(next, "NZB complet\u00a0: sp");
    QCOMPARE(t.saved("später/film.bin"), film);
    World::stop(next, {SIGTERM});
});

const Case many("of many starts at once one is the first, and gets all files", [] {
    World t;
    t.set("threads", 0);
    for (const QString name : {"a.NZB", "b.nzb", "c.nzb", "d.nzb"})
        t.start({writeFile(t.dir.filePath(name), "<nzb/>")});
    const auto runs = [](const auto &program) { return program->state() != QProcess::NotRunning; };
    QTRY_COMPARE_WITH_TIMEOUT(std::ranges::count_if(t.programs, runs), 1, patience);
    World::stop(**std::ranges::find_if(t.programs, runs), {SIGTERM});
    t.engine->loadQueue(QString());
    QCOMPARE(t.engine->queue()->size(), 4);
});

const Case undecided("a signal leaves a damaged queue to the next run, a second one kills", [] {
    World t;
    const QString queue = writeFile(t.dir.filePath("Marlowick/queue.qzb"), "<qzb><nzb/>");
    for (const bool proper : {false, true}) { // and the lock of a dead process holds nobody up
        QProcess &program = t.start({});
        World::waitFor(program, "Queue filename");
        World::stop(program, QList{SIGINT, SIGTERM}.first(proper ? 1 : 2), proper);
        QCOMPARE(contentsOf(queue), "<qzb><nzb/>");
    }
});

const Case links("a link takes messages, and drops broken, silent and too many senders", [] {
    for (const int silenceLimit : {patience, 50}) {
        const QTemporaryDir dir;
        InstanceLink first(dir.path(), "id", silenceLimit);
        const InstanceLink second(dir.path(), "id");
        QSignalSpy received(&first, &InstanceLink::messageReceived);
        const auto arrives = [&](const QString &message) {
            auto sent = std::async([&] { return second.sendMessage(message, patience); });
            QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, patience);
            QVERIFY(received.takeFirst().first() == message && sent.get());
        };
        const auto send = [&](const QByteArray &bytes) {
            auto socket = std::make_unique<QLocalSocket>();
            socket->connectToServer(first.socketPath());
            socket->write(bytes);
            socket->waitForBytesWritten();
            return socket;
        };
        const auto senders = [&] { return first.findChildren<QLocalSocket *>().size(); };
        const QString longest(InstanceLink::maxMessageBytes, 'x');
        QVERIFY(second.isRunning() && !second.sendMessage("too early", 50));
        first.takeMessages();
        constexpr auto others = QFile::WriteGroup | QFile::WriteOther;
        QVERIFY(!(QFileInfo(first.socketPath()).permissions() & others));
        arrives(longest);
        QVERIFY(!second.sendMessage(longest + 'x', patience));
        const auto tooLong = send(QByteArray("\0\x10\0\1x", 5));
        QTRY_COMPARE(tooLong->state(), QLocalSocket::UnconnectedState);
        std::vector<std::unique_ptr<QLocalSocket>> crowd;
        for (int i = 0; i < 3 * InstanceLink::maxSenders; ++i) {
            crowd.push_back(send(QByteArray("\0\0\0\5half", i % 7)));
            QTRY_VERIFY(senders() > 0 && senders() <= InstanceLink::maxSenders + 1);
        }
        arrives("");
        if (silenceLimit == patience)
            crowd.clear(); // they hang up
        QTRY_COMPARE(senders(), 0);
        QVERIFY(received.isEmpty());
    }
});

struct Job {
    Job(const QString &kind, int number, QRandomGenerator &random)
        : name(QString("%1 é中 %2").arg(kind).arg(number))
        , post(kind + QString::number(number))
    {
        const QByteArray film = randomBytes(random.generate(), random.bounded(30'000, 180'000));
        RarVolumes posted{{"film.avi", film}, {"one.dat", film.first(5'000)}};
        wanted = posted;
        if (!name.contains("plain"))
            wanted.removeLast();
        if (name.contains("rar"))
            posted = packWithRar({{"film.avi", film}}, {"-m0", "-v50k", "-hpsecret"});
        if (name.contains("par2")) {
            posted = {{"film.avi.001", film.first(20'000)}, {"film.avi.002", film.sliced(20'000)}};
            posted += recoveryOf(posted, {"-s4000", "-c6"});
        }
        for (const auto &[file, data] : std::as_const(posted))
            post.addYenc(file, data, 4'000);
        post.file(0).segment(1).onServer = !name.contains("par2");
        if (name.contains("victim"))
            wanted.clear();
    }

    QString name;
    Post post;
    RarVolumes wanted; ///< what must be on disk in the end, if that can be told
};

Reply misfortune(QRandomGenerator &random)
{
    const qsizetype place = random.bounded(2) ? random.bounded(4'500) : -random.bounded(8);
    const Reply reply = Reply::ordinary().delayed(random.bounded(200));
    const Reply replies[] = {reply.cutAfter(place),    reply.resetAfter(place),
                             reply.stallAfter(place),  reply.splitAt({place, -5}),
                             Reply::code("400 going"), Reply::code("423 what"),
                             Reply::code("480 who"),   Reply::code("502 no"),
                             Reply::code("281 fine"),  Reply::code("gar\xff\x00bage")};
    return replies[random.bounded(int(std::size(replies)))];
}

/// The program with a user, and what is known about it.
struct Life : World {
    explicit Life(int threads)
        : World("user")
    {
        const std::pair<const char *, QVariant> settings[] = {
            {"threads", threads},
            {"networkTimeout", 1},
            {"networkRetry", 1},
            {"autoPAR2", true},
            {"mediaPlayer", "/usr/bin/curl"},
            {"mediaPlayerArgs", "-s -o /dev/null"}};
        for (const auto &[key, value] : settings)
            set(key, value);
        server->chooseReplies([this](const QByteArray &event) {
            const bool fails = trouble-- > 0 && random.bounded(15) == 0 && event != "QUIT";
            return fails ? misfortune(random) : Reply::ordinary();
        });
        inotify_add_watch(creations, qPrintable(dir.filePath("Marlowick")), IN_CREATE);
        begin();
    }
    ~Life()
    {
        close(creations);
        dir.setAutoRemove(!QTest::currentTestFailed());
        if (QTest::currentTestFailed())
            qInfo() << dir.path() << program->readAllStandardError().right(10'000);
    }
    Q_DISABLE_COPY_MOVE(Life)

    void begin()
    {
        set("rarHandling", random.bounded(2) ? "during" : "after");
        set("pausePAR2", random.bounded(2) == 0);
        for (const Job &job : jobs)
            QDir(downloads()).mkdir(job.name); // a deletion may have been cut short
        program = &start({});
        calmRounds = 0;
        ask('t');
    }
    /// By a second start, which hands them on.
    void give(const QStringList &kinds)
    {
        QStringList nzbs;
        for (const QString &kind : kinds) {
            const Job &job = jobs.emplace_back(kind, ++jobCount, random);
            job.post.upload(*server);
            nzbs << job.post.writeGzipNzb(dir.path(), job.name + ".nzb");
        }
        stop(start(nzbs), {});
    }
    void ask(char order)
    {
        program->putChar(order);
        QTRY_VERIFY_WITH_TIMEOUT(program->canReadLine(), patience); // it has crashed, or hangs
        told = program->readLine().split(' ');
    }
    void work()
    {
        trouble = random.bounded(20, 100);
        static_cast<void>(QTest::qWaitFor([this] { return trouble <= 0; }, 500));
    }
    [[nodiscard]] bool isWhole(const Job &job) const
    {
        return std::ranges::all_of(job.wanted, [&](const auto &file) {
            return saved(job.name + '/' + file.first) == file.second;
        });
    }
    /// What the next start finds: each job, and on disk what it will not fetch again.
    void judgeQueue()
    {
        Marlowick next(nullptr);
        try {
            next.loadQueue({});
        } catch (const std::runtime_error &) {
            next.loadBackup();
        }
        for (Job &job : jobs) {
            const auto found = std::ranges::find(*next.queue(), job.name, &Nzb::name);
            QVERIFY2(found != next.queue()->end() || job.wanted.isEmpty(), qPrintable(job.name));
            if (!job.name.startsWith("plain"))
                job.wanted.clear(); // in the midst of what cannot be told
            for (const auto &[file, data] : std::as_const(job.wanted))
                QVERIFY(!fileOf(*found, file)->isFinished()
                        || saved(job.name + '/' + file) == data);
        }
        QByteArray events(65'536, '\0');
        events.resize(std::max<qsizetype>(read(creations, events.data(), events.size()), 0));
        created += events.count(QByteArrayView("queue.qzb\0", 10));
        QVERIFY(created <= 1); // while it is missing, the queue counts as empty
    }
    /// Jobs come, the server fails, the user works, and the program may end; then all calms down.
    void round(int number)
    {
        give({"plain", "rar", "par2", "victim", "victim rar", "victim par2"});
        work();
        if (number % 8 < 2) {
            ask('s');
            work();
            stop(*program, {number % 8 == 0 ? SIGKILL : SIGTERM}, number % 8 == 1);
            judgeQueue();
            begin();
            work();
        }
        for (const Job &job : jobs)
            QTRY_VERIFY2_WITH_TIMEOUT(isWhole(job), qPrintable(job.name), patience);
        jobs.clear();
        server->removeAllArticles();
        const auto isCalm = [this] {
            ask('c');
            return calmRounds < 2
                   || (told[0].toInt() < usual[0].toInt() + 600'000
                       && told[1].toInt() < usual[1].toInt() + 5);
        };
        QTRY_VERIFY_WITH_TIMEOUT(isCalm(), patience); // it has not grown
        usual = ++calmRounds < 3 ? told : usual;
    }

    QRandomGenerator random{static_cast<quint32>(qEnvironmentVariableIntValue("SOAK_SEED"))};
    const int creations = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    qsizetype created = 0; ///< how often the queue file was
    int trouble = 0; ///< so many events more may go wrong
    int jobCount = 0;
    std::list<Job> jobs;
    QProcess *program = nullptr;
    QList<QByteArray> told, usual; ///< bytes and objects
    int calmRounds = 0; ///< since the start
};

const Case killedInSave("killed in a save", [] {
    Life t(0);
    t.give({"plain", "plain"});
    t.ask('s');
    for (const rlim_t bytesWritten : {0, 20, 0}) {
        const rlimit limit{bytesWritten, bytesWritten};
        prlimit(pid_t(t.program->processId()), RLIMIT_FSIZE, &limit, nullptr);
        t.program->putChar('s');
        World::stop(*t.program, {}, false);
        t.judgeQueue();
        t.begin(); // loads the backup
    }
    t.ask('s');
    t.judgeQueue();
});

const Case underFaults("faults, kills and a user at work", [] {
    const double minutes = qEnvironmentVariable("SOAK_MINUTES").toDouble();
    const QDeadlineTimer end(qint64(minutes * 60'000));
    Life t(4);
    for (int number = 0; !QTest::currentTestFailed() && (number < 5 || !end.hasExpired()); ++number)
        t.round(number);
});
