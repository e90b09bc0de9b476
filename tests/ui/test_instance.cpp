// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The program as a user starts it, once and again, and how signals end it; and the link from a
// second start to the first.
#include <QDir>
#include <QLocalSocket>
#include <QProcess>

#include <csignal>
#include <future>

#include "engine/enginefixture.h"
#include "support/case.h"
#include "ui/instancelink.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 20'000;

/// The program finds the settings and the queue of the fixture's engine.
struct World : EngineFixture {
    World()
    {
        QDir().mkpath(downloads()); // or the program would ask for another
        for (const int number : {SIGINT, SIGHUP})
            signal(number, SIG_DFL); // the program inherits it, and a shell may have it ignored
        for (const char *folder : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
            qputenv(folder, QFile::encodeName(dir.path()));
    }
    QProcess &start(const QStringList &arguments, const QByteArray &language = {})
    {
        engine->settings()->sync();
        qputenv("LANGUAGE", language);
        QProcess &program = *programs.emplace_back(std::make_unique<QProcess>());
        program.setWorkingDirectory(dir.path());
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QStringLiteral(MARLOWICK_PROGRAM), arguments);
        return program;
    }
    static void waitFor(QProcess &program, const QByteArray &text)
    {
        QByteArray said;
        QTRY_VERIFY_WITH_TIMEOUT((said += program.readAll()).contains(text), patience);
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

struct Stop {
    const char *name;
    int signalNumber;
    QString host;
};
const Stop stops[] = {
    {"downloading, under a box", SIGINT, u"127.0.0.1"_s},
    {"under the settings, before the window is there", SIGHUP, {}},
};
const Case
    goesOn("takes a second start's files, ends by a signal, goes on", stops, [](const Stop &row) {
        World t;
        t.server->requireLogin("joe", "secret");
        t.setLogin("joe", "secret");
        Post post;
        const QByteArray film = post.addYenc(u"film.bin"_s, randomBytes(1, 50'000)).data;
        post.upload(*t.server);
        t.server->holdAll();
        t.set("hostname", row.host);
        writeFile(t.dir.filePath(u"bad.nzb"_s), "bad");
        QProcess &first = t.start({u"bad.nzb"_s});
        World::waitFor(first, "Queue filename");
        QVERIFY(!post.writeGzipNzb(t.dir.path(), u"später.nzb"_s).isEmpty());
        QProcess &second = t.start({u"bad.nzb"_s, u"none.nzb"_s, u"später.nzb"_s});
        World::stop(second, {});
        QCOMPARE(second.readAll(), t.dir.filePath(u"none.nzb"_s).toUtf8() + " does not exist\n");
        if (!row.host.isEmpty())
            QTRY_COMPARE_WITH_TIMEOUT(t.server->waiting().size(), 4, patience);
        World::stop(first, {row.signalNumber});
        QTRY_COMPARE(t.server->openConnections(), 0);
        t.server->releaseAll();
        t.set("hostname", u"127.0.0.1"_s);
        QProcess &next = t.start({}, "fr_BE");
        World::waitFor(next, "NZB complet\u00a0: sp");
        QCOMPARE(t.saved(u"später/film.bin"_s), film);
        World::stop(next, {SIGTERM});
    });

const Case many("of many starts at once one is the first, and gets all files", [] {
    World t;
    t.set("threads", 0);
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
        t.start({writeFile(t.dir.filePath(name + u".NZB"_s), "<nzb/>")});
    const auto runs = [](const auto &program) { return program->state() != QProcess::NotRunning; };
    QTRY_COMPARE_WITH_TIMEOUT(std::ranges::count_if(t.programs, runs), 1, patience);
    World::stop(**std::ranges::find_if(t.programs, runs), {SIGTERM});
    t.engine->loadQueue(QString());
    QCOMPARE(t.engine->queue()->size(), 4);
});

const Case undecided("a signal leaves a damaged queue to the next run, a second one kills", [] {
    World t;
    const QString queue = writeFile(t.dir.filePath(u"Marlowick/queue.qzb"_s), "<qzb><nzb/>");
    for (const bool proper : {false, true}) { // and the lock of a dead process holds nobody up
        QProcess &program = t.start({});
        World::waitFor(program, "Queue filename");
        World::stop(program, QList{SIGINT, SIGTERM}.first(proper ? 1 : 2), proper);
        QCOMPARE(contentsOf(queue), "<qzb><nzb/>");
    }
});

/// The first instance's end of the link, and second ones that send.
struct Link {
    void arrives(const QString &message)
    {
        auto sent = std::async([&] {
            const InstanceLink second(dir.path(), u"id"_s);
            return second.isRunning() && second.sendMessage(message, patience);
        });
        first.takeMessages();
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, patience);
        QVERIFY(received.takeFirst().first() == message && sent.get());
    }
    /// One that sends this and waits.
    [[nodiscard]] std::unique_ptr<QLocalSocket> sender(const QByteArray &bytes) const
    {
        auto socket = std::make_unique<QLocalSocket>();
        socket->connectToServer(first.socketPath());
        socket->write(bytes);
        socket->waitForBytesWritten();
        return socket;
    }
    [[nodiscard]] qsizetype senders() const { return first.findChildren<QLocalSocket *>().size(); }

    int silenceLimit = patience;
    QTemporaryDir dir{};
    InstanceLink first{dir.path(), u"id"_s, silenceLimit};
    QSignalSpy received{&first, &InstanceLink::messageReceived};
};

const Case messages("messages arrive whole, and none too long", [] {
    Link t;
    const InstanceLink second(t.dir.path(), u"id"_s);
    QVERIFY(!second.sendMessage(u"too early"_s, 50));
    const QString longest(InstanceLink::maxMessageBytes, u'x');
    for (const QString &message : {QString(), longest, u"日本語 🎬"_s})
        t.arrives(message);
    QVERIFY(!second.sendMessage(longest + u'x', patience));
    QVERIFY(!InstanceLink(t.dir.filePath(u"none"_s), u"id"_s).isRunning());
});

const Case broken("broken, silent and too many senders are dropped", [] {
    for (const int silenceLimit : {patience, 50}) {
        Link t{silenceLimit};
        t.first.takeMessages();
        constexpr auto others = QFile::WriteGroup | QFile::WriteOther;
        QVERIFY(!(QFileInfo(t.first.socketPath()).permissions() & others));
        for (const QByteArray &tooLong : {"\0\x10\0\1x"_ba, "\xFF\xFF\xFF\xFF"_ba}) {
            const auto sender = t.sender(tooLong);
            QTRY_COMPARE(sender->state(), QLocalSocket::UnconnectedState);
        }
        QTRY_COMPARE(t.senders(), 0);
        std::vector<std::unique_ptr<QLocalSocket>> crowd;
        for (int i = 0; i < 3 * InstanceLink::maxSenders; ++i) {
            crowd.push_back(t.sender("\0\0\0\5half"_ba.first(i % 7)));
            QTRY_VERIFY(t.senders() > 0 && t.senders() <= InstanceLink::maxSenders + 1);
        }
        t.arrives(u"whole"_s);
        QTRY_COMPARE(crowd.front()->state(), QLocalSocket::UnconnectedState);
        if (silenceLimit == patience)
            crowd.clear(); // they hang up
        QTRY_COMPARE(t.senders(), 0);
        QVERIFY(t.received.isEmpty());
    }
});

} // namespace
