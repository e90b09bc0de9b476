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
#include <QToolButton>

#include <stdexcept>

#include "engine/marlowick.h"
#include "preview/preview.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/nzbmodel.h"
#include "ui/boxqueue.h"
#include "ui/statusdelegate.h"
#include "ui_mainwindow.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int sizeColumn = 1;
constexpr int statusColumn = 2;
constexpr int usualLetters = 12; // pixels
constexpr int saveSeconds = 600;
constexpr int diskCheckMsec = 30000;
constexpr int firstConnectionMsec = 100;

} // namespace

// The order is the point: the model must see the queue being loaded, and nothing is downloaded
// before the window is there.
MainWindow::MainWindow()
    : ui(std::make_unique<Ui::MainWindow>())
    , engine(new Marlowick(this))
    , boxes(new BoxQueue(this))
{
    ui->setupUi(this);
    model = new NzbModel(this, engine);
    setUpView();
    setUpToolBar();
    setUpStatusBar();
    connectEngine();

    askForMissingSettings();
    loadQueue();
    importCommandLine();
    engine->setSaveInterval(saveSeconds);
    checkDiskspace();
    connect(&diskTimer, &QTimer::timeout, this, &MainWindow::checkDiskspace);
    diskTimer.start(diskCheckMsec);
    connect(ui->treeView->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &MainWindow::onCurrentRowChanged);
    // When a job goes whose file is the current row, the view tells nothing.
    connect(model, &NzbModel::rowsRemoved, this,
            [this] { onCurrentRowChanged(currentRow(), QModelIndex()); });
    // Whether the session really ends is told later, and then Qt closes the window.
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
    // Widths for the usual letters; larger ones get as much more.
    const int letters = qMax(usualLetters, QFontInfo(view->font()).pixelSize());
    view->setColumnWidth(sizeColumn, 100 * letters / usualLetters);
    view->setColumnWidth(statusColumn, 150 * letters / usualLetters);
    view->setAcceptDrops(true);
    view->setDragEnabled(true);
    view->setDragDropMode(QAbstractItemView::DragDrop);
    view->setItemDelegateForColumn(statusColumn, new StatusDelegate(this));
    view->insertActions(
        view->actions().constFirst(),
        {ui->actionPause, ui->actionDelete, ui->actionPreview, ui->actionRepairAndUnpack});
    // Nothing tells when an article of a job gets under way or has come.
    connect(view, &QueueView::aboutToShowMenu, this, &MainWindow::enableRepair);
    view->setFocus();
}

/// There is no menu bar: the keyboard reaches the actions by the tab key.
void MainWindow::setUpToolBar()
{
    const QList<QAction *> actions = ui->toolBar->actions();
    QWidget *previous = ui->treeView;
    // What does not fit is behind this one of Qt's own, which is made for the mouse alone. It comes
    // before what it reveals.
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
    resize(size().expandedTo(ui->toolBar->sizeHint()).boundedTo(screen()->availableSize()));
    new QShortcut(Qt::CTRL | Qt::Key_Q, this, this, &MainWindow::close);
}

void MainWindow::setUpStatusBar()
{
    ui->statusBar->setStyleSheet(
        u"QStatusBar::item { border: 1px solid grey; border-radius: 3px; }"_s);
    freeSpaceLabel = addStatusLabel(tr(" --- GB free  "), tr("Free disk space"));
    speedLabel = addStatusLabel(tr("  0.0 Mbit/s  "), tr("Download speed"));
    timeLeftLabel = addStatusLabel(tr("  **d **h **m left "), tr("Time left"));
}

QLabel *MainWindow::addStatusLabel(const QString &text, const QString &meaning)
{
    auto *label = new QLabel(text);
    label->setMinimumSize(label->sizeHint());
    label->setAlignment(Qt::AlignRight);
    label->setAccessibleDescription(meaning);
    ui->statusBar->addPermanentWidget(label);
    return label;
}

void MainWindow::connectEngine()
{
    connect(engine, &Marlowick::error, this, &MainWindow::onError);
    connect(engine, &Marlowick::notice, this, &MainWindow::onNotice);
    connect(engine, &Marlowick::downloadStatistics, this, &MainWindow::updateDownloadStats);
    connect(engine, &Marlowick::fileComplete, this, &MainWindow::onFileComplete);
    // However a job goes, nobody watches it any more.
    connect(engine, &Marlowick::beforeNzbDelete, this,
            [this](Nzb *nzb) { delete previews.take(nzb); });
    connect(engine, &Marlowick::nzbComplete, this, &MainWindow::onNzbComplete);
    connect(engine, &Marlowick::passwordNeeded, this, &MainWindow::onPasswordNeeded);
    connect(boxes, &BoxQueue::emptyChanged, engine,
            [this](bool empty) { engine->setErrorBoxShown(!empty); });
}

/// Also when the download folder has vanished, as with a disk that is not mounted. The start goes
/// on whatever the user does.
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
    // Only the end of the program leaves the question open: the next start asks again.
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

/// The program's own path goes along and is dropped, as is everything that is no NZB.
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

void MainWindow::end()
{
    stopAndSave();
    QCoreApplication::exit(); // every event loop, also those of dialogs
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    stopAndSave();
    if (!boxes->isEmpty()) {
        boxes->waitUntilEmpty(); // what could not be saved is told while there is a window,
        stopAndSave(); // and the engine has lived on meanwhile
        boxes->waitUntilEmpty();
    }
    event->accept();
}

// The null is read at run time, or the compiler would drop the store.
void MainWindow::simulateCrash()
{
    int *volatile nowhere = nullptr;
    *nowhere = 1;
}
