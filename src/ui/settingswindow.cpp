// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/settingswindow.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QProgressDialog>
#include <QScreen>
#include <QSettings>
#include <QSpinBox>
#include <QStandardPaths>
#include <QStyle>
#include <QTabBar>
#include <QUrl>
#include <QUrlQuery>

#include "engine/marlowick.h"
#include "transfer/nntp.h"
#include "ui/debugdialog.h"
#include "ui_settingswindow.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto bugReportPage = "https://marlowick.example/reportBug.php"_L1;

enum Tab { ServerTab, AdvancedTab };

constexpr int plainPort = 119;
constexpr int sslPort = 563;
constexpr int otherSslPort = 443;

QString textOf(const QLineEdit *field) { return field->text().trimmed(); }

QString pathOf(const QLineEdit *field) { return QDir::fromNativeSeparators(textOf(field)); }

/// Where a path that may hold "%APPDIR" points to.
QString expandedPathOf(const QLineEdit *field)
{
    return pathOf(field).replace("%APPDIR"_L1, QCoreApplication::applicationDirPath());
}

QString storedPassword(const QSettings *settings)
{
    const QByteArray encoded = settings->value("password"_L1).toByteArray();
    return QString::fromLatin1(QByteArray::fromBase64(encoded));
}

QString firstExisting(const QStringList &paths, const QString &otherwise)
{
    for (const QString &path : paths) {
        if (QFile::exists(path))
            return path;
    }
    return otherwise;
}

/// Makes the file if need be. QSettings writes a new file beside it, with the permissions of the
/// old one from the start, so that the password is never readable by others.
void restrictToOwner(const QString &path)
{
    constexpr QFile::Permissions owner = QFile::ReadOwner | QFile::WriteOwner;
    QFile file(path);
    if (file.open(QIODevice::ReadWrite, owner))
        file.setPermissions(owner);
}

/// Stands until the test is over, whatever the user or the window manager does.
class TestProgress final : public QProgressDialog {
public:
    TestProgress(const QString &text, QWidget *parent)
        : QProgressDialog(text, QString(), 0, 100, parent)
    {
        findChild<QProgressBar *>()->setAccessibleName(text);
        reset(); // or it would show itself after a few seconds
    }

    void reject() override { }

protected:
    void closeEvent(QCloseEvent *event) override { event->ignore(); }
};

} // namespace

SettingsWindow::SettingsWindow(Marlowick *theEngine, QWidget *parent,
                               const ServerTestPauses &testPauses)
    : QDialog(parent)
    , ui(std::make_unique<Ui::SettingsWindow>())
    , engine(theEngine)
    , pauses(testPauses)
    , progress(new TestProgress(tr("Testing server settings"), this))
{
    ui->setupUi(this);
    fixSize();
    // To a screen reader the frame around the tabs would be one more thing that takes the focus.
    ui->tabWidget->setFocusPolicy(Qt::NoFocus); // for the tabs, too
    ui->tabWidget->tabBar()->setFocusPolicy(Qt::TabFocus);
    progress->setWindowTitle(windowTitle());
    ui->marlowickversion->setText(tr("Marlowick version: ") + engine->version());
    ui->qtversion->setText(tr("QT version: ") + QLatin1StringView(qVersion()));
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &SettingsWindow::OKclicked);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &SettingsWindow::reject);
    ui->hostname->setFocus();
    connect(&watchTimer, &QTimer::timeout, this, &SettingsWindow::watchServerTest);
    showUnit(ui->networkTimeout, ui->label_11);
    showUnit(ui->networkRetry, ui->label_13);
    if (engine->settings()->contains("threads"_L1)) // so the program has been set up before
        loadSettings();
    else
        proposePaths();
}

SettingsWindow::~SettingsWindow() = default;

/// The form's size or, for large letters, what they need. What the screen lacks is scrolled.
void SettingsWindow::fixSize()
{
    const QList<QWidget *> parts = findChildren<QWidget *>();
    for (QWidget *part : parts)
        part->updateGeometry(); // or the layouts remember what it was without a text
    layout()->activate();
    const QSize frame = size() - ui->scrollArea->size();
    const QSize scrollBar(style()->pixelMetric(QStyle::PM_ScrollBarExtent), 0);
    const QSize wanted = frame + ui->tabWidget->sizeHint() + scrollBar;
    const QSize room = screen()->availableSize() * 0.9; // the window manager adds its own
    setFixedSize(size().expandedTo(wanted).boundedTo(room));
}

/// The word behind the number, in the form that the number wants.
void SettingsWindow::showUnit(QSpinBox *number, QLabel *unit)
{
    const auto show = [number, unit](int seconds) {
        unit->setText(tr("seconds", "behind a number", seconds));
        number->setAccessibleDescription(unit->text());
    };
    show(number->value());
    connect(number, &QSpinBox::valueChanged, unit, show);
}

void SettingsWindow::loadSettings()
{
    const QSettings *settings = engine->settings();
    loadServer();
    ui->mediaPlayer->setText(
        QDir::toNativeSeparators(settings->value("mediaPlayer"_L1).toString()));
    ui->mediaPlayerArgs->setText(
        QDir::toNativeSeparators(settings->value("mediaPlayerArgs"_L1).toString()));
    ui->downloadFolder->setText(
        QDir::toNativeSeparators(settings->value("downloadFolder"_L1).toString()));
    ui->threads->setValue(settings->value("threads"_L1).toInt());
    ui->networkTimeout->setValue(settings->value("networkTimeout"_L1).toInt());
    ui->networkRetry->setValue(settings->value("networkRetry"_L1).toInt());
    const QString rarHandling = settings->value("rarHandling"_L1).toString();
    ui->rarhandlingDisabled->setChecked(true);
    ui->rarHandlingDuring->setChecked(rarHandling == "during"_L1);
    ui->rarHandlingAfter->setChecked(rarHandling == "after"_L1);
    ui->autoPAR2->setChecked(settings->value("autoPAR2"_L1).toBool());
    ui->pausePAR2->setChecked(settings->value("pausePAR2"_L1).toBool());
    ui->clearOnCompletion->setChecked(settings->value("clearOnCompletion"_L1).toBool());
}

void SettingsWindow::loadServer()
{
    const QSettings *settings = engine->settings();
    ui->hostname->setText(settings->value("hostname"_L1).toString());
    ui->username->setText(settings->value("username"_L1).toString());
    ui->password->setText(storedPassword(settings).section(QChar(u'\0'), 0, 0));
    const bool ssl = settings->value("ssl"_L1).toBool();
    const bool otherPort = settings->value("port"_L1).toInt() == otherSslPort;
    (!ssl ? ui->nossl : otherPort ? ui->ssl443 : ui->ssl563)->setChecked(true);
}

void SettingsWindow::proposePaths()
{
    const QString home = QDir::homePath();
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    ui->downloadFolder->setText(QDir::toNativeSeparators(
        firstExisting({home + "/Downloads"_L1, documents + "/Downloads"_L1}, home)));
    const QString beside = QCoreApplication::applicationDirPath() + "/3rdparty/mplayer.exe"_L1;
    ui->mediaPlayer->setText(
        QDir::toNativeSeparators(firstExisting({beside, u"/usr/bin/mplayer"_s}, QString())));
}

void SettingsWindow::saveSettings()
{
    QSettings *settings = engine->settings();
    restrictToOwner(settings->fileName());
    settings->setValue("hostname"_L1, textOf(ui->hostname));
    settings->setValue("username"_L1, textOf(ui->username));
    settings->setValue("password"_L1, textOf(ui->password).toLatin1().toBase64());
    settings->setValue("mediaPlayer"_L1, pathOf(ui->mediaPlayer));
    settings->setValue("mediaPlayerArgs"_L1, pathOf(ui->mediaPlayerArgs));
    settings->setValue("downloadFolder"_L1, pathOf(ui->downloadFolder));
    settings->setValue("threads"_L1, ui->threads->value());
    settings->setValue("networkTimeout"_L1, ui->networkTimeout->value());
    settings->setValue("networkRetry"_L1, ui->networkRetry->value());
    settings->setValue("port"_L1, chosenPort().number);
    settings->setValue("ssl"_L1, chosenPort().ssl);
    settings->setValue("rarHandling"_L1, chosenRarHandling());
    settings->setValue("autoPAR2"_L1, ui->autoPAR2->isChecked());
    settings->setValue("pausePAR2"_L1, ui->pausePAR2->isChecked());
    settings->setValue("clearOnCompletion"_L1, ui->clearOnCompletion->isChecked());
    // The status of an object keeps its first error for good.
    QSettings written(settings->fileName(), QSettings::IniFormat);
    written.sync();
    if (written.status() == QSettings::AccessError)
        QMessageBox::critical(this, tr("Access error"),
                              tr("Error writing settings. Check file permissions."));
}

SettingsWindow::Port SettingsWindow::chosenPort() const
{
    if (ui->ssl443->isChecked())
        return {otherSslPort, true};
    if (ui->ssl563->isChecked())
        return {sslPort, true};
    return {plainPort, false};
}

QString SettingsWindow::chosenRarHandling() const
{
    if (ui->rarHandlingDuring->isChecked())
        return u"during"_s;
    return ui->rarHandlingAfter->isChecked() ? u"after"_s : u"disabled"_s;
}

void SettingsWindow::OKclicked()
{
    if (!isComplete())
        return;
    if (isServerStored()) {
        saveSettings();
        accept();
    } else {
        startServerTest();
    }
}

/// Otherwise the user has been told what is missing.
bool SettingsWindow::isComplete()
{
    const QString player = expandedPathOf(ui->mediaPlayer);
    const struct {
        bool met;
        Tab tab;
        QLineEdit *field;
        QString title;
        QString text;
    } requirements[] = {
        {!textOf(ui->hostname).isEmpty(), ServerTab, ui->hostname, tr("Hostname required"),
         tr("Please enter the hostname of your Usenet server")},
        {textOf(ui->password).isEmpty() || !textOf(ui->username).isEmpty(), ServerTab, ui->username,
         tr("Username?"),
         tr("You entered a password, but left username empty. Please enter a username if your "
            "server requires authentication, or leave both username and password blank")},
        {QFileInfo(expandedPathOf(ui->downloadFolder)).isDir(), AdvancedTab, ui->downloadFolder,
         tr("Download folder does not exist"), tr("The folder you specified does not exists")},
        {player.isEmpty() || QFile::exists(player), AdvancedTab, ui->mediaPlayer,
         tr("Media player does not exist"),
         tr("Please specify the location of your media player, or leave blank")},
    };
    for (const auto &[met, tab, field, title, text] : requirements) {
        if (met)
            continue;
        ui->tabWidget->setCurrentIndex(tab);
        QMessageBox::critical(this, title, text);
        field->setFocus();
        return false;
    }
    return true;
}

/// The number of connections counts, too: a test shows whether the account is still good for one.
bool SettingsWindow::isServerStored() const
{
    const QSettings *settings = engine->settings();
    return settings->value("hostname"_L1).toString() == textOf(ui->hostname)
           && settings->value("username"_L1).toString() == textOf(ui->username)
           && storedPassword(settings) == textOf(ui->password)
           && settings->value("threads"_L1).toInt() == ui->threads->value()
           && settings->value("port"_L1).toInt() == chosenPort().number;
}

// These two texts are not translated. A dialog that is cancelled empties the field.
void SettingsWindow::on_browseMplayer_clicked()
{
    const QString file = QFileDialog::getOpenFileName(this, u"Select media player application"_s,
                                                      ui->mediaPlayer->text(),
                                                      u"Application (*.exe);;All files (*)"_s);
    ui->mediaPlayer->setText(QDir::toNativeSeparators(file));
}

void SettingsWindow::on_browseDownloadFolder_clicked()
{
    const QString folder = QFileDialog::getExistingDirectory(
        this, tr("Select download folder"), ui->downloadFolder->text(), QFileDialog::ShowDirsOnly);
    ui->downloadFolder->setText(QDir::toNativeSeparators(folder));
}

void SettingsWindow::on_debugButton_clicked() { DebugDialog::instance(nullptr)->setVisible(true); }

void SettingsWindow::on_reportBugButton_clicked()
{
    QUrlQuery query;
    query.addQueryItem(u"marlowick_version"_s, engine->version());
    query.addQueryItem(u"qt_version"_s, QLatin1StringView(qVersion()));
    query.addQueryItem(u"os"_s, u"Linux"_s);
    QUrl url(bugReportPage);
    url.setQuery(query);
    QDesktopServices::openUrl(url);
}
