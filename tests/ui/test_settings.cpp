// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The settings dialog, used by key and click: what it shows, stores and refuses, and the login with
// which it proves a changed server.
#include <QtWidgets>

#include <cstring>
#include <netinet/in.h>
#include <numeric>
#include <optional>
#include <sys/syscall.h>
#include <unistd.h>

#include "engine/enginefixture.h"
#include "support/case.h"
#include "support/testcertificate.h"
#include "ui/debugdialog.h"
#include "ui/mainwindow.h"
#include "ui/settingswindow.h"

using namespace Qt::StringLiterals;

namespace {

/// Where the ports that the dialog offers lead to, and which of them was asked for last.
quint16 serverPort = 0;
int requestedPort = 0;

} // namespace

extern "C" int connect(int socket, const sockaddr *address, socklen_t length)
{
    sockaddr_in mapped{};
    if (address->sa_family == AF_INET && length == sizeof mapped) {
        std::memcpy(&mapped, address, sizeof mapped);
        const int port = ntohs(mapped.sin_port);
        if (port == 119 || port == 443 || port == 563) {
            requestedPort = port;
            mapped.sin_port = htons(serverPort);
            mapped.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            return static_cast<int>(syscall(SYS_connect, socket, &mapped, sizeof mapped));
        }
    }
    return static_cast<int>(syscall(SYS_connect, socket, address, length));
}

namespace {

/// The dialog, and a user who reads each message box and answers it by the return key.
struct World : EngineFixture {
    explicit World(std::unique_ptr<NewsServer> newsServer = std::make_unique<NewsServer>())
        : EngineFixture(std::move(newsServer))
    {
        qputenv("HOME", QFile::encodeName(dir.path()));
        serverPort = server->serverPort();
        store(expected);
        QObject::connect(&user, &QTimer::timeout, &user, [this] {
            QWidget *modal = QApplication::activeModalWidget();
            if (const auto *box = qobject_cast<QMessageBox *>(modal)) {
                told << QString(box->windowTitle() + u": "_s + box->text());
                tabUnderBox = dialog->findChild<QTabWidget *>()->currentIndex();
                QTest::keyClick(modal, Qt::Key_Return);
            } else if (modal && answerNext) {
                std::exchange(answerNext, nullptr)(modal);
            }
        });
        user.start(1);
    }
    void store(const QVariantMap &values) const
    {
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            engine->settings()->setValue(value.key(), *value);
        engine->settings()->sync();
    }
    [[nodiscard]] QVariantMap stored() const
    {
        QVariantMap all;
        for (const QString &key : engine->settings()->allKeys())
            all.insert(key, engine->settings()->value(key));
        return all;
    }
    void open(const ServerTestPauses &pauses = {.afterClosing = 10, .restart = 10, .watch = 10})
    {
        dialog = std::make_unique<SettingsWindow>(engine.get(), nullptr, pauses);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    }
    template <class T = QWidget> [[nodiscard]] T *find(const QString &name) const
    {
        return dialog->findChild<T *>(name);
    }
    /// Types @p text into a field, or clicks a button.
    void use(const QString &name, const QString &text = {}) const
    {
        auto *widget = find(name);
        if (qobject_cast<QAbstractButton *>(widget)) {
            QTest::mouseClick(widget, Qt::LeftButton, {}, QPoint(8, widget->height() / 2));
            return;
        }
        QMetaObject::invokeMethod(widget, "selectAll");
        QTest::keyClick(widget, Qt::Key_Delete);
        QTest::keyClicks(widget, text);
    }
    void clickOk() const
    {
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
    }
    [[nodiscard]] bool isAccepted() const
    {
        return !dialog->isVisible() && dialog->result() == QDialog::Accepted;
    }
    [[nodiscard]] QProgressDialog *progress() const
    {
        return dialog->findChild<QProgressDialog *>();
    }
    [[nodiscard]] bool isTesting() const
    {
        return dialog->isVisible() && !dialog->isEnabled() && progress()->isVisible();
    }

    /// What is stored, and shall be in the end.
    QVariantMap expected{{u"hostname"_s, u"127.0.0.1"_s},
                         {u"username"_s, u"joe"_s},
                         {u"password"_s, "c+lyM3Q="_ba}, // "s\xe9r3t"
                         {u"mediaPlayer"_s, QString()},
                         {u"mediaPlayerArgs"_s, u"--quiet  -x"_s},
                         {u"downloadFolder"_s, dir.path()},
                         {u"threads"_s, 7},
                         {u"networkTimeout"_s, 20},
                         {u"networkRetry"_s, 50},
                         {u"port"_s, 119},
                         {u"ssl"_s, false},
                         {u"rarHandling"_s, u"after"_s},
                         {u"autoPAR2"_s, false},
                         {u"pausePAR2"_s, false},
                         {u"clearOnCompletion"_s, true}};
    QTimer user;
    std::unique_ptr<SettingsWindow> dialog;
    std::function<void(QWidget *)> answerNext; ///< for a modal dialog that is no message box
    QStringList told; ///< title and text of each box
    int tabUnderBox = -1;
};

const Case proposals("proposes at the first start, in a file for the user's eyes alone", [] {
    World t;
    t.engine->settings()->clear();
    const QString player = QCoreApplication::applicationDirPath() + "/3rdparty/mplayer.exe"_L1;
    QVERIFY(QDir().mkpath(QFileInfo(player).path()));
    writeFile(player);
    const auto tidyUp = qScopeGuard([&] { QFile::remove(player); });
    for (const QString &folder : {u""_s, u"/Documents/Downloads"_s, u"/Downloads"_s}) {
        QVERIFY(QDir(t.dir.path()).mkpath(u'.' + folder));
        t.open();
        QCOMPARE(t.find<QLineEdit>(u"downloadFolder"_s)->text(), QString(t.dir.path() + folder));
    }
    const QString file = t.engine->settings()->fileName();
    for (int i = 0; i < 2; ++i) {
        t.dialog->saveSettings();
        QVERIFY(!(QFile::permissions(file) & (QFile::ReadGroup | QFile::ReadOther)));
        QFile::setPermissions(file, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
    }
    t.expected.insert({{u"hostname"_s, QString()},
                       {u"username"_s, QString()},
                       {u"password"_s, QByteArray()},
                       {u"mediaPlayer"_s, player},
                       {u"mediaPlayerArgs"_s, u"-noidx -quiet -fs"_s},
                       {u"downloadFolder"_s, QString(t.dir.path() + "/Downloads"_L1)},
                       {u"threads"_s, 4},
                       {u"networkTimeout"_s, 30},
                       {u"networkRetry"_s, 60},
                       {u"rarHandling"_s, u"during"_s},
                       {u"autoPAR2"_s, true},
                       {u"pausePAR2"_s, true},
                       {u"clearOnCompletion"_s, false}});
    QCOMPARE(t.stored(), t.expected);
});

struct Choice {
    const char *name; // ssl, port and rarHandling that stand there
    QVariantList becomes;
};
const Choice choices[] = {
    {"false,563,during", {false, 119, u"during"_s}},
    {"true,443,After", {true, 443, u"disabled"_s}},
    {"true,8080,after", {true, 563, u"after"_s}},
};
const Case choice("shows what is stored", choices, [](const Choice &row) {
    World t;
    const QStringList stands = QString::fromLatin1(row.name).split(u',');
    t.store({{u"ssl"_s, stands[0]}, {u"port"_s, stands[1]}, {u"rarHandling"_s, stands[2]}});
    t.store({{u"password"_s, QByteArray("s\xe9\0cret", 7).toBase64()}}); // ends at the zero
    t.open();
    QCOMPARE(t.find<QLineEdit>(u"password"_s)->echoMode(), QLineEdit::Password);
    t.dialog->saveSettings();
    t.expected.insert({{u"ssl"_s, row.becomes[0]},
                       {u"port"_s, row.becomes[1]},
                       {u"rarHandling"_s, row.becomes[2]},
                       {u"password"_s, QByteArray("s\xe9").toBase64()}});
    QCOMPARE(t.stored(), t.expected);
});

const Case change("stores at once what does not concern the server", [] {
    World t;
    const QStringList rounds[] = {
        {u"hostname= 127.0.0.1 "_s, u"networkTimeout=7200"_s, u"networkRetry=1"_s,
         u"mediaPlayer= %APPDIR/test_settings "_s, u"mediaPlayerArgs=-a  -b"_s,
         u"downloadFolder=%APPDIR"_s, u"rarHandlingDuring"_s, u"autoPAR2"_s, u"pausePAR2"_s,
         u"clearOnCompletion"_s},
        {u"networkTimeout=4"_s, u"networkRetry=0"_s, u"threads=0"_s}, // refused
        {u"rarhandlingDisabled"_s}};
    for (const QStringList &changes : rounds) {
        t.open();
        for (const QString &change : changes)
            t.use(change.section(u'=', 0, 0), change.section(u'=', 1));
        t.clickOk();
        QVERIFY(t.isAccepted());
        t.expected.insert({{u"mediaPlayer"_s, u"%APPDIR/test_settings"_s},
                           {u"mediaPlayerArgs"_s, u"-a  -b"_s},
                           {u"downloadFolder"_s, u"%APPDIR"_s},
                           {u"networkTimeout"_s, 7200},
                           {u"networkRetry"_s, 1},
                           {u"rarHandling"_s, changes.size() > 1 ? u"during"_s : u"disabled"_s},
                           {u"autoPAR2"_s, true},
                           {u"pausePAR2"_s, true},
                           {u"clearOnCompletion"_s, false}});
        QCOMPARE(t.stored(), t.expected);
    }
    QCOMPARE(t.told, QStringList());
});

struct Refusal {
    const char *name; // what the box says
    QList<std::pair<QString, QString>> texts;
    int tab;
};
const Refusal refusals[] = {
    {"Hostname required: Please enter the hostname of your Usenet server",
     {{u"hostname"_s, u" "_s}, {u"username"_s, {}}},
     0},
    {"Username?: You entered a password, but left username empty. Please enter a username if your "
     "server requires authentication, or leave both username and password blank",
     {{u"username"_s, u" "_s}, {u"downloadFolder"_s, {}}},
     0},
    {"Download folder does not exist: The folder you specified does not exists",
     {{u"downloadFolder"_s, u"%APPDIR/test_settings"_s}, {u"mediaPlayer"_s, u"x"_s}},
     1},
    {"Media player does not exist: Please specify the location of your media player, or leave "
     "blank",
     {{u"mediaPlayer"_s, u"%appdir"_s}},
     1},
};
const Case refusal("refuses", refusals, [](const Refusal &row) {
    World t;
    t.open();
    for (const auto &[field, text] : row.texts)
        t.use(field, text);
    t.use(u"autoPAR2"_s);
    t.find<QTabWidget>(u"tabWidget"_s)->setCurrentIndex(2);
    t.clickOk();
    QCOMPARE(t.told, QStringList{QString::fromLatin1(row.name)});
    QCOMPARE(t.tabUnderBox, row.tab);
    QCOMPARE(t.dialog->focusWidget()->objectName(), row.texts.first().first);
    QCOMPARE(t.stored(), t.expected);
});

const Case browsing("chooses files, and opens the log", [] {
    World t;
    const QString player = writeFile(t.dir.filePath(u"player"_s));
    t.open();
    for (const auto &[button, field, file] :
         {std::tuple{u"browseMplayer"_s, u"mediaPlayer"_s, player},
          {u"browseDownloadFolder"_s, u"downloadFolder"_s, t.dir.path()}}) {
        t.find<QTabWidget>(u"tabWidget"_s)->setCurrentIndex(1);
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
            t.answerNext = [key, path = file](QWidget *modal) {
                modal->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
                QTest::keyClick(modal, key);
            };
            t.use(button);
            const bool chosen = key == Qt::Key_Return;
            QCOMPARE(t.find<QLineEdit>(field)->text(), chosen ? file : QString());
        }
    }
    t.find<QTabWidget>(u"tabWidget"_s)->setCurrentIndex(2);
    t.use(u"debugButton"_s);
    const QPointer<DebugDialog> log = DebugDialog::instance(nullptr);
    t.dialog.reset();
    QVERIFY(log && log->isVisible());
    delete log;
});

struct Start {
    const char *name;
    QVariantMap settings;
};
const Start starts[] = {
    {"configured", {}},
    {"no host", {{u"hostname"_s, QString()}}},
    {"no folder", {{u"downloadFolder"_s, QString()}}},
    {"folder vanished", {{u"downloadFolder"_s, u"%APPDIR/x"_s}}},
};
const Case start("comes by itself when the program starts", starts, [](const Start &row) {
    World t;
    t.engine->addNZB(writeFile(t.dir.filePath(u"job.nzb"_s), "<nzb/>"));
    t.engine->saveQueue();
    t.store(row.settings);
    bool shown = false;
    t.answerNext = [&](QWidget *modal) {
        shown = modal->windowTitle() == "Settings"_L1;
        QTest::keyClick(modal, Qt::Key_Escape);
    };
    const MainWindow window;
    QCOMPARE(shown, !row.settings.isEmpty());
    QCOMPARE(window.findChild<Marlowick *>()->queue()->size(), 1);
});

struct Proof {
    const char *name; // the field
    QString text;
    QVariant stored;
    QByteArrayList login = {"AUTHINFO USER joe", "AUTHINFO PASS s\xe9r3t"};
};
const Proof proofs[] = {
    {"hostname", u" 127.0.0.2 "_s, u"127.0.0.2"_s},
    {"username", u" Joe"_s, u"Joe"_s, {"AUTHINFO USER Joe", "AUTHINFO PASS s\xe9r3t"}},
    {"password", u" 0ther "_s, "MHRoZXI="_ba, {"AUTHINFO USER joe", "AUTHINFO PASS 0ther"}},
    {"password", u"  "_s, QByteArray(), {}},
    {"threads", u"51"_s, 5}, // the 1 is refused
};
QByteArray logged;
const Case proof("proves a changed server by a login", proofs, [](const Proof &row) {
    World t;
    t.open();
    const QtMessageHandler printer =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
            logged += text.toUtf8();
        });
    const auto restore = qScopeGuard([&] { qInstallMessageHandler(printer); });
    t.use(QLatin1StringView(row.name), row.text);
    t.clickOk();
    QTRY_VERIFY(t.isAccepted());
    QTRY_COMPARE(t.server->openConnections(), 0);
    t.expected[QLatin1StringView(row.name)] = row.stored;
    QCOMPARE(t.stored(), t.expected);
    QCOMPARE(requestedPort, 119);
    QCOMPARE(t.server->commands(), row.login + QByteArrayList{"QUIT"});
    QVERIFY(logged.contains("AUTHINFO USER") != row.login.isEmpty());
    QVERIFY(!logged.contains("r3t") && !logged.contains("0ther"));
    logged.clear();
});

struct Failure {
    const char *name; // how the box begins
    QByteArray event;
    Reply reply;
    QString host = u"127.0.0.1"_s;
};
QList<qsizetype> everyByte()
{
    QList<qsizetype> offsets(10'000);
    std::iota(offsets.begin(), offsets.end(), 1);
    return offsets;
}
const Failure failures[] = {
    {"481 ", "AUTHINFO PASS", Reply::code("481 wrong")},
    {"Host not found", "QUIT", Reply(), u"nowhere..invalid"_s},
    {"Network time-out", "(greeting)", Reply::silence()},
    {"Network time-out", "(greeting)", // drips for ever
     Reply::bytes("2" + QByteArray(10'000, '0')).splitAt(everyByte())},
    {"<p>502 &lt;img src=x&gt;&amp;amp;<p>gone\r\n", "(greeting)",
     Reply::code("502 <img src=x>&amp;<p>gone")},
    {"502 xxx", "(greeting)", Reply::code("502 " + QByteArray(900'000, 'x'))},
};
const Case failure("tells why a login failed, and tries again", failures, [](const Failure &row) {
    World t;
    t.server->script(When::command(row.event), row.reply);
    t.open();
    t.find<QSpinBox>(u"networkTimeout"_s)->setMinimum(1);
    t.use(u"networkTimeout"_s, u"1"_s);
    t.use(u"hostname"_s, row.host);
    t.use(u"password"_s, u"0ther"_s);
    QWidget *focused = t.dialog->focusWidget();
    QTest::keyClick(focused, Qt::Key_Return);
    QVERIFY(t.isTesting());
    QTRY_VERIFY_WITH_TIMEOUT(!t.isTesting(), 10'000);
    const QString told = t.told.join(u'|');
    QVERIFY2(told.startsWith("Check server settings: "_L1 + QString::fromLatin1(row.name)),
             qPrintable(told));
    QVERIFY(told.size() < 1100);
    QVERIFY(t.dialog->isVisible() && !t.progress()->isVisible());
    QCOMPARE(t.dialog->focusWidget(), focused);
    QCOMPARE(t.stored(), t.expected);
    QTRY_COMPARE(t.server->openConnections(), 0);
    t.server->clearScript();
    t.use(u"hostname"_s, u"127.0.0.1"_s);
    t.clickOk();
    QTRY_VERIFY(t.isAccepted());
    QCOMPARE(t.stored().value(u"password"_s), "MHRoZXI="_ba);
});

struct Certificate {
    const char *name; // the name that it is for
    int port = 563;
    QString told = {};
    bool trusted = true;
};
const Certificate certificates[] = {
    {"127.0.0.1"},
    {"127.0.0.1", 443},
    {"<b>news", 563,
     u"<p>SSL verification error: You entered hostname '127.0.0.1' but the server's SSL "
     u"certificate "
     "is only valid for '&lt;b&gt;news'"_s},
    {"127.0.0.1", 563, u"SSL verification error: The issuer"_s, false},
};
const Case certificate("proves the certificate", certificates, [](const Certificate &row) {
    QString reason;
    const QString name = QString::fromLatin1(row.name);
    const auto made = TestCertificate::signedByAuthority(
        name, {name.front().isDigit() ? "IP:"_L1 + name : u"DNS:news"_s}, &reason);
    QVERIFY2(made, qPrintable(reason));
    std::optional<TrustedAuthority> trust;
    if (row.trusted)
        trust.emplace(made->authority);
    World t(std::make_unique<NewsServer>(made->serverConfiguration()));
    t.open();
    t.use(u"ssl%1"_s.arg(row.port));
    t.clickOk();
    QTRY_VERIFY(!t.isTesting());
    QCOMPARE(t.told.isEmpty(), row.told.isEmpty());
    QVERIFY(t.told.join(u'|').contains(row.told));
    QCOMPARE(t.isAccepted(), row.told.isEmpty());
    QCOMPARE(requestedPort, row.port);
    QCOMPARE(t.stored().value(u"port"_s).toInt(), row.told.isEmpty() ? row.port : 119);
    QCOMPARE(t.stored().value(u"ssl"_s).toBool(), row.told.isEmpty());
});

const Case standing("stands until its test is over", [] {
    World t;
    t.server->script(When::greeting(), Reply::silence(), 1);
    t.server->script(When::command("QUIT"), Reply::silence());
    t.open();
    t.use(u"threads"_s, u"3"_s);
    t.clickOk();
    for (QWidget *shown :
         {static_cast<QWidget *>(t.dialog.get()), static_cast<QWidget *>(t.progress())}) {
        QTest::keyClick(shown->windowHandle(), Qt::Key_Escape);
        QTest::keyClick(shown->windowHandle(), Qt::Key_Return);
        QVERIFY(!shown->windowHandle()->close());
        QVERIFY(t.isTesting());
    }
    QTRY_COMPARE(t.server->openConnections(), 1);
    t.dialog.reset(); // as when the program is told to exit
    QTRY_COMPARE(t.server->openConnections(), 0);
    QCOMPARE(t.stored().value(u"threads"_s).toInt(), 7);
    t.open();
    t.use(u"threads"_s, u"3"_s);
    t.clickOk();
    QTRY_VERIFY(t.isAccepted());
    t.dialog.reset();
    t.engine.reset(); // with the connection whose QUIT is not answered
    QTRY_COMPARE(t.server->openConnections(), 0);
});

const Case unwritable("tells that it cannot write", [] {
    World t;
    const QString folder = t.dir.filePath(u"Marlowick"_s);
    QVERIFY(QDir(folder).removeRecursively());
    writeFile(folder);
    t.open();
    t.use(u"threads"_s, u"3"_s);
    t.clickOk(); // the box stands while a signal of the connection is under way
    QTRY_VERIFY(t.isAccepted());
    QCOMPARE(t.told,
             QStringList{u"Access error: Error writing settings. Check file permissions."_s});
    QVERIFY(QFile::remove(folder) && QDir().mkpath(folder));
    t.open();
    t.clickOk();
    QTRY_VERIFY(t.isAccepted());
    QCOMPARE(t.told.size(), 1);
});

const Case pool("cuts the downloads for the test, and starts them anew", [] {
    World t;
    t.store({{u"threads"_s, 2}});
    const Nzb *nzb = t.startHeldFilm(10'000);
    QTRY_COMPARE(t.server->waiting().size(), 2);
    t.open({.afterClosing = 10, .restart = 300});
    t.use(u"threads"_s, u"1"_s);
    t.server->script(When::greeting(), Reply::code("502 no"), 1);
    t.clickOk();
    QVERIFY(t.engine->connectionCount() == 0 && !nzb->hasActiveSegments());
    QTRY_VERIFY(!t.isTesting());
    QVERIFY(t.engine->connectionCount() == 0 && !t.isAccepted());
    QCOMPARE(t.server->acceptedConnections(), 3);
    t.clickOk();
    QTRY_VERIFY(t.isAccepted());
    QTRY_COMPARE(t.server->waiting().size(), 1);
    QCOMPARE(t.engine->connectionCount(), 1);
    const QList<qint64> &times = t.server->acceptTimes();
    QVERIFY(times.at(4) - times.at(3) >= 250); // never earlier than wanted
});

} // namespace
