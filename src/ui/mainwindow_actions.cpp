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
#include "queue/nzbmodel.h"
#include "ui/boxqueue.h"
#include "ui/deletedialog.h"
#include "ui/mainwindow.h"
#include "ui/rowcommands.h"
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
        importNzb(path);
}

bool MainWindow::importNzb(const QString &path)
{
    try {
        engine->addNZB(path);
        return true;
    } catch (const std::runtime_error &failure) {
        const QString text = QString::fromUtf8(failure.what());
        qWarning().nospace() << "Error processing NZB: " << text;
        boxes->append(QMessageBox::Critical, tr("Error processing NZB"), text);
        return false;
    }
}

void MainWindow::on_actionAdd_NZB_triggered()
{
    const QStringList names = QFileDialog::getOpenFileNames(this, tr("Select NZB file"), QString(),
                                                            tr("NZB files (*.nzb)"));
    bool added = false;
    for (const QString &name : names)
        added = importNzb(name) || added;
    if (added)
        engine->saveQueueInBackground();
}

void MainWindow::on_actionPause_triggered(bool checked) { commands->setPaused(checked); }

void MainWindow::on_actionDelete_triggered()
{
    const RowCommands::Items items = commands->items();
    if (items.isEmpty())
        return;
    const int choice = DeleteDialog::ask();
    if (choice != QMessageBox::Yes && choice != QMessageBox::No)
        return;
    const int count = commands->remove(items, choice == QMessageBox::Yes);
    if (count == 0)
        return;
    ui->statusBar->showMessage(
        count == 1 ? tr("Deleted item") : tr("Deleted %n items", nullptr, count), noticeMsec);
    engine->saveQueueInBackground();
}

void MainWindow::on_actionRepairAndUnpack_triggered() { commands->repairAndUnpack(); }

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
    if (!QDesktopServices::openUrl(url))
        boxes->append(QMessageBox::Warning, tr("Downloads"),
                      tr("There is no program to open %1").arg(QDir::toNativeSeparators(folder)));
}

void MainWindow::onCurrentRowChanged(const QModelIndex & /*current*/,
                                     const QModelIndex & /*previous*/)
{
    showSelection();
}

void MainWindow::showSelection()
{
    const bool any = !commands->rows().isEmpty();
    ui->actionDelete->setEnabled(any);
    ui->actionPause->setEnabled(any);
    ui->actionPreview->setEnabled(previewableJob());
    if (any)
        ui->actionPause->setChecked(commands->allPaused());
}

void MainWindow::onPasswordNeeded(Nzb *nzb, const QString &rarfile)
{
    const QPointer<Nzb> job(nzb);
    const QString title =
        isZipOr7z(rarfile) ? tr("Password protected ZIP file") : tr("Password protected RAR file");
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
