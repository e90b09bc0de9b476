// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include "support/files.h"
#include "support/newsserver.h"
#include "support/posts.h"

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

private:
    [[nodiscard]] std::unique_ptr<QProcess> start(const QStringList &arguments,
                                                  const QString &locale = {});
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

std::unique_ptr<QProcess> TestProgram::start(const QStringList &arguments, const QString &locale)
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
    program->kill();
    program->waitForFinished();
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
    const auto second = start({bad, post.writeNzb(dir->path(), u"später.nzb"_s)});
    QTRY_COMPARE_WITH_TIMEOUT(second->state(), QProcess::NotRunning, 30'000);
    QCOMPARE(second->exitStatus(), QProcess::NormalExit);
    QCOMPARE(second->exitCode(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(hasSaid(*first, "Notice: \"NZB complete: sp"), 30'000);
    QCOMPARE(saved(u"später/film.bin"_s), film);
    first->kill();
    first->waitForFinished();
}

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
