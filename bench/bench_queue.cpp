// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What a large queue costs: reading an NZB beside the bare parse of the same file, and the search
// for the next article beside the same search over a plain array.
#include <QFile>
#include <QTemporaryDir>
#include <QXmlAttributes>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <vector>

#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int segmentsPerFile = 200;
constexpr int finishedFiles = 10'000;

/// An NZB of @p segments segments with message ids of 45 characters.
QString writeNzb(const QTemporaryDir &folder, int segments)
{
    QFile file(folder.filePath(u"bench.nzb"_s));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("The NZB cannot be written.");
    file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<nzb xmlns=\"http://www.newzbin.com/DTD/2003/nzb\">\n");
    for (int i = 0; i < segments; ++i) {
        const int number = i % segmentsPerFile + 1;
        if (number == 1)
            file.write("<file poster=\"poster\" date=\"1700000000\" subject=\"a post "
                       "&quot;name.part"
                       + QByteArray::number(i / segmentsPerFile)
                       + ".rar&quot; yEnc (1/200)\">\n<segments>\n");
        file.write("  <segment bytes=\"750000\" number=\"" + QByteArray::number(number) + "\">"
                   + QByteArray::number(i).rightJustified(32, 'p') + "@example.test</segment>\n");
        if (number == segmentsPerFile || i == segments - 1)
            file.write("</segments>\n</file>\n");
    }
    file.write("</nzb>\n");
    return file.fileName();
}

void importNzb(benchmark::State &state)
{
    const QTemporaryDir folder;
    const QString path = writeNzb(folder, static_cast<int>(state.range(0)));
    size_t taken = 0;
    for (auto _ : state) {
        const size_t before = mallinfo2().uordblks;
        const Nzb job(nullptr, folder.path(), path);
        taken = mallinfo2().uordblks - before;
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["bytes/segment"] =
        static_cast<double>(taken) / static_cast<double>(state.range(0));
}

void parseOnly(benchmark::State &state)
{
    const QTemporaryDir folder;
    QFile file(writeNzb(folder, static_cast<int>(state.range(0))));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The NZB cannot be read.");
    for (auto _ : state) {
        file.seek(0);
        QXmlInputSource source(&file);
        QXmlDefaultHandler handler;
        QXmlSimpleReader reader;
        reader.setContentHandler(&handler);
        benchmark::DoNotOptimize(reader.parse(&source));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

const NzbFile *firstWanted(const Nzb &job)
{
    for (int i = 0; i < job.fileCount(); ++i) {
        const NzbFile *file = job.fileAt(i);
        if (!file->isPaused() && file->hasPendingSegments())
            return file;
    }
    return nullptr;
}

void walkFiles(benchmark::State &state)
{
    Nzb job(nullptr, QString(), QString());
    for (int i = 0; i <= finishedFiles; ++i) {
        job.startElement(QString(), QString(), u"file"_s, QXmlAttributes());
        job.fileAt(i)->addSegment(1, 1, u"id"_s);
    }
    for (int i = 0; i < finishedFiles; ++i) {
        int seqnr = 0;
        job.fileAt(i)->nextSegment(&seqnr);
        job.fileAt(i)->segmentDecoded(seqnr, QString(), 1, true, true);
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(firstWanted(job));
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

BENCHMARK(importNzb)->Arg(200'000)->Unit(benchmark::kMillisecond);
BENCHMARK(parseOnly)->Arg(200'000)->Unit(benchmark::kMillisecond);
BENCHMARK(walkFiles)->Unit(benchmark::kMicrosecond);
BENCHMARK(walkPlainArray)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
