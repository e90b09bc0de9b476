// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

/// Sends @p call over @p bus and returns at once. Later @p receive gets the answer, which may be an
/// error, from the event loop, unless @p context has been deleted by then.
/// @returns false if there is no bus; then nothing is sent and nothing is received
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
