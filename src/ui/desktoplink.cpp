// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/desktoplink.h"

#include <QApplication>

#include <algorithm>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "ui/raisewindow.h"

namespace {

constexpr int updateMsec = 1000;

} // namespace

DesktopLink::DesktopLink(Marlowick *engine, QWidget *window)
    : QObject(window)
    , engine(engine)
    , window(window)
{
    connect(engine, &Marlowick::nzbComplete, this,
            [this](const Nzb *nzb) { tell(tr("%1 is complete").arg(nzb->name())); });
    connect(engine, &Marlowick::nzbFailed, this, [this](const Nzb *nzb, const QString &reason) {
        tell(tr("%1 has failed: %2").arg(nzb->name(), reason));
    });
    connect(engine, &Marlowick::passwordNeeded, this,
            [this](const Nzb *nzb) { tell(tr("%1 waits for a password").arg(nzb->name())); });
    connect(engine, &Marlowick::downloadStatistics, this,
            [this](int /*speed*/, quint64 left) { noteLeft(left); });
    connect(&notifier, &Notifier::clicked, this, &DesktopLink::bringWindow);
    connect(&timer, &QTimer::timeout, this, &DesktopLink::update);
    timer.start(updateMsec);
}

void DesktopLink::tell(const QString &text)
{
    if (QApplication::activeWindow())
        return;
    QApplication::alert(window);
    notifier.tell(text);
}

void DesktopLink::bringWindow(const QString &token)
{
    takeActivationToken(token);
    raiseWindow(window);
}

/// The bytes of a job that is added count as wanted from now on: the bar goes back, but does not
/// start again.
void DesktopLink::noteLeft(quint64 bytes)
{
    const auto isComplete = [](const Nzb *nzb) { return nzb->isComplete(); };
    const bool isOver = bytes == 0 && std::ranges::all_of(*engine->queue(), isComplete);
    if (bytes == 0 && !isOver)
        return; // paused
    if (bytes > bytesLeft)
        bytesWanted += bytes - bytesLeft;
    if (isOver)
        bytesWanted = 0;
    bytesLeft = bytes;
}

void DesktopLink::update()
{
    inhibitor.setActive(engine->isAtWork());
    const bool isDownloading = engine->connectionCount() > 0 && bytesLeft > 0;
    const auto left = static_cast<double>(bytesLeft) / static_cast<double>(bytesWanted);
    dock.show(isDownloading ? 1 - left : -1);
}
