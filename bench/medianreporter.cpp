// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "medianreporter.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

MedianReporter::MedianReporter()
    : ConsoleReporter(OO_None)
{
}

void MedianReporter::run(int argc, char **argv)
{
    char repetitions[] = "--benchmark_repetitions=5";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> arguments{argv[0], repetitions, interleaving};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    benchmark::RunSpecifiedBenchmarks(this);
}

void MedianReporter::printRatio(const char *name, const char *rival) const
{
    const double rate = rateOf(name);
    const double rivalRate = rateOf(rival);
    if (rate > 0 && rivalRate > 0)
        std::printf("%-16s %6.2f GB/s = %4.1f times %s\n", name, rate / 1e9, rate / rivalRate,
                    rival);
}

void MedianReporter::ReportRuns(const std::vector<Run> &runs)
{
    std::copy_if(runs.cbegin(), runs.cend(), std::back_inserter(medians),
                 [](const Run &run) { return run.aggregate_name == "median"; });
}

void MedianReporter::Finalize()
{
    std::sort(medians.begin(), medians.end(),
              [](const Run &a, const Run &b) { return a.family_index < b.family_index; });
    ConsoleReporter::ReportRuns(medians);
}

double MedianReporter::rateOf(const char *name) const
{
    for (const Run &run : medians) {
        const auto rate = run.counters.find("bytes_per_second");
        if (run.run_name.function_name == name && rate != run.counters.end())
            return rate->second;
    }
    return 0; // not asked for
}
