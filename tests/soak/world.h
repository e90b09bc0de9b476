// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTemporaryDir>

#include <optional>
#include <vector>

#include "soak/program.h"
#include "support/newsserver.h"
#include "support/testcertificate.h"

/// What the rounds of one run share: the servers, the certificates and the program's folder.
struct World {
    World();
    void writeSettings() const;
    void listen(NewsServer &server, quint16 port);

    QTemporaryDir folder;
    std::vector<TestCertificate> certificates; ///< trusted, of another name, of nobody known
    NewsServer plain;
    NewsServer secure;
    QString host; ///< a loopback address of its own where the well-known ports are free to use
    Program program{folder.path()};
    int jobCount = 0;
    std::optional<qint64> heapAtStart; ///< of the running program, once it has warmed up
    int objectsAtStart = 0;
    std::optional<int> descriptorsAtStart; ///< of the first program, at its first rest
    int roundsOfProgram = 0;
};
