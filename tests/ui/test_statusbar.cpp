// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QStatusBar>
#include <QTest>

#include <sys/statvfs.h>

#include "support/rows.h"
#include "windowfixture.h"

using namespace Qt::StringLiterals;

namespace {

/// What the disk says that is asked for its free bytes; less than nothing is a failure.
double freeOnDisk = 1e12;

} // namespace

extern "C" int statvfs(const char * /*path*/, struct statvfs *info) noexcept
{
    if (freeOnDisk < 0)
        return -1;
    info->f_bsize = 4096;
    info->f_frsize = 1;
    info->f_bavail = static_cast<fsblkcnt_t>(freeOnDisk);
    return 0;
}

/// What the fixed fields of the main window say.
class TestStatusBar final : public QObject, private WindowFixture {
    Q_OBJECT

private slots:
    void init()
    {
        freeOnDisk = 1e12;
        configure();
        openWindow();
    }
    void cleanup() { window.reset(); }
    void statistics();
    void diskspace_data();
    void diskspace();

private:
    [[nodiscard]] QStringList fields() const
    {
        QStringList texts;
        const QList<QLabel *> labels =
            window->statusBar()->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
        for (const QLabel *label : labels)
            texts << label->text();
        return texts;
    }
};

void TestStatusBar::statistics()
{
    const auto shown = [this](int speed, quint64 left, int seconds) {
        emit engine->downloadStatistics(speed, left, seconds);
        return fields().sliced(1);
    };
    QCOMPARE(shown(131072, 1, 3599), (QStringList{u"  1.0 Mbit/s  "_s, u" 0d 0h 60m left  "_s}));
    QCOMPARE(shown(2'000'000'000, 1, 2 * 86400 + 3600 + 29),
             (QStringList{u"  15258.8 Mbit/s  "_s, u" 2d 1h 0m left  "_s}));
    QCOMPARE(shown(0, 1, 0), (QStringList{u"  0.0 Mbit/s  "_s, u"  **d **h **m left "_s}));
    QCOMPARE(shown(0, 0, 0), (QStringList{u"  0.0 Mbit/s  "_s, u" 0d 0h 0m left  "_s}));
}

void TestStatusBar::diskspace_data()
{
    const auto row = rows<double, bool, QString, QString>();
    const QString none = u"  0 GB free  "_s;
    row("plenty", {5.99 * 1024 * 1024 * 1024, false, u"  5 GB free  "_s, QString()});
    row("just enough", {100.0 * 1024 * 1024, false, none, QString()});
    row("low", {99.5 * 1024 * 1024, false, none,
                u"Only 99.5 MB of disk space left. Suspending all downloads."_s});
    row("low, and all is paused", {0.0, true, none, QString()});
    row("cannot be told", {-1.0, false, none, QString()});
}

void TestStatusBar::diskspace()
{
    const auto [free, pausedBefore, field, warning] = thisRow<double, bool, QString, QString>();
    const Nzb *nzb = addJob();
    if (pausedBefore)
        engine->pauseAll();
    select(rowAt(0));
    freeOnDisk = free;
    window->checkDiskspace();
    QCOMPARE(fields().value(0), field);
    QCOMPARE(nzb->isPaused(), pausedBefore || !warning.isEmpty());
    QCOMPARE(action(u"actionPause"_s)->isChecked(), nzb->isPaused());
    QCoreApplication::processEvents();
    const auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    QCOMPARE(box ? box->text() : QString(), warning);
}

QTEST_MAIN(TestStatusBar)
#include "test_statusbar.moc"
