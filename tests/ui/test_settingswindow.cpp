// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QAction>
#include <QDesktopServices>
#include <QLabel>
#include <QRadioButton>

#include <optional>

#include "settingsfixture.h"
#include "support/files.h"
#include "support/rows.h"
#include "ui/debugdialog.h"
#include "ui/mainwindow.h"

using namespace Qt::StringLiterals;

/// The dialog without its server test, used by key and click.
class TestSettingsWindow final : public QObject {
    Q_OBJECT

private slots:
    void init() { window.emplace(); }
    void cleanup() { window.reset(); }

    void proposes_data();
    void proposes();
    void shows_data();
    void shows();
    void changes_data();
    void changes();
    void refuses_data();
    void refuses();
    void hidesFileFromOthers();
    void browses();
    void tabsAsRead();
    void comesAtStart_data();
    void comesAtStart();
    void supports();

public slots:
    void openUrl(const QUrl &url) { opened = url; }

private:
    std::optional<SettingsFixture> window;
    QUrl opened;
};

void TestSettingsWindow::proposes_data()
{
    const auto row = rows<QStringList, QString>();
    row("at home", {QStringList{u"Downloads"_s, u"Documents/Downloads"_s}, u"/Downloads"_s});
    row("among the documents", {QStringList{u"Documents/Downloads"_s}, u"/Documents/Downloads"_s});
    row("nowhere", {QStringList(), QString()});
}

void TestSettingsWindow::proposes()
{
    const auto [folders, proposed] = thisRow<QStringList, QString>();
    for (const QString &folder : folders)
        QVERIFY(QDir(window->dir.path()).mkpath(folder));
    const QString player = QCoreApplication::applicationDirPath() + "/3rdparty/mplayer.exe"_L1;
    QVERIFY(QDir().mkpath(QFileInfo(player).path()));
    writeFile(player);
    window->store(window->values());
    window->engine->settings()->remove(u"threads"_s); // without it the others do not count
    window->open();
    QFile::remove(player);
    window->dialog->saveSettings();
    const QVariantMap expected{{u"hostname"_s, QString()},
                               {u"username"_s, QString()},
                               {u"password"_s, QByteArray()},
                               {u"mediaPlayer"_s, player},
                               {u"mediaPlayerArgs"_s, u"-noidx -quiet -fs"_s},
                               {u"downloadFolder"_s, QString(window->dir.path() + proposed)},
                               {u"threads"_s, 4},
                               {u"networkTimeout"_s, 30},
                               {u"networkRetry"_s, 60},
                               {u"port"_s, 119},
                               {u"ssl"_s, false},
                               {u"rarHandling"_s, u"during"_s},
                               {u"autoPAR2"_s, true},
                               {u"pausePAR2"_s, true},
                               {u"clearOnCompletion"_s, false}};
    for (auto value = expected.cbegin(); value != expected.cend(); ++value)
        QCOMPARE(window->stored(value.key()), *value);
}

void TestSettingsWindow::shows_data()
{
    const auto row = rows<QVariantMap, QString>();
    row("plain", {{{u"ssl"_s, false}, {u"port"_s, 563}}, u"nossl"_s});
    row("SSL, 443", {{{u"ssl"_s, true}, {u"port"_s, 443}}, u"ssl443"_s});
    row("SSL, 563", {{{u"ssl"_s, true}, {u"port"_s, 563}}, u"ssl563"_s});
    row("SSL, any port", {{{u"ssl"_s, true}, {u"port"_s, 8080}}, u"ssl563"_s});
    row("during", {{{u"rarHandling"_s, u"during"_s}}, u"rarHandlingDuring"_s});
    row("after", {{{u"rarHandling"_s, u"after"_s}}, u"rarHandlingAfter"_s});
    row("unknown handling", {{{u"rarHandling"_s, u"During"_s}}, u"rarhandlingDisabled"_s});
}

void TestSettingsWindow::shows()
{
    const auto [settings, radio] = thisRow<QVariantMap, QString>();
    window->store(window->values());
    window->store(settings);
    window->store({{u"password"_s, QByteArray("s\xe9\0cret", 7).toBase64()}});
    window->open();
    QVERIFY(window->find<QRadioButton>(radio)->isChecked());
    const auto *password = window->find<QLineEdit>(u"password"_s);
    QCOMPARE(password->text(), u"sé"_s); // ends at the zero
    QCOMPARE(password->echoMode(), QLineEdit::Password);
}

void TestSettingsWindow::changes_data()
{
    const auto row = rows<QString, QString, QString, QVariant>();
    row("nothing", {u"Advanced"_s, {}, {}, {}});
    row("blanks around the host", {u"hostname"_s, u" 127.0.0.1 "_s, {}, {}});
    row("RAR during", {u"rarHandlingDuring"_s, {}, u"rarHandling"_s, u"during"_s});
    row("RAR disabled", {u"rarhandlingDisabled"_s, {}, u"rarHandling"_s, u"disabled"_s});
    row("repair", {u"autoPAR2"_s, {}, u"autoPAR2"_s, true});
    row("held-back blocks", {u"pausePAR2"_s, {}, u"pausePAR2"_s, true});
    row("cleared list", {u"clearOnCompletion"_s, {}, u"clearOnCompletion"_s, false});
    row("longest time-out", {u"networkTimeout"_s, u"7200"_s, u"networkTimeout"_s, 7200});
    row("longer time-out loses its last digit",
        {u"networkTimeout"_s, u"7201"_s, u"networkTimeout"_s, 720});
    row("too short a time-out", {u"networkTimeout"_s, u"4"_s, {}, {}});
    row("shortest retry", {u"networkRetry"_s, u"1"_s, u"networkRetry"_s, 1});
    row("no retry", {u"networkRetry"_s, u"0"_s, {}, {}});
    row("no thread", {u"threads"_s, u"0"_s, {}, {}});
    row("blank player", {u"mediaPlayer"_s, u" "_s, u"mediaPlayer"_s, QString()});
    row("parameters", {u"mediaPlayerArgs"_s, u"-a  -b"_s, u"mediaPlayerArgs"_s, u"-a  -b"_s});
    row("folder with a marker",
        {u"downloadFolder"_s, u"%APPDIR"_s, u"downloadFolder"_s, u"%APPDIR"_s});
}

/// None of these concerns the server, so that they are stored at once.
void TestSettingsWindow::changes()
{
    const auto [field, text, key, value] = thisRow<QString, QString, QString, QVariant>();
    QVariantMap expected = window->values();
    expected[u"mediaPlayer"_s] = u"%APPDIR/test_settingswindow"_s;
    window->store(expected);
    window->open();
    if (qobject_cast<QAbstractButton *>(window->find(field)))
        window->click(field);
    else if (!text.isNull())
        window->write(field, text);
    window->clickOk();
    QVERIFY(window->isAccepted());
    QCOMPARE(window->told, QStringList());
    if (!key.isNull())
        expected[key] = value;
    for (auto setting = expected.cbegin(); setting != expected.cend(); ++setting)
        QCOMPARE(window->stored(setting.key()), *setting);
}

void TestSettingsWindow::refuses_data()
{
    const auto row = rows<QVariantMap, int, QString, QString>();
    const QString noHost = u"Hostname required: Please enter the hostname of your Usenet server"_s;
    const QString noUser =
        u"Username?: You entered a password, but left username empty. Please enter a username if "
        "your server requires authentication, or leave both username and password blank"_s;
    const QString noFolder =
        u"Download folder does not exist: The folder you specified does not exists"_s;
    const QString noPlayer = u"Media player does not exist: Please specify the location of your "
                             "media player, or leave blank"_s;
    const QString host = u"hostname"_s;
    const QString user = u"username"_s;
    const QString folder = u"downloadFolder"_s;
    const QString player = u"mediaPlayer"_s;
    row("blank host, and no user", {{{host, u" "_s}, {user, {}}}, 0, host, noHost});
    row("blank user, and no folder", {{{user, u" "_s}, {folder, {}}}, 0, user, noUser});
    row("no folder, and no player", {{{folder, {}}}, 1, folder, noFolder});
    row("file as a folder", {{{folder, u"%APPDIR/test_settingswindow"_s}}, 1, folder, noFolder});
    row("small marker", {{{folder, u"%appdir"_s}}, 1, folder, noFolder});
    row("no player there", {{}, 1, player, noPlayer});
}

void TestSettingsWindow::refuses()
{
    const auto [texts, tab, field, box] = thisRow<QVariantMap, int, QString, QString>();
    window->store(window->values());
    window->open();
    for (auto text = texts.cbegin(); text != texts.cend(); ++text)
        window->write(text.key(), text->toString());
    window->click(u"autoPAR2"_s);
    window->find<QTabWidget>(u"tabWidget"_s)->setCurrentIndex(2);
    window->clickOk();
    QCOMPARE(window->told.size(), 1);
    QCOMPARE(window->told.first(), box);
    QCOMPARE(window->tabUnderBox, tab);
    QCOMPARE(window->dialog->focusWidget()->objectName(), field);
    QVERIFY(window->dialog->isVisible());
    QCOMPARE(window->stored(u"autoPAR2"_s), false);
}

void TestSettingsWindow::hidesFileFromOthers()
{
    const QString file = window->engine->settings()->fileName();
    window->open();
    for (const bool written : {false, true}) {
        if (written)
            QFile::setPermissions(file, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
        window->dialog->saveSettings();
        QVERIFY(QFile::exists(file));
        QVERIFY(!(QFile::permissions(file) & (QFile::ReadGroup | QFile::ReadOther)));
    }
}

void TestSettingsWindow::browses()
{
    window->open();
    window->find<QTabWidget>(u"tabWidget"_s)->setCurrentIndex(1);
    const std::tuple<QString, QString, QString> fields[] = {
        {u"browseMplayer"_s, u"mediaPlayer"_s, writeFile(window->dir.filePath(u"player"_s))},
        {u"browseDownloadFolder"_s, u"downloadFolder"_s, window->dir.filePath(u"films"_s)}};
    for (const auto &[button, field, choice] : fields) {
        window->answerNext = [path = choice](QWidget *modal) {
            modal->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
            QTest::keyClick(modal, Qt::Key_Return);
        };
        window->click(button);
        QCOMPARE(window->find<QLineEdit>(field)->text(), choice);
        window->answerNext = [](QWidget *modal) { QTest::keyClick(modal, Qt::Key_Escape); };
        window->click(button);
        QCOMPARE(window->find<QLineEdit>(field)->text(), QString());
    }
}

void TestSettingsWindow::tabsAsRead()
{
    window->open();
    QStringList names;
    for (const int tab : {0, 1}) {
        window->find<QTabWidget>(u"tabWidget"_s)->setCurrentIndex(tab);
        window->find(tab ? u"threads"_s : u"hostname"_s)->setFocus();
        QString name;
        for (int presses = 0; presses < 20 && !(presses && name.isEmpty()); ++presses) {
            QWidget *focused = window->dialog->focusWidget();
            const bool radio = qobject_cast<QRadioButton *>(focused);
            name = radio ? u"(radio)"_s : focused->objectName(); // the buttons below have none
            if (names.isEmpty() || names.last() != name) // which of a group is Qt's affair
                names << name;
            QTest::keyClick(focused, Qt::Key_Tab);
        }
    }
    const QString read = u"hostname username password (radio)  threads autoPAR2 pausePAR2 "
                         "clearOnCompletion (radio) downloadFolder browseDownloadFolder "
                         "mediaPlayer browseMplayer mediaPlayerArgs networkTimeout networkRetry "_s;
    QCOMPARE(names.join(u' '), read);
    const QList<QLabel *> labels = window->dialog->findChildren<QLabel *>();
    for (const QLabel *label : labels)
        QVERIFY2(!label->text().endsWith(u':') || label->buddy(), qPrintable(label->text()));
}

void TestSettingsWindow::comesAtStart_data()
{
    const auto row = rows<QVariantMap, bool>();
    row("configured", {QVariantMap(), false});
    row("no host", {QVariantMap{{u"hostname"_s, QString()}}, true});
    row("no folder", {QVariantMap{{u"downloadFolder"_s, QString()}}, true});
    row("vanished", {QVariantMap{{u"downloadFolder"_s, u"%APPDIR/x"_s}}, true});
}

void TestSettingsWindow::comesAtStart()
{
    const auto [settings, comes] = thisRow<QVariantMap, bool>();
    window->store(window->values());
    window->store({{u"threads"_s, 0}});
    window->engine->addNZB(writeFile(window->dir.filePath(u"job.nzb"_s), "<nzb/>"));
    window->engine->saveQueue();
    window->store(settings);
    int shown = 0;
    const auto escape = [&](QWidget *modal) {
        ++shown;
        QCOMPARE(modal->windowTitle(), u"Settings"_s);
        QTest::keyClick(modal, Qt::Key_Escape);
    };
    window->answerNext = escape;
    MainWindow mainWindow;
    QCOMPARE(shown, comes ? 1 : 0);
    QCOMPARE(mainWindow.findChild<Marlowick *>()->queue()->size(), 1);
    window->answerNext = escape;
    mainWindow.findChild<QAction *>(u"actionSettings"_s)->trigger();
    QCOMPARE(shown, comes ? 2 : 1);
}

void TestSettingsWindow::supports()
{
    window->open();
    window->find<QTabWidget>(u"tabWidget"_s)->setCurrentIndex(2);
    QDesktopServices::setUrlHandler(u"https"_s, this, "openUrl");
    window->click(u"reportBugButton"_s);
    QDesktopServices::unsetUrlHandler(u"https"_s);
    QCOMPARE(opened.path(), u"/reportBug.php"_s);
    QCOMPARE(opened.query(), "marlowick_version=0.99d&qt_version="_L1
                                 + QString::fromLatin1(qVersion()) + "&os=Linux"_L1);
    window->click(u"debugButton"_s);
    const QPointer<DebugDialog> log = DebugDialog::instance(nullptr);
    QVERIFY(log->isVisible());
    window->dialog.reset();
    QVERIFY(log);
    delete log;
}

QTEST_MAIN(TestSettingsWindow)
#include "test_settingswindow.moc"
