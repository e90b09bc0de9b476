// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The post-processing of a job taken anew at the user's wish: the way out of all that is final for
// the automatic one.
#include <QDir>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

bool Marlowick::canRepairAndUnpack(const Nzb *nzb) const
{
    return nzbs.contains(nzb) && !nzb->hasActiveSegments() && !QDir(nzb->folder()).isEmpty();
}

void Marlowick::repairAndUnpack(Nzb *nzb)
{
    if (!canRepairAndUnpack(nzb))
        return;
    endProcessing(nzb);
    nzb->setStatus(QString());
    processNzb(nzb);
}
