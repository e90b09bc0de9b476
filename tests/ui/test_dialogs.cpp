// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The settings, with the login that proves a changed server, and the window of the log.
#include <netinet/in.h>
#include <numeric>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "ui/debugdialog.h"
#include "ui/settingswindow.h"
#include "ui/user.h"

/// Where the ports that the dialog offers lead to, and which of them was asked for last.
static quint16 serverPort = 0;
static int requestedPort = 0;

extern "C" int connect(int socket, const sockaddr *address, socklen_t length)
{
    sockaddr_in to{};
    std::memcpy(&to, address, std::min<size_t>(length, sizeof to));
    if (to.sin_family == AF_INET && ntohs(to.sin_port) < 1024) {
        requestedPort = ntohs(std::exchange(to.sin_port, htons(serverPort)));
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address = reinterpret_cast<const sockaddr *>(&to);
    }
    return static_cast<int>(syscall(SYS_connect, socket, address, length));
}

namespace {

struct World : User {
    World()
    {
        qputenv("HOME", QFile::encodeName(dir.path()));
        serverPort = server->serverPort();
        store(
            "autoPAR2=false;clearOnCompletion=true;hostname=127.0.0.1;mediaPlayer=;networkRetry=50;"
            "mediaPlayerArgs=--quiet  -x;networkTimeout=20;password=c+lyM3Q=;pausePAR2=false;"
            "port=119;rarHandling=after;ssl=false;threads=7;username=joe;downloadFolder="
            + dir.path());
    }
    void store(const QString &values)
    {
        for (const QString &value : values.split(';', Qt::SkipEmptyParts))
            engine->settings()->setValue(value.section('=', 0, 0), value.section('=', 1));
    }
    [[nodiscard]] QString stored() const
    {
        QString all;
        for (const QString &key : engine->settings()->allKeys())
            all += key + '=' + engine->settings()->value(key).toString() + ';';
        return all;
    }
    void open()
    {
        dialog = std::make_unique<SettingsWindow>(engine.get(), nullptr,
                                                  ServerTestPauses{10, 10, 10, 99'999});
        progress = dialog->findChild<QProgressDialog *>();
        dialog->findChild<QSpinBox *>("networkTimeout")->setMinimum(1);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    }
    void clickOk(const QString &words)
    {
        use(dialog.get(), words);
        dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    }
    [[nodiscard]] bool isTesting() const { return !dialog->isEnabled() && progress->isVisible(); }

    std::unique_ptr<DebugDialog> log{DebugDialog::instance(nullptr)};
    QPlainTextEdit *lines = log->findChild<QPlainTextEdit *>();
    std::unique_ptr<SettingsWindow> dialog;
    QProgressDialog *progress = nullptr;
};

const Case proposals("proposes at the first start, in a file for the user's eyes alone", [] {
    World t;
    const QString file = t.engine->settings()->fileName();
    for (const QString folder : {"", "/Documents/Downloads", "/Downloads"}) {
        t.engine->settings()->clear();
        t.engine->settings()->sync();
        QFile::setPermissions(file, QFile::ReadOwner | QFile::ReadOther);
        QDir(t.dir.path()).mkpath('.' + folder);
        t.open();
        t.dialog->saveSettings();
        QVERIFY(!(QFile::permissions(file) & QFile::ReadOther));
        const QString is = t.stored();
        t.store(
            "autoPAR2=true;clearOnCompletion=false;hostname=;mediaPlayer=;password=;username=;"
            "mediaPlayerArgs=-noidx -quiet -fs;networkRetry=60;networkTimeout=30;pausePAR2=true;"
            "port=119;rarHandling=during;ssl=false;threads=4;downloadFolder="
            + t.dir.path() + folder);
        QCOMPARE(is, t.stored());
    }
});

struct Visit {
    const char *name; ///< what is done before the click on OK
    const char *outcome; ///< what is stored anew, or a part of the box that refuses
    QByteArray sent = "0: "; ///< the port, and how that begins what the server gets
    const char *stands = ""; ///< what was stored before
    QByteArray greeting = "200 hello\r\n";
};
const Visit visits[] = {
    {"downloadFolder=%APPDIR;hostname= 127.0.0.1 ;mediaPlayer= %APPDIR/test_dialogs ;pausePAR2;"
     "mediaPlayerArgs= -a  -b;networkTimeout=72;networkRetry=1;rarHandlingDuring;autoPAR2;"
     "clearOnCompletion",
     "downloadFolder=%APPDIR;mediaPlayer=%APPDIR/test_dialogs;mediaPlayerArgs=-a  -b;autoPAR2=true;"
     "networkTimeout=72;networkRetry=1;rarHandling=during;pausePAR2=true;clearOnCompletion=false"},
    {"pausePAR2", "pausePAR2=true;rarHandling=disabled",
     "0: ", "ssl=true;port=443;rarHandling=After"},
    {"hostname= ;username=", "Hostname required: "},
    {"username= ;downloadFolder=", "Username?: "},
    {"downloadFolder=%APPDIR/test_dialogs;mediaPlayer=x", "Download folder does not exist: "},
    {"mediaPlayer=%appdir", "Media player does not exist: "},
    {"hostname= 127.0.0.2 ", "hostname=127.0.0.2", "119: AUTHINFO USER joe,"},
    {"username= Joe", "username=Joe", "119: AUTHINFO USER Joe,AUTHINFO PASS s\xe9r3t,QUIT"},
    {"password= 0ther ", "password=MHRoZXI=", "119: AUTHINFO USER joe,AUTHINFO PASS 0ther,QUIT"},
    {"password=  ", "password=", "119: QUIT"},
    {"threads=51", "threads=50", "119: AUTH"},
    // A password is shown up to a zero, and a port that cannot be chosen not at all.
    {"nossl", "password=c+k=;port=119", "119: AUTH", "port=563;password=c+kAY3JldA=="},
    {"ssl443", "", "443: "},
    {"ssl563", "", "563: "},
    {"autoPAR2", "", "563: ", "ssl=true;port=8080"},
    {"hostname=nowhere..invalid", "Host not found"},
    {"threads=1;networkTimeout=1", "Network time-out", "119: ", "", ""},
    {"threads=2;networkTimeout=1", "Network time-out", "119: ", "", QByteArray(9999, '2')},
    {"threads=3", "<p>502 &lt;i&gt;&amp;amp;<p>", "119: ", "", "502 <i>&amp;<p>\r\n"},
};
const Case visit("a visit to the settings", visits, [](const Visit &row) {
    World t;
    t.store(row.stands);
    const QString was = t.stored();
    QList<qsizetype> everywhere(9'999);
    std::iota(everywhere.begin(), everywhere.end(), 1);
    t.server->script(When::greeting(), Reply::bytes(row.greeting).splitAt(everywhere));
    t.open();
    const bool refused = !QString(row.outcome).contains('=');
    if (refused)
        t.dialog->findChild<QTabWidget *>()->setCurrentIndex(2);
    const QWidget *focused = t.dialog->focusWidget();
    requestedPort = 0;
    t.answers = {"Return"};
    t.clickOk(row.name);
    if (t.isTesting()) // nothing closes it
        QVERIFY(!t.dialog->close() && !t.progress->close() && t.isTesting());
    else if (refused)
        focused = t.dialog->findChild<QWidget *>(QString(row.name).section('=', 0, 0));
    int grown = 0; // the bar, while a server is silent
    QTRY_VERIFY_WITH_TIMEOUT((grown = qMax(grown, t.progress->value()), !t.isTesting()), 20'000);
    QVERIFY(grown > 1 || !QString(row.outcome).endsWith("time-out"));
    QTRY_COMPARE(t.server->openConnections(), 0);
    const QString is = t.stored(), log = t.lines->toPlainText();
    t.store(was + (refused ? "" : row.outcome));
    QCOMPARE(is, t.stored());
    const QByteArray sent =
        QByteArray::number(requestedPort) + ": " + t.server->commands().join(',');
    QVERIFY(sent.startsWith(row.sent));
    QVERIFY(log.contains("AUTHINFO USER") == sent.contains("AUTHINFO USER"));
    QVERIFY(!log.contains("r3t") && !log.contains("0ther"));
    QCOMPARE(t.dialog->isVisible(), refused);
    if (refused) {
        QVERIFY(t.told.join("").contains(row.outcome));
        QVERIFY(t.dialog->focusWidget() == focused && focused->isVisible());
        QVERIFY(t.dialog->close());
    }
});

const Case pool("cuts the downloads for the test, and starts them anew", [] {
    World t;
    t.server->script(When::command("QUIT"), Reply::silence(), 1); // this one stays until the end
    t.answers = {"Return", "Return"};
    t.open();
    const QString folder = t.dir.filePath("Marlowick");
    QVERIFY(QDir(folder).removeRecursively());
    writeFile(folder);
    t.clickOk("threads=2");
    QTRY_VERIFY(!t.dialog->isVisible());
    QCOMPARE(t.told.join('|'), "Access error: Error writing settings. Check file permissions.");
    const Nzb *nzb = t.startHeldFilm(10'000);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    t.open();
    t.clickOk("threads=1");
    QVERIFY(t.engine->connectionCount() == 0 && !nzb->hasActiveSegments());
    QTRY_VERIFY(!t.dialog->isVisible());
    QTRY_COMPARE(t.server->waiting().size(), 1);
    QTRY_COMPARE(t.server->openConnections(), 2);
    t.engine.reset();
    QTRY_COMPARE(t.server->openConnections(), 0);
});

const Case log("chooses files, opens the log, which shows what all say, and saves it", [] {
    World t;
    t.store("rarHandling=during;autoPAR2=true;pausePAR2=true;clearOnCompletion=false");
    t.open();
    t.answers = {"fileNameEdit=/bin/sh;Return", "fileNameEdit=/usr;Return"};
    const QString was = t.stored();
    t.clickOk("browseMplayer;browseDownloadFolder;debugButton");
    QCOMPARE(t.stored(),
             QString(was).replace(t.dir.path(), "/usr").replace("Player=", "Player=/bin/sh"));
    QVERIFY(t.log->isVisible());
    t.lines->clear();
    qSetMessagePattern(QString());
    t.log->appendMessage(QtFatalMsg, QString(25'000, 'x')); // in pieces, or it takes its time
    qInfo("größe <b>\u65e5");
    // Joined without the event loop, as by what it belongs to: it may not wait for the window.
    std::thread([] {
        for (int i = 0; i < 500; ++i)
            qWarning("%d", i);
    }).join();
    const QString piece = QString(10'000, 'x') + '\n';
    QString expected = "FATAL: " + piece.mid(7) + piece + piece.right(5'008) + "größe <b>\u65e5";
    for (int i = 0; i < 500; ++i)
        expected += QString("\nWARNING: %1").arg(i);
    QTRY_COMPARE(t.lines->toPlainText(), expected);
    t.answers = {"Esc", "fileNameEdit=" + t.dir.filePath("log") + ";Return",
                 "fileNameEdit=/proc/log;Return"};
    while (!t.answers.isEmpty())
        t.log->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Save)->click();
    QVERIFY(contentsOf(t.dir.filePath("log")).contains("\ngr\xf6\xdf\x65 <b>?\n"));
    // What the control itself says meanwhile is dropped.
    QObject::connect(t.lines, &QPlainTextEdit::textChanged, t.log.get(),
                     [&t] { t.log->appendMessage(QtWarningMsg, "within"); });
    t.log->appendMessage(QtCriticalMsg, "last");
    t.log->appendMessage(QtDebugMsg, "of all");
    QVERIFY(t.lines->toPlainText().endsWith("\nCRITICAL: last\nof all"));
});

const Case deleted("goes while workers log", [] {
    for (int round = 0; round < 10; ++round) {
        std::atomic<bool> stop = false;
        std::thread worker([&] {
            for (; !stop; QThread::usleep(1))
                qDebug("still here");
        });
        const auto end = qScopeGuard([&] { stop = true, worker.join(); });
        const std::unique_ptr<DebugDialog> log(DebugDialog::instance(nullptr));
        QTRY_VERIFY(log->findChild<QPlainTextEdit *>()->toPlainText().contains("here"));
    }
});

} // namespace
