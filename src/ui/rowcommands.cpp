// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/rowcommands.h"

#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QItemSelection>
#include <QMap>
#include <QTreeView>

#include <algorithm>
#include <numeric>
#include <utility>

#include "desktop/filemanager.h"
#include "engine/jobsurvey.h"
#include "engine/marlowick.h"
#include "queue/displaytext.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/nzbmodel.h"
#include "queue/queue.h"

namespace {

/// The most windows of other programs that one command opens.
constexpr int mostWindows = 10;
/// The longest time without events while rows are removed, beside that of a single row.
constexpr int mostBlockedMsec = 30;

NzbFile *asFile(INzbItem *item) { return qobject_cast<NzbFile *>(item); }

Nzb *asJob(INzbItem *item) { return qobject_cast<Nzb *>(item); }

/// The row that has come to the place of a removed one.
QModelIndex successor(const NzbModel *model, const QModelIndex &level, int row)
{
    const int last = model->rowCount(level) - 1;
    return last < 0 ? level : model->index(std::min(row, last), 0, level);
}

bool canBeOpened(INzbItem *item)
{
    const NzbFile *file = asFile(item);
    return file && file->isFinished();
}

} // namespace

RowCommands::RowCommands(QTreeView *theView, NzbModel *theModel, Marlowick *theEngine)
    : QObject(theView)
    , view(theView)
    , model(theModel)
    , engine(theEngine)
    , fileManager(new FileManager(this))
{
    connect(fileManager, &FileManager::failed, this, [this](const QString &path) {
        emit failed(
            tr("Open"),
            tr("There is no program to open %1").arg(QDir::toNativeSeparators(shortened(path))));
    });
}

/// Goes through the ranges of the selection, because to ask the index of each file for its parent
/// takes time that grows with the queue.
QModelIndexList RowCommands::rows() const
{
    const QItemSelection selection = view->selectionModel()->selection();
    if (selection.isEmpty())
        return view->currentIndex().isValid()
                   ? QModelIndexList{view->currentIndex().siblingAtColumn(0)}
                   : QModelIndexList();
    QMap<std::pair<int, int>, QItemSelectionRange> ranges; // by job and file; -1 is the job itself
    for (const QItemSelectionRange &range : selection) {
        const QModelIndex job = range.parent();
        for (int row = range.top(); !job.isValid() && row <= range.bottom(); ++row) {
            const QModelIndex cell = model->index(row, 0);
            ranges.insert({row, -1}, {cell, cell});
        }
        if (job.isValid())
            ranges.insert({job.row(), range.top()}, range);
    }
    QModelIndexList rows;
    for (const QItemSelectionRange &range : std::as_const(ranges)) {
        const QModelIndex job = range.parent();
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows << model->index(row, 0, job);
    }
    return rows;
}

RowCommands::Items RowCommands::items() const
{
    Items items;
    const Nzb *job = nullptr;
    const QModelIndexList all = rows();
    for (const QModelIndex &row : all) {
        INzbItem *item = NzbModel::itemAt(row);
        if (Nzb *nzb = asJob(item))
            job = nzb;
        else if (item->parent() == job)
            continue;
        items << item;
    }
    return items;
}

Nzb *RowCommands::jobOf(INzbItem *item)
{
    const NzbFile *file = asFile(item);
    return file ? file->job() : asJob(item);
}

QList<Nzb *> RowCommands::jobs() const
{
    QList<Nzb *> jobs;
    const Items all = items();
    for (INzbItem *item : all) {
        if (jobs.isEmpty() || jobs.constLast() != jobOf(item))
            jobs << jobOf(item);
    }
    return jobs;
}

int RowCommands::remove(const Items &items, bool files)
{
    int removed = 0;
    const QModelIndex first = rows().value(0);
    const QPersistentModelIndex job = first.parent();
    const int row = first.row();
    const int jobRow = job.isValid() ? job.row() : row;
    // Otherwise the view would look for the next row at each removal, and lay out all rows for
    // that.
    view->selectionModel()->clear();
    QElapsedTimer blocked;
    blocked.start();
    for (const QPointer<INzbItem> &item : items) {
        NzbFile *file = asFile(item);
        // The removal of a file may have completed its job, which may then be cleared.
        if (!item
            || !(file ? engine->jobs()->contains(file) : engine->jobs()->contains(asJob(item))))
            continue;
        if (files)
            engine->deleteFiles(item);
        engine->deleteItem(item);
        ++removed;
        // The disk may be slow. Downloads go on, and commands wait until all is done.
        if (blocked.hasExpired(mostBlockedMsec)) {
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
            blocked.start();
        }
    }
    if (!view->selectionModel()->hasSelection())
        view->setCurrentIndex(successor(model, job, job.isValid() ? row : jobRow));
    return removed;
}

void RowCommands::setPaused(bool paused)
{
    const Items all = items();
    if (all.isEmpty())
        return;
    for (INzbItem *item : all) {
        if (NzbFile *file = asFile(item))
            setPaused(file, paused);
        else
            setPaused(asJob(item), paused);
    }
    emit pauseChanged(paused);
    if (!paused)
        engine->startToDownloadQueue();
}

void RowCommands::setPaused(NzbFile *file, bool paused)
{
    file->setPaused(paused);
    file->setOrdered(!paused && file->isPar2());
    model->onNzbFileUpdate(file);
}

void RowCommands::setPaused(Nzb *nzb, bool paused)
{
    if (paused || !engine->settings()->get(Settings::pausePAR2)) {
        nzb->setPaused(paused);
        return;
    }
    for (NzbFile *file : nzb->allFiles()) {
        if (file->goesOnWithJob()) {
            file->setPaused(false);
            model->onNzbFileUpdate(file);
        }
    }
}

void RowCommands::setAllPaused(bool paused)
{
    for (Nzb *nzb : *engine->queue()) {
        if (!paused || !nzb->isComplete())
            setPaused(nzb, paused);
    }
    emit pauseChanged(paused);
    if (!paused)
        engine->startToDownloadQueue();
}

void RowCommands::repairAndUnpack()
{
    const QList<Nzb *> all = jobs();
    for (Nzb *nzb : all) {
        if (engine->jobs()->contains(nzb))
            engine->repairAndUnpack(nzb);
    }
}

void RowCommands::move(Move where)
{
    QMap<int, QList<int>> levels; // by the row of the job; -1 for the jobs
    const QModelIndexList all = rows();
    for (const QModelIndex &row : all)
        levels[row.parent().row()] << row.row();
    // From the last level to the first: the jobs, and with them the numbers here, move at the end.
    while (!levels.isEmpty()) {
        const int job = levels.lastKey();
        moveWithin(model->index(job, 0), levels.take(job), where);
    }
    view->scrollTo(view->currentIndex());
}

/// Begins with the row that is nearest to the destination, so that no move changes the number of a
/// row that is still to be moved.
void RowCommands::moveWithin(const QModelIndex &level, QList<int> from, Move where)
{
    const bool upwards = where == ToTop || where == Up;
    const bool byOne = where == Up || where == Down;
    if (!upwards)
        std::reverse(from.begin(), from.end());
    QList<int> order(model->rowCount(level));
    std::iota(order.begin(), order.end(), 0);
    int end = upwards ? 0 : model->rowCount(level) - 1;
    const int step = upwards ? 1 : -1;
    for (const int row : std::as_const(from)) {
        const int to = byOne && row != end ? row - step : end;
        order.move(row, to);
        end = to + step;
    }
    if (!std::is_sorted(order.cbegin(), order.cend()))
        model->reorder(level, order);
}

bool RowCommands::allPaused() const
{
    const QModelIndexList all = rows();
    return !all.isEmpty() && std::all_of(all.cbegin(), all.cend(), [](const QModelIndex &row) {
        return NzbModel::itemAt(row)->isPaused();
    });
}

bool RowCommands::canOpen() const
{
    const Items all = items();
    return !all.isEmpty() && all.size() <= mostWindows
           && std::all_of(all.cbegin(), all.cend(), canBeOpened);
}

bool RowCommands::canOpenFolder() const
{
    const qsizetype count = jobs().size();
    return count > 0 && count <= mostWindows;
}

void RowCommands::open()
{
    if (!canOpen())
        return;
    const QModelIndexList all = rows();
    for (const QModelIndex &row : all)
        openFile(row);
}

void RowCommands::openFile(const QModelIndex &row)
{
    INzbItem *item = NzbModel::itemAt(row);
    if (!canBeOpened(item))
        return;
    const NzbFile *file = asFile(item);
    if (isOnDisk(file))
        fileManager->open(file->path());
    else // as after an extraction
        emit failed(tr("Open"), tr("%1 is no longer on the disk").arg(shortened(item->name())));
}

void RowCommands::openFolder()
{
    if (!canOpenFolder())
        return;
    QMap<Nzb *, QStringList> shown;
    const Items all = items();
    for (INzbItem *item : all) {
        QStringList &files = shown[jobOf(item)];
        if (const NzbFile *file = asFile(item); file && isOnDisk(file))
            files << file->path();
    }
    for (auto job = shown.cbegin(); job != shown.cend(); ++job) {
        if (QFile::exists(job.key()->folder()))
            fileManager->showFiles(job.key()->folder(), job.value());
        else
            emit failed(tr("Open folder"),
                        tr("%1 is no longer on the disk").arg(shortened(job.key()->name())));
    }
}

void RowCommands::copyNames()
{
    QStringList names;
    const QModelIndexList all = rows();
    for (const QModelIndex &row : all)
        names << NzbModel::itemAt(row)->name();
    QGuiApplication::clipboard()->setText(names.join(u'\n'));
}
