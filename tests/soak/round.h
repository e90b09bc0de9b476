// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>

#include <memory>
#include <vector>

#include "soak/faults.h"
#include "soak/judge.h"
#include "soak/world.h"

/// A quarter of a minute of the program's life: jobs come, the server fails, the user works, the
/// program may end; then all calms down and is looked at.
class Round final {
public:
    Round(World &world, quint32 seed);
    ~Round();
    Q_DISABLE_COPY_MOVE(Round)

    /// Prints its line; false if something was found, which has been printed then.
    [[nodiscard]] bool run();

private:
    enum class Ending { None, Close, Kill };

    void prepare();
    void setUp();
    void give(const Job &job);
    void live();
    void disturbServer();
    void endProgram();
    void hear(const QStringList &words);
    void hearBox(const QString &title, const QString &text);
    void drain();
    [[nodiscard]] QStringList complaints(const QJsonObject &state) const;
    [[nodiscard]] bool mayBeUnfinished(const Job &job) const;
    [[nodiscard]] bool wasAllAskedFor(const Job &job) const;
    void helpOn(const QJsonObject &state);
    void watchIdleness(bool pending, int connections);
    void checkStreams();
    void clear();
    void measure();
    void find(const QString &what);
    void printLine() const;
    [[nodiscard]] Job *jobNamed(const QString &name) const;

    World &world;
    const quint32 seed;
    QRandomGenerator random;
    NewsServer *server;
    Faults faults;
    Circumstances now;
    Ending ending = Ending::None;
    std::vector<std::unique_ptr<Job>> jobs;
    qsizetype firstRequest = 0;
    QMap<QString, int> actions;
    QStringList findings;
    bool poolMayBeEmpty = false; ///< something has closed connections for good
    bool streamsUnknown = false; ///< of a preview it cannot be told what it shows
    QElapsedTimer quiet; ///< since the server has sent something
    QElapsedTimer abandoned; ///< since the last connection went
    qint64 sentBefore = -1;
    qint64 heap = 0;
    int objects = 0;
};
