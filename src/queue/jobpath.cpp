// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/jobpath.h"

#include <QDir>
#include <QFileInfo>

#include <climits>

using namespace Qt::StringLiterals;

namespace {

/// The part of @p path that exists, with symbolic links resolved. Empty if the rest could lead
/// elsewhere once it is made: a dangling link, or ".." after a folder that does not exist yet.
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

/// True when @p path is a direct entry of @p folder and no symbolic link. One look at the disk is
/// enough for that, and all files of a download are such entries.
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
