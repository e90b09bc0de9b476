// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QTemporaryDir>

#include "download_job.h"

/// What a download goes through.
struct Line {
    bool ssl = false;
    int connections = 8;
    int delay = 0; ///< of the server before each article, in milliseconds
    int rate = 0; ///< bytes a second of each connection, 0 for no limit
    QString set = {}; ///< a file of articles; their message ids are in "<set>.ids"
};

/// Downloads by clients that are a process of their own each, and so is the server, so that
/// processor time and memory are those of the client alone. All files go to /dev/shm and are
/// removed.
class Measurements final {
public:
    Measurements();

    /// Starts this program again, which must hand its command line to runClient().
    /// @param client  says what the process is to measure
    /// @returns the numbers that it measured
    [[nodiscard]] QList<double> run(const QString &client, const Line &line, qint64 articles) const;

private:
    QTemporaryDir certificates;
};

/// A measurement: takes the client's name, returns its numbers.
using Measure = QList<double> (*)(const QString &client, const DownloadJob &job);

/// True in a process that Measurements::run() has started.
[[nodiscard]] bool isClient();
/// The whole work of such a process. @returns its exit code
[[nodiscard]] int runClient(Measure measure);

/// The median of column @p index over all rounds.
[[nodiscard]] double medianOf(const QList<QList<double>> &rounds, int index);
