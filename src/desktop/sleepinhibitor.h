// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QString>

/// Keeps the computer awake while there is work: by org.freedesktop.login1 on the system bus, or
/// where that is not available, as in a sandbox, by the desktop's portal. Calls return at once, and
/// where neither answers, nothing happens.
/// Sources: systemd's inhibitor locks; XDG desktop portal, org.freedesktop.portal.Inhibit.
class SleepInhibitor final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SleepInhibitor)

public:
    explicit SleepInhibitor(QObject *parent = nullptr);
    ~SleepInhibitor() override { setActive(false); }

    void setActive(bool active);

private:
    void askLogin();
    void askPortal();

    bool wanted = false;
    int request = 0; ///< counts the calls of setActive(), so that late answers can be told
    QDBusUnixFileDescriptor lock; ///< keeps the computer awake while it is open
    QString portalHandle; ///< path of the portal's request, which does so until it is closed
};
