// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QMap>
#include <QRandomGenerator>
#include <QString>

#include "support/reply.h"

/// Misfortunes of a server, by a seed: what an event meets depends on the event and on how often it
/// has come, not on the order of events.
class Faults final {
public:
    Faults(quint32 seed, int percent)
        : seed(seed)
        , percent(percent)
    {
    }
    /// For NewsServer::chooseReplies().
    [[nodiscard]] Reply choose(const QByteArray &event);
    void end() { percent = 0; }

    QMap<QString, int> dealt; ///< how many of each sort
    bool loginRefused = false; ///< by a code that costs the program a connection

private:
    [[nodiscard]] Reply refuse(const QByteArray &event, QRandomGenerator &random);

    quint32 seed;
    int percent;
    QHash<QByteArray, int> attempts;
};
