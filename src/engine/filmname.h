// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "post/truenames.h"

class Nzb;

/// The renaming that gives a job's film the name of the job; nothing if it keeps its own. The film
/// is the file that is more than three times as large as any other. It is renamed if its name is
/// random and unknown to the PAR2 sets of the job, unless it is an archive or lies in a folder of a
/// DVD or Blu-ray disc. Names are relative to the job's folder.
[[nodiscard]] std::optional<Renaming> filmName(Nzb *nzb);
