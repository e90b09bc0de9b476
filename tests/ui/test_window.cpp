// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The main window, used by key and click.
#include <sys/statvfs.h>

#include "preview/player.h"
#include "preview/preview.h"
#include "ui/mainwindow.h"
#include "ui/queueview.h"
#include "ui/statusdelegate.h"
#include "ui/user.h"

/// What the disk says that is asked for its free bytes; less than nothing is a failure.
static double freeOnDisk = 1e12;

extern "C" int statvfs(const char * /*path*/, struct statvfs *info) noexcept
{
    info->f_frsize = 1;
    info->f_bavail = static_cast<fsblkcnt_t>(std::max(freeOnDisk, 0.0));
    return freeOnDisk < 0 ? -1 : 0;
}

namespace {

/// The fixture's own engine only sets things.
struct World : User {
    World()
    {
        QDir().mkpath(downloads());
        set("threads", 0);
        start();
    }
    void start()
    {
        window.reset();
        window = std::make_unique<MainWindow>();
        live = window->findChild<Marlowick *>();
        view = window->findChild<QueueView *>();
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }
    /// Adds jobs of a film, a volume and a text, with the film on disk, and returns the last one.
    Nzb *add(const QStringList &names)
    {
        for (const QString &name : names) {
            Post post(name);
            for (const char *file : {"film.mkv", "vol.par2", "read.txt"})
                post.addYenc(file, "data");
            window->handleMessage(post.writeNzb(dir.path()));
            writeFile(live->queue()->last()->folder() + "/film.mkv", "data");
        }
        return live->queue()->last();
    }
    /// What is shown after @p words, of which a letter selects the first row that begins with it,
    /// beside those that are selected after a plus: each job with a letter for each of its files, a
    /// mark behind what is paused, then the row that is selected, what the button says of it, and
    /// the message.
    QString after(const QString &words)
    {
        window->activateWindow(); // which the end of a menu or dialog does not do here
        if (!QApplication::activeModalWidget())
            (void)QTest::qWaitForWindowActive(window.get());
        view->expandAll();
        const auto *model = view->model();
        for (const QString &word : words.split(';', Qt::SkipEmptyParts)) {
            const auto found =
                model->match(model->index(0, 0), Qt::DisplayRole, QString(word).remove('+'), 1,
                             Qt::MatchStartsWith | Qt::MatchRecursive);
            if (found.isEmpty())
                use(window.get(), word);
            else // as by a click on its status
                view->selectionModel()->setCurrentIndex(
                    found[0].siblingAtColumn(2),
                    QItemSelectionModel::Rows
                        | QItemSelectionModel::SelectionFlag(word[0] == '+' ? 2 : 3));
        }
        QString all;
        for (QModelIndex row = view->indexAt({}); row.isValid(); row = view->indexBelow(row)) {
            const QString name = row.data().toString();
            all += row.parent().isValid() ? name.first(1) : QString(' ' + name + ':');
            all += row.siblingAtColumn(2).data() == "Paused" ? "!" : "";
        }
        const auto *pause = window->findChild<QAction *>("actionPause");
        const QString button = !pause->isEnabled() ? "" : pause->isChecked() ? "paused" : "running";
        all +=
            " > " + view->currentIndex().siblingAtColumn(0).data().toString() + ' ' + button + ' ';
        return all + window->statusBar()->currentMessage();
    }

    /// What the menu offers, before @p choice is taken.
    QString menu(const QString &choice)
    {
        answers.prepend(choice + ";Esc");
        after("Shift+F10");
        return told.takeLast();
    }

    std::unique_ptr<MainWindow> window;
    Marlowick *live = nullptr;
    QueueView *view = nullptr;
};

const Case moves("moves, pauses, imports", [] {
    World t;
    t.add({"a", "b", "c"});
    QCOMPARE(t.after("a;Alt+Up;Alt+Down"), " b:frv a:frv c:frv > a running ");
    QCOMPARE(t.after("b;v;Alt+Up"), " b:fvr a:frv c:frv > vol.par2 running ");
    t.set("pausePAR2", true);
    QCOMPARE(t.after("actionPause;r;actionPause"),
             " b:fv!r! a:frv c:frv > read.txt paused Paused file");
    QCOMPARE(t.after("actionPause"), " b:fv!r a:frv c:frv > read.txt running Resuming download");
    QCOMPARE(t.after("b;actionPause"), " b:!f!v!r! a:frv c:frv > b paused Paused file");
    QCOMPARE(t.after("actionPause"), " b:fv!r a:frv c:frv > b running Resuming download");
    t.after("v;actionPause;b;actionPause;actionPause"); // the volume has been asked for
    QCOMPARE(t.after("v;actionPause"), " b:fv!r a:frv c:frv > vol.par2 paused Paused file");
    QVERIFY(!t.live->queue()->first()->fileAt(1)->isOrdered());
    t.set("pausePAR2", false);
    t.set("threads", 1);
    QCOMPARE(t.after("b;actionPause;actionPause"),
             " b:fvr a:frv c:frv > b running Connecting to server...");
    t.window->handleMessage("none.nzb");
    t.window->handleMessage(writeFile(t.dir.filePath("a.txt")));
    writeFile(t.dir.filePath("bad.nzb"), "no NZB");
    const QString both = "fileNameEdit=\"%1/bad.nzb\" \"%1/b.nzb\";Return";
    t.answers = {both.arg(t.dir.path()), "Return", "Esc"};
    t.after("actionAdd_NZB");
    QTRY_COMPARE(t.told.join('|'), "Select NZB file: |Error processing NZB: Error parsing NZB");
    t.after("actionAdd_NZB");
    t.start();
    QCOMPARE(t.after(""), " b:fvr a:frv c:frv b2:frv > b running ");
});

const Case deletion("deletes what the answer says, and nothing else", [] {
    World t;
    t.set("clearOnCompletion", true);
    t.add({"a", "b", "c"});
    const auto after = [&](const char *answer) -> QString {
        t.answers = {answer};
        const QString shown = t.after("actionDelete");
        return shown + ", " + QDir(t.downloads()).entryList({"[a-c]"}).join("");
    };
    t.after("c");
    QCOMPARE(after("Esc"), " a:frv b:frv c:frv > c running , abc");
    QCOMPARE(after("commandLinkButton_3"), " a:frv b:frv c:frv > c running , abc");
    QCOMPARE(after("commandLinkButton"), " a:frv b:frv > b running Deleted item, abc");
    QCOMPARE(after("commandLinkButton_2"), " a:frv > a running Deleted item, ac");
    t.meanwhile = [&](QWidget *) { emit t.live->nzbComplete(t.live->queue()->last()); };
    QCOMPARE(after("commandLinkButton_2"), " >   Deleted item, ac"); // it went meanwhile
    t.start();
    QCOMPARE(t.after(""), " a:frv > a running "); // saved as it stood
});

const Case selection("one command is for all selected rows", [] {
    World t;
    QCOMPARE(t.menu("Copy name") + t.after("Ctrl+A;Alt+Up;Del"), ": ||| >   ");
    t.add({"a", "b", "c", "d"});
    t.after("c;+v;+a"); // a file and its job, and another one
    QCOMPARE(t.menu("Copy name"),
             ": Open folder||Move to top|Move up|Move down|Move to bottom||Pause|"
             "Pause all||Repair and unpack|Copy name|Delete|");
    QCOMPARE(QGuiApplication::clipboard()->text(), "a\nvol.par2\nc");
    QCOMPARE(t.after("actionPause"), " a:!f!r!v! b:frv c:!f!r!v! d:frv > a paused Paused file");
    QVERIFY(t.menu("Resume").contains("|Resume|Pause all|Resume all|"));
    QVERIFY(!t.menu("Pause all").contains("|Resume"));
    QCOMPARE(t.after(""), " a:!f!r!v! b:!f!r!v! c:!f!r!v! d:!f!r!v! > a paused Paused file");
    t.menu("Resume all");
    for (const QString words : {"d;+b;Alt+Home|bdac", "b;+a;Alt+Down|dbca", "d;+b;Alt+Up|dbca",
                                "c;+d;+b;Alt+End|adbc", "r;+f;Alt+End|adbc"}) {
        t.after(words.section('|', 0, 0));
        for (int job = 0; job < 4; ++job)
            QCOMPARE(t.live->queue()->at(job)->name(), words.right(4)[job]);
    }
    t.meanwhile = [&](QWidget *) { t.live->deleteItem(t.live->queue()->last()); };
    t.answers = {"commandLinkButton_2"}; // asks once, and one goes meanwhile
    QCOMPARE(t.after("d;+c;+b;Del"), " a:vfr > a running Deleted 2 items");
});

const Case opening("opens what is finished, and folders", [] {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:"); // there may be a file manager on it
    World t;
    QString opened;
    QFileDialog desktop; // its signal takes the place of the desktop's programs
    QDesktopServices::setUrlHandler("file", &desktop, "currentUrlChanged");
    QObject::connect(&desktop, &QFileDialog::currentUrlChanged,
                     [&](const QUrl &url) { opened += url.fileName() + ' '; });
    Nzb *nzb = t.add({"a"});
    t.after("f");
    const auto doubleClick = [&] { emit t.view->doubleClicked(t.view->currentIndex()); };
    doubleClick();
    QVERIFY(!t.menu("Open folder").contains("Open|")); // without a selection in it
    nzb->fileAt(0)->markWhole();
    doubleClick();
    t.menu("Open");
    QTRY_COMPARE(opened, "a film.mkv film.mkv ");
    QVERIFY(QDir(nzb->folder()).removeRecursively());
    t.answers = {"Return"};
    doubleClick();
    QTRY_COMPARE(t.told.join('|'), "Open: film.mkv is no longer on the disk");
});

const Case restart("an empty list says what to do, and a restart keeps what it looked like", [] {
    World t;
    const QString hint = "Drop NZB files here, or press Add NZB";
    QCOMPARE(t.view->accessibleDescription(), hint);
    const QImage empty = t.view->viewport()->grab().toImage();
    t.view->setHint({});
    QVERIFY(t.view->viewport()->grab().toImage() != empty);
    t.add({"preview", "open"});
    const QRect room = t.window->screen()->availableGeometry();
    QVERIFY((t.window->geometry().center() - room.center()).manhattanLength() < 4);
    t.view->setCurrentIndex(t.view->model()->index(1, 0));
    QTest::keyClick(t.view, Qt::Key_P); // a command that is disabled now
    QCOMPARE(t.view->currentIndex().data(), "open");
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(writeFile(t.dir.filePath("c.nzb"), "<nzb/>"))});
    QDragEnterEvent enter({9, 9}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                          Qt::ShiftModifier);
    QDropEvent drop({9, 9}, enter.possibleActions(), &data, Qt::LeftButton, Qt::ShiftModifier);
    for (QDropEvent *event : {static_cast<QDropEvent *>(&enter), &drop}) {
        QCoreApplication::sendEvent(t.view->viewport(), event);
        QVERIFY(event->isAccepted() && event->dropAction() == Qt::CopyAction);
    }
    t.view->collapseAll();
    t.view->expand(t.view->model()->index(1, 0));
    t.window->setGeometry(20, 30, 640, 400);
    QWidget *header = t.view->header()->viewport();
    const QPoint border(t.view->header()->sectionViewportPosition(2), 5);
    QTest::mousePress(header, Qt::LeftButton, {}, border);
    QTest::mouseMove(header, border - QPoint(40, 0));
    QTest::mouseRelease(header, Qt::LeftButton, {}, border - QPoint(40, 0));
    t.window->close();
    t.answers = {"Esc"};
    t.set("hostname", {});
    t.start();
    QVERIFY(t.view->accessibleDescription().startsWith(hint + '\n'));
    QCOMPARE(t.window->geometry(), QRect(20, 30, 640, 400));
    QCOMPARE(t.view->columnWidth(2), 190);
    const QModelIndex first = t.view->model()->index(0, 0);
    QVERIFY(!t.view->isExpanded(first) && t.view->isExpanded(t.view->indexBelow(first)));
    QCOMPARE(t.view->model()->rowCount(), 3);
    for (const QRect &place : {QRect(300, -20, 600, 400), QRect(5000, 5000, 1, 400)}) {
        t.set("window/place", place);
        t.set("window/columns", QStringList{"-1", "99999", "5"});
        t.answers = {"Esc"};
        t.start();
        QVERIFY(room.contains(t.window->geometry()) && t.view->columnWidth(2) < room.width());
    }
});

const Case boxes("boxes come one after another, and no connection under them", [] {
    World t;
    t.server->requireLogin("joe", "secret");
    t.set("threads", 1);
    Nzb *nzb = t.add({"a"});
    QTRY_VERIFY(QApplication::activeModalWidget()); // it asks for the password
    t.after("a");
    t.live->pauseAll(); // as for a file that cannot be written
    emit t.live->error(0, QString(2000, 'x'));
    QCOMPARE(t.after(""), " a:!f!r!v! > a paused Connected (1)");
    t.window->handleMessage(writeFile(t.dir.filePath("bad.NZB"), "no NZB"));
    nzb->setPaused(false);
    t.after("f;a");
    for (const double megabytes : {5.99 * 1024, 100.0, -1.0, 99.5, 0.0}) {
        freeOnDisk = megabytes * 1024 * 1024;
        t.window->checkDiskspace();
        const QString free = t.window->statusBar()->findChild<QLabel *>()->text();
        QCOMPARE(free, megabytes > 1024 ? "  5 GB free  " : "  0 GB free  ");
        QCOMPARE(t.after("").contains("paused"), megabytes < 100 && megabytes >= 0);
    }
    freeOnDisk = 1e12;
    nzb->setPaused(false);
    t.setLogin("joe", "secret");
    t.meanwhile = [&](QWidget *) {
        t.live->startToDownloadQueue();
        QCOMPARE(t.live->connectionCount(), 0);
    };
    t.answers = QStringList(5, "Return");
    QTRY_COMPARE(t.told.size(), 4);
    QCOMPARE(t.told.sliced(1).join('|'),
             "Error: " + QString(1000, 'x')
                 + "|Error processing NZB: Error parsing NZB|"
                   "Low disk space: Only 99.5 MB of disk space left. Suspending all downloads.");
    QTRY_VERIFY((t.live->startToDownloadQueue(), !t.requested().isEmpty()));
    emit t.live->notice(0, QString(2000, 'x'));
    QCOMPARE(t.window->statusBar()->currentMessage().size(), 1000);
});

const Case passwords("asks for passwords, one after the other and above no other question", [] {
    World t;
    t.add({"a", "b", "c"});
    Nzb *a = t.live->queue()->at(0), *c = t.live->queue()->at(2);
    QString asked;
    t.meanwhile = [&](QWidget *asking) {
        if (const auto *box = qobject_cast<QInputDialog *>(asking)) {
            QCOMPARE(box->textEchoMode(), QLineEdit::Password);
            asked += t.view->currentIndex().data().toString();
        } else if (asked.isEmpty()) {
            for (Nzb *nzb : *t.live->queue())
                emit t.live->passwordNeeded(nzb, {});
            t.live->deleteItem(t.live->queue()->at(1)); // then nobody has to answer
            QCoreApplication::processEvents();
            QCOMPARE(QApplication::activeModalWidget(), asking);
        }
    };
    t.answers = {"Esc", "Esc", "X;Return"};
    t.after("c;actionDelete");
    QTRY_COMPARE(asked + a->status() + c->status(), "acNot unpacked: no password");
    // What was declined can be taken up from the menu, unless an article is under way.
    for (const bool offered : {true, false}) {
        t.view->setCurrentIndex(t.view->model()->index(0, 0));
        QCOMPARE(t.menu("Repair and unpack").contains("|Repair and unpack|"), offered);
        QVERIFY(a->status() != "Not unpacked: no password");
        int number = 0;
        a->fileAt(0)->nextSegment(&number);
    }
});

const Case watching("watches a film once, as long as its job is there", [] {
    World t;
    Player player(t.dir.path());
    t.set("mediaPlayer", player.program);
    t.set("mediaPlayerArgs", " -really  -quiet ");
    t.set("clearOnCompletion", true);
    Nzb *nzb = t.add({"a"});
    QAction *preview = t.window->findChild<QAction *>("actionPreview");
    t.after("a;r");
    int number = 0;
    nzb->fileAt(0)->nextSegment(&number);
    nzb->fileAt(0)->segmentDecoded(number, {}, 1000, true, true);
    emit t.live->fileComplete(nzb->fileAt(0));
    QVERIFY(!preview->isEnabled());
    QTRY_VERIFY(preview->isEnabled());
    for (const int previews : {0, 1}) {
        player.forget();
        t.answers = {"Return"};
        t.after("actionPreview;actionPreview");
        QCOMPARE(t.told.takeFirst(), "Preview: File is already being previewed");
        QTRY_VERIFY(player.arguments().startsWith("-really -quiet http://127.0.0.1:"));
        emit t.live->nzbComplete(nzb); // nobody takes it from who is watching
        if (previews == 0)
            player.end();
        QTRY_COMPARE(t.window->findChildren<Preview *>().size(), previews);
    }
    t.live->deleteItem(nzb);
    QVERIFY(!player.isRunning() && !preview->isEnabled());
});

const Case saving("asks for what is missing or damaged, and saves", [] {
    World t;
    t.add({"a"});
    // The session's manager, of which only Qt can make one, is not looked at.
    emit qGuiApp->commitDataRequest(*reinterpret_cast<QSessionManager *>(qGuiApp));
    for (const char *key : {"hostname", "downloadFolder"}) {
        const QVariant old = t.engine->settings()->value(key);
        t.set(key, {});
        t.answers = {"Esc"};
        t.start();
        QCOMPARE(t.told.takeLast(), "Settings: ");
        t.set(key, old);
    }
    const QString queue = t.dir.filePath("Marlowick/queue.qzb");
    for (const QString left : {"a", "x", "y"}) { // the backup, no backup, and a damaged one
        t.live->saveQueue();
        writeFile(queue, "<qzb><nzb name='x'/>");
        if (left == "y")
            writeFile(queue + ".old", "<qzb><nzb name='y'/>");
        t.answers = {left == "x" ? "Esc" : "Return", "Return"};
        t.start();
        QCOMPARE(t.told.size(), left == "y" ? 2 : 1);
        t.told.clear();
        t.after("Ctrl+Q");
        t.start();
        QCOMPARE(t.live->queue()->first()->name(), left);
    }
    QVERIFY(QDir(t.dir.filePath("Marlowick")).removeRecursively());
    t.answers = {"Return", "Return"}; // for what the first box asked for may have been done
    t.window->close();
    QCOMPARE(t.told.join('|'), "Error: Error saving queue file|Error: Error saving queue file");
});

const Case statistics("tells the statistics, and limits the speed", [] {
    World t;
    const auto labels = t.window->statusBar()->findChildren<QLabel *>();
    QString shown;
    for (const auto &[speed, left, seconds] :
         {std::tuple{131072, 1, 3599}, {2'000'000'000, 1, 176'429}, {0, 1, 0}, {0, 0, 0}}) {
        emit t.live->downloadStatistics(speed, left, seconds);
        shown += labels[1]->text() + labels[2]->text();
    }
    QCOMPARE(shown.simplified(), "1.0 Mbit/s 0d 0h 60m left 15258.8 Mbit/s 2d 1h 0m left 0.0 "
                                 "Mbit/s **d **h **m left 0.0 Mbit/s 0d 0h 0m left");
    t.answers = {"Up;Return", "qt_spinbox_lineedit=300;Return"};
    QTest::keyClick(labels[1], Qt::Key_Space);
    QTRY_COMPARE(labels[1]->text(), "  0.0 Mbit/s  (limit 300 KB/s)  ");
    QCOMPARE(t.live->settings()->value("speedLimit"), 300);
});

const Case repaints("nothing on the screen stays out of date", [] {
    World t;
    for (int i = 0; i < 30; ++i)
        t.add({"x"})->setName("job");
    QWidget *port = t.view->viewport();
    const auto isCurrent = [&] {
        QCoreApplication::processEvents();
        const QRect place(port->mapTo(t.window.get(), QPoint()), port->size());
        return t.window->screen()->grabWindow(t.window->winId()).copy(place).toImage()
               == port->grab().toImage().convertToFormat(QImage::Format_RGB32);
    };
    Nzb *first = t.live->queue()->first();
    t.view->expand(t.view->model()->index(0, 0));
    QTRY_VERIFY(isCurrent());
    first->fileAt(2)->setPaused(true);
    first->setStatus("90 %");
    QVERIFY(!isCurrent());
    QObject::disconnect(t.live, &Marlowick::downloadStatistics, nullptr, nullptr); // also repaints
    emit t.live->downloadProgresses(first->fileAt(2));
    QTRY_VERIFY(isCurrent()); // both rows
    const QModelIndex last = t.view->indexAt(QPoint(1, port->height() - 1)); // cut by the edge
    const QRect place = t.view->visualRect(last);
    const auto become = [&](const QString &status, int job) {
        t.live->queue()->at(job)->setStatus(status);
        t.view->repaintChanged();
        return isCurrent();
    };
    for (const int percent : {50, 100}) { // is painted meanwhile for another reason
        t.live->queue()->at(last.row())->setStatus("90 %");
        port->repaint(0, place.top(), port->width(), place.height() * percent / 100);
        QVERIFY(become(percent == 100 ? "" : "90 %", last.row()));
        QVERIFY(become({}, last.row()));
    }
    QVERIFY(become("90 %", 2));
    t.view->verticalScrollBar()->setValue(1); // to where the like was
    QCoreApplication::processEvents();
    QVERIFY(become({}, 2));
});

const Case toolTips("a tool tip holds what is cut, in colours that can be read", [] {
    World t;
    const QString name = QString("<i>name</i> & more ").repeated(20).trimmed();
    t.add({"a"})->setName(name);
    for (const int column : {0, 1}) {
        const QRect cell = t.view->visualRect(t.view->model()->index(0, column));
        QHelpEvent event(QEvent::ToolTip, cell.center(), t.view->mapToGlobal(cell.center()));
        QCoreApplication::sendEvent(t.view->viewport(), &event);
        const QString tip = QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText();
        QTRY_COMPARE(column == 0 ? tip : QToolTip::text(), column == 0 ? name : "");
    }
    for (const auto &[ground, shownAs] :
         {std::pair{Qt::black, QColor::fromHsl(0, 255, 200)}, {Qt::white, QColor(Qt::red)}}) {
        QStyleOptionViewItem cell;
        cell.widget = t.view;
        cell.palette.setColor(QPalette::Base, ground);
        cell.palette.setColor(QPalette::Text, Qt::red);
        brightenOnDark(&cell);
        QCOMPARE(cell.palette.color(QPalette::Text), shownAs);
    }
});

} // namespace
