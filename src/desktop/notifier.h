// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

/// Tells of events by the desktop's notification service, org.freedesktop.Notifications, of the
/// session bus. Where there is none, nothing happens. Calls return at once.
/// Source: "Desktop Notifications", version 1.2, of freedesktop.org.
class Notifier final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Notifier)

public:
    /// @param gather  milliseconds during which further events join the first in one notification
    explicit Notifier(QObject *parent = nullptr, int gather = 2000);

    /// @param event  a line of plain text for the user
    void tell(const QString &event);

signals:
    /// The user has clicked a notification. @p token, if the service gave one, lets a window come
    /// to the front under Wayland.
    void clicked(QString token);

private slots:
    void onActionInvoked(uint id, const QString &action);
    void onActivationToken(uint id, const QString &token);

private:
    void askService();
    void send(QStringList lines, const QStringList &abilities);
    void listenForClicks();

    QTimer timer;
    QStringList events; ///< that wait to be told
    QList<uint> shown; ///< the service's numbers of our notifications
    QString activationToken; ///< of the click that is announced next
    bool isListening = false;
};
