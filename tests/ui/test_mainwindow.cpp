// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QApplication>
#include <QCommandLinkButton>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPaintEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QStatusBar>
#include <QToolBar>

#include <algorithm>

#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/files.h"
#include "support/newsserver.h"
#include "support/posts.h"
#include "support/programs.h"
#include "support/rows.h"
#include "ui/deletedialog.h"
#include "windowfixture.h"

using namespace Qt::StringLiterals;

namespace {

bool isVisible(const QWidget *widget) { return widget->isVisible(); }

} // namespace

/// The window used by key and click.
class TestMainWindow final : public QObject, private WindowFixture {
    Q_OBJECT

private slots:
    void init()
    {
        configure();
        open();
    }
    void cleanup()
    {
        tester.reset();
        window.reset();
    }

    void boxesComeOneAfterAnother();
    void opensNoConnectionUnderBox();
    void asksForPasswords();
    void menuTakesJobAnew();
    void addsByDialog();
    void keysReachEverything();
    void keysMoveRows_data();
    void keysMoveRows();
    void pauses_data();
    void pauses();
    void jobGoesUnderQuestion();
    void deletes_data();
    void deletes();
    void deletesNothingByMistake();
    void damagedQueue_data();
    void damagedQueue();
    void completeJob();
    void progressShowsInBothRows();
    void closingSaves();
    void closingTellsOfFailure();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent *>(event)->region();
        return QObject::eventFilter(watched, event);
    }

private:
    void open();
    /// The model's tester goes: it objects to the corners of a progress, which are those of no row.
    void allowConnection(int port)
    {
        tester.reset();
        set("port", port);
        set("threads", 1);
        set("networkTimeout", 30);
        set("networkRetry", 30);
    }
    /// Clicks this button of the box or dialog that opens next.
    void answerNext(const std::function<QAbstractButton *(QWidget *)> &button)
    {
        QTimer::singleShot(0, this, [this, button] {
            if (QWidget *dialog = QApplication::activeModalWidget())
                QTest::mouseClick(button(dialog), Qt::LeftButton);
            else
                answerNext(button);
        });
    }
    /// A job on @p server that holds a film in an archive with a password. Returns the film's path.
    [[nodiscard]] QString addLocked(NewsServer &server, const QString &name)
    {
        Post post(name);
        for (const auto &[file, data] : packWithRar({{u"film.avi"_s, "film"}}, {u"-hpsecret"_s}))
            post.addYenc(file, data);
        post.upload(server);
        return engine->addNZB(post.writeNzb(dir->path()))->folder() + u"/film.avi"_s;
    }
    [[nodiscard]] static QInputDialog *passwordBox()
    {
        return qobject_cast<QInputDialog *>(QApplication::activeModalWidget());
    }
    static void givePassword()
    {
        QTest::keyClicks(passwordBox()->focusWidget(), u"secret"_s);
        QTest::keyClick(passwordBox()->focusWidget(), Qt::Key_Return);
    }
    /// Chooses @p text from the menu of the current row. False if that is not enabled.
    [[nodiscard]] bool takeFromMenu(const QString &text)
    {
        bool enabled = false;
        QTimer whenOpen;
        whenOpen.callOnTimeout([&] {
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            if (!menu)
                return;
            for (QAction *action : menu->actions()) {
                if (action->text() == text && action->isEnabled()) {
                    menu->setActiveAction(action);
                    enabled = true;
                }
            }
            QTest::keyClick(menu, enabled ? Qt::Key_Return : Qt::Key_Escape);
        });
        whenOpen.start(0);
        QContextMenuEvent byKey(QContextMenuEvent::Keyboard, {}, view()->mapToGlobal(QPoint()));
        QCoreApplication::sendEvent(view(), &byKey);
        return enabled;
    }
    [[nodiscard]] QStringList savedJobs()
    {
        Marlowick reader(nullptr);
        reader.loadQueue(QString());
        QStringList names;
        for (const Nzb *nzb : *reader.queue())
            names << nzb->name();
        return names;
    }
    [[nodiscard]] static QMessageBox *box()
    {
        return qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    }
    [[nodiscard]] QString message() const { return window->statusBar()->currentMessage(); }

    std::optional<QAbstractItemModelTester> tester;
    QRegion painted;
};

void TestMainWindow::open()
{
    openWindow();
    tester.emplace(view()->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
}

void TestMainWindow::boxesComeOneAfterAnother()
{
    addJob();
    select(rowAt(0));
    engine->pauseAll(); // as for a file that cannot be written
    emit engine->error(0, u"first"_s);
    QVERIFY(action(u"actionPause"_s)->isChecked());
    emit engine->error(0, u"second"_s);
    tester.reset(); // it objects to the end of an insertion of a job that could not be made
    window->handleMessage(writeFile(dir->filePath(u"bad.NZB"_s), "no NZB"));
    for (const QString &text : {u"first"_s, u"second"_s, u"Error parsing NZB"_s}) {
        QTRY_VERIFY(box());
        QCOMPARE(box()->text(), text);
        const QList<QMessageBox *> boxes = window->findChildren<QMessageBox *>();
        QCOMPARE(std::count_if(boxes.cbegin(), boxes.cend(), isVisible), 1);
        QTest::keyClick(box(), Qt::Key_Return);
        QTRY_VERIFY(!box() || box()->text() != text);
    }
    QTRY_VERIFY(window->findChildren<QMessageBox *>().isEmpty());
}

void TestMainWindow::opensNoConnectionUnderBox()
{
    NewsServer server;
    server.requireLogin("joe", "secret");
    allowConnection(server.serverPort());
    addJob();
    QTRY_VERIFY(box());
    engine->startToDownloadQueue();
    QCOMPARE(engine->connectionCount(), 0);
    QTest::keyClick(box(), Qt::Key_Return);
    engine->startToDownloadQueue();
    QCOMPARE(engine->connectionCount(), 1);
}

/// For one job after the other, whose row is shown selected, and not above another question.
void TestMainWindow::asksForPasswords()
{
    NewsServer server;
    allowConnection(server.serverPort());
    for (int i = 0; i < 20; ++i)
        addJob(u"job%1"_s.arg(i));
    engine->pauseAll();
    const QString films[] = {addLocked(server, u"locked1"_s), addLocked(server, u"locked2"_s)};
    QStringList asking;
    connect(engine, &Marlowick::passwordNeeded, this,
            [&asking](Nzb *nzb) { asking << nzb->name(); });
    answerNext([&](QWidget *question) {
        [&] { QTRY_COMPARE(asking.size(), 2); }();
        QCoreApplication::processEvents();
        [&] { QCOMPARE(QApplication::activeModalWidget(), question); }();
        return question->findChild<QAbstractButton *>(u"commandLinkButton_3"_s);
    });
    QCOMPARE(DeleteDialog::ask(), int(QMessageBox::Cancel));
    for (const QString &name : std::as_const(asking)) {
        QTRY_VERIFY(passwordBox() && view()->currentIndex().data() == name);
        const auto *box = passwordBox();
        QCOMPARE(std::ranges::count_if(window->findChildren<QDialog *>(), isVisible), 1);
        QVERIFY(view()->viewport()->rect().contains(view()->visualRect(view()->currentIndex())));
        QCOMPARE(box->windowTitle(), u"Password protected RAR file"_s);
        QCOMPARE(box->labelText(), u"Please enter the password of what you are downloading"_s);
        QCOMPARE(box->textEchoMode(), QLineEdit::Password);
        givePassword();
    }
    for (const QString &film : films)
        QTRY_COMPARE(contentsOf(film), "film");
}

/// After a password that was declined, and not while an article is under way.
void TestMainWindow::menuTakesJobAnew()
{
    NewsServer server;
    allowConnection(server.serverPort());
    const QString film = addLocked(server, u"locked"_s);
    server.holdAll();
    select(rowAt(0));
    QTRY_VERIFY(!server.waiting().isEmpty());
    QVERIFY(!takeFromMenu(u"Repair and unpack"_s));
    server.releaseAll();
    QTRY_VERIFY(passwordBox());
    passwordBox()->reject();
    QVERIFY(takeFromMenu(u"Repair and unpack"_s));
    QTRY_VERIFY(passwordBox());
    givePassword();
    QTRY_COMPARE(contentsOf(film), "film");
}

void TestMainWindow::addsByDialog()
{
    const QString nzb = writeFile(dir->filePath(u"a.nzb"_s), "<nzb/>");
    window->handleMessage(nzb);
    QCOMPARE(savedJobs(), QStringList());
    answerNext([&](QWidget *dialog) {
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(nzb);
        return dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open);
    });
    action(u"actionAdd_NZB"_s)->trigger();
    QCOMPARE(savedJobs(), (QStringList{u"a"_s, u"a2"_s}));
}

void TestMainWindow::keysReachEverything()
{
    addJob();
    select(rowAt(0));
    QTest::keyClick(view(), Qt::Key_Right);
    QVERIFY(view()->isExpanded(view()->currentIndex()));
    QTest::keyClick(view(), Qt::Key_Left);
    QVERIFY(!view()->isExpanded(view()->currentIndex()));
    QStringList names;
    do {
        const QAccessibleInterface *control =
            QAccessible::queryAccessibleInterface(QApplication::focusWidget());
        names << control->text(QAccessible::Name);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    } while (!view()->hasFocus() && names.size() < 10);
    QCOMPARE(names, (QStringList{u"Download queue"_s, u"Add NZB"_s, u"Pause"_s, u"Delete"_s,
                                 u"Downloads"_s, u"Preview"_s, u"Settings"_s}));
}

void TestMainWindow::keysMoveRows_data()
{
    QTest::addColumn<bool>("files"); // else jobs
    QTest::addColumn<int>("row");
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<QString>("order");
    QTest::newRow("job up") << false << 2 << Qt::Key_Up << u"a c b"_s;
    QTest::newRow("job down") << false << 0 << Qt::Key_Down << u"b a c"_s;
    QTest::newRow("first job up") << false << 0 << Qt::Key_Up << u"a b c"_s;
    QTest::newRow("last job down") << false << 2 << Qt::Key_Down << u"a b c"_s;
    QTest::newRow("file up") << true << 1 << Qt::Key_Up << u"film.par2 film.mkv read.txt"_s;
    QTest::newRow("file down") << true << 1 << Qt::Key_Down << u"film.mkv read.txt film.par2"_s;
    QTest::newRow("last file down")
        << true << 2 << Qt::Key_Down << u"film.mkv film.par2 read.txt"_s;
}

void TestMainWindow::keysMoveRows()
{
    QFETCH(const bool, files);
    QFETCH(const int, row);
    QFETCH(const Qt::Key, key);
    const QAbstractItemModel *model = view()->model();
    QTest::keyClick(view(), key, Qt::AltModifier); // with no row at all
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s})
        addJob(name);
    const QModelIndex job = model->index(1, 0);
    view()->expand(job);
    const QModelIndex level = files ? job : QModelIndex();
    select(model->index(row, 2, level)); // as after a click on its status
    const QString moved = model->index(row, 0, level).data().toString();
    QTest::keyClick(view(), key, Qt::AltModifier);
    QStringList order;
    for (int i = 0; i < model->rowCount(level); ++i)
        order << model->index(i, 0, level).data().toString();
    QTEST(order.join(u' '), "order");
    QCOMPARE(view()->currentIndex().siblingAtColumn(0).data().toString(), moved);
    for (int i = 0; i < model->rowCount(); ++i)
        QCOMPARE(view()->isExpanded(model->index(i, 0)), model->index(i, 0).data() == u"b"_s);
}

void TestMainWindow::pauses_data()
{
    QTest::addColumn<bool>("pausePAR2");
    QTest::addColumn<int>("fileRow"); // -1: the job's
    QTest::addColumn<QList<bool>>("paused");
    QTest::addColumn<QList<bool>>("resumed");
    using Flags = QList<bool>; // of film.mkv, film.par2, read.txt
    QTest::newRow("file") << true << 2 << Flags{false, true, true} << Flags{false, true, false};
    QTest::newRow("volume by hand")
        << true << 1 << Flags{false, true, false} << Flags{false, false, false};
    QTest::newRow("job holds volumes back")
        << true << -1 << Flags{true, true, true} << Flags{false, true, false};
    QTest::newRow("job with a volume that was asked for")
        << true << -1 << Flags{true, true, true} << Flags{false, false, false};
    QTest::newRow("job") << false << -1 << Flags{true, true, true} << Flags{false, false, false};
}

void TestMainWindow::pauses()
{
    QFETCH(const bool, pausePAR2);
    QFETCH(const int, fileRow);
    set("pausePAR2", pausePAR2);
    const Nzb *nzb = addJob();
    if (QByteArrayView(QTest::currentDataTag()).contains("asked for")) {
        nzb->fileAt(1)->setOrdered(true);
        nzb->fileAt(1)->setPaused(false);
    }
    tester.reset(); // it objects to the corners of a progress, which are those of no row
    const auto flags = [nzb] {
        QList<bool> result;
        for (int i = 0; i < nzb->fileCount(); ++i)
            result << nzb->fileAt(i)->isPaused();
        return result;
    };
    QVERIFY(!action(u"actionPause"_s)->isEnabled());
    const QModelIndex job = rowAt(0);
    select(fileRow < 0 ? job : rowAt(fileRow, job));
    QVERIFY(action(u"actionPause"_s)->isEnabled());
    window->findChild<QToolBar *>()->widgetForAction(action(u"actionPause"_s))->setFocus();
    if (!action(u"actionPause"_s)->isChecked()) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QCOMPARE(message(), u"Paused file"_s);
    }
    QTEST(flags(), "paused");
    const QModelIndex chosen = view()->currentIndex();
    select(rowAt(0, job)); // the film, which is paused with the job alone
    QCOMPARE(action(u"actionPause"_s)->isChecked(), nzb->fileAt(0)->isPaused());
    select(chosen);
    QVERIFY(action(u"actionPause"_s)->isChecked());
    allowConnection(1);
    const QSignalSpy messages(window->statusBar(), &QStatusBar::messageChanged);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    QTEST(flags(), "resumed");
    QCOMPARE(engine->connectionCount(), 1);
    QCOMPARE(messages.value(0), QVariantList{u"Resuming download"_s});
}

void TestMainWindow::jobGoesUnderQuestion()
{
    set("clearOnCompletion", true);
    Nzb *nzb = addJob(u"a"_s);
    addJob(u"b"_s);
    select(rowAt(0, rowAt(0)));
    answerNext([&](QWidget *dialog) {
        emit engine->nzbComplete(nzb);
        return dialog->findChild<QAbstractButton *>(u"commandLinkButton_2"_s);
    });
    QTest::keyClick(view(), Qt::Key_Delete);
    QCOMPARE(view()->model()->rowCount(), 1);
    QCOMPARE(rowAt(0).data().toString(), u"b"_s);
    QCOMPARE(action(u"actionDelete"_s)->isEnabled(), view()->currentIndex().isValid());
}

void TestMainWindow::deletes_data()
{
    QTest::addColumn<int>("tabs");
    QTest::addColumn<bool>("removed");
    QTest::addColumn<bool>("onDisk");
    QTest::newRow("list only") << 1 << true << true;
    QTest::newRow("files too") << 2 << true << false;
    QTest::newRow("cancel") << 0 << false << true;
}

void TestMainWindow::deletes()
{
    QFETCH(const int, tabs);
    QFETCH(const bool, removed);
    addJob(u"a"_s);
    const QString folder = addJob(u"b"_s)->folder();
    engine->saveQueue();
    select(view()->model()->index(1, 0));
    QTimer::singleShot(0, this, [tabs] {
        const QWidget *dialog = QApplication::activeModalWidget();
        for (int i = 0; i < tabs; ++i)
            QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Space);
    });
    QTest::keyClick(view(), Qt::Key_Delete);
    QCOMPARE(view()->model()->rowCount(), removed ? 1 : 2);
    QCOMPARE(savedJobs(), removed ? QStringList{u"a"_s} : (QStringList{u"a"_s, u"b"_s}));
    QCOMPARE(message(), removed ? u"Deleted item"_s : QString());
    QTEST(QFile::exists(folder), "onDisk");
}

void TestMainWindow::deletesNothingByMistake()
{
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        QTimer::singleShot(0, this,
                           [key] { QTest::keyClick(QApplication::activeModalWidget(), key); });
        QCOMPARE(DeleteDialog::ask(), int(QMessageBox::Cancel));
    }
}

void TestMainWindow::damagedQueue_data()
{
    const auto row = rows<bool, QMessageBox::StandardButton, QStringList>();
    row("backup", {true, QMessageBox::Yes, QStringList{u"a"_s}});
    row("no backup wanted", {true, QMessageBox::No, QStringList{u"x"_s}});
    row("damaged backup", {false, QMessageBox::Yes, QStringList{u"y"_s}});
}

void TestMainWindow::damagedQueue()
{
    const auto [backupIsGood, answer, jobs] =
        thisRow<bool, QMessageBox::StandardButton, QStringList>();
    addJob(u"a"_s);
    engine->saveQueue();
    engine->saveQueue();
    const QString queue = dir->filePath(u"Marlowick/queue.qzb"_s);
    writeFile(queue, "<qzb><nzb name='x'/>");
    if (!backupIsGood)
        writeFile(queue + ".old"_L1, "<qzb><nzb name='y'/>");
    QStringList told;
    const auto read = [&, backupIsGood = backupIsGood](QMessageBox::StandardButton button) {
        return [&, button](QWidget *dialog) {
            auto *question = qobject_cast<QMessageBox *>(dialog);
            told << question->windowTitle() << question->text();
            if (!backupIsGood && told.size() == 2)
                answerNext([&](QWidget *next) {
                    told << qobject_cast<QMessageBox *>(next)->text();
                    return qobject_cast<QMessageBox *>(next)->button(QMessageBox::Ok);
                });
            return question->button(button);
        };
    };
    answerNext(read(answer));
    cleanup();
    open();
    QStringList expected{u"Loading queue failed"_s,
                         u"There was an error loading the queue. Do you want to load the backup "
                         "file?"_s};
    if (!backupIsGood)
        expected << u"Loading the backup failed as well :-( Error parsing queue file"_s;
    QCOMPARE(told, expected);
    QStringList found;
    for (int i = 0; i < view()->model()->rowCount(); ++i)
        found << rowAt(i).data().toString();
    QCOMPARE(found, jobs);
}

void TestMainWindow::completeJob()
{
    Nzb *nzb = addJob();
    for (const bool clear : {false, true}) {
        set("clearOnCompletion", clear);
        emit engine->nzbComplete(nzb);
        QCOMPARE(savedJobs(), QStringList{u"job"_s}); // as it stood
        QCOMPARE(view()->model()->rowCount(), clear ? 0 : 1);
    }
}

void TestMainWindow::progressShowsInBothRows()
{
    const Nzb *nzb = addJob();
    const QModelIndex job = view()->model()->index(0, 2);
    view()->expandAll();
    const QModelIndex file = view()->model()->index(2, 2, job.siblingAtColumn(0));
    QVERIFY(QTest::qWaitForWindowExposed(&*window));
    QCoreApplication::processEvents();
    view()->viewport()->installEventFilter(this);
    painted = {};
    tester.reset(); // it objects to the corners of a progress, which are those of no row
    emit engine->downloadProgresses(nzb->fileAt(2));
    QTRY_VERIFY(painted.contains(view()->visualRect(job)));
    QVERIFY(painted.contains(view()->visualRect(file)));
}

void TestMainWindow::closingSaves()
{
    addJob(u"a"_s);
    // The session's manager, of which only Qt can make one, is not looked at.
    emit qGuiApp->commitDataRequest(*reinterpret_cast<QSessionManager *>(qGuiApp));
    QCOMPARE(savedJobs(), QStringList{u"a"_s});
    addJob(u"b"_s);
    window->close();
    QCOMPARE(savedJobs(), (QStringList{u"a"_s, u"b"_s}));
}

/// Each of the two saves, for what the first box asked for may have been done.
void TestMainWindow::closingTellsOfFailure()
{
    QVERIFY(QDir(dir->filePath(u"Marlowick"_s)).removeRecursively());
    QStringList told;
    std::function<QAbstractButton *(QWidget *)> read = [&](QWidget *dialog) -> QAbstractButton * {
        told << qobject_cast<QMessageBox *>(dialog)->text();
        if (told.size() < 2)
            answerNext(read);
        return qobject_cast<QMessageBox *>(dialog)->button(QMessageBox::Ok);
    };
    answerNext(read);
    window->close();
    QCOMPARE(told, QStringList(2, u"Error saving queue file"_s));
}

QTEST_MAIN(TestMainWindow)
#include "test_mainwindow.moc"
