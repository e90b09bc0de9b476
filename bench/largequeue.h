// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <memory>

class Marlowick;
class QTemporaryDir;

/// Writes an NZB of @p segments segments, @p segmentsPerFile to a file, into @p folder. The message
/// ids have 45 characters and pack as badly as real ones. @returns its path
[[nodiscard]] QString writeNzb(const QTemporaryDir &folder, int segments,
                               int segmentsPerFile = 200);

/// Leaves settings in @p folder that let the program, which will find them there, start without a
/// question and open no connection.
void writeSettings(const QTemporaryDir &folder);

/// An engine with settings and queue file in @p folder and an empty queue.
[[nodiscard]] std::unique_ptr<Marlowick> makeEngine(const QTemporaryDir &folder);

/// Where that engine saves its queue.
[[nodiscard]] QString queueFile(const Marlowick &engine);

/// Saves a queue of @p segments segments. @returns the queue file
QString writeQueue(const QTemporaryDir &folder, int segments);
