// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QString>
#include <QVariantList>

/// A control of another program as a screen reader meets it: an object on the accessibility bus,
/// asked anew by each call. What does not answer has no name, no role and no children.
class Accessible final {
public:
    /// Bits of AT-SPI's state set.
    enum State { Enabled = 8, Focusable = 11, Showing = 25 };

    /// No control at all.
    Accessible()
        : Accessible(QDBusConnection(QString()), {}, {})
    {
    }
    Accessible(const QDBusConnection &connection, const QString &program, const QString &objectPath)
        : bus(connection)
        , service(program)
        , path(objectPath)
    {
    }

    [[nodiscard]] bool exists() const { return !path.isEmpty(); }
    [[nodiscard]] QString name() const { return property("Accessible", "Name").toString(); }
    [[nodiscard]] QString description() const
    {
        return property("Accessible", "Description").toString();
    }
    [[nodiscard]] QString role() const { return call("Accessible", "GetRoleName").toString(); }
    /// False for what a screen reader can only call an object.
    [[nodiscard]] bool hasRole() const;
    [[nodiscard]] bool is(State state) const;
    /// Whether a user can come to it or do something with it.
    [[nodiscard]] bool isControl() const;
    [[nodiscard]] QList<Accessible> children() const;
    /// All that is on the screen below it, in the order of reading.
    [[nodiscard]] QList<Accessible> below() const;
    /// The first that is on the screen below it, or no control.
    [[nodiscard]] Accessible find(const QString &role, const QString &name) const;
    [[nodiscard]] Accessible cell(int row, int column) const;

    // Each returns false if the control cannot do it.
    /// Does not wait, for the program answers when the dialog is closed that this may open.
    [[nodiscard]] bool press() const;
    [[nodiscard]] bool write(const QString &text) const;

private:
    [[nodiscard]] QDBusMessage methodCall(const QString &interface, const char *method,
                                          const QVariantList &arguments) const;
    [[nodiscard]] QVariant ask(const QDBusMessage &question) const;
    [[nodiscard]] QVariant call(const char *interface, const char *method,
                                const QVariantList &arguments = {}) const;
    [[nodiscard]] QVariant property(const char *interface, const char *name) const;

    QDBusConnection bus;
    QString service;
    QString path;
};
