// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/truenames.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QMultiHash>
#include <QSet>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "post/par2packets.h"
#include "post/rarvolume.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"

using namespace Qt::StringLiterals;

namespace {

/// What identifies a file before all of it is read: its length and the hash of its start.
using Mark = std::pair<quint64, QByteArray>;

constexpr qint64 startSize = 16 * 1024;

struct Par2Set {
    QMap<QString, Par2Packets> members; ///< PAR2 files of the set, by name
    QMap<QString, Mark> files; ///< that it protects, by name
};

/// Volumes by the numbers in their headers; of several with the same number only one.
QMap<int, QString> byNumber(const QMap<QString, RarVolume> &archives)
{
    QMap<int, QString> volumes;
    for (auto it = archives.cbegin(); it != archives.cend(); ++it) {
        if (it->number)
            volumes.insert(*it->number, it.key());
    }
    return volumes;
}

/// Volumes numbered in the order of @p names.
QMap<int, QString> inTurn(const QStringList &names)
{
    QMap<int, QString> volumes;
    for (const QString &name : names)
        volumes.insert(static_cast<int>(volumes.size()), name);
    return volumes;
}

/// ".rar", ".r00" to ".r99", ".s00" and so on.
QString oldVolumeTail(int number)
{
    return number == 0 ? u".rar"_s
                       : QString::asprintf(".%c%02d", 'r' + (number - 1) / 100, (number - 1) % 100);
}

/// One search for better names in the folder of one job; used once.
class Search {
public:
    Search(QString in, const QString &jobName, const QStringList &arrived)
        : folder(std::move(in))
        , job(stemOfJob(jobName))
        , names(arrived)
        , taken(arrived.cbegin(), arrived.cend())
    {
    }

    QList<Renaming> run()
    {
        readPar2Files();
        int number = 0;
        for (const Par2Set &set : std::as_const(sets))
            namePar2Files(set, ++number);
        nameDescribedFiles();
        nameRarVolumes();
        return result;
    }

    QSet<QString> describedNames()
    {
        readPar2Files();
        QSet<QString> described;
        for (const Par2Set &set : std::as_const(sets)) {
            const QStringList files = set.files.keys();
            described.unite({files.cbegin(), files.cend()});
        }
        return described;
    }

private:
    [[nodiscard]] QString pathOf(const QString &name) const { return folder + u'/' + name; }

    /// Opens @p file for reading; false for what is no ordinary file inside the folder.
    [[nodiscard]] bool open(QFile &file) const
    {
        return QFileInfo(file).isFile() && isInsideFolder(folder, file.fileName())
               && file.open(QIODevice::ReadOnly);
    }

    void readPar2Files()
    {
        for (const QString &name : names) {
            const bool byName = isPar2Extension(extensionOf(name));
            QFile file(pathOf(name));
            if ((!byName && !tellsNothing(name)) || !open(file) || !startsPar2(file.peek(8)))
                continue;
            const Par2Packets packets = readPar2Packets(file);
            Par2Set &set = sets[packets.setId];
            set.members.insert(name, packets);
            for (const Par2Packets::File &described : packets.files)
                set.files.insert(described.name, {described.size, described.md5Start});
        }
    }

    /// What the names of all PAR2 files of the set begin with. par2 is run once for each beginning,
    /// so it must be the same for all.
    [[nodiscard]] QString stemOf(const Par2Set &set, int number) const
    {
        QMap<QString, int> stems;
        for (auto it = set.members.cbegin(); it != set.members.cend(); ++it) {
            if (isPar2Extension(extensionOf(it.key())) && isPar2VolumeName(it.key()))
                ++stems[par2Stem(it.key())];
        }
        if (!stems.isEmpty())
            return std::max_element(stems.cbegin(), stems.cend()).key();
        for (auto it = set.members.cbegin(); it != set.members.cend(); ++it) {
            if (isPar2Extension(extensionOf(it.key())) && !isRandomName(it.key()))
                return it.key().chopped(5); // ".par2"
        }
        const QString name = QString(job).replace(".vol"_L1, "-vol"_L1); // the mark of volumes
        return number == 1 ? name : name + u'-' + QString::number(number);
    }

    void namePar2Files(const Par2Set &set, int number)
    {
        const QString stem = stemOf(set, number);
        for (auto it = set.members.cbegin(); it != set.members.cend(); ++it) {
            const Par2Packets &packets = it.value();
            const bool byName = isPar2Extension(extensionOf(it.key()));
            if (byName && (packets.recoveryBlocks == 0 || par2Stem(it.key()) == stem))
                continue;
            const QString tail = packets.recoveryBlocks == 0
                                     ? u".par2"_s
                                     : QString::asprintf(".vol%03u+%02d.par2", packets.firstBlock,
                                                         packets.recoveryBlocks);
            rename(it.key(), stem + tail, u"its packets"_s);
        }
    }

    /// Gives files the names that the sets have for them, where it is certain which is which.
    void nameDescribedFiles()
    {
        QMap<Mark, QStringList> missing; // names, by what is to be found under them
        QSet<quint64> sizes;
        QSet<QString> described;
        for (const Par2Set &set : std::as_const(sets)) {
            for (auto it = set.files.cbegin(); it != set.files.cend(); ++it) {
                described << it.key();
                if (isFree(it.key())) {
                    missing[it.value()] << it.key();
                    sizes << it->first;
                }
            }
        }
        QMap<Mark, QStringList> found;
        for (const QString &name : std::as_const(names)) {
            if (!described.contains(name)
                && sizes.contains(quint64(QFileInfo(pathOf(name)).size())))
                found[markOf(name)] << name;
        }
        for (auto it = missing.cbegin(); it != missing.cend(); ++it) {
            const QStringList files = found.value(it.key());
            if (it->size() == 1 && files.size() == 1)
                rename(files.constFirst(), it->constFirst(), u"the PAR2 set"_s);
        }
    }

    [[nodiscard]] Mark markOf(const QString &name) const
    {
        QFile file(pathOf(name));
        if (!open(file))
            return {};
        const QByteArray start = file.read(startSize);
        return {quint64(file.size()), QCryptographicHash::hash(start, QCryptographicHash::Md5)};
    }

    void nameRarVolumes()
    {
        QMap<QString, RarVolume> archives;
        QStringList inOrder;
        for (const QString &name : std::as_const(names)) {
            QFile file(pathOf(name));
            if (!tellsNothing(name) || renamed.contains(name) || !open(file))
                continue;
            if (const auto volume = readRarVolume(file)) {
                archives.insert(name, *volume);
                inOrder << name;
            }
        }
        if (inOrder.isEmpty() || hasRarVolumes())
            return;
        if (inOrder.size() == 1 && !archives.first().isVolume)
            return rename(inOrder.constFirst(), job + u".rar"_s, u"its RAR header"_s);
        const bool oldNames = archives.first().oldNames;
        const QMap<int, QString> volumes = byNumber(archives);
        if (volumes.size() == archives.size())
            return nameVolumes(volumes, oldNames, u"its RAR header"_s);
        const bool unknown =
            std::all_of(archives.cbegin(), archives.cend(), [](const auto &volume) {
                return volume.encryptedHeaders || volume.number.value_or(0) == 0;
            });
        if (unknown && volumes.size() <= 1) // otherwise there is more than one archive
            nameVolumes(inTurn(inOrder), oldNames, u"the order of the NZB"_s);
    }

    /// @param volumes  by their numbers, from 0 on
    /// @param oldNames  see RarVolume
    void nameVolumes(const QMap<int, QString> &volumes, bool oldNames, const QString &reason)
    {
        constexpr int lastOldName = 900; // ".z99"
        if (oldNames && volumes.lastKey() > lastOldName)
            return;
        const int width = std::max(2, int(QString::number(volumes.lastKey() + 1).size()));
        for (auto it = volumes.cbegin(); it != volumes.cend(); ++it) {
            const QString tail = oldNames ? oldVolumeTail(it.key())
                                          : QString::asprintf(".part%0*d.rar", width, it.key() + 1);
            rename(it.value(), job + tail, reason);
        }
    }

    /// Whether an archive of the job bears its right name, so that others may belong to it.
    [[nodiscard]] bool hasRarVolumes() const
    {
        return std::any_of(names.cbegin(), names.cend(),
                           [](const QString &name) { return isRarVolume(name); })
               || std::any_of(renamed.cbegin(), renamed.cend(),
                              [](const QString &name) { return isRarVolume(name); });
    }

    [[nodiscard]] bool isFree(const QString &name) const
    {
        return isPlainName(name) && !taken.contains(name) && isInsideFolder(folder, pathOf(name));
    }

    void rename(const QString &from, const QString &to, const QString &reason)
    {
        if (renamed.contains(from) || !isFree(to)
            || (QFileInfo::exists(pathOf(to)) && !isLeftover(pathOf(to), pathOf(from))))
            return;
        renamed.insert(from, to);
        taken << to;
        result << Renaming{from, to, reason};
    }

    QString folder;
    QString job;
    QStringList names;
    QSet<QString> taken; ///< old names and new ones of files
    QMap<QByteArray, Par2Set> sets; ///< by their ids
    QMap<QString, QString> renamed; ///< new names by old ones
    QList<Renaming> result;
};

} // namespace

bool isLeftover(const QString &old, const QString &path)
{
    std::error_code error;
    if (std::filesystem::equivalent(QFile::encodeName(old).constData(),
                                    QFile::encodeName(path).constData(), error))
        return false; // one file under two names, as where case does not count
    QFile one(old);
    QFile other(path);
    return one.open(QIODevice::ReadOnly) && other.open(QIODevice::ReadOnly)
           && one.size() == other.size() && one.read(startSize) == other.read(startSize);
}

QList<Renaming> trueNames(const QString &folder, const QString &job, const QStringList &names)
{
    return Search(folder, job, names).run();
}

QSet<QString> describedNames(const QString &folder, const QStringList &names)
{
    return Search(folder, {}, names).describedNames();
}
