// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

class FileCombiner;
class Par2Process;
class RarHandler;

/// What is at work on one job after its download, and what is known of it. Owns nothing.
struct JobWork {
    RarHandler *rarHandler = nullptr; ///< from the first need of it on
    Par2Process *repair = nullptr; ///< while it runs
    FileCombiner *join = nullptr; ///< while it runs
    bool lookAgain = false; ///< at the job, once the repair has ended
    bool repairWaits = false; ///< for the extraction to rest
    bool repairFailed = false; ///< the last one, or there could be none
    QString failure; ///< or suspension of the extraction, as the status tells it
    QStringList restored; ///< files that a repair has made and the job does not list

    // The job is being taken anew, at the user's wish and whatever the settings say.
    bool anew = false;
    bool anewAfterJoin = false; ///< it will be, for a join cannot be ended
    bool repairWanted = false;
    bool trustsDisk = false; ///< nothing but the archives themselves can tell what is whole
};
