// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/filmname.h"

#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>

#include "engine/jobsurvey.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

/// All files of the job on disk, including those that were unpacked from it, by their sizes in
/// bytes.
QMultiMap<qint64, QString> filesBySize(Nzb *nzb)
{
    QStringList names = nzb->extractedFiles().keys();
    for (const NzbFile *file : nzb->allFiles())
        names << file->name();
    names.removeDuplicates();
    QMultiMap<qint64, QString> files;
    for (const QString &name : std::as_const(names)) {
        const QFileInfo file(nzb->folder() + u'/' + name);
        if (file.isFile() && isInsideFolder(nzb->folder(), file.filePath()))
            files.insert(file.size(), name);
    }
    return files;
}

bool isOnDisc(const QString &path)
{
    static const QRegularExpression pattern(u"(^|/)(VIDEO_TS|AUDIO_TS|BDMV|CERTIFICATE)/"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern.match(path).hasMatch();
}

bool isPacked(const QString &name)
{
    const QString extension = extensionOf(name);
    return isRarVolume(name) || isPar2Extension(extension) || isPieceExtension(extension)
           || isZipOr7z(name);
}

} // namespace

std::optional<Renaming> filmName(Nzb *nzb)
{
    const QMultiMap<qint64, QString> files = filesBySize(nzb);
    if (files.isEmpty())
        return {};
    const QString &film = files.last();
    const QString bare = film.sliced(film.lastIndexOf(u'/') + 1);
    const qint64 next = files.size() == 1 ? 0 : std::prev(files.cend(), 2).key();
    if (files.lastKey() <= 3 * next || !isRandomName(bare) || isRandomName(nzb->name())
        || isPacked(bare) || isOnDisc(film)
        || describedNames(nzb->folder(), arrivedNames(nzb)).contains(bare))
        return {};
    const qsizetype dot = bare.lastIndexOf(u'.');
    const QString extension = dot > 0 ? bare.sliced(dot) : QString();
    const QString name = film.chopped(bare.size()) + stemOfJob(nzb->name()) + extension;
    return Renaming{film, name, u"the job"_s};
}
