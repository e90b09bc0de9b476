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
#include <QSpinBox>
#include <QStandardPaths>
#include <QStyle>
#include <QTabBar>
#include <QUrl>
#include <QUrlQuery>

#include "engine/marlowick.h"
#include "transfer/nntp.h"
#include "ui/debugdialog.h"
#include "ui/raisewindow.h"
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

QString expandedPathOf(const QLineEdit *field) { return Settings::expand(pathOf(field)); }

QString firstExisting(const QStringList &paths, const QString &otherwise)
{
    for (const QString &path : paths) {
        if (QFile::exists(path))
            return path;
    }
    return otherwise;
}

/// Stays until the test is over, whatever the user or the window manager does.
class TestProgress final : public QProgressDialog {
public:
    TestProgress(const QString &text, QWidget *parent)
        : QProgressDialog(text, QString(), 0, 100, parent)
    {
        findChild<QProgressBar *>()->setAccessibleName(text);
        reset(); // otherwise it would show itself after a few seconds
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
    // For a screen reader, the frame around the tabs would be one more control with focus.
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
    if (engine->settings()->isSetUp())
        loadSettings();
    else
        proposePaths();
}

SettingsWindow::~SettingsWindow() = default;

/// The form's size, or more for large letters. The dialog scrolls if the screen is too small.
void SettingsWindow::fixSize()
{
    const QList<QWidget *> parts = findChildren<QWidget *>();
    for (QWidget *part : parts)
        part->updateGeometry(); // otherwise the layouts use sizes from before the texts were set
    layout()->activate();
    const QSize frame = size() - ui->scrollArea->size();
    const QSize scrollBar(style()->pixelMetric(QStyle::PM_ScrollBarExtent), 0);
    const QSize wanted = frame + ui->tabWidget->sizeHint() + scrollBar;
    const QSize room = screen()->availableSize() * 0.9; // the window manager adds its own
    setFixedSize(size().expandedTo(wanted).boundedTo(room));
}

/// The unit after the number, in the singular or plural.
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
    const Settings *settings = engine->settings();
    loadServer();
    ui->mediaPlayer->setText(QDir::toNativeSeparators(settings->get(Settings::mediaPlayer)));
    ui->mediaPlayerArgs->setText(
        QDir::toNativeSeparators(settings->get(Settings::mediaPlayerArgs)));
    ui->downloadFolder->setText(QDir::toNativeSeparators(settings->get(Settings::downloadFolder)));
    ui->threads->setValue(settings->get(Settings::threads));
    ui->networkTimeout->setValue(settings->get(Settings::networkTimeout));
    ui->networkRetry->setValue(settings->get(Settings::networkRetry));
    const RarHandling rarHandling = settings->rarHandling();
    ui->rarhandlingDisabled->setChecked(true);
    ui->rarHandlingDuring->setChecked(rarHandling == RarHandling::During);
    ui->rarHandlingAfter->setChecked(rarHandling == RarHandling::After);
    ui->autoPAR2->setChecked(settings->get(Settings::autoPAR2));
    ui->pausePAR2->setChecked(settings->get(Settings::pausePAR2));
    ui->clearOnCompletion->setChecked(settings->get(Settings::clearOnCompletion));
}

void SettingsWindow::loadServer()
{
    const Settings *settings = engine->settings();
    ui->hostname->setText(settings->get(Settings::hostname));
    ui->username->setText(settings->get(Settings::username));
    ui->password->setText(settings->password().section(QChar(u'\0'), 0, 0));
    const bool ssl = settings->get(Settings::ssl);
    const bool otherPort = settings->get(Settings::port) == otherSslPort;
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
    Settings *settings = engine->settings();
    settings->set(Settings::hostname, textOf(ui->hostname));
    settings->set(Settings::username, textOf(ui->username));
    settings->setPassword(textOf(ui->password));
    settings->set(Settings::mediaPlayer, pathOf(ui->mediaPlayer));
    settings->set(Settings::mediaPlayerArgs, pathOf(ui->mediaPlayerArgs));
    settings->set(Settings::downloadFolder, pathOf(ui->downloadFolder));
    settings->set(Settings::threads, ui->threads->value());
    settings->set(Settings::networkTimeout, ui->networkTimeout->value());
    settings->set(Settings::networkRetry, ui->networkRetry->value());
    settings->set(Settings::port, chosenPort().number);
    settings->set(Settings::ssl, chosenPort().ssl);
    settings->setRarHandling(chosenRarHandling());
    settings->set(Settings::autoPAR2, ui->autoPAR2->isChecked());
    settings->set(Settings::pausePAR2, ui->pausePAR2->isChecked());
    settings->set(Settings::clearOnCompletion, ui->clearOnCompletion->isChecked());
    if (!settings->save())
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

RarHandling SettingsWindow::chosenRarHandling() const
{
    if (ui->rarHandlingDuring->isChecked())
        return RarHandling::During;
    return ui->rarHandlingAfter->isChecked() ? RarHandling::After : RarHandling::Disabled;
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

/// False after telling the user what is missing.
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
        // deliberate: "does not exists"
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

/// Deliberate: a changed number of connections leads to a test as well.
bool SettingsWindow::isServerStored() const
{
    const Settings *settings = engine->settings();
    return settings->get(Settings::hostname) == textOf(ui->hostname)
           && settings->get(Settings::username) == textOf(ui->username)
           && settings->password() == textOf(ui->password)
           && settings->get(Settings::threads) == ui->threads->value()
           && settings->get(Settings::port) == chosenPort().number;
}

// Deliberate: these two texts are not translated, and cancelling empties the field.
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

void SettingsWindow::on_debugButton_clicked()
{
    DebugDialog *dialog = DebugDialog::instance(nullptr);
    dialog->setVisible(true);
    raiseWindow(dialog); // it may have been open, behind others or minimised
}

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
