// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

#include <memory>

class Marlowick;
enum class RarHandling;
class NNTP;
class NzbFile;
class QLabel;
class QLineEdit;
class QProgressDialog;
class QSpinBox;

namespace Ui {
class SettingsWindow;
}

/// The waits of a server test, in milliseconds.
struct ServerTestPauses {
    int afterClosing = 1000; ///< for the server to notice that connections of the pool are gone
    int restart = 2000; ///< before the downloads go on
    int watch = 500; ///< between two looks at the connection
    int farewell = 30000; ///< for a server that does not close after QUIT
};

/// The settings dialog. It writes all settings when they are accepted. A changed server is tested
/// first: a connection of the dialog's own logs in with the new values, and nothing is stored if
/// that fails.
///
/// While the test runs, all controls are disabled, and neither Escape nor the window manager closes
/// the dialog.
class SettingsWindow final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsWindow)

public:
    SettingsWindow(Marlowick *engine, QWidget *parent, const ServerTestPauses &pauses = {});
    ~SettingsWindow() override;

    /// Writes every value of the dialog, and tells the user if that fails.
    void saveSettings();

public slots:
    void reject() override;

private slots:
    void on_reportBugButton_clicked();
    void on_debugButton_clicked();
    void on_browseMplayer_clicked();
    void on_browseDownloadFolder_clicked();
    void OKclicked();
    void servertest_error(int error, const QString &msg, NzbFile *nzbfile, int seqnr);
    void servertest_loggedIn();

private:
    struct Port {
        int number;
        bool ssl;
    };

    void fixSize();
    static void showUnit(QSpinBox *number, QLabel *unit);
    void loadSettings();
    void loadServer();
    void proposePaths();
    [[nodiscard]] bool isComplete();
    [[nodiscard]] bool isServerStored() const;
    [[nodiscard]] Port chosenPort() const;
    [[nodiscard]] RarHandling chosenRarHandling() const;

    void startServerTest();
    void watchServerTest();
    void showTestTime(int most);
    [[nodiscard]] NNTP *endServerTest();
    void showTesting(bool testing);

    std::unique_ptr<Ui::SettingsWindow> ui;
    Marlowick *engine;
    const ServerTestPauses pauses;
    QProgressDialog *progress;
    std::unique_ptr<NNTP> connection; ///< while a test runs
    QTimer watchTimer;
    QElapsedTimer testClock;
    QPointer<QWidget> focusBeforeTest;
};
