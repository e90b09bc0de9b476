// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "desktop/dockprogress.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

void DockProgress::show(double fraction)
{
    const int now = fraction < 0 ? -1 : static_cast<int>(std::min(fraction, 1.0) * 100);
    if (std::exchange(percent, now) == now)
        return;
    QDBusMessage update = QDBusMessage::createSignal(
        u"/example/marlowick/Marlowick"_s, u"com.canonical.Unity.LauncherEntry"_s, u"Update"_s);
    update << QStringLiteral("application://" MARLOWICK_APP_ID ".desktop")
           << QVariantMap{{u"progress"_s, std::max(now, 0) / 100.0},
                          {u"progress-visible"_s, now >= 0}};
    QDBusConnection::sessionBus().send(update);
}
