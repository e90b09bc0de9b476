// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QAction>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include <optional>

#include "engine/marlowick.h"
#include "preview/player.h"
#include "preview/preview.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/files.h"
#include "ui/mainwindow.h"

using namespace Qt::StringLiterals;

/// The window with a job that can be watched, and a script in the place of the player.
class TestPreviewAction final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void playsOnce();
    void withoutPlayer_data();
    void withoutPlayer();
    void followsJob();
    void playerGoesWithJob_data();
    void playerGoesWithJob();
    void watchedJobStays();

private:
    void set(const char *key, const QVariant &value)
    {
        engine->settings()->setValue(QLatin1StringView(key), value);
    }
    static void download(NzbFile *file);
    [[nodiscard]] QAction *preview() const
    {
        return window->findChild<QAction *>(u"actionPreview"_s);
    }
    void select(const QModelIndex &index) { view->setCurrentIndex(index); }
    void watch();
    /// Presses the key that previews, and answers the box which that brings; returns its texts.
    QString pressAgain();

    std::optional<QTemporaryDir> dir;
    std::optional<Player> player;
    std::optional<MainWindow> window;
    Marlowick *engine = nullptr;
    QTreeView *view = nullptr;
    Nzb *job = nullptr;
};

void TestPreviewAction::init()
{
    dir.emplace();
    player.emplace(dir->path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir->path());
    QVERIFY(QDir(dir->path()).mkdir(u"downloads"_s));
    QSettings ini(QSettings::IniFormat, QSettings::UserScope, u"Marlowick"_s, u"Marlowick"_s);
    ini.setValue("hostname"_L1, u"127.0.0.1"_s);
    ini.setValue("downloadFolder"_L1, dir->filePath(u"downloads"_s));
    ini.sync(); // or the window asks for them
    window.emplace();
    engine = window->findChild<Marlowick *>();
    view = window->findChild<QTreeView *>();
    set("mediaPlayer", player->program);
    set("mediaPlayerArgs", u" -really  -quiet "_s);
    const QString nzb = writeFile(dir->filePath(u"job.nzb"_s), R"xml(<nzb>
<file subject='"film.mkv" (1/1)'><segment number='1' bytes='9'>a@b</segment></file>
<file subject='"read.txt" (1/1)'><segment number='1' bytes='9'>c@d</segment></file></nzb>)xml");
    job = engine->addNZB(nzb);
    download(job->fileAt(0));
    window->show();
    QVERIFY(QTest::qWaitForWindowActive(&*window));
    select(view->model()->index(0, 0));
}

void TestPreviewAction::cleanup()
{
    window.reset();
    QVERIFY(!player->isRunning());
}

void TestPreviewAction::download(NzbFile *file)
{
    int number = 0;
    file->nextSegment(&number);
    file->segmentDecoded(number, {}, 9, true, true);
}

void TestPreviewAction::watch()
{
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&*window));
    QTest::keyClick(view, Qt::Key_P);
    QTRY_VERIFY(player->isThere());
}

QString TestPreviewAction::pressAgain()
{
    QString told;
    QTimer whenIdle;
    whenIdle.callOnTimeout([&told] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            told = box->windowTitle() + u": " + box->text();
            box->button(QMessageBox::Ok)->click();
        }
    });
    whenIdle.start(0);
    QTest::keyClick(view, Qt::Key_P);
    return told;
}

void TestPreviewAction::playsOnce()
{
    watch();
    QVERIFY(player->arguments().startsWith("-really -quiet http://127.0.0.1:"_L1));
    QCOMPARE(pressAgain(), u"Preview: File is already being previewed"_s);
    player->end();
    QTRY_VERIFY(!window->findChild<Preview *>());
    player->forget();
    watch();
}

void TestPreviewAction::withoutPlayer_data()
{
    QTest::addColumn<QString>("program");
    QTest::newRow("none set") << QString();
    QTest::newRow("not there") << u"/no/such/player"_s;
}

void TestPreviewAction::withoutPlayer()
{
    QFETCH(const QString, program);
    set("mediaPlayer", program);
    QCOMPARE(pressAgain(), QString());
    QCOMPARE(pressAgain(), u"Preview: File is already being previewed"_s);
}

void TestPreviewAction::followsJob()
{
    QVERIFY(preview()->isEnabled());
    const QModelIndex row = view->model()->index(0, 0);
    select(view->model()->index(1, 0, row)); // the text
    QVERIFY(preview()->isEnabled());
    const QString nzb = writeFile(dir->filePath(u"b.nzb"_s), R"xml(<nzb>
<file subject='"film.avi" (1/1)'><segment number='1' bytes='9'>e@f</segment></file></nzb>)xml");
    Nzb *other = engine->addNZB(nzb);
    select(view->model()->index(1, 0));
    QVERIFY(!preview()->isEnabled());
    download(other->fileAt(0));
    emit engine->fileComplete(other->fileAt(0));
    QVERIFY(!preview()->isEnabled());
    QTRY_VERIFY(preview()->isEnabled());
    select(QModelIndex());
    QVERIFY(!preview()->isEnabled());
}

void TestPreviewAction::playerGoesWithJob_data()
{
    QTest::addColumn<bool>("byUser");
    QTest::newRow("deleted by the user") << true;
    QTest::newRow("deleted by the engine") << false;
}

void TestPreviewAction::playerGoesWithJob()
{
    QFETCH(const bool, byUser);
    watch();
    engine->deleteItem(job->fileAt(1));
    QVERIFY(player->isRunning());
    if (byUser) {
        QTimer::singleShot(0, this, [] {
            QApplication::activeModalWidget()
                ->findChild<QAbstractButton *>(u"commandLinkButton_2"_s)
                ->click();
        });
        QTest::keyClick(view, Qt::Key_Delete);
    } else {
        engine->deleteItem(job);
    }
    QCOMPARE(view->model()->rowCount(), 0);
    QVERIFY(!player->isRunning());
}

void TestPreviewAction::watchedJobStays()
{
    set("clearOnCompletion", true);
    watch();
    emit engine->nzbComplete(job);
    QCOMPARE(view->model()->rowCount(), 1);
}

QTEST_MAIN(TestPreviewAction)
#include "test_previewaction.moc"
