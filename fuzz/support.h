// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <cstddef>
#include <cstdint>

/// What libFuzzer calls with each input. An application object is there by then, log lines are
/// dropped, and settings belong to the process.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

/// A folder of the process, in that for temporary files, which goes when the process ends well.
[[nodiscard]] const QString &scratchFolder();

/// Takes the input for what arrives in several reads: each '|' is a cut.
[[nodiscard]] QByteArrayList pieces(const QByteArray &input);

/// Makes the input a finding unless @p holds.
void require(bool holds, const char *otherwise);

/// A finding if anything but @p expected lies in @p folder, hidden files included.
void requireOnly(const QByteArrayList &expected, const QString &folder);

/// Removes the files in @p folder but for symbolic links.
void clearFiles(const QString &folder);

/// Runs what is due in the event loop, deferred deletions included.
void runEvents();
