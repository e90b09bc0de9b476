// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// soak MINUTES [SEED] | --round SEED
// Runs the real program against a server that fails and with a user who does all sorts of things,
// round after round, until the time is over or something is found. A single round is run four
// times, so that it shows what stays behind.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>

#include "soak/round.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int repetitions = 4;
constexpr qint64 msecPerMinute = 60'000;

int fail(const QString &text)
{
    QTextStream(stdout) << text << Qt::endl;
    return 1;
}

int soak(double minutes, std::optional<quint32> round, quint32 seed)
{
    QTextStream out(stdout);
    out << "seed " << seed << Qt::endl;
    World world;
    QRandomGenerator seeds(seed);
    QElapsedTimer clock;
    clock.start();
    int number = 0;
    const auto goesOn = [&] {
        return round ? number < repetitions
                     : double(clock.elapsed()) < minutes * double(msecPerMinute);
    };
    while (goesOn()) {
        out << "round " << ++number << ": " << Qt::flush;
        if (!Round(world, round.value_or(seeds.generate())).run())
            return 1;
    }
    if (world.program.isRunning() && !world.program.close()) {
        world.folder.setAutoRemove(false);
        return fail(u"FOUND: the program does not end well: see "_s
                    + world.folder.filePath(u"log"_s));
    }
    out << number << " rounds in " << clock.elapsed() / 1000 << " s without a finding" << Qt::endl;
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().sliced(1);
    const bool single = arguments.removeAll(u"--round"_s) > 0;
    if (arguments.isEmpty() || arguments.size() > (single ? 1 : 2))
        return fail(u"Usage: soak MINUTES [SEED] | --round SEED"_s);
    const quint32 seed = single || arguments.size() > 1 ? arguments.last().toUInt()
                                                        : QRandomGenerator::system()->generate();
    return soak(arguments.first().toDouble(), single ? std::optional(seed) : std::nullopt, seed);
}
