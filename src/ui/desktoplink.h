// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>

#include "desktop/dockprogress.h"
#include "desktop/notifier.h"
#include "desktop/sleepinhibitor.h"

class Marlowick;
class Nzb;

/// Tells the desktop what the engine does while the user looks elsewhere: what has become of jobs,
/// that the computer must not sleep, and how far the download is.
class DesktopLink final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DesktopLink)

public:
    /// To be made before others connect to the engine: they may remove a job that is complete.
    /// @param engine  must outlive the object
    /// @param window  which a click on a notification brings to the front
    DesktopLink(Marlowick *engine, QWidget *window);

private:
    void tell(const QString &text);
    void bringWindow(const QString &token);
    void noteLeft(quint64 bytes);
    void update();

    Marlowick *engine;
    QWidget *window;
    Notifier notifier;
    SleepInhibitor inhibitor;
    DockProgress dock;
    QTimer timer;
    quint64 bytesLeft = 0; ///< still to be fetched
    quint64 bytesWanted = 0; ///< all that was to be fetched since the queue was last finished
};
