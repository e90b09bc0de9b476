// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/nzbmodel.h"

#include <QBrush>

#include "queue/displaytext.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

namespace {

enum Column { FileColumn, SizeColumn, StatusColumn, ColumnCount };

constexpr struct {
    QLatin1StringView picture;
    QLatin1StringView extensions;
} pictures[] = {
    {"compress"_L1, "zip rar"_L1},      {"plugin"_L1, "par par2"_L1},
    {"music"_L1, "flac ogg mp3"_L1},    {"cd_burn"_L1, "cue iso"_L1},
    {"film"_L1, "mpeg mkv mpg avi"_L1}, {"picture"_L1, "png gif jpeg jpg"_L1},
};

QIcon icon(QLatin1StringView picture) { return QIcon(":/icons/"_L1 + picture + ".png"_L1); }

QString formatSize(double bytes)
{
    constexpr const char *units[] = {
        QT_TRANSLATE_NOOP("NzbModel", " B"), QT_TRANSLATE_NOOP("NzbModel", " KB"),
        QT_TRANSLATE_NOOP("NzbModel", " MB"), QT_TRANSLATE_NOOP("NzbModel", " GB"),
        QT_TRANSLATE_NOOP("NzbModel", " TB")};
    const char *const *unit = std::begin(units);
    for (; bytes >= 1024.0 && unit != std::end(units) - 1; ++unit)
        bytes *= 0.0009765625;
    return QString::number(bytes, 'f', 2) + NzbModel::tr(*unit);
}

Nzb *jobAt(const QModelIndex &index) { return qobject_cast<Nzb *>(NzbModel::itemAt(index)); }

NzbFile *fileAt(const QModelIndex &index)
{
    return qobject_cast<NzbFile *>(NzbModel::itemAt(index));
}

/// What an index carries; itemAt() turns it back.
const void *pointer(const INzbItem *item) { return item; }

} // namespace

NzbModel::NzbModel(QObject *parent, Queue *queue)
    : QAbstractTableModel(parent)
    , queue(queue)
    , folderIcon(icon("folder"_L1))
    , defaultIcon(icon("page_white"_L1))
{
    for (const auto &[picture, extensions] : pictures) {
        const QIcon shown = icon(picture);
        const QStringList keys = QString(extensions).split(u' ');
        for (const QString &key : keys)
            icons.insert(key, shown);
    }
    connect(queue, &Queue::beforeAddNZB, this, &NzbModel::onBeforeAddNZB);
    connect(queue, &Queue::NZBadded, this, &NzbModel::onNZBadded);
    connect(queue, &Queue::beforeNzbDelete, this, &NzbModel::onBeforeNzbDelete);
    connect(queue, &Queue::beforeNzbFileDelete, this, &NzbModel::onBeforeNzbFileDelete);
    connect(queue, &Queue::NzbItemDeleted, this, &NzbModel::onNzbItemDeleted);
    connect(queue, &Queue::downloadProgresses, this, &NzbModel::onNzbFileUpdate);
    connect(queue, &Queue::statusChanged, this, &NzbModel::onNzbComplete);
    connect(queue, &Queue::beforeQueueReset, this, [this] { beginResetModel(); });
    connect(queue, &Queue::queueReset, this, [this] { endResetModel(); });
}

INzbItem *NzbModel::itemAt(const QModelIndex &index)
{
    return index.isValid() ? static_cast<INzbItem *>(index.internalPointer()) : nullptr;
}

QModelIndex NzbModel::index(int row, int column, const QModelIndex &parent) const
{
    if (row < 0 || row >= rowCount(parent))
        return {};
    const INzbItem *item = queue->jobs().value(row);
    if (const Nzb *job = jobAt(parent))
        item = job->fileAt(row);
    return createIndex(row, column, pointer(item));
}

QModelIndex NzbModel::parent(const QModelIndex &index) const
{
    const NzbFile *file = fileAt(index);
    return file ? jobIndex(file->job()) : QModelIndex();
}

/// Invalid for a job that is not in the queue.
QModelIndex NzbModel::jobIndex(Nzb *nzb) const
{
    const int row = queue->rowOf(nzb);
    return row < 0 ? QModelIndex() : createIndex(row, 0, pointer(nzb));
}

// The base class, made for flat tables, looks at the top level only, here and in hasChildren().
QModelIndex NzbModel::sibling(int row, int column, const QModelIndex &index) const
{
    return QAbstractItemModel::sibling(row, column, index);
}

int NzbModel::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return static_cast<int>(queue->jobs().size());
    const Nzb *job = parent.column() == FileColumn ? jobAt(parent) : nullptr;
    return job ? job->fileCount() : 0;
}

int NzbModel::columnCount(const QModelIndex & /*parent*/) const { return ColumnCount; }

bool NzbModel::hasChildren(const QModelIndex &parent) const
{
    return QAbstractItemModel::hasChildren(parent);
}

QVariant NzbModel::data(const QModelIndex &index, int role) const
{
    const INzbItem *item = itemAt(index);
    if (!item)
        return {};
    if (role == Qt::DisplayRole)
        return text(item, index.column());
    const auto *file = qobject_cast<const NzbFile *>(item);
    if (role == Qt::DecorationRole && index.column() == FileColumn)
        return file ? iconForExtension(file->extension()) : folderIcon;
    if (role == Qt::ForegroundRole && file && file->isIncomplete())
        return QBrush(QColor(255, 0, 0));
    return {};
}

QVariant NzbModel::text(const INzbItem *item, int column) const
{
    switch (column) {
    case FileColumn:
        return shortened(item->name());
    case SizeColumn:
        return formatSize(static_cast<double>(item->size()));
    case StatusColumn:
        return item->status();
    default:
        return {};
    }
}

QIcon NzbModel::iconForExtension(const QString &extension) const
{
    return icons.value(isOldVolumeExtension(extension) ? u"rar"_s : extension, defaultIcon);
}

QVariant NzbModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal)
        return {};
    switch (section) {
    case FileColumn:
        return tr("File");
    case SizeColumn:
        return tr("Size");
    case StatusColumn:
        return tr("Status");
    default:
        return {};
    }
}

Qt::ItemFlags NzbModel::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags flags = QAbstractItemModel::flags(index) | Qt::ItemIsDropEnabled;
    return index.isValid() ? flags | Qt::ItemIsDragEnabled : flags;
}

void NzbModel::onBeforeAddNZB(const QString & /*name*/)
{
    beginInsertRows(QModelIndex(), rowCount(), rowCount());
}

/// Also when the job could not be made, and no row has come.
void NzbModel::onNZBadded(Nzb * /*nzb*/) { endInsertRows(); }

void NzbModel::onBeforeNzbDelete(Nzb *nzb)
{
    const int row = jobIndex(nzb).row();
    beginRemoveRows(QModelIndex(), row, row);
}

void NzbModel::onBeforeNzbFileDelete(NzbFile *file)
{
    Nzb *job = file->job();
    const int row = job->indexOf(file);
    beginRemoveRows(jobIndex(job), row, row);
}

void NzbModel::onNzbItemDeleted() { endRemoveRows(); }

/// The percentage of the job changes with that of the file, so the signal's indexes do not tell
/// which items have changed. A view has to look at all visible rows.
void NzbModel::onNzbFileUpdate(NzbFile *file)
{
    Nzb *job = file->job();
    const int row = job ? job->indexOf(file) : -1;
    if (row >= 0)
        emit dataChanged(createIndex(row, FileColumn, pointer(job)),
                         createIndex(row, StatusColumn, pointer(job)));
}

void NzbModel::onNzbComplete(Nzb *nzb)
{
    const int row = jobIndex(nzb).row();
    if (row >= 0)
        emit dataChanged(createIndex(row, FileColumn), createIndex(row, StatusColumn));
}
