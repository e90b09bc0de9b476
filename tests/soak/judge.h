// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QStringList>

#include "soak/jobs.h"

/// What the outcome of a round's jobs depends on beside their articles.
struct Circumstances {
    QString downloads;
    QString rarHandling;
    bool autoPar2 = false;
    bool cleared = false; ///< finished jobs may have left the queue
    bool killed = false;
    bool passwordDeclined = false; ///< of one encrypted job at least
};

/// What is wrong with a job in the end, by what has been posted and what the queue shows of it.
/// @param row  as the simulated user tells it; empty if the job is not in the queue
/// @param unfinished  it may have ended without a look at what is to follow
[[nodiscard]] QStringList judge(const Job &job, const QJsonObject &row, const Circumstances &now,
                                bool unfinished);

/// What is wrong on disk with the files of @p job that were deleted, with the files or without.
[[nodiscard]] QStringList judgeDeleted(const Job &job, const Circumstances &now);

/// Whether @p stream is what a preview of @p film shows, as far as it goes: what has not arrived is
/// zeros.
[[nodiscard]] bool shows(const QByteArray &stream, const QByteArray &film);
