// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QKeySequence>
#include <QList>
#include <QObject>

#include "ui/rowcommands.h"

class QAction;
class QueueView;

/// The context menu of the queue. Its actions belong to the view, in which their keys work, too.
class RowMenu final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RowMenu)

public:
    /// The tool bar's and the window's actions that stand in the menu, too.
    struct Shared {
        QAction *preview;
        QAction *repair;
        QAction *remove;
    };

    /// @param view  becomes the parent
    /// @param commands,engine  must outlive the object
    RowMenu(QueueView *view, RowCommands *commands, Marlowick *engine, const Shared &shared);

private:
    template <class Command> QAction *add(const QString &text, Command command);
    void addMove(const QString &text, const QKeySequence &key, RowCommands::Move where);
    void addSeparator();
    void enable();

    QueueView *view;
    RowCommands *commands;
    Marlowick *engine;
    QList<QAction *> forRows; ///< which need nothing but a row
    QAction *open;
    QAction *openFolder;
    QAction *pause;
    QAction *resume;
    QAction *pauseAll;
    QAction *resumeAll;
    QAction *repair;
};
