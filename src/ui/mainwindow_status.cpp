// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The engine's messages in boxes and in the status bar, and the check of the disk.
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QLabel>

#include "engine/marlowick.h"
#include "post/freebytes.h"
#include "queue/displaytext.h"
#include "ui/boxqueue.h"
#include "ui/mainwindow.h"
#include "ui/speedfield.h"
#include "ui_mainwindow.h"

namespace {

constexpr double bytesPerMegabyte = 1024.0 * 1024.0;
constexpr double lowDiskspace = 100.0 * bytesPerMegabyte;
constexpr int minute = 60;
constexpr int hour = 60 * minute;
constexpr int day = 24 * hour;

} // namespace

void MainWindow::onError(int /*code*/, const QString &msg)
{
    qWarning().nospace() << "Error: " << msg;
    boxes->append(QMessageBox::Critical, tr("Error"), msg);
    showSelection(); // the engine may have paused it
}

void MainWindow::onNotice(int /*code*/, const QString &msg)
{
    qDebug().nospace() << "Notice: " << msg;
    ui->statusBar->showMessage(shortened(msg), noticeMsec);
}

void MainWindow::updateDownloadStats(int speedinbytespersec, quint64 bytesleft, int secondsleft)
{
    ui->treeView->repaintChanged(); // a job's status may have changed without a progress
    const double speed = speedinbytespersec * 8.0 / bytesPerMegabyte;
    speedLabel->setSpeed(tr("  %1 Mbit/s  ").arg(QString::number(speed, 'f', 1)));
    if (bytesleft != 0 && speedinbytespersec == 0) {
        timeLeftLabel->setText(tr("  **d **h **m left "));
        return;
    }
    // Deliberate: rounded without a carry, so that one second less than an hour reads 60 minutes.
    const int minutes = (secondsleft % hour + 30) / 60;
    timeLeftLabel->setText(tr(" %1d %2h %3m left  ")
                               .arg(QString::number(secondsleft / day),
                                    QString::number(secondsleft % day / hour),
                                    QString::number(minutes)));
}

void MainWindow::checkDiskspace()
{
    const QString folder = QDir::toNativeSeparators(engine->downloadFolder());
    const double free = freeBytes(QFile::encodeName(folder).constData());
    const auto gigabytes = static_cast<qint64>(free / 1024.0 / bytesPerMegabyte);
    freeSpaceLabel->setText(tr("  %1 GB free  ").arg(gigabytes));
    if (free == -1.0 || free >= lowDiskspace || engine->allPaused())
        return;
    engine->pauseAll();
    showSelection();
    boxes->append(QMessageBox::Warning, tr("Low disk space"),
                  tr("Only %1 MB of disk space left. Suspending all downloads.")
                      .arg(QString::number(free / bytesPerMegabyte, 'g', 6)));
}
