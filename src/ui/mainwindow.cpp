// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/mainwindow.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QPointer>
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
        showBox(tr("Error processing NZB"), QString::fromUtf8(failure.what()));
    }
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    engine->closeAllConnections();
    event->accept();
}

void MainWindow::onError(int /*code*/, const QString &msg) { showBox(tr("Error"), msg); }

/// Boxes come one after another, and none of them holds up what led to it: a bad file on the
/// command line neither keeps the window from appearing nor the next file from being read.
void MainWindow::showBox(const QString &title, const QString &text)
{
    qWarning().noquote() << title + ": "_L1 << text;
    boxes.append({title, text});
    if (boxes.size() == 1)
        QTimer::singleShot(0, this, &MainWindow::showBoxes);
}

void MainWindow::showBoxes()
{
    const QPointer<MainWindow> self(this);
    while (self && !boxes.isEmpty()) {
        QMessageBox::critical(this, boxes.first().title, boxes.first().text, QMessageBox::Ok);
        if (self)
            boxes.removeFirst();
    }
}

void MainWindow::onNotice(int /*code*/, const QString &msg)
{
    qDebug().nospace() << "Notice: " << msg;
    statusBar()->showMessage(msg, noticeMsec);
}
