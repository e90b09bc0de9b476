// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/qtsingleapplication.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QMetaMethod>
#include <QStandardPaths>
#include <QWidget>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QString applicationId()
{
    const QString path = QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
    const QByteArray source = QFile::encodeName(path) + '\0' + QByteArray::number(getuid());
    const QByteArray hash = QCryptographicHash::hash(source, QCryptographicHash::Sha256);
    // A socket's path has room for about 100 characters.
    return u"marlowick-"_s + QString::fromLatin1(hash.toHex().first(32));
}

} // namespace

QtSingleApplication::QtSingleApplication(int &argc, char **argv)
    : QApplication(argc, argv)
    , link_(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation), applicationId())
{
    connect(&link_, &InstanceLink::messageReceived, this, &QtSingleApplication::onMessage);
}

void QtSingleApplication::setActivationWindow(QWidget *window, bool activateOnMessage)
{
    activationWindow_ = window;
    activateOnMessage_ = activateOnMessage;
}

void QtSingleApplication::activateWindow()
{
    if (!activationWindow_)
        return;
    activationWindow_->setWindowState(activationWindow_->windowState() & ~Qt::WindowMinimized);
    activationWindow_->raise();
    activationWindow_->activateWindow();
}

void QtSingleApplication::connectNotify(const QMetaMethod &signal)
{
    if (signal == QMetaMethod::fromSignal(&QtSingleApplication::messageReceived))
        link_.takeMessages();
    QApplication::connectNotify(signal);
}

void QtSingleApplication::onMessage(const QString &message)
{
    emit messageReceived(message);
    if (activateOnMessage_)
        activateWindow();
}
