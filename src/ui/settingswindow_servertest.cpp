// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The login that tests a changed server.
#include <QMessageBox>
#include <QProgressDialog>

#include <algorithm>
#include <cmath>

#include "engine/marlowick.h"
#include "queue/displaytext.h"
#include "queue/nzbfile.h"
#include "transfer/nntp.h"
#include "ui/settingswindow.h"
#include "ui_settingswindow.h"

using namespace Qt::StringLiterals;

namespace {

/// Greeting, user and password: each may take up to one time-out. A server that sends single bytes
/// is never silent for that long, but gets no more time than others.
constexpr int repliesOfLogin = 3;

/// Text from a server or its certificate must not be read as markup, which could load files. The
/// connection itself uses only paragraphs.
QString boxText(const QString &message)
{
    const QString paragraph = u"<p>"_s;
    QString text = shortened(message);
    if (!QString(text).remove(paragraph).contains(u'<'))
        return text;
    return paragraph + text.toHtmlEscaped().replace(paragraph.toHtmlEscaped(), paragraph);
}

} // namespace

void SettingsWindow::startServerTest()
{
    const Port port = chosenPort();
    connection = std::make_unique<NNTP>(ui->hostname->text().trimmed(), port.number,
                                        ui->username->text().trimmed(),
                                        ui->password->text().trimmed(), port.ssl, nullptr);
    connect(connection.get(), &NNTP::loggedIn, this, &SettingsWindow::servertest_loggedIn);
    connect(connection.get(), &NNTP::error, this, &SettingsWindow::servertest_error);
    showTesting(true);
    watchTimer.start(pauses.watch);
    testClock.start();
    if (engine->connectionCount() != 0) {
        engine->closeAllConnections();
        QTimer::singleShot(pauses.afterClosing, connection.get(), &NNTP::login);
    } else {
        connection->login();
    }
}

/// The rule of the engine's watchdog, which knows nothing of this connection.
void SettingsWindow::watchServerTest()
{
    const int timeout = ui->networkTimeout->value();
    const int most = pauses.afterClosing + repliesOfLogin * timeout * 1000;
    showTestTime(most);
    if (timeout <= connection->idleSeconds() || testClock.hasExpired(most))
        connection->abortWithError(NNTP::NetworkTimeout, tr("Network time-out"));
}

/// A bar that grows, fast at first, shows that the program is alive. It is never full, for then it
/// would hide itself.
/// @param most  milliseconds that the test may take
void SettingsWindow::showTestTime(int most)
{
    const double share = static_cast<double>(testClock.elapsed()) / most;
    progress->setValue(std::min(99, static_cast<int>(100 * std::sqrt(share))));
}

/// Detaches the connection from the dialog. The caller has to delete it.
NNTP *SettingsWindow::endServerTest()
{
    watchTimer.stop();
    connection->disconnect(this);
    return connection.release();
}

void SettingsWindow::showTesting(bool testing)
{
    if (testing)
        focusBeforeTest = focusWidget();
    setEnabled(!testing);
    progress->setEnabled(true); // it has been disabled along with the dialog
    if (testing)
        progress->show();
    else
        progress->reset(); // its timer would show it again
    if (!testing && focusBeforeTest)
        focusBeforeTest->setFocus();
}

void SettingsWindow::servertest_loggedIn()
{
    NNTP *proved = endServerTest();
    proved->setParent(engine); // it may outlive the dialog, but not the program
    saveSettings();
    // Not earlier: we are inside its signal, and a box of saveSettings() may stay open for long.
    QTimer::singleShot(pauses.farewell, proved, &NNTP::deleteLater);
    proved->quit();
    QTimer::singleShot(pauses.restart, engine, &Marlowick::startToDownloadQueue);
    showTesting(false);
    accept();
}

void SettingsWindow::servertest_error(int /*error*/, const QString &msg, NzbFile * /*nzbfile*/,
                                      int /*seqnr*/)
{
    endServerTest()->deleteLater();
    progress->reset();
    QMessageBox::critical(this, tr("Check server settings"), boxText(msg));
    showTesting(false);
}

void SettingsWindow::reject()
{
    if (!connection)
        QDialog::reject();
}
