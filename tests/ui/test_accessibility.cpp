// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDBusReply>
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <optional>
#include <sys/prctl.h>
#include <utility>

#include "accessible.h"
#include "support/files.h"
#include "support/newsserver.h"
#include "support/posts.h"

using namespace Qt::StringLiterals;

namespace {

using Process = std::unique_ptr<QProcess>;

constexpr int patienceMsec = 30'000;

/// What a screen reader would stumble over below @p window, and whether there are fewer controls
/// than there should be. A cell may be empty, and a scroll bar needs no name.
QString faultsOf(const Accessible &window, int controls)
{
    const QStringList nameless{u"tree item"_s, u"scroll bar"_s};
    QStringList faults;
    for (const Accessible &part : window.below()) {
        if (!part.isControl())
            continue;
        --controls;
        const QString role = part.role();
        const QString name = part.name();
        if (!part.hasRole() || (name.trimmed().isEmpty() && !nameless.contains(role)))
            faults << u"%1 \"%2\""_s.arg(role, name);
    }
    if (controls != 0)
        faults << u"%1 controls more than expected"_s.arg(-controls);
    return faults.join(u'\n');
}

} // namespace

/// The program itself on a display of its own, used through the accessibility bus as a screen
/// reader uses it. The bus is a private one with the system's registry.
class TestAccessibility final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void queue();
    void deleteDialog();
    void settings();
    void debugWindow();

private:
    [[nodiscard]] Process start(const QString &program, const QStringList &arguments) const;
    static void stop(const Process &process);
    [[nodiscard]] QList<Accessible> windows() const;
    [[nodiscard]] Accessible window(const QString &title) const;
    [[nodiscard]] Accessible openSettings() const;

    QTemporaryDir busDir;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    Process display;
    Process sessionBus;
    std::optional<Accessible> desktop; ///< the parent of every program

    std::optional<QTemporaryDir> dir;
    std::unique_ptr<NewsServer> server;
    Process program;
};

/// None of what it starts outlives this process.
Process TestAccessibility::start(const QString &name, const QStringList &arguments) const
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environment);
    process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    process->setStandardErrorFile(busDir.filePath(u"errors"_s), QIODevice::Append);
    process->start(name, arguments);
    return process;
}

void TestAccessibility::initTestCase()
{
    const QString address = "unix:path="_L1 + busDir.filePath(u"bus"_s);
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, address);
    environment.insert(u"XDG_RUNTIME_DIR"_s, busDir.path());
    environment.insert(u"GSETTINGS_BACKEND"_s, u"memory"_s);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
    environment.remove(u"QT_QPA_PLATFORMTHEME"_s);
    environment.remove(u"AT_SPI_BUS_ADDRESS"_s);
    display = start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s, u"-noreset"_s});
    QVERIFY2(display->waitForReadyRead(), "the package xvfb is missing");
    environment.insert(u"DISPLAY"_s, u':' + QString::fromLatin1(display->readLine().trimmed()));
    sessionBus = start(u"dbus-daemon"_s, {u"--session"_s, u"--address="_s + address, u"--nofork"_s,
                                          u"--nopidfile"_s, u"--print-address"_s});
    QVERIFY2(sessionBus->waitForReadyRead(), "the package dbus-daemon is missing");
    const QDBusReply<QString> found =
        QDBusConnection::connectToBus(address, u"session"_s)
            .call(QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                                                 u"org.a11y.Bus"_s, u"GetAddress"_s));
    QVERIFY2(found.isValid(), "the package at-spi2-core is missing");
    desktop.emplace(QDBusConnection::connectToBus(found, u"accessibility"_s),
                    u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s);
}

void TestAccessibility::init()
{
    QFile::remove(busDir.filePath(u"errors"_s));
    dir.emplace();
    server = std::make_unique<NewsServer>();
    QVERIFY(QFile::copy(QStringLiteral(MARLOWICK_PROGRAM), dir->filePath(u"marlowick"_s)));
    QVERIFY(QDir(dir->path()).mkdir(u"downloads"_s));
    writeFile(dir->filePath(u"Marlowick.ini"_s),
              "hostname=127.0.0.1\nthreads=2\nnetworkTimeout=30\nnetworkRetry=30\n"
              "downloadFolder=%APPDIR/downloads\nport="
                  + QByteArray::number(server->serverPort()) + '\n');
    QStringList nzbs;
    for (const QString &name : {u"film"_s, u"later"_s}) {
        Post post(name);
        post.addYenc(name + ".bin"_L1, QByteArray(20'000, 'x'), 10'000);
        post.upload(*server);
        nzbs << post.writeNzb(dir->path());
    }
    server->holdAll();
    server->release("film.1.1@post.test");
    program = start(dir->filePath(u"marlowick"_s), nzbs);
    QTRY_VERIFY_WITH_TIMEOUT(window(u"Marlowick"_s).exists(), patienceMsec);
}

void TestAccessibility::cleanup()
{
    if (QTest::currentTestFailed())
        qInfo().noquote() << contentsOf(busDir.filePath(u"errors"_s));
    QVERIFY(program && program->state() == QProcess::Running);
    stop(program);
}

void TestAccessibility::cleanupTestCase()
{
    stop(sessionBus); // with which goes the accessibility bus
    stop(display);
}

void TestAccessibility::stop(const Process &process)
{
    if (!process)
        return; // as after a failed start of what comes before it
    process->terminate();
    QVERIFY(process->waitForFinished());
}

QList<Accessible> TestAccessibility::windows() const
{
    QList<Accessible> windows;
    for (const Accessible &application : desktop->children()) {
        for (const Accessible &window : application.children()) {
            if (window.is(Accessible::Showing))
                windows << window;
        }
    }
    return windows;
}

Accessible TestAccessibility::window(const QString &title) const
{
    for (const Accessible &window : windows()) {
        if (window.name() == title)
            return window;
    }
    return {};
}

void TestAccessibility::queue()
{
    const Accessible main = window(u"Marlowick"_s);
    const Accessible list = main.find(u"tree"_s, u"Download queue"_s);
    // A screen reader reads the cells of a row in this way. The NZB announces the encoded size.
    QTRY_COMPARE_WITH_TIMEOUT(list.cell(0, 2).name(), u"49 %"_s, patienceMsec);
    QCOMPARE(list.cell(0, 0).name(), u"film"_s);
    QCOMPARE(list.cell(1, 0).name(), u"later"_s);
    QCOMPARE(list.cell(1, 2).name(), QString());
    QCOMPARE(faultsOf(main, 1 + 6 + 6), QString()); // the list, its cells, the buttons
    server->releaseAll();
    QTRY_COMPARE_WITH_TIMEOUT(list.cell(0, 2).name(), u"Finished"_s, patienceMsec);
}

/// A row becomes the current one when the window becomes active, for which it takes a second start
/// where there is no window manager.
void TestAccessibility::deleteDialog()
{
    const Accessible main = window(u"Marlowick"_s);
    const Accessible list = main.find(u"tree"_s, u"Download queue"_s);
    const Accessible button = main.find(u"push button"_s, u"Delete"_s);
    QVERIFY(!button.is(Accessible::Enabled));
    const Process second = start(program->program(), {});
    QVERIFY(second->waitForFinished());
    QTRY_VERIFY_WITH_TIMEOUT(button.is(Accessible::Enabled), patienceMsec);
    for (const QString &answer : {u"Cancel"_s, u"Remove item from list"_s}) {
        QCOMPARE(list.cell(0, 0).name(), u"film"_s);
        QVERIFY(button.press());
        QTRY_VERIFY_WITH_TIMEOUT(window(u"Confirm delete"_s).exists(), patienceMsec);
        const Accessible dialog = window(u"Confirm delete"_s);
        QCOMPARE(faultsOf(dialog, 3), QString());
        QVERIFY(dialog.find(u"push button"_s, answer).press());
        QTRY_VERIFY_WITH_TIMEOUT(!window(u"Confirm delete"_s).exists(), patienceMsec);
    }
    QTRY_COMPARE_WITH_TIMEOUT(list.cell(0, 0).name(), u"later"_s, patienceMsec);
}

Accessible TestAccessibility::openSettings() const
{
    if (!window(u"Marlowick"_s).find(u"push button"_s, u"Settings"_s).press()
        || !QTest::qWaitFor([this] { return window(u"Settings"_s).exists(); }, patienceMsec))
        return {};
    return window(u"Settings"_s);
}

void TestAccessibility::settings()
{
    const Accessible dialog = openSettings();
    for (const auto &[tab, controls] :
         {std::pair(u"Server"_s, 6), std::pair(u"Advanced"_s, 14), std::pair(u"Support"_s, 2)}) {
        QVERIFY(dialog.find(u"page tab"_s, tab).press());
        const int around = 4 + 2; // the tabs, the buttons
        QTRY_COMPARE_WITH_TIMEOUT(faultsOf(dialog, controls + around), QString(), patienceMsec);
    }
    QVERIFY(dialog.find(u"page tab"_s, u"Advanced"_s).press());
    const auto description = [&](const QString &role, const QString &name) {
        return dialog.find(role, name).description();
    };
    QTRY_COMPARE(description(u"spin box"_s, u"Network time-out:"_s), u"seconds"_s);
    QCOMPARE(description(u"radio button"_s, u"Disabled"_s), u"RAR handling"_s);
    QVERIFY(dialog.find(u"page tab"_s, u"Server"_s).press());
    QTRY_COMPARE(description(u"radio button"_s, u"No"_s),
                 u"Does the server supports SSL encryption?"_s);
    QVERIFY(dialog.find(u"text"_s, u"Hostname:"_s).write(QString()));
    QVERIFY(dialog.find(u"push button"_s, u"OK"_s).press());
    QTRY_VERIFY_WITH_TIMEOUT(window(u"Hostname required"_s).exists(), patienceMsec);
    const Accessible box = window(u"Hostname required"_s);
    QCOMPARE(faultsOf(box, 2), QString()); // its text can take the focus
    QVERIFY(box.find(u"label"_s, u"Please enter the hostname of your Usenet server"_s).exists());
    QVERIFY(box.find(u"push button"_s, u"OK"_s).press());
    QTRY_VERIFY_WITH_TIMEOUT(!window(u"Hostname required"_s).exists(), patienceMsec);
}

void TestAccessibility::debugWindow()
{
    const Accessible dialog = openSettings();
    QVERIFY(dialog.find(u"page tab"_s, u"Support"_s).press());
    QTRY_VERIFY_WITH_TIMEOUT(dialog.find(u"push button"_s, u"Open debugging window"_s).press(),
                             patienceMsec);
    QTRY_VERIFY_WITH_TIMEOUT(window(u"Debug log"_s).exists(), patienceMsec);
    QVERIFY(dialog.find(u"push button"_s, u"Cancel"_s).press());
    QTRY_VERIFY_WITH_TIMEOUT(!window(u"Settings"_s).exists(), patienceMsec);
    const Accessible log = window(u"Debug log"_s);
    QCOMPARE(faultsOf(log, 5), QString()); // the log, its scroll bars, the buttons
    QVERIFY(log.find(u"push button"_s, u"Close"_s).press());
    QTRY_VERIFY_WITH_TIMEOUT(!window(u"Debug log"_s).exists(), patienceMsec);
}

QTEST_GUILESS_MAIN(TestAccessibility)
#include "test_accessibility.moc"
