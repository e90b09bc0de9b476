// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobfolder.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

#include <stdexcept>

#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

/// @p name, or @p name with the first number from 2 on that is not in use in @p folder. Deliberate:
/// 1000 is taken in any case.
QString unusedName(const QString &folder, const QString &name)
{
    QString candidate = name;
    for (int number = 2; number <= 1000 && QFileInfo::exists(folder + u'/' + candidate); ++number)
        candidate = name + QString::number(number);
    return candidate;
}

void makePath(const QString &folder)
{
    if (!QDir().mkpath(folder))
        throw std::runtime_error("Error creating folder for download");
}

} // namespace

QString folderName(const QString &name)
{
    QString result = name;
    result.replace(u'/', u'_');
    return result.isEmpty() || result == "."_L1 || result == ".."_L1 ? u'_' + result : result;
}

void makeFolder(Nzb *nzb)
{
    // The download folder comes first, so that names such as ".." exist in it and count as taken.
    makePath(nzb->downloadFolder());
    nzb->setName(unusedName(nzb->downloadFolder(), nzb->name()));
    makePath(nzb->folder());
    qDebug().nospace() << "Created folder: " << nzb->folder();
}

bool makeFolderAnew(Nzb *nzb)
{
    if (QFileInfo::exists(nzb->folder()) || !QFileInfo::exists(nzb->downloadFolder())
        || !QDir().mkdir(nzb->folder()))
        return false;
    qDebug().nospace() << "Created folder: " << nzb->folder();
    for (NzbFile *file : nzb->allFiles())
        file->markLost();
    return true;
}
