// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QString>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include "support/files.h"

/// A file system of @p bytes over an empty folder, for this process alone and as long as it lives.
class SmallDisk final {
public:
    /// To be called while the process has one thread. False where the system forbids mounts.
    [[nodiscard]] static bool prepare()
    {
        const QByteArray user = QByteArray::number(geteuid());
        const QByteArray group = QByteArray::number(getegid());
        if (unshare(CLONE_NEWNS) != 0) {
            if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
                return false;
            writeFile(QStringLiteral("/proc/self/setgroups"), "deny");
            writeFile(QStringLiteral("/proc/self/uid_map"), user + ' ' + user + " 1");
            writeFile(QStringLiteral("/proc/self/gid_map"), group + ' ' + group + " 1");
        }
        return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }

    SmallDisk(const QString &folder, int bytes)
        : path(QFile::encodeName(folder))
        , good(::mount("tmpfs", path.constData(), "tmpfs", 0, sizeOption(bytes).constData()) == 0)
    {
    }
    ~SmallDisk() { umount2(path.constData(), MNT_DETACH); }
    Q_DISABLE_COPY_MOVE(SmallDisk)

    [[nodiscard]] bool isGood() const { return good; }
    [[nodiscard]] bool resize(int bytes) const
    {
        return ::mount(nullptr, path.constData(), nullptr, MS_REMOUNT,
                       sizeOption(bytes).constData())
               == 0;
    }

private:
    [[nodiscard]] static QByteArray sizeOption(int bytes)
    {
        return "size=" + QByteArray::number(bytes);
    }

    const QByteArray path;
    const bool good;
};
