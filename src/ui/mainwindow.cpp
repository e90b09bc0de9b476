// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/mainwindow.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <QShortcut>
#include <QStatusBar>
#include <QToolButton>

#include <stdexcept>

#include "engine/marlowick.h"
#include "preview/preview.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/nzbmodel.h"
#include "ui/boxqueue.h"
#include "ui/desktoplink.h"
#include "ui/queueheader.h"
#include "ui/rowcommands.h"
#include "ui/rowmenu.h"
#include "ui/speedfield.h"
#include "ui/statusdelegate.h"
#include "ui/windowstate.h"
#include "ui_mainwindow.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int usualLetters = 12; // pixels
constexpr int saveSeconds = 600;
constexpr int diskCheckMsec = 30000;
constexpr int firstConnectionMsec = 100;

} // namespace

// The order matters: the model must exist before the queue is loaded, and the window before the
// download starts.
MainWindow::MainWindow()
    : ui(std::make_unique<Ui::MainWindow>())
    , engine(new Marlowick(this))
    , boxes(new BoxQueue(this))
{
    ui->setupUi(this);
    model = new NzbModel(this, engine->jobs());
    setUpView();
    setUpToolBar();
    setUpStatusBar();
    new DesktopLink(engine, this);
    restoreWindow(this, ui->treeView, engine->settings());
    connectEngine();

    askForMissingSettings();
    showHint();
    loadQueue();
    restoreUnfolded(ui->treeView, engine->settings());
    importCommandLine();
    engine->setSaveInterval(saveSeconds);
    checkDiskspace();
    connect(&diskTimer, &QTimer::timeout, this, &MainWindow::checkDiskspace);
    diskTimer.start(diskCheckMsec);
    connect(ui->treeView->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &MainWindow::onCurrentRowChanged);
    connect(ui->treeView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &MainWindow::showSelection);
    // The view reports nothing when a job is removed whose file is the current row.
    connect(model, &NzbModel::rowsRemoved, this, &MainWindow::showSelection);
    // The session may still go on. If it ends, Qt closes the window.
    connect(qGuiApp, &QGuiApplication::commitDataRequest, engine, &Marlowick::saveQueue);
    QTimer::singleShot(firstConnectionMsec, engine, &Marlowick::startToDownloadQueue);
}

MainWindow::~MainWindow() = default;

void MainWindow::setUpView()
{
    QueueView *view = ui->treeView;
    view->setModel(model);
    view->header()->setStretchLastSection(false);
    view->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    // Widths for the usual letters; they grow with larger ones.
    const int letters = qMax(usualLetters, QFontInfo(view->font()).pixelSize());
    view->setColumnWidth(QueueHeader::sizeColumn, 100 * letters / usualLetters);
    view->setColumnWidth(QueueHeader::statusColumn, 150 * letters / usualLetters);
    view->setAcceptDrops(true);
    view->setDragEnabled(true);
    view->setDragDropMode(QAbstractItemView::DragDrop);
    view->setItemDelegateForColumn(QueueHeader::statusColumn, new StatusDelegate(this));
    commands = new RowCommands(view, model, engine);
    new RowMenu(view, commands, engine,
                {ui->actionPreview, ui->actionRepairAndUnpack, ui->actionDelete});
    connect(commands, &RowCommands::failed, this,
            [this](const QString &title, const QString &text) {
                boxes->append(QMessageBox::Warning, title, text);
            });
    connect(commands, &RowCommands::pauseChanged, this, [this](bool paused) {
        ui->statusBar->showMessage(paused ? tr("Paused file") : tr("Resuming download"),
                                   noticeMsec);
        showSelection();
    });
    connect(view, &QueueView::doubleClicked, commands, &RowCommands::openFile);
    view->setFocus();
}

/// Tells the user what to do while the queue is empty.
void MainWindow::showHint()
{
    QString hint = tr("Drop NZB files here, or press Add NZB");
    if (engine->settings()->get(Settings::hostname).isEmpty())
        hint += u"\n\n"_s + tr("To download them, a news server is needed: press Settings");
    ui->treeView->setHint(hint);
}

/// There is no menu bar, so the tab key has to reach the actions.
void MainWindow::setUpToolBar()
{
    const QList<QAction *> actions = ui->toolBar->actions();
    QWidget *previous = ui->treeView;
    // Buttons that do not fit are behind this one of Qt's own, which is made for the mouse only. In
    // the tab order it comes before the buttons that it reveals.
    if (auto *more = ui->toolBar->findChild<QToolButton *>(u"qt_toolbar_ext_button"_s)) {
        more->setAccessibleName(tr("More"));
        more->setFocusPolicy(Qt::TabFocus);
        setTabOrder(previous, more);
        previous = more;
    }
    for (QAction *action : actions) {
        QWidget *button = ui->toolBar->widgetForAction(action);
        button->setFocusPolicy(Qt::TabFocus);
        setTabOrder(previous, button);
        previous = button;
    }
    setContextMenuPolicy(Qt::PreventContextMenu); // the menu could hide the tool bar for good
    ui->toolBar->setMovable(false);
    resize(size().expandedTo(ui->toolBar->sizeHint()).boundedTo(screen()->availableSize()));
    new QShortcut(Qt::CTRL | Qt::Key_Q, this, this, &MainWindow::close);
}

void MainWindow::setUpStatusBar()
{
    ui->statusBar->setStyleSheet(
        u"QStatusBar::item { border: 1px solid grey; border-radius: 3px; }"_s);
    // A long message is cut.
    connect(ui->statusBar, &QStatusBar::messageChanged, ui->statusBar, [this](const QString &text) {
        ui->statusBar->setToolTip(text.isEmpty() ? text : u"<p>"_s + text.toHtmlEscaped());
    });
    freeSpaceLabel = new QLabel(tr(" --- GB free  "));
    freeSpaceLabel->setAccessibleDescription(tr("Free disk space"));
    speedLabel = new SpeedField(engine, tr("  0.0 Mbit/s  "));
    timeLeftLabel = new QLabel(tr("  **d **h **m left "));
    timeLeftLabel->setAccessibleDescription(tr("Time left"));
    for (QLabel *label : {freeSpaceLabel, static_cast<QLabel *>(speedLabel), timeLeftLabel}) {
        label->setMinimumSize(label->sizeHint());
        label->setAlignment(Qt::AlignRight);
        ui->statusBar->addPermanentWidget(label);
    }
}

void MainWindow::connectEngine()
{
    connect(model, &NzbModel::nzbFileDropped, this, [this](const QString &path) {
        try {
            engine->addNZB(path);
        } catch (const std::runtime_error &) { // without a word: the next one may be good
        }
    });
    connect(engine, &Marlowick::error, this, &MainWindow::onError);
    connect(engine, &Marlowick::notice, this, &MainWindow::onNotice);
    connect(engine, &Marlowick::downloadStatistics, this, &MainWindow::updateDownloadStats);
    connect(engine, &Marlowick::fileComplete, this, &MainWindow::onFileComplete);
    // A removed job, whatever the reason, is no longer watched.
    connect(engine, &Marlowick::beforeNzbDelete, this,
            [this](Nzb *nzb) { delete previews.take(nzb); });
    connect(engine, &Marlowick::nzbComplete, this, &MainWindow::onNzbComplete);
    connect(engine, &Marlowick::passwordNeeded, this, &MainWindow::onPasswordNeeded);
    connect(boxes, &BoxQueue::emptyChanged, engine,
            [this](bool empty) { engine->setErrorBoxShown(!empty); });
}

/// Asks also if the download folder is missing, for instance because its disk is not mounted. The
/// start goes on whatever the user does.
void MainWindow::askForMissingSettings()
{
    if (engine->settings()->get(Settings::hostname).isEmpty()
        || !QFile::exists(engine->downloadFolder()))
        on_actionSettings_triggered();
}

void MainWindow::loadQueue()
{
    try {
        engine->loadQueue(QString());
        return;
    } catch (const std::runtime_error &) {
    }
    const auto answer = QMessageBox::question(
        this, tr("Loading queue failed"),
        tr("There was an error loading the queue. Do you want to load the backup file?"),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    // The question stays open only if the program ends; then the next start asks again.
    queueUndecided = answer != QMessageBox::Yes && answer != QMessageBox::No;
    if (answer != QMessageBox::Yes)
        return;
    try {
        engine->loadBackup();
    } catch (const std::runtime_error &failure) {
        QMessageBox::critical(this, tr("Loading backup failed"),
                              tr("Loading the backup failed as well :-( ")
                                  + QString::fromUtf8(failure.what()));
    }
}

/// The program's own path is among them and is ignored, like everything that is no NZB.
void MainWindow::importCommandLine()
{
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() <= 1)
        return;
    for (const QString &argument : arguments)
        handleMessage(argument);
}

void MainWindow::stopAndSave()
{
    engine->closeAllConnections();
    if (!queueUndecided)
        engine->saveQueue();
}

/// Stores nothing if the queue has not been loaded, since the list of unfolded jobs would be lost.
void MainWindow::storeState()
{
    if (!queueUndecided)
        storeWindow(this, ui->treeView, engine->settings());
}

void MainWindow::end()
{
    stopAndSave();
    storeState();
    QCoreApplication::exit(); // every event loop, also those of dialogs
}

/// Takes new colours of the desktop over to the status bar. Its style sheet would otherwise keep
/// the old ones, for all that is in it.
void MainWindow::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        ui->statusBar->setStyleSheet(ui->statusBar->styleSheet());
    QMainWindow::changeEvent(event);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    stopAndSave();
    if (!boxes->isEmpty()) {
        boxes->waitUntilEmpty(); // a failure to save is reported while the window is there,
        stopAndSave(); // and the engine has gone on in the meantime
        boxes->waitUntilEmpty();
    }
    storeState();
    event->accept();
}

// The null pointer is read at run time, so that the compiler cannot drop the store.
void MainWindow::simulateCrash()
{
    int *volatile nowhere = nullptr;
    *nowhere = 1;
}
