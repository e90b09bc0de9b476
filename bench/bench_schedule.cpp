// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What the search for the next article costs when all files but the last are finished, beside one
// over a plain array, which is the least that a walk without an index can cost.
#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <vector>

#include "engine/marlowick.h"
#include "largequeue.h"
#include "medianreporter.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

constexpr int finishedFiles = 100'000;
constexpr int segmentsPerFile = 10; // which the memory of the files is scattered among

void nextArticle(benchmark::State &state)
{
    const QTemporaryDir folder;
    const auto engine = makeEngine(folder);
    const Nzb *job =
        engine->addNZB(writeNzb(folder, (finishedFiles + 1) * segmentsPerFile, segmentsPerFile));
    NzbFile *file = nullptr;
    int number = 0;
    QString messageId;
    for (int i = 0; i < finishedFiles; ++i) {
        while (!job->fileAt(i)->isFinished()) {
            static_cast<void>(job->fileAt(i)->nextSegment(&number));
            job->fileAt(i)->segmentDecoded(number, QString(), 750'000, true, true);
        }
    }
    for (auto _ : state) {
        if (!engine->nextArticle(file, number, messageId) || file != job->fileAt(finishedFiles))
            qFatal("The last file is not found.");
        file->requeueSegment(number);
    }
}

struct PlainFile {
    bool paused;
    bool pending;
};

void walkPlainArray(benchmark::State &state)
{
    std::vector<PlainFile> files(finishedFiles, {false, false});
    files.push_back({false, true});
    for (auto _ : state) {
        benchmark::DoNotOptimize(files.data());
        benchmark::DoNotOptimize(std::find_if(files.cbegin(), files.cend(), [](PlainFile file) {
            return !file.paused && file.pending;
        }));
    }
}

} // namespace

BENCHMARK(nextArticle)->Unit(benchmark::kMicrosecond);
BENCHMARK(walkPlainArray)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    MedianReporter().run(argc, argv);
    return 0;
}
