// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

#include "support/files.h"
#include "support/newsserver.h"
#include "support/posts.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

/// The program itself, a copy of it with a settings file beside it, started as a user starts it.
class TestProgram final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup()
    {
        if (QTest::currentTestFailed())
            qInfo().noquote() << said;
    }

    void downloadsInUsersLanguage();
    void secondStartHandsOver();
    void signalEndsAndSaves_data();
    void signalEndsAndSaves();
    void signalLeavesDamagedQueue();
    void secondSignalEndsAtOnce();

private:
    [[nodiscard]] std::unique_ptr<QProcess>
    start(const QStringList &arguments, const QString &locale = {}, const QString &folder = {});
    /// Ends @p program, which has said that it is there.
    void endBySignals(QProcess &program, const QList<int> &signalNumbers)
    {
        QTRY_VERIFY_WITH_TIMEOUT(hasSaid(program, "Queue filename"), 30'000);
        const auto id = static_cast<pid_t>(program.processId());
        kill(id, SIGSTOP);
        for (const int number : signalNumbers)
            kill(id, number);
        kill(id, SIGCONT);
        QTRY_COMPARE_WITH_TIMEOUT(program.state(), QProcess::NotRunning, 30'000);
    }
    void set(const char *key, const QVariant &value) const
    {
        QSettings(dir->filePath(u"Marlowick.ini"_s), QSettings::IniFormat)
            .setValue(QLatin1StringView(key), value);
    }
    [[nodiscard]] QByteArray saved(const QString &path) const
    {
        return contentsOf(dir->filePath(u"downloads/"_s + path));
    }
    [[nodiscard]] bool hasSaid(QProcess &program, const QByteArray &text)
    {
        said += program.readAll();
        return said.contains(text);
    }

    std::optional<QTemporaryDir> dir;
    std::unique_ptr<NewsServer> server;
    QByteArray said;
};

void TestProgram::init()
{
    dir.emplace();
    said.clear();
    for (const int number : {SIGINT, SIGHUP})
        signal(number, SIG_DFL); // the program inherits it, also from a shell that ignores them
    server = std::make_unique<NewsServer>();
    server->requireLogin("joe", "secret");
    QVERIFY(QFile::copy(QStringLiteral(MARLOWICK_PROGRAM), dir->filePath(u"marlowick"_s)));
    QVERIFY(QDir(dir->path()).mkdir(u"run"_s));
    QVERIFY(QDir(dir->path()).mkdir(u"downloads"_s));
    QFile::setPermissions(dir->filePath(u"run"_s),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    QSettings settings(dir->filePath(u"Marlowick.ini"_s), QSettings::IniFormat);
    settings.setValue("hostname"_L1, u"127.0.0.1"_s);
    settings.setValue("port"_L1, server->serverPort());
    settings.setValue("username"_L1, u"joe"_s);
    settings.setValue("password"_L1, QByteArray("secret").toBase64());
    settings.setValue("threads"_L1, 3);
    settings.setValue("networkTimeout"_L1, 30);
    settings.setValue("downloadFolder"_L1, u"%APPDIR/downloads"_s);
}

std::unique_ptr<QProcess> TestProgram::start(const QStringList &arguments, const QString &locale,
                                             const QString &folder)
{
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_RUNTIME_DIR"_s, dir->filePath(u"run"_s));
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    if (!locale.isNull()) {
        for (const QString &stronger : {u"LANGUAGE"_s, u"LC_ALL"_s, u"LC_MESSAGES"_s})
            environment.remove(stronger);
        environment.insert(u"LANG"_s, locale);
    }
    process->setProcessEnvironment(environment);
    process->setWorkingDirectory(folder);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(dir->filePath(u"marlowick"_s), arguments);
    return process;
}

void TestProgram::downloadsInUsersLanguage()
{
    Post post;
    const QByteArray film = randomBytes(1, 500'000);
    const QByteArray text = randomBytes(2, 45 * 900);
    post.addYenc(u"film.bin"_s, film, 20'000);
    post.addUuencoded(u"text.txt"_s, text);
    post.upload(*server);
    const QString upper = post.writeGzipNzb(dir->path(), u"film.NZB"_s);
    const auto program =
        start({upper, u"nothing.nzb"_s, dir->filePath(u"Marlowick.ini"_s)}, u"fr_BE.UTF-8"_s);
    QTRY_VERIFY_WITH_TIMEOUT(hasSaid(*program, "NZB complet\u00a0: film"), 30'000);
    QCOMPARE(saved(u"film/film.bin"_s), film);
    QCOMPARE(saved(u"film/text.txt"_s), text);
    QCOMPARE(server->mostConnections(), 3);
    QVERIFY(!said.contains("secret"));
    QVERIFY(!said.contains("c2VjcmV0")); // nor in Base64
    QCOMPARE(program->state(), QProcess::Running);
    endBySignals(*program, {SIGTERM});
}

void TestProgram::secondStartHandsOver()
{
    // The box about the bad file stands unanswered, in the way of nothing.
    const QString bad = writeFile(dir->filePath(u"bad.nzb"_s), "no NZB at all");
    const auto first = start({bad});
    QTRY_VERIFY_WITH_TIMEOUT(hasSaid(*first, "Error parsing NZB"), 30'000);
    Post post;
    const QByteArray film = randomBytes(3, 50'000);
    post.addYenc(u"film.bin"_s, film, 20'000);
    post.upload(*server);
    // It names the files as seen from its own folder.
    QVERIFY(!post.writeNzb(dir->path(), u"später.nzb"_s).isEmpty());
    const auto second = start({bad, u"nowhere.nzb"_s, u"später.nzb"_s}, {}, dir->path());
    QTRY_COMPARE_WITH_TIMEOUT(second->state(), QProcess::NotRunning, 30'000);
    QCOMPARE(second->exitStatus(), QProcess::NormalExit);
    QCOMPARE(second->exitCode(), 0);
    QCOMPARE(second->readAll(), dir->filePath(u"nowhere.nzb"_s).toUtf8() + " does not exist\n");
    QTRY_VERIFY_WITH_TIMEOUT(hasSaid(*first, "Notice: \"NZB complete: sp"), 30'000);
    QCOMPARE(saved(u"später/film.bin"_s), film);
    endBySignals(*first, {SIGTERM});
}

void TestProgram::signalEndsAndSaves_data()
{
    const auto row = rows<int, QString, bool>();
    row("while downloading", {SIGTERM, u"127.0.0.1"_s, true});
    row("under a box", {SIGINT, u"127.0.0.1"_s, false});
    row("under the settings, before the window is there", {SIGHUP, QString(), true});
}

void TestProgram::signalEndsAndSaves()
{
    const auto [number, host, goodFile] = thisRow<int, QString, bool>();
    Post post;
    const QByteArray film = randomBytes(4, 50'000);
    post.addYenc(u"film.bin"_s, film, 20'000);
    post.upload(*server);
    server->holdAll();
    set("hostname", host);
    const QString other = writeFile(dir->filePath(u"other.nzb"_s), goodFile ? "<nzb/>" : "bad");
    const auto program = start({other, post.writeNzb(dir->path())});
    if (!host.isEmpty())
        QTRY_COMPARE_WITH_TIMEOUT(server->waiting().size(), 3, 30'000);
    endBySignals(*program, {number});
    QCOMPARE(program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(program->exitCode(), 0);
    QTRY_COMPARE(server->openConnections(), 0);
    server->releaseAll();
    set("hostname", u"127.0.0.1"_s);
    const auto next = start({});
    QTRY_VERIFY_WITH_TIMEOUT(hasSaid(*next, "NZB complete: demo"), 30'000);
    QCOMPARE(saved(u"demo/film.bin"_s), film);
    endBySignals(*next, {SIGTERM});
}

/// The question about it has not been answered.
void TestProgram::signalLeavesDamagedQueue()
{
    const QString queue = writeFile(dir->filePath(u"queue.qzb"_s), "<qzb><nzb name='x'/>");
    const auto program = start({});
    endBySignals(*program, {SIGTERM});
    QCOMPARE(program->exitCode(), 0);
    QCOMPARE(contentsOf(queue), "<qzb><nzb name='x'/>");
}

void TestProgram::secondSignalEndsAtOnce()
{
    const auto program = start({});
    endBySignals(*program, {SIGINT, SIGTERM});
    QCOMPARE(program->exitStatus(), QProcess::CrashExit); // of either signal
}

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
