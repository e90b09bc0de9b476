// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "desktop/filemanager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QUrl>

#include "desktop/asynccall.h"

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
    const bool isSent = asyncCall(QDBusConnection::sessionBus(), call, this,
                                  [this, folder](const QDBusPendingReply<> &reply) {
                                      if (reply.isError())
                                          open(folder);
                                  });
    if (!isSent)
        open(folder);
}
