// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "soak/program.h"

#include <QDir>
#include <QJsonDocument>
#include <QTest>

#include <unistd.h>

#include "support/files.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 60'000; // milliseconds

} // namespace

Program::Program(const QString &folder)
    : folder(folder)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_RUNTIME_DIR"_s, folder + "/run"_L1);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    environment.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
    environment.insert(u"QT_PLUGIN_PATH"_s, QStringLiteral(SIMULATED_USER_FOLDER));
    environment.insert(u"QT_QPA_GENERIC_PLUGINS"_s,
                       u"simulateduser:%1/authorities.pem"_s.arg(folder));
    environment.insert(u"HOME"_s, folder);
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(folder + "/log"_L1);
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, [this] { hear(); });
}

Program::~Program()
{
    process.kill();
    process.waitForFinished();
}

bool Program::start()
{
    answers.remove(u"ready"_s);
    process.start(folder + "/marlowick"_L1);
    return QTest::qWaitFor([this] { return answers.contains(u"ready"_s) || !isRunning(); },
                           patience)
           && isRunning();
}

void Program::kill()
{
    process.kill();
    process.waitForFinished();
    hear();
}

bool Program::close()
{
    say({u"close"_s});
    return QTest::qWaitFor([this] { return !isRunning(); }, patience)
           && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool Program::startAgain(const QString &argument) const
{
    QProcess second;
    QProcessEnvironment environment = process.processEnvironment();
    environment.remove(u"QT_QPA_GENERIC_PLUGINS"_s);
    second.setProcessEnvironment(environment);
    second.start(folder + "/marlowick"_L1, {argument});
    return QTest::qWaitFor([&] { return second.state() == QProcess::NotRunning; }, patience)
           && second.exitStatus() == QProcess::NormalExit && second.exitCode() == 0;
}

void Program::say(const QStringList &words) { process.write(words.join(u'\t').toUtf8() + '\n'); }

QString Program::ask(const QStringList &words, const QString &verb)
{
    answers.remove(verb);
    say(words);
    static_cast<void>(
        QTest::qWaitFor([&] { return answers.contains(verb) || !isRunning(); }, patience));
    return answers.value(verb);
}

QJsonObject Program::state()
{
    return QJsonDocument::fromJson(ask({u"state"_s}, u"state"_s).toUtf8()).object();
}

void Program::hear()
{
    while (process.canReadLine()) {
        const QStringList words = QString::fromUtf8(process.readLine().chopped(1)).split(u'\t');
        static const QStringList verbs{u"ready"_s,   u"set"_s,   u"resting"_s,
                                       u"cleared"_s, u"state"_s, u"heap"_s};
        if (verbs.contains(words.first()))
            answers.insert(words.first(), words.value(1, u""_s));
        else if (listener)
            listener(words);
    }
}

QString Program::procPath(const QString &name) const
{
    return u"/proc/%1/"_s.arg(process.processId()) + name;
}

qint64 Program::residentBytes() const
{
    return contentsOf(procPath(u"statm"_s)).split(' ').value(1).toLongLong()
           * sysconf(_SC_PAGESIZE);
}

int Program::descriptors() const
{
    return static_cast<int>(QDir(procPath(u"fd"_s))
                                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                                .size());
}

QList<pid_t> Program::children() const
{
    QList<pid_t> found;
    const QDir tasks(procPath(u"task"_s));
    const QStringList threads = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : threads) {
        QFile list(tasks.filePath(thread + "/children"_L1));
        if (!list.open(QIODevice::ReadOnly))
            continue;
        const QList<QByteArray> pids = list.readAll().simplified().split(' ');
        for (const QByteArray &pid : pids) {
            if (!pid.isEmpty())
                found << pid.toInt();
        }
    }
    return found;
}
