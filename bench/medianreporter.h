// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <benchmark/benchmark.h>
#include <vector>

/// Runs each row several times, all of them interleaved at random, so that what else the machine
/// does meets a row and its rival alike. Shows the median of each, in the order of registration.
class MedianReporter final : public benchmark::ConsoleReporter {
public:
    MedianReporter();

    /// Runs what has been registered. @p argv may overrule how.
    void run(int argc, char **argv);
    /// Prints how many times the bytes per second of @p rival those of @p name are.
    void printRatio(const char *name, const char *rival) const;

    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

private:
    [[nodiscard]] double rateOf(const char *name) const;

    std::vector<Run> medians;
};
