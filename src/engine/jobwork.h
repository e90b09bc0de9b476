// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

class FileCombiner;
class Par2Process;
class RarHandler;

/// What is at work on one job after its download. Owns nothing.
struct JobWork {
    RarHandler *rarHandler = nullptr; ///< from the first need of it on
    Par2Process *repair = nullptr; ///< while it runs
    FileCombiner *join = nullptr; ///< while it runs
    bool lookAgain = false; ///< at the job, once the repair has ended
};
