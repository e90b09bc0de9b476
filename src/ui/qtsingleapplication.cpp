// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/qtsingleapplication.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QMetaMethod>
#include <QStandardPaths>
#include <QWidget>

#include <unistd.h>

#include "ui/raisewindow.h"

using namespace Qt::StringLiterals;

namespace {

constexpr char tokenVariable[] = "XDG_ACTIVATION_TOKEN";
constexpr auto tokenPrefix = "XDG_ACTIVATION_TOKEN="_L1; // of a message

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
    , link(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation), applicationId())
{
    connect(&link, &InstanceLink::messageReceived, this, &QtSingleApplication::onMessage);
}

void QtSingleApplication::sendActivationToken(int timeout)
{
    if (const QString token = qEnvironmentVariable(tokenVariable); !token.isEmpty())
        sendMessage(tokenPrefix + token, timeout);
}

void QtSingleApplication::setActivationWindow(QWidget *window, bool activateOnMessage)
{
    activationWindow = window;
    raisesOnMessage = activateOnMessage;
}

void QtSingleApplication::activateWindow()
{
    if (activationWindow)
        raiseWindow(activationWindow);
}

void QtSingleApplication::connectNotify(const QMetaMethod &signal)
{
    if (signal == QMetaMethod::fromSignal(&QtSingleApplication::messageReceived))
        link.takeMessages();
    QApplication::connectNotify(signal);
}

void QtSingleApplication::onMessage(const QString &message)
{
    if (message.startsWith(tokenPrefix)) {
        takeActivationToken(message.sliced(tokenPrefix.size()));
        return;
    }
    emit messageReceived(message);
    if (raisesOnMessage)
        activateWindow();
}
