// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include "queue/readxml.h"

class Queue;
struct SavedNzb;

/// The queue on disk: one compressed XML file, and the file of the previous save as its backup.
/// Both can be read by their owner alone. Blocks until the disk has answered; failures are returned
/// as results.
class QueueFile {
public:
    enum class Written {
        Whole,
        Full, ///< the disk has too little space
        CannotOpen, ///< the file of the previous save is back in its place
    };

    /// @param folder  where both files lie
    explicit QueueFile(const QString &folder);

    [[nodiscard]] const QString &name() const { return queueFileName; }
    Written save(const QList<SavedNzb> &jobs);
    /// Appends the jobs of the file @p fileName to @p queue. If the file is damaged, the jobs
    /// before the fault stay. A file that does not exist counts as empty.
    /// @param fileName  if it is empty, name() is used
    /// @param downloadFolder  the folder for the jobs' folders
    [[nodiscard]] XmlResult load(Queue &queue, const QString &downloadFolder,
                                 const QString &fileName = QString());
    /// The same with the backup. The next save does not replace it by the present file.
    [[nodiscard]] XmlResult loadBackup(Queue &queue, const QString &downloadFolder);

private:
    [[nodiscard]] Written write(const QList<SavedNzb> &jobs);

    QString queueFileName;
    QString backupFileName;
    bool damaged = false; ///< the file must not replace the backup
};
