// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include "queue/readxml.h"

class Nzb;
class Queue;

/// The queue across runs: one compressed XML file, and as its backup the file of the save before.
/// Blocks until the disk has answered; of a failure it tells by its result alone.
class QueueFile {
public:
    enum class Written {
        Whole,
        Full, ///< the disk has no room for all of it
        CannotOpen, ///< the file of the save before is back in its place
    };

    /// @param folder  where both files lie
    explicit QueueFile(const QString &folder);

    [[nodiscard]] const QString &name() const { return queueFileName; }
    Written save(const QList<Nzb *> &jobs);
    /// Appends the jobs of the file @p fileName to @p queue; those that it announces stay if it
    /// turns out to be damaged. A file that does not exist holds none.
    /// @param fileName  name() if it is empty
    /// @param downloadFolder  for the folders of the jobs
    [[nodiscard]] XmlResult load(Queue &queue, const QString &downloadFolder,
                                 const QString &fileName = QString());
    /// The same with the backup, which the next save does not replace by the present file.
    [[nodiscard]] XmlResult loadBackup(Queue &queue, const QString &downloadFolder);

private:
    [[nodiscard]] Written write(const QList<Nzb *> &jobs);

    QString queueFileName;
    QString backupFileName;
    bool damaged = false; ///< so that it must not take the place of the backup
};
