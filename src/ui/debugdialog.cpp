// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/debugdialog.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QFileDialog>
#include <QScreen>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <utility>

#include "ui_debugdialog.h"

using namespace Qt::StringLiterals;

namespace {

/// Only the GUI thread writes it, holding the mutex; other threads hold the mutex to read it.
DebugDialog *theInstance = nullptr;
std::mutex instanceMutex;

QLatin1StringView prefix(QtMsgType type)
{
    switch (type) {
    case QtWarningMsg:
        return "WARNING: "_L1;
    case QtCriticalMsg:
        return "CRITICAL: "_L1;
    case QtFatalMsg:
        return "FATAL: "_L1;
    case QtDebugMsg:
    case QtInfoMsg:
        break;
    }
    return {};
}

/// A server's reply can have a megabyte, which is shown in pieces: the edit control would take most
/// of a minute to wrap it, since its time grows with the square of the length.
QString logLine(QtMsgType type, const QString &message)
{
    constexpr qsizetype longest = 10'000;
    const QString line = prefix(type) + message;
    QString pieces = line.first(std::min(line.size(), longest));
    for (qsizetype at = longest; at < line.size(); at += longest)
        pieces += u'\n' + line.mid(at, longest);
    return pieces;
}

/// Runs on the thread that logs.
void handleMessage(QtMsgType type, const QMessageLogContext & /*context*/, const QString &message)
{
    std::unique_lock lock(instanceMutex);
    if (!theInstance) { // destroyed after Qt had looked up this handler
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
    } else if (theInstance->thread() == QThread::currentThread()) {
        lock.unlock();
        DebugDialog::instance(nullptr)->appendMessage(type, message);
    } else {
        theInstance->queueMessage(type, message);
    }
}

} // namespace

DebugDialog *DebugDialog::instance(QWidget *parent)
{
    return theInstance ? theInstance : new DebugDialog(parent);
}

DebugDialog::DebugDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::DebugDialog>())
{
    ui->setupUi(this);
    resize(size().boundedTo(screen()->availableSize()));
    setAttribute(Qt::WA_QuitOnClose, false); // the main window alone keeps the program running
    qAddPostRoutine([] { delete theInstance; });
    {
        const std::lock_guard lock(instanceMutex);
        theInstance = this;
    }
    qInstallMessageHandler(handleMessage);
}

DebugDialog::~DebugDialog()
{
    qInstallMessageHandler(nullptr);
    const std::lock_guard lock(instanceMutex); // a thread may be inside the handler
    theInstance = nullptr;
}

void DebugDialog::appendMessage(QtMsgType type, const QString &message)
{
    append(logLine(type, message));
}

void DebugDialog::queueMessage(QtMsgType type, const QString &message)
{
    queued << logLine(type, message);
    if (queued.size() == 1)
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void DebugDialog::customEvent(QEvent * /*event*/)
{
    QStringList lines;
    {
        const std::lock_guard lock(instanceMutex);
        lines.swap(queued);
    }
    append(lines.join(u'\n'));
}

/// Messages that the edit control itself logs while it adds a line are dropped.
void DebugDialog::append(const QString &line)
{
    if (std::exchange(appending, true))
        return;
    ui->logEdit->appendPlainText(line);
    appending = false;
}

void DebugDialog::save()
{
    const QString name =
        QFileDialog::getSaveFileName(this, u"Save log file"_s, QString(), u"Text files (*.txt)"_s);
    if (name.isEmpty())
        return;
    QFile file(name);
    file.open(QIODevice::WriteOnly);
    file.write(ui->logEdit->toPlainText().toLatin1());
}
