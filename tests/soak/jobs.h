// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QRandomGenerator>
#include <QSet>

#include <memory>

#include "support/posts.h"

using Files = QMap<QString, QByteArray>;

/// A job of one kind or another, with what must come of it and what has happened to it since.
struct Job {
    /// How much can be asked of the outcome.
    enum class Demand {
        All,
        Whole, ///< the files as posted or unpacked, whatever the job says
        Nothing,
    };

    /// @param names  the deleted file, or nothing if it is the job; the finished files among them
    void noteDeleted(const QStringList &names, bool onDisk);

    QString kind;
    QString name; ///< as the queue shows it
    std::unique_ptr<Post> post;
    Files posted; ///< by the name on disk
    Files unpacked; ///< what is in the place of the posted files in the end; empty for most kinds
    QByteArray film; ///< what a preview shows; empty if that cannot be told
    bool encrypted = false;
    QSet<QString> damaged; ///< names of posted files, for good
    QSet<QString> undetected; ///< those of them that look whole to a repair
    bool repairable = false;

    bool deleted = false;
    QSet<QString> deletedFiles;
    QSet<QString> kept; ///< finished files that were deleted from the queue alone
    QSet<QString> gone; ///< those that were deleted on disk, too
    bool disturbed = false; ///< its PAR2 files may be held back against the program's wish
    bool saved = false; ///< the queue file has it
    Demand demand = Demand::All;
};

/// Files that are fetched only if they are needed.
[[nodiscard]] inline bool isRecovery(const QString &name)
{
    return name.endsWith(QStringLiteral(".par2"));
}

/// Without what is not ASCII.
[[nodiscard]] QString nameOnDisk(QString posted);

/// A new job of a random kind, in a good half of the cases damaged; @p number makes it unique.
[[nodiscard]] std::unique_ptr<Job> makeJob(int number, QRandomGenerator &random);
/// A plain one of which every third article is missing, in a number that keeps all connections
/// busy.
[[nodiscard]] std::unique_ptr<Job> makeJobWithGaps(int number, QRandomGenerator &random);
