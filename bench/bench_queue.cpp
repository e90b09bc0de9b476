// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What a large queue costs: reading an NZB, saving the queue and loading it, each beside the least
// that the same XML costs, and beside packing and unpacking the queue file alone.
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>

#include <malloc.h>
#include <memory>
#include <quazip/quagzipfile.h>

#include "engine/marlowick.h"
#include "largequeue.h"
#include "medianreporter.h"
#include "queue/nzb.h"

using namespace Qt::StringLiterals;

namespace {

double bytesAllocated() { return static_cast<double>(mallinfo2().uordblks); }

void importNzb(benchmark::State &state)
{
    const QTemporaryDir folder;
    const QString path = writeNzb(folder, static_cast<int>(state.range(0)));
    double taken = 0;
    for (auto _ : state) {
        const double before = bytesAllocated();
        auto job = std::make_unique<Nzb>(nullptr, folder.path(), path);
        state.PauseTiming();
        taken = bytesAllocated() - before;
        job.reset();
        state.ResumeTiming();
    }
    state.counters["bytes/segment"] = taken / static_cast<double>(state.range(0));
}

/// @tparam File  QFile or QuaGzipFile
template <typename File> void parseFile(benchmark::State &state, const QString &path)
{
    for (auto _ : state) {
        File file(path);
        QXmlDefaultHandler handler;
        QXmlSimpleReader reader;
        reader.setContentHandler(&handler);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("%s cannot be read.", qPrintable(path));
        QXmlInputSource source(&file);
        if (!reader.parse(&source))
            qFatal("%s is damaged.", qPrintable(path));
    }
}

void parseOnly(benchmark::State &state)
{
    const QTemporaryDir folder;
    parseFile<QFile>(state, writeNzb(folder, static_cast<int>(state.range(0))));
}

void saveQueue(benchmark::State &state)
{
    const QTemporaryDir folder;
    const auto engine = makeEngine(folder);
    static_cast<void>(engine->addNZB(writeNzb(folder, static_cast<int>(state.range(0)))));
    for (auto _ : state)
        engine->saveQueue();
    state.counters["file bytes"] = static_cast<double>(QFileInfo(queueFile(*engine)).size());
}

/// For how long a save holds up the window; the rest is done on a thread.
void beginToSave(benchmark::State &state)
{
    const QTemporaryDir folder;
    const auto engine = makeEngine(folder);
    static_cast<void>(engine->addNZB(writeNzb(folder, static_cast<int>(state.range(0)))));
    for (auto _ : state) {
        engine->saveQueueInBackground();
        state.PauseTiming();
        engine->saveQueue();
        state.ResumeTiming();
    }
}

QByteArray unpacked(const QString &path)
{
    QuaGzipFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The queue file cannot be read.");
    return file.readAll();
}

/// Packs the document that a save writes.
void packOnly(benchmark::State &state)
{
    const QTemporaryDir folder;
    const QByteArray document = unpacked(writeQueue(folder, static_cast<int>(state.range(0))));
    const QString path = folder.filePath(u"packed"_s);
    for (auto _ : state) {
        QuaGzipFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(document) != document.size())
            qFatal("The document cannot be packed.");
        file.close();
    }
    state.counters["file bytes"] = static_cast<double>(QFileInfo(path).size());
}

void unpackOnly(benchmark::State &state)
{
    const QTemporaryDir folder;
    const QString path = writeQueue(folder, static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(unpacked(path));
}

void loadQueue(benchmark::State &state)
{
    const QTemporaryDir folder;
    static_cast<void>(writeQueue(folder, static_cast<int>(state.range(0))));
    double taken = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto engine = makeEngine(folder);
        const double before = bytesAllocated();
        state.ResumeTiming();
        engine->loadQueue(QString());
        state.PauseTiming();
        taken = bytesAllocated() - before;
        engine.reset();
        state.ResumeTiming();
    }
    state.counters["bytes/segment"] = taken / static_cast<double>(state.range(0));
}

void unpackAndParse(benchmark::State &state)
{
    const QTemporaryDir folder;
    parseFile<QuaGzipFile>(state, writeQueue(folder, static_cast<int>(state.range(0))));
}

void largeQueue(benchmark::internal::Benchmark *row)
{
    row->Arg(1'000'000)->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(importNzb)->Apply(largeQueue);
BENCHMARK(parseOnly)->Apply(largeQueue);
BENCHMARK(saveQueue)->Apply(largeQueue)->UseRealTime();
BENCHMARK(beginToSave)->Apply(largeQueue)->Iterations(5);
BENCHMARK(packOnly)->Apply(largeQueue);
BENCHMARK(loadQueue)->Apply(largeQueue);
BENCHMARK(unpackAndParse)->Apply(largeQueue);
BENCHMARK(unpackOnly)->Apply(largeQueue);

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    MedianReporter().run(argc, argv);
    return 0;
}
