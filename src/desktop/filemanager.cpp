// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "desktop/filemanager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QUrl>

using namespace Qt::StringLiterals;

void FileManager::open(const QString &path)
{
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        emit failed(path);
}

void FileManager::showFiles(const QString &folder, const QStringList &files)
{
    if (files.isEmpty())
        return open(folder);
    QDBusMessage call = QDBusMessage::createMethodCall(
        u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
        u"org.freedesktop.FileManager1"_s, u"ShowItems"_s);
    QStringList urls;
    for (const QString &file : files)
        urls << QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    call << urls << QString();
    const QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(call);
    if (pending.isError()) // without a bus, a watcher would never tell
        return open(folder);
    auto *watcher = new QDBusPendingCallWatcher(pending, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, folder] {
        const QDBusPendingReply<> reply = *watcher;
        watcher->deleteLater();
        if (reply.isError())
            open(folder);
    });
}
