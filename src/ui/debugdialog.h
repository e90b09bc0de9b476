// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QStringList>

#include <memory>

namespace Ui {
class DebugDialog;
}

/// Shows, from its creation on, what the program logs through qDebug() and the like, which then no
/// longer reaches stderr. Closing only hides the window.
class DebugDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DebugDialog)

public:
    /// The one window, which is made with this parent if necessary. Without a parent it is deleted
    /// with the application object. Only for the GUI thread.
    [[nodiscard]] static DebugDialog *instance(QWidget *parent);
    ~DebugDialog() override;

    /// Adds the message at once. Only for the GUI thread.
    void appendMessage(QtMsgType type, const QString &message);
    /// Makes the event loop add the message. For any thread that holds the lock, which keeps the
    /// window from being destroyed.
    void queueMessage(QtMsgType type, const QString &message);

public slots:
    /// Asks for a file and writes the log to it in Latin-1. A failure is not reported.
    void save();

protected:
    /// Adds the queued messages.
    void customEvent(QEvent *event) override;

private:
    explicit DebugDialog(QWidget *parent);
    void append(const QString &line);

    std::unique_ptr<Ui::DebugDialog> ui;
    QStringList queued; ///< guarded by the lock on the instance
    bool appending = false;
};
