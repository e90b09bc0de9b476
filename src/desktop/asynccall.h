// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

/// Sends @p call over @p bus and returns at once. Later @p receive gets the answer, be it an error,
/// unless @p context has gone. Without a bus, nothing happens and the result is false.
template <class Receiver>
bool asyncCall(const QDBusConnection &bus, const QDBusMessage &call, QObject *context,
               Receiver receive)
{
    if (!bus.isConnected()) // a watcher would never hear of that
        return false;
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, [watcher, receive] {
        watcher->deleteLater();
        receive(*watcher);
    });
    return true;
}
