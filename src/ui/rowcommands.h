// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QModelIndex>
#include <QObject>
#include <QPointer>

#include "queue/inzbitem.h"

class FileManager;
class Marlowick;
class Nzb;
class NzbFile;
class NzbModel;
class QTreeView;

/// What the user can do with rows of the queue. "The rows" are those that are selected or, while
/// none is, the current one. Without a row, nothing happens. Lives on the GUI thread.
class RowCommands final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RowCommands)

public:
    /// @param view  shows @p model, and becomes the parent
    /// @param model,engine  must outlive the object
    RowCommands(QTreeView *view, NzbModel *model, Marlowick *engine);

    /// An item may have been deleted, or removed from the queue without being deleted yet, before
    /// its turn comes.
    using Items = QList<QPointer<INzbItem>>;

    /// The first cell of each row, in the order of the queue.
    [[nodiscard]] QModelIndexList rows() const;
    /// What the rows show, in the same order. A file is left out if its job is selected, too.
    [[nodiscard]] Items items() const;
    /// The jobs to which the rows belong, each once.
    [[nodiscard]] QList<Nzb *> jobs() const;
    /// The job of @p item, which may be the job itself or one of its files.
    [[nodiscard]] static Nzb *jobOf(INzbItem *item);
    /// Whether each row is paused; false without a row.
    [[nodiscard]] bool allPaused() const;
    /// True if all rows are finished files, and few enough to open a window for each.
    [[nodiscard]] bool canOpen() const;
    /// True if the rows belong to few enough jobs.
    [[nodiscard]] bool canOpenFolder() const;

    /// Takes @p items out of the queue and, if @p files is true, their files off the disk. Returns
    /// how many of them were still in the queue.
    int remove(const Items &items, bool files);

    enum Move { ToTop, Up, Down, ToBottom };

public slots:
    /// When a job goes on, PAR2 volumes stay held back unless they have been asked for.
    void setPaused(bool paused);
    /// Jobs that are complete are not paused, and go on showing how they ended.
    void setAllPaused(bool paused);
    void repairAndUnpack();
    /// Moves each row within its level. Several rows keep their order.
    void move(RowCommands::Move where);
    void open();
    /// Opens the file of @p row if it is finished; otherwise nothing happens.
    void openFile(const QModelIndex &row);
    void openFolder();
    void copyNames();

signals:
    /// Rows have been paused or resumed.
    void pauseChanged(bool paused);
    /// For a message box.
    void failed(QString title, QString text);

private:
    void setPaused(Nzb *nzb, bool paused);
    void setPaused(NzbFile *file, bool paused);
    void moveWithin(const QModelIndex &level, QList<int> from, Move where);

    QTreeView *view;
    NzbModel *model;
    Marlowick *engine;
    FileManager *fileManager;
};
