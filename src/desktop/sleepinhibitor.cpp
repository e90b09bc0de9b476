// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "desktop/sleepinhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QVariantMap>

#include <utility>

#include "desktop/asynccall.h"

using namespace Qt::StringLiterals;

namespace {

const QString portal = u"org.freedesktop.portal.Desktop"_s;

void closePortalRequest(const QString &handle)
{
    QDBusConnection::sessionBus().asyncCall(QDBusMessage::createMethodCall(
        portal, handle, u"org.freedesktop.portal.Request"_s, u"Close"_s));
}

} // namespace

SleepInhibitor::SleepInhibitor(QObject *parent)
    : QObject(parent)
{
}

void SleepInhibitor::setActive(bool active)
{
    if (std::exchange(wanted, active) == active)
        return;
    ++request;
    if (active)
        return askLogin();
    lock = {};
    if (!portalHandle.isEmpty())
        closePortalRequest(std::exchange(portalHandle, {}));
}

/// The lock ends when its descriptor is closed; that of a late answer is closed with the reply.
void SleepInhibitor::askLogin()
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                                       u"org.freedesktop.login1.Manager"_s, u"Inhibit"_s);
    call << u"sleep:idle"_s << u"Marlowick"_s << tr("A download is under way") << u"block"_s;
    const bool isSent =
        asyncCall(QDBusConnection::systemBus(), call, this,
                  [this, asked = request](const QDBusPendingReply<QDBusUnixFileDescriptor> &reply) {
                      if (asked != request)
                          return;
                      if (reply.isValid())
                          lock = reply.value();
                      else
                          askPortal();
                  });
    if (!isSent)
        askPortal();
}

void SleepInhibitor::askPortal()
{
    constexpr uint suspendAndIdle = 4 | 8;
    QDBusMessage call =
        QDBusMessage::createMethodCall(portal, u"/org/freedesktop/portal/desktop"_s,
                                       u"org.freedesktop.portal.Inhibit"_s, u"Inhibit"_s);
    call << QString() << suspendAndIdle
         << QVariantMap{{u"reason"_s, tr("A download is under way")}};
    asyncCall(QDBusConnection::sessionBus(), call, this,
              [this, asked = request](const QDBusPendingReply<QDBusObjectPath> &reply) {
                  if (!reply.isValid())
                      return;
                  if (asked == request)
                      portalHandle = reply.value().path();
                  else
                      closePortalRequest(reply.value().path());
              });
}
