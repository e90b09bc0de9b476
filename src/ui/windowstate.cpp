// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/windowstate.h"

#include <QGuiApplication>
#include <QHeaderView>
#include <QScreen>
#include <QSet>
#include <QStyle>
#include <QTreeView>

#include <algorithm>

#include "engine/settings.h"

namespace {

/// The part of a screen that is left for a window below its title bar.
QRect roomOn(const QScreen *screen, const QWidget *window)
{
    const int titleBar = window->style()->pixelMetric(QStyle::PM_TitleBarHeight);
    return screen->availableGeometry().adjusted(0, titleBar, 0, 0);
}

/// Moves and shrinks the window so that all of it is on the screen. It stands in the middle if no
/// place is stored, or if its screen is gone.
void restorePlace(QWidget *window, const QRect &place)
{
    const QScreen *screen = QGuiApplication::screenAt(place.center());
    const QRect room = roomOn(screen ? screen : window->screen(), window);
    if (place.isValid())
        window->resize(place.size().boundedTo(room.size()).expandedTo(window->minimumSizeHint()));
    centre(window);
    if (!place.isValid() || !screen)
        return;
    QRect inside(place.topLeft(), window->size());
    inside.moveRight(std::min(inside.right(), room.right()));
    inside.moveBottom(std::min(inside.bottom(), room.bottom()));
    inside.moveLeft(std::max(inside.left(), room.left()));
    inside.moveTop(std::max(inside.top(), room.top()));
    window->setGeometry(inside);
}

/// Restores those widths that leave room for the first column.
/// @param all  pixels that the columns have together
void restoreWidths(QHeaderView *header, const QStringList &widths, int all)
{
    const int least = header->minimumSectionSize();
    int room = all - header->count() * least;
    for (int column = 1; column < header->count(); ++column) {
        const int more = widths.value(column - 1).toInt() - least;
        if (more >= 0 && more <= room) {
            header->resizeSection(column, least + more);
            room -= more;
        }
    }
}

} // namespace

void centre(QWidget *window)
{
    window->setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, window->size(),
                                            window->screen()->availableGeometry()));
}

void restoreWindow(QWidget *window, QTreeView *view, const Settings *settings)
{
    restorePlace(window, settings->get(Settings::windowPlace));
    const bool maximized = settings->get(Settings::windowMaximized);
    if (maximized)
        window->setWindowState(Qt::WindowMaximized);
    restoreWidths(view->header(), settings->get(Settings::windowColumns),
                  maximized ? roomOn(window->screen(), window).width() : window->width());
}

void restoreUnfolded(QTreeView *view, const Settings *settings)
{
    const QStringList names = settings->get(Settings::windowUnfolded);
    const QSet<QString> unfolded(names.cbegin(), names.cend());
    for (int row = 0; !unfolded.isEmpty() && row < view->model()->rowCount(); ++row) {
        const QModelIndex index = view->model()->index(row, 0);
        if (unfolded.contains(index.data().toString()))
            view->expand(index);
    }
}

void storeWindow(const QWidget *window, const QTreeView *view, Settings *settings)
{
    settings->set(Settings::windowPlace, window->normalGeometry());
    settings->set(Settings::windowMaximized, window->isMaximized());
    QStringList widths;
    for (int column = 1; column < view->header()->count(); ++column)
        widths << QString::number(view->header()->sectionSize(column));
    settings->set(Settings::windowColumns, widths);
    QStringList unfolded;
    for (int row = 0; row < view->model()->rowCount(); ++row) {
        const QModelIndex index = view->model()->index(row, 0);
        if (view->isExpanded(index))
            unfolded << index.data().toString();
    }
    settings->set(Settings::windowUnfolded, unfolded);
}
