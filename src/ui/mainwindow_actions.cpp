// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The user's commands, and paths that come in from outside.
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QInputDialog>
#include <QPointer>
#include <QUrl>

#include <stdexcept>

#include "engine/marlowick.h"
#include "queue/filenames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/nzbmodel.h"
#include "ui/boxqueue.h"
#include "ui/deletedialog.h"
#include "ui/mainwindow.h"
#include "ui/settingswindow.h"
#include "ui/windowstate.h"
#include "ui_mainwindow.h"

using namespace Qt::StringLiterals;

void MainWindow::handleMessage(const QString &message)
{
    if (!isNzbName(message))
        return;
    const QString path = QDir::fromNativeSeparators(message);
    if (QFile::exists(path))
        importNzb(path, false);
}

void MainWindow::importNzb(const QString &path, bool save)
{
    try {
        engine->addNZB(path);
        if (save)
            engine->saveQueueInBackground();
    } catch (const std::runtime_error &failure) {
        const QString text = QString::fromUtf8(failure.what());
        qWarning().nospace() << "Error processing NZB: " << text;
        boxes->append(QMessageBox::Critical, tr("Error processing NZB"), text);
    }
}

void MainWindow::on_actionAdd_NZB_triggered()
{
    const QString name = QFileDialog::getOpenFileName(this, tr("Select NZB file"), QString(),
                                                      tr("NZB files (*.nzb)"));
    if (!name.isEmpty())
        importNzb(name, true);
}

/// The current row's index in any column; its internal pointer is the item.
QModelIndex MainWindow::currentRow() const
{
    return ui->treeView->selectionModel()->currentIndex();
}

/// The job of the current row; the row may be one of its files.
Nzb *MainWindow::currentJob() const { return jobOf(NzbModel::itemAt(currentRow())); }

void MainWindow::on_actionPause_triggered(bool checked)
{
    INzbItem *item = NzbModel::itemAt(currentRow());
    if (!item)
        return;
    if (auto *file = qobject_cast<NzbFile *>(item)) {
        file->setPaused(checked);
        file->setOrdered(!checked && file->isPar2());
        model->onNzbFileUpdate(file);
    } else if (auto *nzb = qobject_cast<Nzb *>(item)) {
        setJobPaused(nzb, checked);
    }
    ui->statusBar->showMessage(checked ? tr("Paused file") : tr("Resuming download"), noticeMsec);
    if (!checked)
        engine->startToDownloadQueue();
}

/// When the job goes on, PAR2 volumes stay held back unless they have been asked for.
void MainWindow::setJobPaused(Nzb *nzb, bool paused)
{
    if (paused || !engine->settings()->get(Settings::pausePAR2)) {
        nzb->setPaused(paused);
        return;
    }
    for (NzbFile *file : nzb->allFiles()) {
        if (!file->isPar2() || file->isOrdered()) {
            file->setPaused(false);
            model->onNzbFileUpdate(file);
        }
    }
}

void MainWindow::on_actionDelete_triggered()
{
    // A persistent index: the job may be completed and cleared while the question is shown.
    const QPersistentModelIndex row = currentRow();
    if (!row.isValid())
        return;
    const int choice = DeleteDialog::ask();
    INzbItem *item = NzbModel::itemAt(row);
    if (!item || (choice != QMessageBox::Yes && choice != QMessageBox::No))
        return;
    if (choice == QMessageBox::Yes)
        engine->deleteFiles(item);
    engine->deleteItem(item);
    ui->statusBar->showMessage(tr("Deleted item"), noticeMsec);
    engine->saveQueueInBackground();
}

void MainWindow::enableRepair()
{
    const Nzb *nzb = currentJob();
    ui->actionRepairAndUnpack->setEnabled(nzb && engine->canRepairAndUnpack(nzb));
}

void MainWindow::on_actionRepairAndUnpack_triggered()
{
    if (Nzb *nzb = currentJob())
        engine->repairAndUnpack(nzb);
}

void MainWindow::on_actionSettings_triggered()
{
    SettingsWindow dialog(engine, nullptr);
    if (!isVisible())
        centre(&dialog);
    dialog.exec();
    showHint();
}

void MainWindow::on_actionDownloads_triggered()
{
    const QString folder = QDir::cleanPath(engine->downloadFolder());
    QUrl url;
    url.setScheme(u"file"_s);
    url.setPath(folder.startsWith(u'/') ? folder : u'/' + folder);
    QDesktopServices::openUrl(url);
}

void MainWindow::onCurrentRowChanged(const QModelIndex &current, const QModelIndex & /*previous*/)
{
    INzbItem *item = NzbModel::itemAt(current);
    ui->actionDelete->setEnabled(item);
    ui->actionPause->setEnabled(item);
    ui->actionPreview->setEnabled(isPreviewable(item));
    enableRepair();
    if (item)
        ui->actionPause->setChecked(item->isPaused());
}

void MainWindow::onPasswordNeeded(Nzb *nzb, const QString &rarfile)
{
    const QPointer<Nzb> job(nzb);
    const QString title =
        isArchive(rarfile) ? tr("Password protected ZIP file") : tr("Password protected RAR file");
    boxes->append([this, job, title] { return passwordBox(job, title); });
}

/// The selected row shows for which job it asks. Cancel declines, and the waiting extraction is
/// told so. Null if the job has been deleted in the meantime.
QDialog *MainWindow::passwordBox(Nzb *nzb, const QString &title)
{
    const QModelIndex row = model->index(static_cast<int>(engine->queue()->indexOf(nzb)), 0);
    if (!row.isValid())
        return nullptr;
    ui->treeView->setCurrentIndex(row);
    ui->treeView->scrollTo(row);
    auto *box = new QInputDialog(this);
    box->setWindowTitle(title);
    box->setLabelText(tr("Please enter the password of what you are downloading"));
    box->setTextEchoMode(QLineEdit::Password);
    connect(box, &QDialog::finished, nzb, [this, nzb, box](int result) {
        engine->setRarPassword(nzb, result == QDialog::Accepted ? box->textValue() : QString());
    });
    return box;
}

void MainWindow::onNzbComplete(Nzb *n)
{
    engine->saveQueueInBackground();
    const bool watched = previews.contains(n);
    if (engine->settings()->get(Settings::clearOnCompletion) && !watched)
        engine->deleteItem(n);
}
