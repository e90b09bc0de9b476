// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class Nzb;

// The folder of a job: its name, which is that of the job, and its making.

/// A name from a queue file, which becomes a folder as it stands, so changed that it cannot lead
/// anywhere else.
[[nodiscard]] QString folderName(const QString &name);

/// Makes the folder of a new job. If there is something of its name the job gets that name with a
/// number from 2 on behind it.
/// @throws std::runtime_error  with a text for the user
void makeFolder(Nzb *nzb);

/// Makes the job's folder if it is gone, or the download folder is another one since the last run.
/// Not the download folder: its disk may just not be mounted. False when there was nothing to do,
/// or no way.
bool makeFolderAnew(Nzb *nzb);
