// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>

#include "preview/player.h"
#include "preview/preview.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/files.h"
#include "windowfixture.h"

using namespace Qt::StringLiterals;

/// The window with a job that can be watched, and a script in the place of the player.
class TestPreviewAction final : public QObject, private WindowFixture {
    Q_OBJECT

private slots:
    void init()
    {
        configure();
        player.emplace(dir->path());
        openWindow();
        set("mediaPlayer", player->program);
        set("mediaPlayerArgs", u" -really  -quiet "_s);
        const QString nzb = writeFile(dir->filePath(u"job.nzb"_s), R"xml(<nzb>
    <file subject='"film.mkv" (1/1)'><segment number='1' bytes='9'>a@b</segment></file>
    <file subject='"read.txt" (1/1)'><segment number='1' bytes='9'>c@d</segment></file></nzb>)xml");
        job = engine->addNZB(nzb);
        download(job->fileAt(0));
        select(rowAt(0));
    }
    void cleanup()
    {
        window.reset();
        QVERIFY(!player->isRunning());
    }

    void playsOnce();
    void withoutPlayer();
    void followsJob();
    void playerGoesWithJob();
    void watchedJobStays();

private:
    static void download(NzbFile *file);
    [[nodiscard]] QAction *preview() const { return action(u"actionPreview"_s); }
    void watch()
    {
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&*window));
        QTest::keyClick(view(), Qt::Key_P);
        QTRY_VERIFY(player->isThere());
    }
    /// Presses the key that previews, and answers the box which that brings; returns its texts.
    QString pressAgain()
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
        QTest::keyClick(view(), Qt::Key_P);
        return told;
    }

    std::optional<Player> player;
    Nzb *job = nullptr;
};

void TestPreviewAction::download(NzbFile *file)
{
    int number = 0;
    file->nextSegment(&number);
    file->segmentDecoded(number, {}, 9, true, true);
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

void TestPreviewAction::withoutPlayer()
{
    set("mediaPlayer", u"/no/such/player"_s);
    QCOMPARE(pressAgain(), QString());
    QCOMPARE(pressAgain(), u"Preview: File is already being previewed"_s);
}

void TestPreviewAction::followsJob()
{
    QVERIFY(preview()->isEnabled());
    select(rowAt(1, rowAt(0))); // the text
    QVERIFY(preview()->isEnabled());
    const QString nzb = writeFile(dir->filePath(u"b.nzb"_s), R"xml(<nzb>
<file subject='"film.avi" (1/1)'><segment number='1' bytes='9'>e@f</segment></file></nzb>)xml");
    Nzb *other = engine->addNZB(nzb);
    select(rowAt(1));
    QVERIFY(!preview()->isEnabled());
    download(other->fileAt(0));
    emit engine->fileComplete(other->fileAt(0));
    QVERIFY(!preview()->isEnabled());
    QTRY_VERIFY(preview()->isEnabled());
    select(QModelIndex());
    QVERIFY(!preview()->isEnabled());
}

void TestPreviewAction::playerGoesWithJob()
{
    watch();
    engine->deleteItem(job->fileAt(1));
    QVERIFY(player->isRunning());
    QTimer::singleShot(0, this, [] {
        QApplication::activeModalWidget()
            ->findChild<QAbstractButton *>(u"commandLinkButton_2"_s)
            ->click();
    });
    QTest::keyClick(view(), Qt::Key_Delete);
    QCOMPARE(view()->model()->rowCount(), 0);
    QVERIFY(!player->isRunning());
}

void TestPreviewAction::watchedJobStays()
{
    set("clearOnCompletion", true);
    watch();
    emit engine->nzbComplete(job);
    QCOMPARE(view()->model()->rowCount(), 1);
}

QTEST_MAIN(TestPreviewAction)
#include "test_previewaction.moc"
