// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QStringList>

#include <memory>

namespace Ui {
class DebugDialog;
}

/// Shows, from the moment it is made, what the program logs through qDebug() and its like, which
/// then no longer reaches stderr. Closing only hides it.
class DebugDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DebugDialog)

public:
    /// The one window, made with this parent if there is none. Without a parent it is deleted when
    /// the application object goes. For the GUI thread alone.
    [[nodiscard]] static DebugDialog *instance(QWidget *parent);
    ~DebugDialog() override;

    /// Adds the message at once. For the GUI thread alone.
    void appendMessage(QtMsgType type, const QString &message);
    /// Has the event loop add the message. May be called by any thread that holds the lock which
    /// keeps the window from being destroyed meanwhile.
    void queueMessage(QtMsgType type, const QString &message);

public slots:
    /// Asks for a file and writes the log to it, in Latin-1. A failure is not told.
    void save();

protected:
    /// Adds what has been queued.
    void customEvent(QEvent *event) override;

private:
    explicit DebugDialog(QWidget *parent);
    void append(const QString &line);

    std::unique_ptr<Ui::DebugDialog> ui;
    QStringList queued; ///< guarded by the lock on the instance
    bool appending = false;
};
