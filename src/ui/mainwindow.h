// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMainWindow>

class Marlowick;

/// The program's one window. Owns the engine and shows what it has to say.
class MainWindow final : public QMainWindow {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

public:
    /// Makes the engine, imports the paths of the command line and lets the download start once the
    /// event loop runs.
    MainWindow();

public slots:
    /// The one door for paths from outside: imports an existing ".nzb" file, drops anything else.
    void handleMessage(const QString &message);

protected:
    void closeEvent(QCloseEvent *event) override;

private slots:
    void onError(int code, const QString &msg);
    void onNotice(int code, const QString &msg);

private:
    struct Box {
        QString title;
        QString text;
    };

    void importCommandLine();
    void showBox(const QString &title, const QString &text);
    void showBoxes();

    Marlowick *engine;
    QList<Box> boxes;
};
