// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "post/truenames.h"

class Nzb;

/// The renaming that gives a job's film the name of the job: of the one file that is more than
/// three times as large as the next, if a machine has made up its name, and no PAR2 set of the job
/// knows it by that name. Names are relative to the job's folder. Not for archives, and not inside
/// the folders of a DVD or Blu-ray disc.
[[nodiscard]] std::optional<Renaming> filmName(Nzb *nzb);
