// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class Nzb;

// Naming and making the folder of a job. Its name is that of the job.

/// A job's name from a queue file, changed so that as a folder's name it cannot lead elsewhere.
[[nodiscard]] QString folderName(const QString &name);

/// Makes the folder of a new job. If the name is taken, the job is renamed: a number from 2 on is
/// appended.
/// @throws std::runtime_error  with a text for the user
void makeFolder(Nzb *nzb);

/// Makes the job's folder again if it is missing, for instance because the download folder has been
/// changed. Does not make the download folder itself, whose disk may not be mounted. False if
/// nothing was done.
bool makeFolderAnew(Nzb *nzb);
