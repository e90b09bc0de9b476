// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QCoreApplication>

#include "ui/mainwindow.h"
#include "ui/qtsingleapplication.h"

namespace {

constexpr int sendTimeoutMsec = 5000;

/// Hands the command line on to the instance that is running; what it makes of it is its affair.
void sendArguments(QtSingleApplication &application)
{
    const QStringList arguments = QCoreApplication::arguments();
    for (const QString &argument : arguments)
        application.sendMessage(argument, sendTimeoutMsec);
}

} // namespace

int main(int argc, char **argv)
{
    QtSingleApplication application(argc, argv);
    if (application.isRunning()) {
        sendArguments(application);
        return 0;
    }
    MainWindow window;
    QObject::connect(&application, &QtSingleApplication::messageReceived, &window,
                     &MainWindow::handleMessage);
    application.setActivationWindow(&window, true);
    window.show();
    return QCoreApplication::exec();
}
