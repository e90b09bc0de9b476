// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Watching what is still being downloaded.
#include <QDebug>
#include <QMessageBox>

#include "engine/marlowick.h"
#include "preview/preview.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "ui/mainwindow.h"
#include "ui/rowcommands.h"
#include "ui_mainwindow.h"

namespace {

constexpr int previewCheckMsec = 500;

} // namespace

/// The job that can be watched, if there is one row, or rows of one job.
Nzb *MainWindow::previewableJob() const
{
    const QList<Nzb *> jobs = commands->jobs();
    return jobs.size() == 1 && !Preview::previewableFiles(jobs.first()).isEmpty() ? jobs.first()
                                                                                  : nullptr;
}

void MainWindow::on_actionPreview_triggered()
{
    Nzb *nzb = previewableJob();
    if (!nzb)
        return;
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
    if (!ui->actionPreview->isEnabled() && previewableJob())
        ui->actionPreview->setEnabled(true);
}
