// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The list of the main window and its commands, used by key and click.
#include "ui/statusdelegate.h"
#include "ui/windowuser.h"

namespace {

const Case moves("moves, pauses, imports", [] {
    World t;
    t.add({"a", "b", "c"});
    QVERIFY(t.view->dragEnabled());
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
    QVERIFY(!t.menu("").contains("Resume")); // not for the volumes that are held back
    t.after("f;actionPause;a");
    QVERIFY(t.menu("Resume").contains("|Pause|Resume|Pause all|Resume all|"));
    for (const QString words : {"d;+b;Alt+Home|bdac", "b;+a;Alt+Down|dbca", "d;+b;Alt+Up|dbca",
                                "c;+d;+b;Alt+End|adbc", "r;+f;Alt+End|adbc"}) {
        t.after(words.section('|', 0, 0));
        for (int job = 0; job < 4; ++job)
            QCOMPARE(t.live->queue()->at(job)->name(), words.right(4)[job]);
    }
    t.after("d;+f");
    t.view->collapse(t.view->model()->index(0, 0)); // which hides a selected row
    t.menu("Copy name");
    QCOMPARE(QGuiApplication::clipboard()->text(), "d");
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
    for (const QString name : {"../../a.nzb", "gone.mkv"}) { // the first one is there, but outside
        nzb->fileAt(0)->setFilename(name);
        t.answers = {"Return"};
        doubleClick();
        QTRY_COMPARE(t.told.value(t.told.size() - 1),
                     "Open: " + name + " is no longer on the disk");
    }
    for (NzbFile *file : nzb->allFiles())
        file->markWhole();
    t.add({"b"});
    t.menu("Pause all");
    QCOMPARE(t.after(""), " a:grv b:!f!r!v! > gone.mkv running Paused file");
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
    t.view->expand(t.view->model()->index(0, 0));
    t.window->setGeometry(20, 30, 640, 400);
    const int size = t.view->columnWidth(1);
    const auto widen = [&t](int column, int pixels) {
        QWidget *header = t.view->header()->viewport();
        const QPoint border(t.view->header()->sectionViewportPosition(column), 5);
        QTest::mousePress(header, Qt::LeftButton, {}, border);
        QTest::mouseMove(header, border - QPoint(pixels, 0));
        QTest::mouseRelease(header, Qt::LeftButton, {}, border);
    };
    widen(1, 40), widen(2, 40);
    t.window->close();
    t.answers = {"Esc"};
    t.set("hostname", {});
    t.start();
    QVERIFY(t.view->accessibleDescription().startsWith(hint + '\n'));
    QCOMPARE(t.window->geometry(), QRect(20, 30, 640, 400));
    QCOMPARE(t.view->columnWidth(1), size + 40);
    QCOMPARE(t.view->columnWidth(2), 190);
    widen(2, 9999); // as far as the first column gives way
    QCOMPARE(t.view->columnWidth(0), 2 * t.view->header()->minimumSectionSize());
    const QModelIndex first = t.view->model()->index(0, 0);
    QVERIFY(t.view->isExpanded(first) && !t.view->isExpanded(first.siblingAtRow(1)));
    QCOMPARE(t.view->model()->rowCount(), 3);
    for (const QRect &place : {QRect(300, -20, 600, 400), QRect(5000, 5000, 1, 400)}) {
        t.set("window/place", place);
        t.set("window/columns", QStringList{"-1", "99999", "5"});
        t.answers = {"Esc"};
        t.start();
        QVERIFY(room.contains(t.window->geometry()) && t.view->columnWidth(2) < room.width());
    }
    t.set("window/maximized", true);
    t.set("window/columns", QStringList{"100", QString::number(room.width() - 150)});
    t.answers = {"Esc"};
    t.start();
    QCOMPARE(t.view->columnWidth(2), room.width() - 150);
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
