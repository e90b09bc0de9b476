// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Watching what is still being downloaded.
#include <QDebug>
#include <QMessageBox>

#include "engine/marlowick.h"
#include "preview/preview.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/nzbmodel.h"
#include "ui/mainwindow.h"
#include "ui_mainwindow.h"

namespace {

constexpr int previewCheckMsec = 500;

} // namespace

/// The job of a row; the row may be one of its files.
Nzb *MainWindow::jobOf(INzbItem *item)
{
    auto *nzb = qobject_cast<Nzb *>(item);
    return nzb || !item ? nzb : qobject_cast<Nzb *>(item->parent());
}

bool MainWindow::isPreviewable(INzbItem *item)
{
    Nzb *nzb = jobOf(item);
    return nzb && !Preview::previewableFiles(nzb).isEmpty();
}

void MainWindow::on_actionPreview_triggered()
{
    INzbItem *item = NzbModel::itemAt(currentRow());
    if (!isPreviewable(item))
        return;
    Nzb *nzb = jobOf(item);
    if (previews.contains(nzb)) {
        QMessageBox::warning(this, tr("Preview"), tr("File is already being previewed"),
                             QMessageBox::Ok);
        return;
    }
    auto *preview = new Preview(nzb, this);
    previews.insert(nzb, preview);
    connect(preview, &Preview::previewFinished, this, &MainWindow::onPreviewCompleted);
    connect(preview, &Preview::previewFinished, preview, &QObject::deleteLater);
    const QString arguments = engine->settings()->get(Settings::mediaPlayerArgs);
    preview->start(engine->mediaPlayer(), arguments.split(u' ', Qt::SkipEmptyParts));
}

void MainWindow::onPreviewCompleted(Nzb *nzb)
{
    qDebug() << "Preview finished";
    previews.remove(nzb);
}

/// A job may become watchable while its row is the current one.
void MainWindow::onFileComplete(NzbFile *nf)
{
    if (nf->isFinished())
        QTimer::singleShot(previewCheckMsec, this, &MainWindow::handlePreviewButton);
}

void MainWindow::handlePreviewButton()
{
    if (!ui->actionPreview->isEnabled() && isPreviewable(NzbModel::itemAt(currentRow())))
        ui->actionPreview->setEnabled(true);
}
