// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QGuiApplication>
#include <QWidget>

/// Under Wayland, a window comes to the front by a token that another program has got for it. Qt
/// takes it from here with the next raiseWindow(). Elsewhere it would only reach the programs that
/// we start.
inline void takeActivationToken(const QString &token)
{
    if (!token.isEmpty()
        && QGuiApplication::platformName().startsWith(QLatin1StringView("wayland")))
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

/// Brings @p window to the front, also when it is minimised.
inline void raiseWindow(QWidget *window)
{
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->raise();
    window->activateWindow();
}
