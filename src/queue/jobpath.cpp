// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/jobpath.h"

#include <QDir>
#include <QFileInfo>

#include <climits>

using namespace Qt::StringLiterals;

namespace {

/// The part of @p path that exists, free of symbolic links. Empty when what follows it could lead
/// elsewhere once it is made: a dangling link, or a ".." behind a folder that is not there yet.
QString canonicalStem(const QString &path)
{
    QFileInfo stem(path);
    while (!stem.exists()) {
        if (stem.isSymLink() || stem.fileName() == ".."_L1) {
            return {};
        }
        stem.setFile(stem.path());
    }
    return stem.canonicalFilePath();
}

/// True when only the last step of @p path is below @p folder, and is no symbolic link: one look at
/// the disk tells that it leads nowhere else. All that a download writes is such a path.
bool isEntryOf(const QString &folder, const QString &path)
{
    if (!path.startsWith(folder) || path.indexOf(u'/', folder.size()) != folder.size())
        return false;
    const QStringView entry = QStringView(path).sliced(folder.size() + 1);
    return !entry.isEmpty() && entry != "."_L1 && entry != ".."_L1 && !entry.contains(u'/')
           && !QFileInfo(path).isSymLink();
}

} // namespace

bool isInsideFolder(const QString &folder, const QString &path)
{
    // The system refuses such paths; a long one would also make the walk to its stem slow.
    if (path.isEmpty() || path.size() >= PATH_MAX || path.contains(QChar::Null))
        return false;
    if (isEntryOf(folder, path))
        return QFileInfo::exists(folder);
    const QString root = QFileInfo(folder).canonicalFilePath();
    if (root.isEmpty())
        return false;
    // Not QFileInfo::absoluteFilePath(), which drops ".." by text alone and so misreads "link/..".
    const QString absolute = path.startsWith(u'/') ? path : QDir::currentPath() + u'/' + path;
    const QString stem = canonicalStem(absolute);
    if (stem == root)
        return !QFileInfo::exists(absolute);
    return stem.startsWith(root.endsWith(u'/') ? root : root + u'/');
}
