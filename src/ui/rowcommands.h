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

/// What the user can do with rows of the queue: with those that are selected or, while none is,
/// with the current one. Without a row, nothing happens.
class RowCommands final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RowCommands)

public:
    /// @param view  shows @p model; it becomes the parent
    RowCommands(QTreeView *view, NzbModel *model, Marlowick *engine);

    /// An item may be gone when its turn comes; a removed one may even be there still.
    using Items = QList<QPointer<INzbItem>>;

    /// Their first cells, in the order of the queue.
    [[nodiscard]] QModelIndexList rows() const;
    /// The same order. A file is left out if its job is selected, too.
    [[nodiscard]] Items items() const;
    /// The jobs to which the rows belong, each once.
    [[nodiscard]] QList<Nzb *> jobs() const;
    /// The job of a row, which may be one of its files.
    [[nodiscard]] static Nzb *jobOf(INzbItem *item);
    /// False without a row.
    [[nodiscard]] bool allPaused() const;
    /// True for files that can be opened, if there are few enough of them.
    [[nodiscard]] bool canOpen() const;
    [[nodiscard]] bool canOpenFolder() const;

    /// Takes them out of the queue, and their files off the disk if @p files is true. Returns the
    /// number of rows that have been there.
    int remove(const Items &items, bool files);

    enum Move { ToTop, Up, Down, ToBottom };

public slots:
    /// When a job goes on, PAR2 volumes stay held back unless they have been asked for.
    void setPaused(bool paused);
    void setAllPaused(bool paused);
    void repairAndUnpack();
    /// Each row moves within its level. Several keep their order.
    void move(RowCommands::Move where);
    void open();
    /// Opens a finished file; any other row is left to the view.
    void openFile(const QModelIndex &row);
    void openFolder();
    void copyNames();

signals:
    /// Pausing or resuming has been done.
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
