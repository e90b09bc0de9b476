// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QStringList>

/// Opens files and folders with the programs of the desktop. Calls return at once.
/// Source: the desktop's file manager interface, org.freedesktop.FileManager1.
class FileManager final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileManager)

public:
    using QObject::QObject;

    /// Opens a file or a folder with the program that is meant for it.
    void open(const QString &path);
    /// Shows @p folder with @p files of it selected, or only the folder where no file manager
    /// offers more.
    void showFiles(const QString &folder, const QStringList &files);

signals:
    /// There is no program for @p path.
    void failed(QString path);
};
