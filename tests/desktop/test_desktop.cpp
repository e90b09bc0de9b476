// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What the desktop is told and what it answers, on a bus of the test's own.
#include <QtDBus>
#include <QtWidgets>

#include <fcntl.h>
#include <unistd.h>

#include "desktop/filemanager.h"
#include "desktop/sleepinhibitor.h"
#include "engine/enginefixture.h"
#include "ui/desktoplink.h"

namespace {

/// All services of the desktop in one.
struct Desktop final : QDBusVirtualObject {
    Desktop()
    {
        daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        QVERIFY(daemon.waitForReadyRead());
        const QByteArray address = daemon.readLine().trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
        bus = QDBusConnection::connectToBus(address, "desktop");
        for (const QString service : {"Notifications", "login1", "FileManager1"})
            QVERIFY(bus.registerService("org.freedesktop." + service));
        bus.registerVirtualObject("/", this, QDBusConnection::SubPath);
    }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection & /*bus*/) override
    {
        QVariant answer = 7U;
        told << call.arguments().value(call.member() == "Notify" ? 4 : 0).toString();
        if (call.member() == "GetCapabilities") {
            answer = QStringList{"body-markup", "actions"};
        } else if (call.interface().startsWith("org.freedesktop.portal.")) {
            told << call.member();
            if (hasty)
                std::exchange(hasty, nullptr)->setActive(false);
            answer = QVariant::fromValue(QDBusObjectPath("/request"));
        } else if (call.member() == "Inhibit" && pipe2(lock, O_NONBLOCK) == 0) {
            answer = QVariant::fromValue(QDBusUnixFileDescriptor(lock[1]));
            close(lock[1]);
        }
        return bus.send(call.createReply(answer));
    }
    QString introspect(const QString & /*path*/) const override { return {}; }
    /// Whether reading would have to wait for the other end.
    bool isLocked() { return read(lock[0], &lock[1], 1) < 0; }

    QProcess daemon;
    QDBusConnection bus{QString()};
    int lock[2];
    SleepInhibitor *hasty = nullptr;
    QStringList told;
};

const Case desktop("is kept awake, and is told of jobs", [] {
    Desktop desktop;
    EngineFixture t;
    QWidget window;
    const DesktopLink link(t.engine.get(), &window);
    t.startHeldFilm(3000)->setName("<b>&");
    QTRY_COMPARE(desktop.told.join('|'), "sleep:idle");
    QVERIFY(desktop.isLocked());
    t.server->releaseAll();
    QTRY_VERIFY(!desktop.isLocked());
    emit t.engine->passwordNeeded(t.job, {});
    emit t.engine->nzbFailed(t.job, "why");
    QTRY_COMPARE(desktop.told.last(), "&lt;b&gt;&amp; is complete\n"
                                      "&lt;b&gt;&amp; waits for a password\n"
                                      "&lt;b&gt;&amp; has failed: why");
    FileManager().showFiles("/a", {"/a/b c"});
    QTRY_COMPARE(desktop.told.last(), "file:///a/b%20c");
    desktop.bus.unregisterService("org.freedesktop.login1");
    desktop.bus.registerService("org.freedesktop.portal.Desktop");
    SleepInhibitor inhibitor;
    inhibitor.setActive(true);
    QTRY_COMPARE(desktop.told.last(), "Inhibit");
    inhibitor.setActive(false);
    QTRY_COMPARE(desktop.told.last(), "Close");
    desktop.told << "";
    desktop.hasty = &inhibitor; // it does not wait for the answer
    inhibitor.setActive(true);
    QTRY_COMPARE(desktop.told.last(), "Close");
});

} // namespace
