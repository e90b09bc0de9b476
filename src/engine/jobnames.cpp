// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobnames.h"

#include <QDebug>
#include <QFile>
#include <QMap>

#include <algorithm>

#include "engine/filmname.h"
#include "engine/jobsurvey.h"
#include "engine/postedname.h"
#include "post/rarvolume.h"
#include "post/truenames.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int mostOrders = 2; ///< the second for when the first PAR2 file was damaged or missing

/// The file of the job that is called @p name; null without one.
NzbFile *fileCalled(const Nzb *nzb, const QString &name)
{
    const auto &files = nzb->allFiles();
    const auto found = std::ranges::find(files, name, &NzbFile::name);
    return found == files.cend() ? nullptr : *found;
}

/// Whether a file is a RAR archive, whatever its name is. Comics are such archives, too, but keep
/// their names.
bool hidesArchive(const Nzb *nzb, const QString &name)
{
    QFile file(nzb->folder() + u'/' + name);
    return extensionOf(name) != "cbr"_L1 && isInsideFolder(nzb->folder(), file.fileName())
           && file.open(QIODevice::ReadOnly) && startsRar(file.peek(8));
}

/// Whether each of several volumes has a random name of its own, so that none tells the next one.
bool areScattered(const QStringList &volumes)
{
    QMap<QString, int> series;
    for (const QString &name : volumes) {
        if (isRandomName(name))
            ++series[seriesName(name)];
    }
    return series.size() > 1
           && std::ranges::all_of(series, [](int volumesOfIt) { return volumesOfIt == 1; });
}

} // namespace

JobNames::JobNames(Nzb *nzb, QObject *parent)
    : QObject(parent)
    , nzb(nzb)
{
}

bool JobNames::areObscure() const
{
    QStringList volumes;
    QStringList others;
    const QStringList names = arrivedNames(nzb);
    for (const QString &name : names) {
        if (isRarVolume(name))
            volumes << name;
        else if (!isPar2Extension(extensionOf(name)))
            others << name;
    }
    const auto isObscure = [](const QString &name) {
        return isRandomName(name) || (tellsNothing(name) && !hasWord(name));
    };
    if (areScattered(volumes) || std::ranges::any_of(others, isObscure))
        return true;
    const auto hides = [this](const QString &name) { return hidesArchive(nzb, name); };
    return volumes.isEmpty()
           && (std::ranges::any_of(others, hides)
               || (!others.isEmpty() && std::ranges::all_of(others, tellsNothing)));
}

/// The smallest PAR2 file of each set, which is the index if there is one. Of all PAR2 files whose
/// names do not tell their set, only the smallest.
QList<NzbFile *> JobNames::par2ToOrder() const
{
    QMap<QString, NzbFile *> chosen;
    const auto choose = [&chosen](const QString &set, NzbFile *file) {
        NzbFile *&best = chosen[set];
        if (!best || file->size() < best->size())
            best = file;
    };
    for (NzbFile *file : nzb->allFiles()) {
        if (!file->isHeldBack())
            continue;
        choose(isLoosePar2(nzb, file) ? QString() : par2StemOf(file), file);
    }
    return chosen.values();
}

bool JobNames::orderPar2()
{
    forgiveOrdered();
    if (orders >= mostOrders || !areObscure()
        || !describedNames(nzb->folder(), arrivedNames(nzb)).isEmpty())
        return false;
    const QList<NzbFile *> files = par2ToOrder();
    ++orders;
    for (NzbFile *file : files) {
        qDebug() << "Fetching" << file->name() << "for the names of the other files";
        ordered << file;
        file->setOrdered(true);
        file->setPaused(false);
    }
    if (!files.isEmpty())
        emit par2Ordered();
    return !files.isEmpty();
}

/// The user has not asked for the files that orderPar2() has ordered, so their damage must not make
/// the job count as damaged.
void JobNames::forgiveOrdered()
{
    for (const QPointer<NzbFile> &file : std::as_const(ordered)) {
        if (file && file->isFinished())
            file->markWhole();
    }
}

bool JobNames::hasWork() const
{
    if (!areObscure())
        return false;
    const QStringList names = arrivedNames(nzb);
    return !renamings(names).isEmpty()
           || (describedNames(nzb->folder(), names).isEmpty() && !par2ToOrder().isEmpty());
}

bool JobNames::takeTrueNames(const std::function<bool(const NzbFile *)> &isInUse)
{
    bool any = false;
    for (const Renaming &renaming : renamings(arrivedNames(nzb))) {
        if (!isInUse(fileCalled(nzb, renaming.from)))
            any = rename(renaming) || any;
    }
    return any;
}

void JobNames::takePostedName(NzbFile *file)
{
    const QString name = postedName(file);
    if (!name.isEmpty())
        rename({file->name(), name, u"the post"_s});
}

void JobNames::takeFilmName()
{
    if (const auto renaming = filmName(nzb))
        rename(*renaming);
}

QList<Renaming> JobNames::renamings(const QStringList &arrived) const
{
    QList<Renaming> renamings = trueNames(nzb->folder(), nzb->name(), arrived);
    renamings.removeIf([this](const Renaming &renaming) { return isTaken(renaming.to); });
    return renamings;
}

bool JobNames::isTaken(const QString &name) const
{
    return fileCalled(nzb, name) || nzb->extractedFiles().contains(name);
}

bool JobNames::rename(const Renaming &renaming)
{
    const auto &[from, to, reason] = renaming;
    const QString folder = nzb->folder();
    const QString path = folder + u'/' + from;
    const QString target = folder + u'/' + to;
    if (isTaken(to) || !isInsideFolder(folder, path) || !isInsideFolder(folder, target))
        return false;
    if (QFile::exists(target) && isLeftover(target, path))
        QFile::remove(target);
    if (!QFile::rename(path, target))
        return false;
    qDebug().nospace() << "Renamed " << from << " to " << to << ", a name out of " << reason;
    auto &extracted = nzb->extractedFiles();
    if (const auto it = extracted.constFind(from); it != extracted.cend()) {
        nzb->addExtractedFile(to, it.value());
        extracted.remove(from);
    }
    if (NzbFile *file = fileCalled(nzb, from)) {
        file->setFilename(to);
        emit fileRenamed(file);
    }
    return true;
}
