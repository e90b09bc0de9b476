// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QLocale>
#include <QStringList>
#include <QTextStream>

#include <utility>

#include "ui/mainwindow.h"
#include "ui/qtsingleapplication.h"
#include "ui/terminationsignals.h"
#include "ui/translations.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int sendTimeoutMsec = 5000;

void complain(const char *text, const QString &path)
{
    QTextStream(stderr) << QCoreApplication::translate("main", text).arg(path) << Qt::endl;
}

/// Hands the command line on to the running instance, which may have another working folder and
/// decides what to do with it.
void sendArguments(QtSingleApplication &application)
{
    const QStringList arguments = QCoreApplication::arguments();
    application.sendActivationToken(sendTimeoutMsec);
    application.sendMessage(arguments.constFirst(), sendTimeoutMsec);
    for (const QString &argument : arguments.sliced(1)) {
        const QFileInfo file(QDir::fromNativeSeparators(argument));
        const QString path = QDir::toNativeSeparators(file.absoluteFilePath());
        const bool taken = application.sendMessage(path, sendTimeoutMsec);
        if (!file.exists())
            complain(QT_TRANSLATE_NOOP("main", "%1 does not exist"), path);
        else if (!taken)
            complain(QT_TRANSLATE_NOOP("main", "The Marlowick that is running did not take %1"),
                     path);
    }
}

/// The window may have to ask the user while it is being made. Messages from a second start wait
/// until then, and a signal ends the dialogs.
int run(QtSingleApplication &application)
{
    const TerminationSignals termination;
    QStringList early;
    const QMetaObject::Connection meanwhile[] = {
        QObject::connect(&application, &QtSingleApplication::messageReceived,
                         [&early](const QString &message) { early << message; }),
        QObject::connect(&termination, &TerminationSignals::received, &application,
                         [] { QCoreApplication::exit(); })};
    MainWindow window;
    for (const QMetaObject::Connection &connection : meanwhile)
        QObject::disconnect(connection);
    QObject::connect(&application, &QtSingleApplication::messageReceived, &window,
                     &MainWindow::handleMessage);
    QObject::connect(&termination, &TerminationSignals::received, &window, &MainWindow::end);
    application.setActivationWindow(&window, true);
    for (const QString &message : std::as_const(early))
        window.handleMessage(message);
    if (termination.haveCome()) {
        window.end();
        return 0;
    }
    window.show();
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    QtSingleApplication application(argc, argv);
    installTranslations(QLocale::system());
    if (application.isRunning()) {
        sendArguments(application);
        return 0;
    }
    QApplication::setDesktopFileName(QStringLiteral(MARLOWICK_APP_ID));
    QApplication::setWindowIcon(QIcon(u":/icons/newspaper.png"_s));
    return run(application);
}
