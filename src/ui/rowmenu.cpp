// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/rowmenu.h"

#include <QAction>

#include <algorithm>
#include <utility>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "ui/queueview.h"

namespace {

/// Whether pausing or resuming would change the item. Nothing of a finished file can be paused.
/// @param holdsPar2  resuming a job leaves out its PAR2 files
bool canBePaused(const INzbItem *item, bool paused, bool holdsPar2)
{
    if (const auto *file = qobject_cast<const NzbFile *>(item))
        return file->isPaused() != paused && !file->isFinished();
    const QList<NzbFile *> &files = qobject_cast<const Nzb *>(item)->allFiles();
    return std::any_of(files.cbegin(), files.cend(), [paused, holdsPar2](const NzbFile *file) {
        return paused ? !file->isPaused() && !file->isFinished()
                      : file->isPaused() && (!holdsPar2 || file->goesOnWithJob());
    });
}

bool anyCanBePaused(const auto &items, bool paused, bool holdsPar2)
{
    return std::any_of(items.cbegin(), items.cend(), [paused, holdsPar2](const INzbItem *item) {
        return canBePaused(item, paused, holdsPar2);
    });
}

} // namespace

RowMenu::RowMenu(QueueView *theView, RowCommands *theCommands, Marlowick *theEngine,
                 const Shared &shared)
    : QObject(theView)
    , view(theView)
    , commands(theCommands)
    , engine(theEngine)
    , repair(shared.repair)
{
    open = add(tr("Open"), &RowCommands::open);
    openFolder = add(tr("Open folder"), &RowCommands::openFolder);
    view->addAction(shared.preview);
    addSeparator();
    addMove(tr("Move to top"), Qt::ALT | Qt::Key_Home, RowCommands::ToTop);
    addMove(tr("Move up"), Qt::ALT | Qt::Key_Up, RowCommands::Up);
    addMove(tr("Move down"), Qt::ALT | Qt::Key_Down, RowCommands::Down);
    addMove(tr("Move to bottom"), Qt::ALT | Qt::Key_End, RowCommands::ToBottom);
    addSeparator();
    pause = add(tr("Pause"), [theCommands] { theCommands->setPaused(true); });
    resume = add(tr("Resume"), [theCommands] { theCommands->setPaused(false); });
    pauseAll = add(tr("Pause all"), [theCommands] { theCommands->setAllPaused(true); });
    resumeAll = add(tr("Resume all"), [theCommands] { theCommands->setAllPaused(false); });
    addSeparator();
    view->addAction(repair);
    forRows << add(tr("Copy name"), &RowCommands::copyNames);
    view->addAction(shared.remove);
    connect(view, &QueueView::aboutToShowMenu, this, &RowMenu::enable);
    connect(view, &QueueView::menuClosed, this, [this] { // their keys work while no menu is open
        for (QAction *action : std::as_const(forRows))
            action->setEnabled(true);
    });
}

template <class Command> QAction *RowMenu::add(const QString &text, Command command)
{
    auto *action = new QAction(text, view);
    connect(action, &QAction::triggered, commands, command);
    view->addAction(action);
    return action;
}

void RowMenu::addMove(const QString &text, const QKeySequence &key, RowCommands::Move where)
{
    QAction *action = add(text, [this, where] { commands->move(where); });
    action->setShortcut(key);
    action->setShortcutContext(Qt::WidgetShortcut);
    forRows << action;
}

void RowMenu::addSeparator()
{
    auto *separator = new QAction(view);
    separator->setSeparator(true);
    view->addAction(separator);
}

/// No signal tells of each change on which these answers depend, so they are asked for when the
/// menu opens.
void RowMenu::enable()
{
    const RowCommands::Items items = commands->items();
    for (QAction *action : std::as_const(forRows))
        action->setEnabled(!items.isEmpty());
    open->setEnabled(commands->canOpen());
    openFolder->setEnabled(commands->canOpenFolder());
    const bool holdsPar2 = engine->settings()->get(Settings::pausePAR2);
    pause->setEnabled(anyCanBePaused(items, true, holdsPar2));
    resume->setEnabled(anyCanBePaused(items, false, holdsPar2));
    pauseAll->setEnabled(anyCanBePaused(*engine->queue(), true, holdsPar2));
    resumeAll->setEnabled(anyCanBePaused(*engine->queue(), false, holdsPar2));
    const QList<Nzb *> jobs = commands->jobs();
    repair->setEnabled(std::any_of(jobs.cbegin(), jobs.cend(), [this](const Nzb *nzb) {
        return engine->canRepairAndUnpack(nzb);
    }));
}
