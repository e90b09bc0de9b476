// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Moving rows, by drag and drop and otherwise, and .nzb files dropped on the queue.
#include <QDataStream>
#include <QIODevice>
#include <QMimeData>
#include <QUrl>

#include <algorithm>

#include "queue/filenames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/nzbmodel.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

namespace {

/// For each dragged row two qint32: the row of its parent, -1 for a job, and its own row.
constexpr QLatin1StringView rowIdsFormat = "application/nzbmodel.rowids"_L1;

} // namespace

QStringList NzbModel::mimeTypes() const { return {rowIdsFormat, u"text/uri-list"_s}; }

QMimeData *NzbModel::mimeData(const QModelIndexList &indexes) const
{
    QByteArray rowIds;
    QDataStream stream(&rowIds, QIODevice::WriteOnly);
    for (const QModelIndex &index : indexes) {
        if (index.isValid() && index.column() == 0) // a selected row comes once for each column
            stream << qint32(index.parent().row()) << qint32(index.row());
    }
    auto *data = new QMimeData;
    data->setData(rowIdsFormat, rowIds);
    return data;
}

bool NzbModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int /*column*/,
                            const QModelIndex &parent)
{
    if (action == Qt::IgnoreAction)
        return true;
    if (data->hasUrls()) {
        takeNzbFiles(data);
        return true;
    }
    if (!data->hasFormat(rowIdsFormat))
        return false;
    const QByteArray rowIds = data->data(rowIdsFormat);
    if (row != -1)
        return moveDragged(rowIds, parent.siblingAtColumn(0), row);
    if (parent.isValid()) // dropped onto an item, whose place is taken
        return moveDragged(rowIds, parent.parent(), parent.row());
    return moveDragged(rowIds, QModelIndex(), rowCount());
}

void NzbModel::takeNzbFiles(const QMimeData *data)
{
    const QList<QUrl> urls = data->urls();
    for (const QUrl &url : urls) {
        const QString path = url.toLocalFile();
        if (isNzbName(path))
            emit nzbFileDropped(path);
    }
}

/// Deliberate: row numbers are those at the start of the drag, not adjusted to earlier moves.
bool NzbModel::moveDragged(const QByteArray &rowIds, const QModelIndex &level, int to)
{
    const int rows = rowCount(level);
    to = std::min(to, rows);
    if (to < 0)
        return false;
    QDataStream stream(rowIds);
    for (int pairs = 1; !stream.atEnd(); ++pairs) {
        qint32 parentRow = 0;
        qint32 from = 0;
        stream >> parentRow >> from;
        // Another program may have made the data: cut short, endless, or with rows that are
        // missing.
        if (stream.status() != QDataStream::Ok || pairs > rows || parentRow != level.row()
            || from < 0 || from >= rows)
            return false;
        if (from == to || from + 1 == to)
            continue;
        // Moving down, the final row is one after the gap in which the row was dropped.
        moveItem(level, from, std::min(to, rows - 1));
        ++to;
    }
    return true;
}

/// Qt is told the row where the item really lands, so that selection and expansion follow it.
void NzbModel::moveItem(const QModelIndex &level, int from, int to)
{
    if (!beginMoveRows(level, from, from, level, to > from ? to + 1 : to))
        return; // the row is there already
    if (auto *job = qobject_cast<Nzb *>(itemAt(level)))
        job->moveFile(from, to);
    else
        queue->move(from, to);
    endMoveRows();
}

void NzbModel::reorder(const QModelIndex &level, const QList<int> &order)
{
    auto *job = qobject_cast<Nzb *>(itemAt(level));
    emit layoutAboutToBeChanged({level}, VerticalSortHint);
    if (job)
        job->reorderFiles(order);
    else
        queue->reorder(order);
    QList<int> rows(order.size()); // the new row for each present one
    for (int row = 0; row < order.size(); ++row)
        rows[order[row]] = row;
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &index : before) {
        INzbItem *item = itemAt(index);
        const auto *file = qobject_cast<NzbFile *>(item);
        const bool moves = job ? file && file->job() == job : !file;
        after << (moves ? createIndex(rows[index.row()], index.column(), index.internalPointer())
                        : index);
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({level}, VerticalSortHint);
}
