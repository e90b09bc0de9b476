// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "accessible.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace {

constexpr int timeoutMsec = 20'000;

/// A reference to an object, as it travels.
struct Reference {
    QString service;
    QDBusObjectPath path;
};

const QDBusArgument &operator>>(const QDBusArgument &argument, Reference &reference)
{
    argument.beginStructure();
    argument >> reference.service >> reference.path;
    argument.endStructure();
    return argument;
}

/// As it travels.
struct Action {
    QString name;
    QString description;
    QString key;
};

const QDBusArgument &operator>>(const QDBusArgument &argument, Action &action)
{
    argument.beginStructure();
    argument >> action.name >> action.description >> action.key;
    argument.endStructure();
    return argument;
}

QString interfaceName(const char *name) { return "org.a11y.atspi."_L1 + QString::fromLatin1(name); }

} // namespace

QDBusMessage Accessible::methodCall(const QString &interface, const char *method,
                                    const QVariantList &arguments) const
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(service, path, interface, QString::fromLatin1(method));
    message.setArguments(arguments);
    return message;
}

/// The first part of the reply, nothing if it is an error.
QVariant Accessible::ask(const QDBusMessage &question) const
{
    const QDBusMessage reply = bus.call(question, QDBus::Block, timeoutMsec);
    return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0) : QVariant();
}

QVariant Accessible::call(const char *interface, const char *method,
                          const QVariantList &arguments) const
{
    return ask(methodCall(interfaceName(interface), method, arguments));
}

QVariant Accessible::property(const char *interface, const char *name) const
{
    const QVariantList arguments{interfaceName(interface), QString::fromLatin1(name)};
    return ask(methodCall(u"org.freedesktop.DBus.Properties"_s, "Get", arguments))
        .value<QDBusVariant>()
        .variant();
}

bool Accessible::hasRole() const
{
    enum { Invalid, Filler = 20, Unknown = 67 };
    const int role = call("Accessible", "GetRole").toInt();
    return role != Invalid && role != Filler && role != Unknown;
}

bool Accessible::is(State state) const
{
    const auto words = qdbus_cast<QList<uint>>(call("Accessible", "GetState"));
    return (words.value(state / 32) >> (state % 32)) & 1;
}

bool Accessible::isControl() const
{
    return is(Focusable) || !qdbus_cast<QList<Action>>(call("Action", "GetActions")).isEmpty();
}

QList<Accessible> Accessible::children() const
{
    QList<Accessible> children;
    const auto references = qdbus_cast<QList<Reference>>(call("Accessible", "GetChildren"));
    for (const Reference &child : references)
        children.append({bus, child.service, child.path.path()});
    return children;
}

QList<Accessible> Accessible::below() const
{
    QList<Accessible> found;
    for (const Accessible &child : children()) {
        if (child.is(Showing))
            found << child << child.below();
    }
    return found;
}

Accessible Accessible::find(const QString &role, const QString &name) const
{
    for (const Accessible &child : children()) {
        if (child.name() == name && child.role() == role && child.is(Showing))
            return child;
        if (const Accessible found = child.find(role, name); found.exists())
            return found;
    }
    return {};
}

Accessible Accessible::cell(int row, int column) const
{
    const auto cell = qdbus_cast<Reference>(call("Table", "GetAccessibleAt", {row, column}));
    return {bus, cell.service, cell.path.path()};
}

bool Accessible::press() const
{
    const auto actions = qdbus_cast<QList<Action>>(call("Action", "GetActions"));
    for (int i = 0; i < actions.size(); ++i) {
        if (actions.at(i).name == "Press"_L1 || actions.at(i).name == "Toggle"_L1)
            return bus.send(methodCall(interfaceName("Action"), "DoAction", {i}));
    }
    return false;
}

bool Accessible::write(const QString &text) const
{
    return call("EditableText", "SetTextContents", {text}).toBool();
}
