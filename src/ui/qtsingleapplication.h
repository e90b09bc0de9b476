// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>
#include <QPointer>

#include "ui/instancelink.h"

class QWidget;

/// The application object of a program that runs once per user.
///
/// A copy of the executable in another folder counts as another program, as does the process of
/// another user.
class QtSingleApplication final : public QApplication {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QtSingleApplication)

public:
    QtSingleApplication(int &argc, char **argv);

    /// True if another process of this program was started before.
    [[nodiscard]] bool isRunning() const { return link.isRunning(); }

    /// Sends @p message to the first instance; see InstanceLink::sendMessage.
    bool sendMessage(const QString &message, int timeout)
    {
        return link.sendMessage(message, timeout);
    }

    /// Hands on the token that a launcher gave this process to bring a window to the front: under
    /// Wayland, the first instance cannot do that without one. A failure has no effect.
    /// @param timeout  in milliseconds
    void sendActivationToken(int timeout);

    /// Sets the window that activateWindow() raises, on each message too if @p activateOnMessage.
    void setActivationWindow(QWidget *window, bool activateOnMessage = true);

public slots:
    /// Brings the activation window to the front, even if it was minimised.
    void activateWindow();

signals:
    /// Another instance sent @p message. Messages wait until this signal has its first receiver.
    void messageReceived(const QString &message);

protected:
    void connectNotify(const QMetaMethod &signal) override;

private:
    void onMessage(const QString &message);

    InstanceLink link;
    QPointer<QWidget> activationWindow;
    bool raisesOnMessage = false;
};
