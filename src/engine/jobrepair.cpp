// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobrepair.h"

#include <QDebug>
#include <QFileInfo>
#include <QHash>
#include <QMap>
#include <QSet>

#include <algorithm>
#include <optional>
#include <utility>

#include "engine/jobfiles.h"
#include "engine/jobsurvey.h"
#include "post/par2process.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

/// The number of damaged files of each set, by its base name.
QMap<QString, int> damagedSets(const Nzb *nzb)
{
    QMap<QString, int> sets;
    for (const NzbFile *file : nzb->allFiles()) {
        if (file->isIncomplete() && file->isFinished())
            ++sets[file->baseName()];
    }
    return sets;
}

/// The recovery blocks in a volume; nothing if @p file is no volume, or not of the set
/// @p volumeName.
std::optional<int> blocksOf(const Nzb *nzb, const NzbFile *file, const QString &volumeName)
{
    const QString name = file->name();
    const auto blocks =
        file->isPar2() && name.contains(volumeName) ? expectedBlocks(nzb, file) : std::nullopt;
    if (blocks)
        qDebug().nospace() << "PAR2 file: " << name << " has " << *blocks << " repair blocks";
    return blocks;
}

/// One block for each set that has a volume, by its base name.
QMap<QString, int> setsOf(const Nzb *nzb)
{
    QMap<QString, int> sets;
    for (NzbFile *file : nzb->allFiles()) {
        if (blocksOf(nzb, file, QString()))
            sets.insert(file->baseName(), 1);
    }
    return sets;
}

} // namespace

JobRepair::JobRepair(Nzb *nzb, QObject *parent)
    : QObject(parent)
    , nzb(nzb)
{
}

void JobRepair::start(const QStringList &paths)
{
    auto *next = new Par2Process(nzb, paths, this);
    pass = next;
    next->setDataFiles(arrivedNames(nzb));
    connect(next, &Par2Process::needMoreBlocks, this, &JobRepair::par2NeedMoreBlocks);
    connect(next, &Par2Process::nothingToRepair, this, &JobRepair::par2Failed);
    connect(next, &Par2Process::repairComplete, this, &JobRepair::par2RepairComplete);
    connect(next, &Par2Process::passEnded, next, &QObject::deleteLater);
    connect(next, &Par2Process::passEnded, this, [this, next](Nzb *, bool answered) {
        if (pass == next)
            pass = nullptr;
        emit passEnded(answered);
    });
    next->startNextGroup();
}

bool JobRepair::isInOrder() const { return pass && pass->isInOrder(); }

void JobRepair::bookRepair()
{
    pass = nullptr;
    for (NzbFile *file : nzb->allFiles())
        file->markRepaired();
    removeLeftovers(nzb);
}

bool JobRepair::bookProof()
{
    const Par2Process *done = std::exchange(pass, nullptr);
    markWhole(nzb, done->targets());
    removeLeftovers(nzb); // there may be some of an earlier pass
    return done->hasRepaired();
}

void JobRepair::abort() { delete std::exchange(pass, nullptr); }

void JobRepair::requestFirstBlocks(bool anyway)
{
    QMap<QString, int> sets = damagedSets(nzb);
    if (sets.isEmpty() && anyway)
        sets = setsOf(nzb);
    bool enough = true;
    for (auto set = sets.cbegin(); set != sets.cend(); ++set)
        enough = requestBlocks(set.value(), set.key()) && enough;
    if (!enough)
        par2Failed();
}

/// Orders volumes in the order of the job until they hold @p number blocks. Deliberate: does not
/// choose them by size. False if there are too few.
bool JobRepair::requestBlocks(int number, const QString &volumeName)
{
    bool found = false;
    for (int i = 0; i < nzb->fileCount(); ++i) {
        NzbFile *file = nzb->fileAt(i);
        const std::optional<int> blocks = blocksOf(nzb, file, volumeName);
        if (!blocks)
            continue;
        if (!file->isFinished() && *blocks > 0) {
            file->setOrdered(true);
            file->setPaused(false);
            emit volumeOrdered();
            number -= std::min(number, *blocks);
            if (number < 1)
                return true;
        }
        found = true;
    }
    // If no volume has the name of this set, any volume of the job is taken.
    return !found && !volumeName.isEmpty() && requestBlocks(number, QString());
}

void JobRepair::par2NeedMoreBlocks(Nzb * /*nzb*/, int number, const QString &volumename)
{
    takeNames(); // of sets before this one
    emit blocksMissing();
    if (!requestBlocks(number, volumename))
        par2Failed();
}

void JobRepair::par2RepairComplete()
{
    takeNames();
    emit ended(true);
}

void JobRepair::par2Failed()
{
    takeNames();
    emit ended(false);
}

/// The program may have given files their right names back, repaired a file under another name, or
/// made a file that the post lacks. From now on the job uses the new names.
void JobRepair::takeNames()
{
    if (!pass)
        return;
    QHash<QString, NzbFile *> files;
    for (NzbFile *file : nzb->allFiles())
        files.insert(file->name(), file);
    const QStringList names = pass->targets();
    const QSet<QString> targets(names.cbegin(), names.cend());
    for (const QString &name : names) {
        const QString path = nzb->folder() + u'/' + name;
        if (files.contains(name) || name.contains(u'/') || !QFileInfo(path).isFile()
            || !isInsideFolder(nzb->folder(), path))
            continue;
        const QString oldName = pass->foundIn().value(name);
        NzbFile *file = targets.contains(oldName) ? nullptr : files.value(oldName);
        const bool stays = file && !file->isIncomplete() && QFile::exists(file->path());
        if (!file || stays) { // parts of a file may be found in another one that is whole
            nzb->addExtractedFile(name, static_cast<quint64>(QFileInfo(path).size()));
            restored << name;
            continue;
        }
        if (isInsideFolder(nzb->folder(), file->path()))
            QFile::remove(file->path());
        files.remove(oldName);
        file->setFilename(name);
        emit fileRenamed(file);
    }
}
