// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/mainwindow.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QStatusBar>
#include <QTimer>
#include <stdexcept>

#include "engine/marlowick.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int noticeMsec = 300000;

} // namespace

MainWindow::MainWindow()
    : engine(new Marlowick(this))
{
    resize(601, 324);
    setWindowTitle(u"Marlowick"_s);
    statusBar();
    connect(engine, &Marlowick::error, this, &MainWindow::onError);
    connect(engine, &Marlowick::notice, this, &MainWindow::onNotice);

    importCommandLine();
    QTimer::singleShot(100, engine, &Marlowick::startToDownloadQueue);
}

/// The program's own path goes along and is dropped, as is everything that is no NZB.
void MainWindow::importCommandLine()
{
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() <= 1)
        return;
    for (const QString &argument : arguments)
        handleMessage(argument);
}

void MainWindow::handleMessage(const QString &message)
{
    if (!message.endsWith(".nzb"_L1, Qt::CaseInsensitive))
        return;
    const QString path = QDir::fromNativeSeparators(message);
    if (!QFile::exists(path))
        return;
    try {
        engine->addNZB(path);
    } catch (const std::runtime_error &failure) {
        const QString text = QString::fromUtf8(failure.what());
        qWarning().nospace() << "Error processing NZB: " << path << ' ' << text;
        QMessageBox::critical(this, tr("Error processing NZB"), text, QMessageBox::Ok);
    }
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    engine->closeAllConnections();
    event->accept();
}

void MainWindow::onError(int /*code*/, const QString &msg)
{
    qWarning().nospace() << "Error: " << msg;
    QMessageBox::critical(this, tr("Error"), msg, QMessageBox::Ok);
}

void MainWindow::onNotice(int /*code*/, const QString &msg)
{
    qDebug().nospace() << "Notice: " << msg;
    statusBar()->showMessage(msg, noticeMsec);
}
