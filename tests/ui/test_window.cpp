// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The main window, used by key and click.
#include <QtWidgets>

#include <algorithm>
#include <sys/statvfs.h>

#include "engine/enginefixture.h"
#include "preview/player.h"
#include "preview/preview.h"
#include "support/case.h"
#include "support/programs.h"
#include "ui/deletedialog.h"
#include "ui/mainwindow.h"
#include "ui/queueview.h"
#include "ui/statusdelegate.h"

using namespace Qt::StringLiterals;

namespace {

/// What the disk says that is asked for its free bytes; less than nothing is a failure.
double freeOnDisk = 1e12;

} // namespace

extern "C" int statvfs(const char * /*path*/, struct statvfs *info) noexcept
{
    info->f_bsize = 4096;
    info->f_frsize = 1;
    info->f_bavail = static_cast<fsblkcnt_t>(std::max(freeOnDisk, 0.0));
    return freeOnDisk < 0 ? -1 : 0;
}

namespace {

/// The fixture's own engine only sets things and looks at what the window's has saved.
struct World : EngineFixture {
    using Answer = std::function<void(QWidget *)>;

    World()
    {
        QDir().mkpath(downloads());
        set("threads", 0);
        QObject::connect(&user, &QTimer::timeout, &user, [this] {
            QWidget *popup = QApplication::activePopupWidget();
            QWidget *asking = popup ? popup : QApplication::activeModalWidget();
            if (!asking || answers.isEmpty())
                return;
            if (const auto *box = qobject_cast<QMessageBox *>(asking))
                told << QString(box->windowTitle() + u": "_s + box->text());
            answers.takeFirst()(asking);
        });
        user.start(1);
        open();
    }
    void open()
    {
        window.reset();
        window = std::make_unique<MainWindow>();
        live = window->findChild<Marlowick *>();
        view = window->findChild<QueueView *>();
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }
    static Answer press(Qt::Key key)
    {
        return [key](QWidget *asking) { QTest::keyClick(asking, key); };
    }
    static Answer click(const QString &button)
    {
        return [button](QWidget *asking) {
            QTest::mouseClick(asking->findChild<QAbstractButton *>(button), Qt::LeftButton);
        };
    }
    /// A job of a film, a PAR2 volume and a text, with their files on disk.
    Nzb *addJob(const QString &name) const
    {
        const QString path = writeFile(dir.filePath(name + u".nzb"_s), R"xml(<nzb>
    <file subject='"film.mkv" (1/1)'><segment number='1' bytes='1000'>a@b</segment></file>
    <file subject='"film.par2" (1/1)'><segment number='1' bytes='1000'>c@d</segment></file>
    <file subject='"read.txt" (1/1)'><segment number='1' bytes='1000'>e@f</segment></file></nzb>)xml");
        Nzb *nzb = live->addNZB(path);
        for (int i = 0; i < nzb->fileCount(); ++i)
            writeFile(nzb->folder() + u'/' + nzb->fileAt(i)->name(), "data");
        return nzb;
    }
    /// Of a job, or of a file of the first job.
    [[nodiscard]] QModelIndex row(int job, int file = -1) const
    {
        const QModelIndex index = view->model()->index(job, 0);
        return file < 0 ? index : view->model()->index(file, 0, index);
    }
    void select(int job, int file = -1) const { view->setCurrentIndex(row(job, file)); }
    [[nodiscard]] QString names(const QModelIndex &level = {}) const
    {
        QStringList all;
        for (int i = 0; i < view->model()->rowCount(level); ++i)
            all << view->model()->index(i, 0, level).data().toString();
        return all.join(u' ');
    }
    [[nodiscard]] static QString savedJobs()
    {
        Marlowick reader(nullptr);
        reader.loadQueue(QString());
        QStringList all;
        for (const Nzb *nzb : *reader.queue())
            all << nzb->name();
        return all.join(u' ');
    }
    [[nodiscard]] QAction *action(const QString &name) const
    {
        return window->findChild<QAction *>(u"action"_s + name);
    }
    [[nodiscard]] QString message() const { return window->statusBar()->currentMessage(); }
    [[nodiscard]] QString fields() const
    {
        QString text;
        const auto labels = window->statusBar()->findChildren<QLabel *>(Qt::FindDirectChildrenOnly);
        for (const QLabel *label : labels)
            text += label->text();
        return text.simplified();
    }
    [[nodiscard]] qsizetype dialogs() const
    {
        return std::ranges::count_if(window->findChildren<QDialog *>(), &QWidget::isVisible);
    }

    QTimer user;
    QList<Answer> answers; ///< what the user does with the next dialogs and menus
    QStringList told; ///< title and text of each message box that was answered
    std::unique_ptr<MainWindow> window;
    Marlowick *live = nullptr;
    QueueView *view = nullptr;
};

const Case boxes("boxes come one after another, and no connection under them", [] {
    World t;
    t.server->requireLogin("joe", "secret");
    t.set("threads", 1);
    t.addJob(u"job"_s);
    QTRY_COMPARE(t.dialogs(), 1); // it asks for the password
    t.select(0);
    t.live->pauseAll(); // as for a file that cannot be written
    emit t.live->error(0, QString(2000, u'x'));
    QVERIFY(t.action(u"Pause"_s)->isChecked());
    t.window->handleMessage(writeFile(t.dir.filePath(u"bad.nzb"_s), "no NZB"));
    t.live->queue()->first()->setPaused(false);
    const World::Answer read = [&](QWidget *box) {
        QCOMPARE(t.dialogs(), 1);
        t.live->startToDownloadQueue();
        QCOMPARE(t.live->connectionCount(), 0);
        QTest::keyClick(box, Qt::Key_Return);
    };
    t.setLogin("joe", "secret");
    t.answers = {read, read, read};
    QTRY_COMPARE(t.told.size(), 3);
    QCOMPARE(t.told.sliced(1), (QStringList{u"Error: "_s + QString(1000, u'x'),
                                            u"Error processing NZB: Error parsing NZB"_s}));
    QTRY_VERIFY((t.live->startToDownloadQueue(), !t.requested().isEmpty()));
    emit t.live->notice(0, QString(2000, u'x'));
    QCOMPARE(t.message().size(), 1000);
});

// For one job after the other, whose row is shown selected, and not above another question. What
// was declined can be taken up from the menu, unless an article is under way.
const Case passwords("asks for passwords", [] {
    World t;
    t.set("threads", 1);
    for (int i = 0; i < 20; ++i)
        t.addJob(u"job"_s);
    t.live->pauseAll();
    for (const QString &name : {u"locked1"_s, u"locked2"_s}) {
        Post post(name);
        for (const auto &[file, data] : packWithRar({{u"film.avi"_s, "film"}}, {u"-hpsecret"_s}))
            post.addYenc(file, data);
        post.upload(*t.server);
        t.live->addNZB(post.writeNzb(t.dir.path()));
    }
    const auto takeFromMenu = [&](Nzb *nzb) {
        const QPointer<QAction> action = t.action(u"RepairAndUnpack"_s);
        t.select(int(t.live->queue()->indexOf(nzb)));
        t.answers << [action](QWidget *menu) {
            qobject_cast<QMenu *>(menu)->setActiveAction(action);
            QTest::keyClick(menu, action->isEnabled() ? Qt::Key_Return : Qt::Key_Escape);
        };
        QContextMenuEvent byKey(QContextMenuEvent::Keyboard, {}, t.view->mapToGlobal(QPoint()));
        QCoreApplication::sendEvent(t.view, &byKey);
        return action->isEnabled();
    };
    t.server->holdAll();
    QTRY_VERIFY(!t.server->waiting().isEmpty());
    QVERIFY(!takeFromMenu(t.live->queue()->at(20)));
    t.server->releaseAll();
    QList<Nzb *> asking;
    QObject::connect(t.live, &Marlowick::passwordNeeded, [&](Nzb *nzb) { asking << nzb; });
    t.answers << [&](QWidget *question) {
        QTRY_COMPARE(asking.size(), 2);
        emit t.live->passwordNeeded(t.live->queue()->first(), QString());
        t.live->deleteItem(asking.takeLast()); // then nobody has to answer
        QCoreApplication::processEvents();
        QCOMPARE(QApplication::activeModalWidget(), question);
        QTest::keyClick(question, Qt::Key_Escape);
    };
    QCOMPARE(DeleteDialog::ask(), int(QMessageBox::Cancel));
    const auto answer = [&](const QString &password) {
        QTRY_VERIFY(qobject_cast<QInputDialog *>(QApplication::activeModalWidget()));
        auto *box = qobject_cast<QInputDialog *>(QApplication::activeModalWidget());
        QCOMPARE(box->textEchoMode(), QLineEdit::Password);
        QCOMPARE(t.dialogs(), 1);
        QCOMPARE(t.view->currentIndex().data(), asking.takeFirst()->name());
        QVERIFY(t.view->viewport()->rect().contains(t.view->visualRect(t.view->currentIndex())));
        QTest::keyClicks(box->focusWidget(), password);
        QTest::keyClick(box, password.isEmpty() ? Qt::Key_Escape : Qt::Key_Return);
    };
    Nzb *declined = asking.value(0);
    answer({});
    answer(u"secret"_s);
    QVERIFY(takeFromMenu(declined));
    answer(u"secret"_s);
    for (const QString &name : {u"locked1/film.avi"_s, u"locked2/film.avi"_s})
        QTRY_COMPARE(t.saved(name), "film");
});

const Case imports("imports by dialog, and what comes from outside", [] {
    World t;
    const QString nzb = writeFile(t.dir.filePath(u"a.NZB"_s), "<nzb/>");
    for (const QString &path :
         {nzb, t.dir.filePath(u"none.nzb"_s), writeFile(t.dir.filePath(u"a.txt"_s), "<nzb/>")})
        t.window->handleMessage(path);
    QCOMPARE(t.savedJobs(), QString());
    t.answers << [&](QWidget *dialog) {
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(nzb);
        QTest::keyClick(dialog, Qt::Key_Return);
    } << World::press(Qt::Key_Escape);
    for (int i = 0; i < 2; ++i)
        t.action(u"Add_NZB"_s)->trigger();
    QCOMPARE(t.savedJobs(), u"a a2"_s);
    QCOMPARE(t.names(), u"a a2"_s);
    QCOMPARE(t.dialogs(), 0);
});

const Case moves("keys move rows within their level", [] {
    World t;
    const auto move = [&](const QModelIndex &row, Qt::Key key) {
        t.view->setCurrentIndex(row.siblingAtColumn(2)); // as after a click on its status
        QTest::keyClick(t.view, key, Qt::AltModifier);
        const QString current = t.view->currentIndex().siblingAtColumn(0).data().toString();
        return QString(t.names(row.parent()) + u": "_s + current);
    };
    QCOMPARE(move({}, Qt::Key_Up), u": "_s);
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s})
        t.addJob(name);
    t.view->expand(t.row(1));
    QCOMPARE(move(t.row(0), Qt::Key_Up), u"a b c: a"_s);
    QCOMPARE(move(t.row(0), Qt::Key_Down), u"b a c: a"_s);
    QCOMPARE(move(t.row(2), Qt::Key_Up), u"b c a: c"_s);
    QCOMPARE(move(t.row(2), Qt::Key_Down), u"b c a: a"_s);
    QCOMPARE(move(t.row(0, 1), Qt::Key_Down), u"film.mkv read.txt film.par2: film.par2"_s);
    QVERIFY(t.view->isExpanded(t.row(0)) && !t.view->isExpanded(t.row(1)));
});

const Case pause("pauses and resumes, with volumes held back", [] {
    World t;
    const Nzb *nzb = t.addJob(u"job"_s);
    QAction *action = t.action(u"Pause"_s);
    QVERIFY(!action->isEnabled());
    // The flags of film.mkv, film.par2 and read.txt after a click with this file or job selected.
    const auto click = [&](int file) {
        t.select(0, 0); // the film, which is paused with the job alone
        const bool filmPaused = action->isChecked();
        t.select(0, file);
        const bool pauses = !action->isChecked();
        action->trigger();
        QString flags = (pauses ? u"paused "_s : u"resumed "_s);
        for (int i = 0; i < nzb->fileCount(); ++i)
            flags += nzb->fileAt(i)->isPaused() ? u'P' : u'-';
        const bool told = pauses == (t.message() == "Paused file"_L1);
        return told && filmPaused == (file < 0 && !pauses) ? flags : u"wrong: "_s + flags;
    };
    t.set("pausePAR2", true);
    nzb->fileAt(1)->setPaused(true);
    QCOMPARE(click(2), u"paused -PP"_s);
    QCOMPARE(click(2), u"resumed -P-"_s);
    QCOMPARE(click(-1), u"paused PPP"_s);
    QCOMPARE(click(-1), u"resumed -P-"_s); // the volume is not wanted yet,
    QCOMPARE(click(1), u"resumed ---"_s); // until the user says so
    QCOMPARE(click(-1), u"paused PPP"_s);
    QCOMPARE(click(-1), u"resumed ---"_s);
    QCOMPARE(click(1), u"paused -P-"_s);
    QVERIFY(!nzb->fileAt(1)->isOrdered());
    t.set("pausePAR2", false);
    QCOMPARE(click(-1), u"paused PPP"_s);
    t.set("threads", 1);
    QCOMPARE(click(-1), u"resumed ---"_s);
    QCOMPARE(t.live->connectionCount(), 1);
});

const Case deletion("deletes what the answer says, and nothing else", [] {
    World t;
    t.set("clearOnCompletion", true);
    QHash<QString, QString> folders;
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
        folders[name] = t.addJob(name)->folder();
    QTest::keyClick(t.view, Qt::Key_Delete); // no row: nothing is asked
    // Selects the last row and returns which jobs then are in the list, and which on the disk.
    const auto remove = [&](const World::Answer &answer) {
        t.select(t.view->model()->rowCount() - 1);
        t.answers << answer;
        t.action(u"Delete"_s)->trigger();
        QString onDisk;
        for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
            onDisk += QFile::exists(folders[name]) ? name : QString();
        return QString(t.names() + u" - "_s + onDisk);
    };
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape})
        QCOMPARE(remove(World::press(key)), u"a b c d - abcd"_s);
    QCOMPARE(remove(World::click(u"commandLinkButton_3"_s)), u"a b c d - abcd"_s);
    QVERIFY(t.message().isEmpty() && t.savedJobs().isEmpty());
    QCOMPARE(remove(World::click(u"commandLinkButton"_s)), u"a b c - abcd"_s);
    QCOMPARE(t.message(), u"Deleted item"_s);
    QCOMPARE(remove(World::click(u"commandLinkButton_2"_s)), u"a b - abd"_s);
    QCOMPARE(t.savedJobs(), u"a b"_s);
    const auto goes = [&](QWidget *question) { // the job about which it asks
        emit t.live->nzbComplete(t.live->queue()->last());
        World::click(u"commandLinkButton_2"_s)(question);
    };
    QCOMPARE(remove(goes), u"a - abd"_s);
});

struct Damage {
    const char *name; // what is left
    Qt::Key answer;
    bool backupIsGood = true;
};
const Damage damages[] = {
    {"a", Qt::Key_Return},
    {"x", Qt::Key_Escape},
    {"y", Qt::Key_Return, false},
};
const Case damage("of a damaged queue", damages, [](const Damage &row) {
    World t;
    t.addJob(u"a"_s);
    t.live->saveQueue();
    t.live->saveQueue();
    const QString queue = t.dir.filePath(u"Marlowick/queue.qzb"_s);
    writeFile(queue, "<qzb><nzb name='x'/>");
    if (!row.backupIsGood)
        writeFile(queue + ".old"_L1, "<qzb><nzb name='y'/>");
    t.answers = {World::press(row.answer), World::press(Qt::Key_Return)};
    t.open();
    const QString told = t.told.join(u'|');
    QVERIFY(told.startsWith("Loading queue failed: "_L1));
    QCOMPARE(told.contains("as well :-( Error parsing queue file"_L1), !row.backupIsGood);
    QCOMPARE(t.names(), QString::fromLatin1(row.name));
    t.window->close();
    QCOMPARE(t.savedJobs(), t.names());
});

const Case closing("saves at the end, and tells of a failure", [] {
    World t;
    t.addJob(u"a"_s);
    // The session's manager, of which only Qt can make one, is not looked at.
    emit qGuiApp->commitDataRequest(*reinterpret_cast<QSessionManager *>(qGuiApp));
    QCOMPARE(t.savedJobs(), u"a"_s);
    t.addJob(u"b"_s);
    QTest::keyClick(t.view, Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(t.savedJobs(), u"a b"_s);
    QVERIFY(QDir(t.dir.filePath(u"Marlowick"_s)).removeRecursively());
    // For what the first box asked for may have been done.
    t.answers = {World::press(Qt::Key_Return), World::press(Qt::Key_Return)};
    t.window->show();
    t.window->close();
    QCOMPARE(t.told, QStringList(2, u"Error: Error saving queue file"_s));
});

const Case watching("watches a film once, as long as its job is there", [] {
    World t;
    Player player(t.dir.path());
    t.set("mediaPlayer", player.program);
    t.set("mediaPlayerArgs", u" -really  -quiet "_s);
    t.set("clearOnCompletion", true);
    Nzb *nzb = t.addJob(u"a"_s);
    QAction *preview = t.action(u"Preview"_s);
    t.select(0, 2);
    int number = 0;
    nzb->fileAt(0)->nextSegment(&number);
    nzb->fileAt(0)->segmentDecoded(number, {}, 1000, true, true);
    emit t.live->fileComplete(nzb->fileAt(0));
    QVERIFY(!preview->isEnabled());
    QTRY_VERIFY(preview->isEnabled());
    for (const bool again : {false, true}) {
        preview->trigger();
        QTRY_VERIFY(player.isThere());
        QVERIFY(player.arguments().startsWith("-really -quiet http://127.0.0.1:"_L1));
        t.answers << World::press(Qt::Key_Return);
        preview->trigger();
        QCOMPARE(t.told.takeFirst(), u"Preview: File is already being previewed"_s);
        emit t.live->nzbComplete(nzb);
        QCOMPARE(t.names(), u"a"_s); // nobody takes it from who is watching
        if (!again)
            player.end();
        QTRY_COMPARE(t.window->findChildren<Preview *>().size(), again ? 1 : 0);
        if (!again)
            player.forget();
    }
    t.live->deleteItem(nzb->fileAt(1));
    QVERIFY(player.isRunning());
    t.live->deleteItem(nzb);
    QVERIFY(!player.isRunning() && !preview->isEnabled());
    emit t.live->nzbComplete(t.addJob(u"b"_s));
    QCOMPARE(t.names() + u'|' + t.savedJobs(), u"|b"_s); // as it stood
});

const Case statistics("tells the statistics", [] {
    const World t;
    const auto shown = [&](int speed, quint64 left, int seconds) {
        emit t.live->downloadStatistics(speed, left, seconds);
        return t.fields();
    };
    QCOMPARE(shown(131072, 1, 3599), u"931 GB free 1.0 Mbit/s 0d 0h 60m left"_s);
    QCOMPARE(shown(2'000'000'000, 1, 2 * 86400 + 3600 + 29),
             u"931 GB free 15258.8 Mbit/s 2d 1h 0m left"_s);
    QCOMPARE(shown(0, 1, 0), u"931 GB free 0.0 Mbit/s **d **h **m left"_s);
    QCOMPARE(shown(0, 0, 0), u"931 GB free 0.0 Mbit/s 0d 0h 0m left"_s);
});

const Case disk("suspends all when the disk is nearly full, and tells so once", [] {
    World t;
    const Nzb *nzb = t.addJob(u"a"_s);
    t.select(0);
    const auto look = [&](double megabytes) {
        freeOnDisk = megabytes * 1024 * 1024;
        t.window->checkDiskspace();
        freeOnDisk = 1e12;
        const bool paused = nzb->isPaused() && t.action(u"Pause"_s)->isChecked();
        return QString(t.fields().section(u' ', 0, 2) + (paused ? u", paused"_s : QString()));
    };
    QCOMPARE(look(5.99 * 1024), u"5 GB free"_s);
    QCOMPARE(look(100), u"0 GB free"_s);
    QCOMPARE(look(-1), u"0 GB free"_s); // it cannot be told
    for (const double little : {99.5, 0.0})
        QCOMPARE(look(little), u"0 GB free, paused"_s);
    t.answers = {World::press(Qt::Key_Return), World::press(Qt::Key_Return)};
    QTRY_VERIFY(!t.told.isEmpty() && t.dialogs() == 0);
    QCOMPARE(t.told, QStringList{u"Low disk space: Only 99.5 MB of disk space left. Suspending all "
                                 "downloads."_s});
});

const Case repaints("nothing on the screen stays out of date", [] {
    World t;
    for (int i = 0; i < 30; ++i)
        t.addJob(u"x"_s)->setName(u"job"_s);
    QWidget *port = t.view->viewport();
    const auto isCurrent = [&] {
        QCoreApplication::processEvents();
        const QRect place(port->mapTo(t.window.get(), QPoint()), port->size());
        return t.window->screen()->grabWindow(t.window->winId()).copy(place).toImage()
               == port->grab().toImage().convertToFormat(QImage::Format_RGB32);
    };
    Nzb *first = t.live->queue()->first();
    t.view->expand(t.row(0));
    QTRY_VERIFY(isCurrent());
    first->fileAt(2)->setPaused(true);
    first->setStatus(u"90 %"_s);
    QVERIFY(!isCurrent());
    QObject::disconnect(t.live, &Marlowick::downloadStatistics, nullptr, nullptr); // also repaints
    emit t.live->downloadProgresses(first->fileAt(2));
    QTRY_VERIFY(isCurrent()); // both rows
    const QModelIndex last = t.view->indexAt(QPoint(1, port->height() - 1)); // cut by the edge
    const QRect place = t.view->visualRect(last);
    const auto become = [&](const QString &status, int job = -1) {
        t.live->queue()->at(job < 0 ? last.row() : job)->setStatus(status);
        t.view->repaintChanged();
        return isCurrent();
    };
    for (const int percent : {50, 100}) { // is painted meanwhile for another reason
        t.live->queue()->at(last.row())->setStatus(u"90 %"_s);
        port->repaint(0, place.top(), port->width(), place.height() * percent / 100);
        QVERIFY(become(percent == 100 ? QString() : u"90 %"_s));
        QVERIFY(become({}));
    }
    QVERIFY(become(u"90 %"_s, 2));
    t.view->verticalScrollBar()->setValue(1); // to where the like was
    QCoreApplication::processEvents();
    QVERIFY(become({}, 2));
});

const Case toolTips("a tool tip holds what is cut, in colours that can be read", [] {
    World t;
    const QString name = u"<i>name</i> & more "_s.repeated(20).trimmed();
    t.addJob(u"a"_s)->setName(name);
    for (const int column : {0, 1}) {
        const QPoint place = t.view->visualRect(t.row(0).siblingAtColumn(column)).center();
        QHelpEvent event(QEvent::ToolTip, place, t.view->viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(t.view->viewport(), &event);
        if (column == 0)
            QCOMPARE(QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText(), name);
    }
    QTRY_VERIFY(!QToolTip::isVisible());
    for (const auto &[ground, shownAs] : {std::pair{Qt::black, 200}, {Qt::white, 128}}) {
        QStyleOptionViewItem cell;
        cell.widget = t.view;
        cell.palette.setColor(QPalette::Base, ground);
        cell.palette.setColor(QPalette::Text, Qt::red);
        brightenOnDark(&cell);
        const QColor text = cell.palette.color(QPalette::Text);
        QCOMPARE(text.lightness(), shownAs);
        QCOMPARE(text.hslHue(), 0);
    }
});

} // namespace
