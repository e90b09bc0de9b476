// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/nzb.h"

#include <QHash>

#include <algorithm>
#include <numeric>
#include <tuple>
#include <vector>

#include "queue/displaytext.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

struct SortKey {
    QString place; ///< its own name, or that of the volume before which it is sorted
    bool own; ///< false for a file that is sorted before a volume
    QString name;
    NzbFile *file;

    bool operator<(const SortKey &other) const
    {
        return std::tie(place, own, name) < std::tie(other.place, other.own, other.name);
    }
};

/// For each seriesName(), the lowest name of an old-style volume.
QHash<QString, QString> lowestVolumes(const QList<NzbFile *> &files)
{
    QHash<QString, QString> lowest;
    for (const NzbFile *file : files) {
        if (isOldVolumeExtension(file->extension())) {
            QString &name = lowest[seriesName(file->name())];
            name = name.isNull() ? file->name() : std::min(name, file->name());
        }
    }
    return lowest;
}

} // namespace

Nzb::Nzb(QObject *parent, const QString &folder, const QString &nzbFile)
    : INzbItem(parent)
    , folder_(folder)
{
    if (!nzbFile.isEmpty())
        readNzb(nzbFile);
}

quint64 Nzb::size() const
{
    return std::accumulate(files.cbegin(), files.cend(), quint64(0),
                           [](quint64 sum, const NzbFile *file) { return sum + file->size(); });
}

QString Nzb::status() const
{
    if (!status_.isEmpty())
        return status_;
    quint64 total = 0;
    quint64 done = 0;
    bool incomplete = false;
    bool heldBack = false;
    for (const NzbFile *file : files) {
        if (file->isPaused()) {
            heldBack = heldBack || !file->isPar2();
            continue;
        }
        total += file->size();
        done += file->completedBytes();
        incomplete = incomplete || file->isIncomplete();
    }
    if (done == total && !heldBack)
        return incomplete ? tr("Finished") + tr(" incomplete") : tr("Finished");
    if (isPaused())
        return tr("Paused");
    return done != 0 ? percentage(done, total) : QString();
}

bool Nzb::isPaused() const
{
    return std::all_of(files.cbegin(), files.cend(),
                       [](const NzbFile *file) { return file->isPaused(); });
}

void Nzb::setPaused(bool paused)
{
    for (NzbFile *file : files)
        file->setPaused(paused);
}

void Nzb::moveFile(int from, int to)
{
    if (from >= 0 && from < files.size() && to >= 0)
        files.move(from, std::min<qsizetype>(to, files.size() - 1));
}

void Nzb::reorderFiles(const QList<int> &order)
{
    const QList<NzbFile *> old = files;
    for (qsizetype row = 0; row < order.size(); ++row)
        files[row] = old.at(order[row]);
}

QString Nzb::folder() const { return folder_ + u'/' + name_; }

void Nzb::removeFile(NzbFile *file)
{
    files.removeOne(file);
    if (!file->hasActiveSegments())
        delete file;
}

bool Nzb::hasActiveSegments() const
{
    const QObjectList &all = children(); // removed files with an active segment are among them
    return std::any_of(all.cbegin(), all.cend(), [](const QObject *child) {
        const auto *file = qobject_cast<const NzbFile *>(child);
        return file && file->hasActiveSegments();
    });
}

bool Nzb::hasIncompleteFiles() const
{
    return std::any_of(files.cbegin(), files.cend(), [](const NzbFile *file) {
        return file->isIncomplete() && !file->isHeldBack();
    });
}

bool Nzb::isComplete() const
{
    return std::all_of(files.cbegin(), files.cend(), [](const NzbFile *file) {
        return file->isFinished() || file->isHeldBack();
    });
}

void Nzb::sortFiles()
{
    // Comparing "rar" with its volumes pair by pair would have no consistent order for hostile
    // names: x.r00 < x.r9z < x.rar < x.r00.
    const QHash<QString, QString> lowest = lowestVolumes(files);
    std::vector<SortKey> keys;
    keys.reserve(static_cast<size_t>(files.size()));
    for (NzbFile *file : std::as_const(files)) {
        const QString name = file->name();
        const QString volume =
            file->extension() == "rar"_L1 ? lowest.value(seriesName(name), name) : name;
        keys.push_back({std::min(name, volume), name <= volume, name, file});
    }
    std::stable_sort(keys.begin(), keys.end());
    std::transform(keys.cbegin(), keys.cend(), files.begin(),
                   [](const SortKey &key) { return key.file; });
}

QString Nzb::cleanName(const QString &name)
{
    return isNzbName(name) ? name.chopped(4).trimmed() : name.trimmed();
}
