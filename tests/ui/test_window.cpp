// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What the main window asks, tells, watches and saves.
#include <sys/statvfs.h>

#include "preview/player.h"
#include "preview/preview.h"
#include "ui/windowuser.h"

/// What the disk says that is asked for its free bytes; less than nothing is a failure.
static double freeOnDisk = 1e12;

extern "C" int statvfs(const char * /*path*/, struct statvfs *info) noexcept
{
    info->f_frsize = 1;
    info->f_bavail = static_cast<fsblkcnt_t>(std::max(freeOnDisk, 0.0));
    return freeOnDisk < 0 ? -1 : 0;
}

namespace {

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
    t.answers = {"Up;Return"}; // from the one that is chosen, which is the last
    QTest::keyClick(labels[1], Qt::Key_Space);
    QTRY_COMPARE(t.live->settings()->value("speedLimit"), 50 * 1024);
    QApplication::setPalette(QPalette(Qt::black)); // as when the desktop turns dark
    QTRY_COMPARE(labels[1]->palette().windowText().color(), QColor(Qt::white));
    QApplication::setPalette({});
});

} // namespace
