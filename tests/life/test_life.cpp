// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The program as a user starts it, once and again; how signals end it, and how it lives with random
// faults of its server, kills, and a user at work: it keeps its files whole and its queue loadable,
// and it does not crash, hang or grow. SOAK_MINUTES in the environment makes that last, SOAK_SEED
// chooses what happens.
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

/// The program, which finds the settings and the queue of the fixture's engine, and may have a
/// user.
struct World : EngineFixture {
    World()
    {
        QDir().mkpath(downloads()); // or the program would ask for another
        for (const int number : {SIGINT, SIGHUP})
            signal(number, SIG_DFL); // the program inherits it, and a shell may have it ignored
        for (const char *folder : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
            qputenv(folder, QFile::encodeName(dir.path()));
        qputenv("LANGUAGE", "fr_BE");
        qputenv("QT_PLUGIN_PATH", USER_FOLDER);
    }
    QProcess &start(const QStringList &arguments)
    {
        engine->settings()->sync();
        QProcess &program = programs.emplace_back();
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
    void startWithUser()
    {
        user = &start({"-plugin", "user"});
        ask('t');
    }
    void ask(char order)
    {
        user->putChar(order);
        const auto hasAnswered = [this] { return user->canReadLine(); };
        if (!QTest::qWaitFor(hasAnswered, patience)) // it has crashed, or hangs
            QFAIL(user->readAllStandardError().right(10'000).constData());
        told = user->readLine().trimmed().toInt();
    }
    /// Films to keep, and as many victims in volumes, by a second start that hands them on.
    void give(int count)
    {
        QStringList nzbs;
        for (int i = 0; i < 2 * count; ++i) {
            const QByteArray film = randomBytes(random.generate(), random.bounded(30'000, 180'000));
            const QString number = QString::number(random.generate());
            const QString name = (i < count ? "film é中 " : "victim ") + number;
            RarVolumes posted{{"film.avi", film}};
            if (i < count) {
                films[name] = film;
            } else {
                posted = packWithRar({{"film.avi", film}}, {"-m0", "-v50k", "-hpsecret"});
                posted += recoveryOf(posted, {"-s4000", "-c6"});
            }
            Post post(number);
            for (const auto &[file, data] : std::as_const(posted))
                post.addYenc(file, data, 4'000);
            post.file(0).segment(1).onServer = i < count;
            post.upload(*server);
            nzbs << post.writeGzipNzb(dir.path(), name + ".nzb");
        }
        stop(start(nzbs), {});
    }
    /// The next start finds each job, and on disk what it will not fetch again.
    void judgeQueue()
    {
        Marlowick next(nullptr);
        try {
            next.loadQueue({});
        } catch (const std::runtime_error &) {
            next.loadBackup();
        }
        for (const auto &[name, film] : films.asKeyValueRange()) {
            const auto job = std::ranges::find(*next.queue(), name, &Nzb::name);
            QVERIFY2(job != next.queue()->end(), qPrintable(name));
            QVERIFY(!(*job)->fileAt(0)->isFinished() || saved(name + "/film.avi") == film);
        }
    }
    /// The server fails at times, while the user works.
    void suffer()
    {
        trouble = random.bounded(20, 100);
        static_cast<void>(QTest::qWaitFor([this] { return trouble <= 0; }, 500));
    }
    [[nodiscard]] Reply reply(const QByteArray &event)
    {
        const qsizetype place = random.bounded(-1'000, 4'500);
        const Reply late = Reply::ordinary().delayed(random.bounded(200));
        const Reply replies[] = {late.cutAfter(place),          late.closeAfter(place),
                                 late.stallAfter(place),        late.splitAt({place, -5}),
                                 Reply::code("400 going"),      Reply::code("480 who"),
                                 Reply::code("gar\xff\x00bage")};
        const bool fails = trouble-- > 0 && random.bounded(15) == 0 && event != "QUIT";
        return fails ? replies[random.bounded(int(std::size(replies)))] : Reply::ordinary();
    }
    /// Jobs come, the program may end, all calms down, and it has not grown.
    void round(int number)
    {
        give(2);
        suffer();
        if (number % 16 < 2) {
            ask('s');
            suffer();
            stop(*user, {number % 16 == 0 ? SIGKILL : SIGTERM}, number % 16 == 1);
            judgeQueue();
            set("rarHandling", number % 32 < 16 ? "during" : "after");
            startWithUser();
            suffer();
        }
        for (const auto &[name, film] : films.asKeyValueRange())
            QTRY_VERIFY_WITH_TIMEOUT(saved(name + "/film.avi") == film, patience);
        films.clear();
        server->removeAllArticles();
        const auto hasNotGrown = [&] {
            ask('c');
            usual = number % 16 < 3 ? told : usual;
            return told < usual + 1'500'000;
        };
        QTRY_VERIFY_WITH_TIMEOUT(hasNotGrown(), patience);
    }

    std::list<QProcess> programs;
    QProcess *user = nullptr;
    QRandomGenerator random{quint32(qEnvironmentVariableIntValue("SOAK_SEED"))};
    QMap<QString, QByteArray> films; ///< by the jobs' names
    int trouble = 0; ///< so many events more may go wrong
    int told = 0, usual = 0; ///< bytes that the program has allocated
};

const struct {
    const char *name; ///< of the server; without one the settings stand before the window
    int signalNumber;
} stops[] = {{"127.0.0.1", SIGINT}, {"", SIGHUP}};
const Case goesOn("takes a second start's files, ends by a signal, goes on", stops, [](auto &row) {
    World t;
    t.server->requireLogin("joe", "secret");
    t.setLogin("joe", "secret");
    Post post;
    const QByteArray film = post.addYenc("film.bin", randomBytes(1, 50'000)).data;
    post.upload(*t.server);
    t.server->holdAll();
    t.set("hostname", row.name);
    writeFile(t.dir.filePath("bad.nzb"), "bad");
    QVERIFY(!post.writeGzipNzb(t.dir.path(), "früher.nzb").isEmpty());
    QProcess &first = t.start({"früher.nzb"});
    World::waitFor(first, "Queue filename");
    QVERIFY(!post.writeGzipNzb(t.dir.path(), "später.nzb").isEmpty());
    QProcess &second = t.start({"none.nzb", "bad.nzb", "später.nzb"});
    World::stop(second, {});
    QCOMPARE(second.readAllStandardError(), t.dir.filePath("none.nzb") + " n’existe pas\n");
    if (*row.name)
        QTRY_COMPARE_WITH_TIMEOUT(t.server->waiting().size(), 4, patience);
    World::stop(first, {row.signalNumber});
    QTRY_COMPARE(t.server->openConnections(), 0);
    t.server->releaseAll();
    t.set("hostname", "127.0.0.1");
    QProcess &next = t.start({});
    World::waitFor(next, "NZB complet\u00a0: sp");
    QCOMPARE(t.saved("später/film.bin"), film);
    QTRY_COMPARE_WITH_TIMEOUT(t.saved("früher/film.bin"), film, patience);
    World::stop(next, {SIGTERM});
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
        QVERIFY(second.isRunning() && !second.sendMessage("too early", 50));
        QSignalSpy received(&first, &InstanceLink::messageReceived);
        first.takeMessages();
        const auto access = QFileInfo(first.socketPath()).permissions();
        QVERIFY(!(access & (QFile::WriteGroup | QFile::WriteOther)));
        std::array<QLocalSocket, 3 * InstanceLink::maxSenders> crowd;
        const auto senders = [&] { return first.findChildren<QLocalSocket *>().size(); };
        for (std::size_t i = 0; i < crowd.size(); ++i) {
            crowd[i].connectToServer(first.socketPath());
            crowd[i].write(QByteArray(i == 0 ? "\0\x10\0\1" : "\0\0\0\5half", (i + 3) % 7 + 1));
            QCoreApplication::processEvents();
            QTRY_VERIFY(senders() <= InstanceLink::maxSenders + 1);
            QTRY_COMPARE(crowd[0].state(), QLocalSocket::UnconnectedState); // too long
        }
        const QString longest(InstanceLink::maxMessageBytes, 'x');
        QVERIFY(!second.sendMessage(longest + 'x', patience));
        auto sent = std::async([&] { return second.sendMessage(longest, patience); });
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, patience);
        QVERIFY(received.first().first() == longest && sent.get());
        for (QLocalSocket &each : crowd)
            silenceLimit == patience ? each.disconnectFromServer() : void();
        QTRY_COMPARE(senders(), 0);
    }
});

const Case killedInSave("killed in a save", [] {
    World t;
    const int creations = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    inotify_add_watch(creations, qPrintable(t.dir.filePath("Marlowick")), IN_CREATE);
    t.set("threads", 0);
    t.startWithUser();
    t.give(1);
    t.ask('s');
    for (const rlim_t bytesWritten : {0, 20, 0}) {
        const rlimit limit{bytesWritten, bytesWritten};
        prlimit(pid_t(t.user->processId()), RLIMIT_FSIZE, &limit, nullptr);
        t.user->putChar('s');
        World::stop(*t.user, {}, false);
        t.judgeQueue();
        t.startWithUser(); // loads the backup
    }
    t.ask('s');
    t.judgeQueue();
    char events[65'536];
    const QByteArrayView made(events, read(creations, events, sizeof events));
    QCOMPARE(made.count(QByteArrayView("queue.qzb\0", 10)), 1); // missing, it would count as empty
});

const Case underFaults("faults, kills and a user at work", [] {
    const QDeadlineTimer end(qEnvironmentVariableIntValue("SOAK_MINUTES") * 60'000);
    World t;
    for (const char *key : {"networkTimeout", "networkRetry", "autoPAR2"})
        t.set(key, 1);
    t.set("mediaPlayer", "/usr/bin/true");
    t.server->chooseReplies([&](const QByteArray &event) { return t.reply(event); });
    t.startWithUser();
    for (int number = 0; !QTest::currentTestFailed() && (number < 3 || !end.hasExpired()); ++number)
        t.round(number);
});
