// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// marlowick_demo PROGRAM [--verbose]
// Shows the program at work without a news account: a news server of its own holds two sample
// posts, and a copy of the program with settings of its own downloads them.
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <tuple>

#include "support/newsserver.h"
#include "support/posts.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int timeLimit = 60'000; // milliseconds, for the whole download
constexpr int pollInterval = 100; // milliseconds
constexpr int farewell = 5'000; // milliseconds that the program has to obey SIGTERM

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

bool hasDisplay()
{
    return qEnvironmentVariable("QT_QPA_PLATFORM") != "offscreen"_L1
           && (!qEnvironmentVariableIsEmpty("DISPLAY")
               || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"));
}

QString sha256(const QByteArray &data)
{
    const QByteArray hash = QCryptographicHash::hash(data, QCryptographicHash::Sha256);
    return QString::fromLatin1(hash.toHex());
}

} // namespace

class Demo final : public QObject {
    Q_OBJECT

public:
    Demo(const QString &program, bool verbose)
        : program(program)
        , verbose(verbose)
    {
    }

    /// Starts the download. When it is over, finished() brings the exit code.
    /// @returns false if something is missing, which has been printed then
    bool start();

signals:
    void finished(int exitCode);

private:
    void makePost();
    void makeObscurePost();
    void writeSettings() const;
    [[nodiscard]] QProcessEnvironment environment() const;
    void forwardOutput();
    void poll();
    [[nodiscard]] QByteArray received(const QString &name) const;
    [[nodiscard]] bool allReceived();
    void showResult();
    void printTable();
    void programEnded();

    QString program;
    bool verbose;
    QTemporaryDir folder;
    NewsServer server;
    Post post{u"sample"_s};
    Post obscure{u"evening"_s};
    /// The files that must be there in the end: path and content.
    QList<std::pair<QString, QByteArray>> wanted;
    QProcess process;
    QTimer pollTimer;
    QElapsedTimer clock;
    bool shown = false;
    int exitCode = 1;
};

bool Demo::start()
{
    makePost();
    makeObscurePost();
    post.upload(server);
    obscure.upload(server);
    server.requireLogin("reader", "secret");
    const QString nzb = post.writeGzipNzb(folder.path());
    const QString obscureNzb = obscure.writeNzb(folder.path());
    const QString copy = folder.filePath(u"marlowick"_s);
    const QDir place(folder.path());
    if (nzb.isEmpty() || obscureNzb.isEmpty() || !place.mkdir(u"run"_s)
        || !place.mkdir(u"downloads"_s) || !QFile::copy(program, copy)) {
        out() << "Cannot prepare " << folder.path() << " with a copy of " << program << Qt::endl;
        return false;
    }
    // The runtime folder is only trusted if nobody else may enter it.
    QFile::setPermissions(folder.filePath(u"run"_s),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    writeSettings();

    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setProcessEnvironment(environment());
    connect(&process, &QProcess::readyReadStandardOutput, this, &Demo::forwardOutput);
    connect(&process, &QProcess::finished, this, &Demo::programEnded);
    connect(&process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            programEnded();
    });
    connect(&pollTimer, &QTimer::timeout, this, &Demo::poll);
    clock.start();
    pollTimer.start(pollInterval);
    process.start(copy, {nzb, obscureNzb});
    return true;
}

void Demo::makePost()
{
    // Whole lines of 45 bytes: the last byte of a line of 3k + 1 bytes does not survive decoding.
    wanted = {{u"sample/holiday.avi"_s, randomBytes(1, 6'000'000)},
              {u"sample/read me.txt"_s, "A small text, posted in one article.\n"},
              {u"sample/cover.jpg"_s, randomBytes(2, 405'000)}};
    const auto &[film, text, cover] = std::tie(wanted[0], wanted[1], wanted[2]);
    const RarVolumes volumes =
        packWithRar({{u"holiday.avi"_s, film.second}}, {u"-m0"_s, u"-v1500k"_s});
    const RarVolumes recovery = recoveryOf(volumes, {u"-s50000"_s, u"-c16"_s});
    for (const auto &[name, data] : volumes + recovery)
        post.addYenc(name, data, 250'000);
    post.file(1).segment(3).onServer = false;
    post.addYenc(u"read me.txt"_s, text.second);
    post.addUuencoded(u"cover.jpg"_s, cover.second, 2'000);
    out() << "A news server on 127.0.0.1, port " << server.serverPort() << ", holds a film in "
          << volumes.size() << " RAR volumes, with an article missing, " << recovery.size()
          << " PAR2 files and two small files." << Qt::endl;
}

/// With an article missing, too, and names that tell nothing: those of the volumes are only in the
/// PAR2 files, and the film has none at all.
void Demo::makeObscurePost()
{
    const auto madeUp = [](const QByteArray &data) {
        return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex());
    };
    const QByteArray film = randomBytes(3, 3'000'000);
    const RarVolumes volumes =
        packWithRar({{madeUp(film) + u".mkv"_s, film}}, {u"-m0"_s, u"-v800k"_s});
    const RarVolumes recovery = recoveryOf(volumes, {u"-s50000"_s, u"-c16"_s});
    for (const auto &[name, data] : volumes + recovery)
        obscure.addYenc(madeUp(data), data, 250'000);
    obscure.file(1).segment(2).onServer = false;
    wanted.append({u"evening/evening.mkv"_s, film});
    out() << "A second post of " << volumes.size() << " volumes and " << recovery.size()
          << " PAR2 files has names that tell nothing, and an article missing." << Qt::endl;
}

void Demo::writeSettings() const
{
    QSettings settings(folder.filePath(u"Marlowick.ini"_s), QSettings::IniFormat);
    const std::initializer_list<std::pair<QAnyStringView, QVariant>> values = {
        {"hostname", u"127.0.0.1"_s},
        {"port", server.serverPort()},
        {"ssl", false},
        {"username", u"reader"_s},
        {"password", QByteArray("secret").toBase64()},
        {"threads", 4},
        {"networkTimeout", 30},
        {"networkRetry", 5},
        {"downloadFolder", u"%APPDIR/downloads"_s},
        {"rarHandling", u"during"_s},
        {"autoPAR2", true},
        {"pausePAR2", true},
    };
    for (const auto &[key, value] : values)
        settings.setValue(key.toString(), value);
}

QProcessEnvironment Demo::environment() const
{
    auto result = QProcessEnvironment::systemEnvironment();
    // A relative WAYLAND_DISPLAY is looked up in the runtime folder, which is about to change.
    const QString wayland = result.value(u"WAYLAND_DISPLAY"_s);
    if (!wayland.isEmpty() && !wayland.startsWith(u'/'))
        result.insert(u"WAYLAND_DISPLAY"_s, result.value(u"XDG_RUNTIME_DIR"_s) + u'/' + wayland);
    result.insert(u"XDG_RUNTIME_DIR"_s, folder.filePath(u"run"_s));
    result.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
    if (!hasDisplay())
        result.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    return result;
}

void Demo::forwardOutput()
{
    while (process.canReadLine()) {
        const QString line = QString::fromUtf8(process.readLine()).trimmed();
        if (verbose || line.startsWith("Notice: "_L1) || line.startsWith("Error"_L1))
            out() << "  marlowick: " << line << Qt::endl;
    }
}

void Demo::poll()
{
    const bool over = server.acceptedConnections() > 0 && server.openConnections() == 0;
    if ((over && allReceived()) || clock.hasExpired(timeLimit))
        showResult();
}

QByteArray Demo::received(const QString &name) const
{
    QFile result(folder.filePath(u"downloads/"_s + name));
    return result.open(QIODevice::ReadOnly) ? result.readAll() : QByteArray();
}

bool Demo::allReceived()
{
    return std::all_of(wanted.cbegin(), wanted.cend(),
                       [this](const auto &file) { return received(file.first) == file.second; });
}

void Demo::showResult()
{
    pollTimer.stop();
    shown = true;
    exitCode = allReceived() ? 0 : 1;
    printTable();
    if (hasDisplay()) {
        out() << "Close the window to end the demonstration." << Qt::endl;
        return;
    }
    process.terminate();
    QTimer::singleShot(farewell, &process, &QProcess::kill);
}

void Demo::printTable()
{
    out() << Qt::endl;
    for (const auto &[name, posted] : std::as_const(wanted)) {
        const QByteArray data = received(name);
        out() << name.leftJustified(22) << QString::number(data.size()).rightJustified(9) << " of "
              << QString::number(posted.size()).rightJustified(7) << " bytes  "
              << (data == posted ? "equal" : "NOT EQUAL") << "\n    posted    " << sha256(posted)
              << "\n    received  " << sha256(data) << Qt::endl;
    }
    out() << (exitCode == 0 ? "\nAll files are as they were posted, after "
                            : "\nThe download failed, after ")
          << QString::number(double(clock.elapsed()) / 1000, 'f', 1) << " s." << Qt::endl;
}

void Demo::programEnded()
{
    if (!shown) {
        pollTimer.stop();
        if (process.exitStatus() == QProcess::NormalExit
            && process.error() == QProcess::UnknownError)
            out() << "The program ended early, exit code " << process.exitCode() << Qt::endl;
        else
            out() << "The program failed: " << process.errorString() << Qt::endl;
        printTable();
    }
    emit finished(exitCode);
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStringList arguments = QCoreApplication::arguments().sliced(1);
    const bool verbose = arguments.removeAll(u"--verbose"_s) > 0;
    if (arguments.size() != 1) {
        out() << "Usage: marlowick_demo PROGRAM [--verbose]" << Qt::endl;
        return 2;
    }
    Demo demo(arguments.first(), verbose);
    QObject::connect(&demo, &Demo::finished, &app, &QCoreApplication::exit, Qt::QueuedConnection);
    return demo.start() ? QCoreApplication::exec() : 1;
}

#include "demo.moc"
