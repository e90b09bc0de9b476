// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractTableModel>
#include <QIcon>
#include <QList>
#include <QMap>

class INzbItem;
class Nzb;
class NzbFile;
class Queue;

/// The queue as a tree of two levels, jobs and their files, in three columns.
///
/// Holds no copy of anything: each answer is read from the items when it is asked for, and the
/// queue's signals before and after each change become Qt's notifications. Dragged rows change the
/// order of the queue, and with it that of the download.
///
/// An index carries its INzbItem as internal pointer. On dataChanged a view has to repaint all that
/// it shows, since the signal's indexes do not tell which items have changed. Lives on the GUI
/// thread.
class NzbModel : public QAbstractTableModel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NzbModel)

public:
    /// @param queue  must outlive the model
    NzbModel(QObject *parent, Queue *queue);

    /// The job or file of a row; null for an invalid index.
    [[nodiscard]] static INzbItem *itemAt(const QModelIndex &index);

    [[nodiscard]] QModelIndex index(int row, int column,
                                    const QModelIndex &parent = QModelIndex()) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex &index) const override;
    using QObject::parent;
    [[nodiscard]] QModelIndex sibling(int row, int column, const QModelIndex &index) const override;
    [[nodiscard]] int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    [[nodiscard]] bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index,
                                int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role = Qt::DisplayRole) const override;
    [[nodiscard]] QStringList mimeTypes() const override;
    [[nodiscard]] QMimeData *mimeData(const QModelIndexList &indexes) const override;
    /// Emits nzbFileDropped() for each .nzb file among dropped URLs, or else moves dragged rows.
    /// False when rows are to leave their level or their job, or do not exist; those ahead of them
    /// stay moved.
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
    /// Moves any number of rows at once, which costs a view as much as to move one.
    /// @param level  a job, whose files move, or invalid for the jobs
    /// @param order  the present row for each new one, for all rows of the level
    void reorder(const QModelIndex &level, const QList<int> &order);

signals:
    /// The file may be of any kind, and need not exist.
    void nzbFileDropped(QString path);

public slots:
    void onBeforeAddNZB(const QString &name);
    void onNZBadded(Nzb *nzb);
    void onBeforeNzbDelete(Nzb *nzb);
    void onBeforeNzbFileDelete(NzbFile *file);
    void onNzbItemDeleted();
    void onNzbFileUpdate(NzbFile *file);
    void onNzbComplete(Nzb *nzb);

private:
    [[nodiscard]] QModelIndex jobIndex(Nzb *nzb) const;
    [[nodiscard]] QVariant text(const INzbItem *item, int column) const;
    [[nodiscard]] QIcon iconForExtension(const QString &extension) const;

    void takeNzbFiles(const QMimeData *data);
    void moveItem(const QModelIndex &level, int from, int to);
    [[nodiscard]] bool moveDragged(const QByteArray &rowIds, const QModelIndex &level, int to);

    Queue *queue;
    QMap<QString, QIcon> icons;
    QIcon folderIcon;
    QIcon defaultIcon;
};
