// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>
#include <QMap>
#include <QTimer>

#include <memory>

class BoxQueue;
class Marlowick;
class Nzb;
class NzbFile;
class NzbModel;
class Preview;
class QDialog;
class QLabel;
class RowCommands;
class SpeedField;

namespace Ui {
class MainWindow;
}

/// The program's one window. Owns the engine, shows its queue and its messages, and passes the
/// user's commands on to it.
class MainWindow final : public QMainWindow {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

public:
    /// Makes the engine, loads the queue, imports the paths of the command line and lets the
    /// download start once the event loop runs. Asks the user for settings if there is no server or
    /// no download folder, and may ask about a damaged queue file.
    MainWindow();
    ~MainWindow() override;

public slots:
    /// All paths from outside enter here: imports an existing ".nzb" file, ignores anything else.
    void handleMessage(const QString &message);
    /// Shows the free space of the download folder, and suspends all downloads when it is low.
    void checkDiskspace();
    /// Ends the program as closing the window does, but asks nothing and does not wait for open
    /// dialogs.
    void end();
    /// Ends the program with a memory fault, to try what a crash leaves behind.
    static void simulateCrash();

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private slots:
    void on_actionPreview_triggered();
    void on_actionPause_triggered(bool checked);
    void on_actionRepairAndUnpack_triggered();
    void on_actionSettings_triggered();
    void on_actionDownloads_triggered();
    void on_actionDelete_triggered();
    void on_actionAdd_NZB_triggered();
    void onCurrentRowChanged(const QModelIndex &current, const QModelIndex &previous);
    void onError(int code, const QString &msg);
    void onNotice(int code, const QString &msg);
    void updateDownloadStats(int speedinbytespersec, quint64 bytesleft, int secondsleft);
    void onFileComplete(NzbFile *nf);
    void onPreviewCompleted(Nzb *nzb);
    void onPasswordNeeded(Nzb *nzb, const QString &rarfile);
    void onNzbComplete(Nzb *n);
    void handlePreviewButton();

private:
    void setUpView();
    void showHint();
    void setUpToolBar();
    void setUpStatusBar();
    void connectEngine();
    void stopAndSave();
    void storeState();
    void askForMissingSettings();
    void loadQueue();
    void importCommandLine();
    /// False after telling the user why it is refused.
    bool importNzb(const QString &path);
    void showSelection();
    [[nodiscard]] Nzb *previewableJob() const;
    [[nodiscard]] QDialog *passwordBox(Nzb *nzb, const QString &title);

    static constexpr int noticeMsec = 300000;

    std::unique_ptr<Ui::MainWindow> ui;
    Marlowick *engine;
    QTimer diskTimer;
    NzbModel *model = nullptr;
    RowCommands *commands = nullptr;
    SpeedField *speedLabel = nullptr;
    QLabel *timeLeftLabel = nullptr;
    QLabel *freeSpaceLabel = nullptr;
    QMap<Nzb *, Preview *> previews; ///< running now
    BoxQueue *boxes;
    bool queueUndecided = false; ///< the user was asked about a damaged queue and did not answer
};
