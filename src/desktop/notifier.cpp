// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "desktop/notifier.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QVariantMap>

#include <utility>

#include "desktop/asynccall.h"

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.Notifications"_s;
const QString path = u"/org/freedesktop/Notifications"_s;
constexpr int mostShown = 100; ///< notifications whose clicks are still waited for
constexpr int mostLines = 5; ///< in one notification

QDBusMessage methodCall(const QString &name)
{
    return QDBusMessage::createMethodCall(service, path, service, name);
}

} // namespace

Notifier::Notifier(QObject *parent, int gather)
    : QObject(parent)
{
    timer.setSingleShot(true);
    timer.setInterval(gather);
    connect(&timer, &QTimer::timeout, this, &Notifier::askService);
}

void Notifier::tell(const QString &event)
{
    events << event;
    if (!timer.isActive())
        timer.start();
}

/// Not every service can do the same: one without markup would show the escapes as they are, and
/// one without actions may show a box in their place.
void Notifier::askService()
{
    asyncCall(QDBusConnection::sessionBus(), methodCall(u"GetCapabilities"_s), this,
              [this, lines = std::exchange(events, {})](const auto &answer) {
                  const QDBusPendingReply<QStringList> reply(answer);
                  if (reply.isValid())
                      send(lines, reply.value());
              });
}

void Notifier::send(QStringList lines, const QStringList &abilities)
{
    listenForClicks();
    if (const qsizetype more = lines.size() - mostLines; more > 0) {
        lines = lines.first(mostLines);
        lines << tr("and %n more", nullptr, static_cast<int>(more));
    }
    const QString text = lines.join(u'\n');
    QDBusMessage call = methodCall(u"Notify"_s);
    call << u"Marlowick"_s << uint(0) << QStringLiteral(MARLOWICK_APP_ID) << u"Marlowick"_s
         << (abilities.contains("body-markup"_L1) ? text.toHtmlEscaped() : text)
         << (abilities.contains("actions"_L1) ? QStringList{u"default"_s, tr("Show")}
                                              : QStringList())
         << QVariantMap{{u"desktop-entry"_s, QStringLiteral(MARLOWICK_APP_ID)}} << -1;
    asyncCall(QDBusConnection::sessionBus(), call, this,
              [this](const QDBusPendingReply<uint> &reply) {
                  if (reply.isValid())
                      shown << reply.value();
                  if (shown.size() > mostShown)
                      shown.removeFirst();
              });
}

void Notifier::listenForClicks()
{
    if (std::exchange(isListening, true))
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(service, path, service, u"ActionInvoked"_s, this,
                SLOT(onActionInvoked(uint, QString)));
    bus.connect(service, path, service, u"ActivationToken"_s, this,
                SLOT(onActivationToken(uint, QString)));
}

/// The service tells all its clients of all clicks.
void Notifier::onActionInvoked(uint id, const QString & /*action*/)
{
    if (shown.removeAll(id) > 0)
        emit clicked(std::exchange(activationToken, {}));
}

void Notifier::onActivationToken(uint id, const QString &token)
{
    if (shown.contains(id))
        activationToken = token;
}
