// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What a large queue costs: reading an NZB, saving the queue and loading it, each beside the least
// that the same XML costs, and the search for the next article beside one over a plain array.
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QXmlAttributes>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <malloc.h>
#include <memory>
#include <quazip/quagzipfile.h>
#include <vector>

#include "engine/marlowick.h"
#include "medianreporter.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int segmentsPerFile = 200;
constexpr int finishedFiles = 10'000;

double bytesAllocated() { return static_cast<double>(mallinfo2().uordblks); }

/// An NZB of @p segments segments with message ids of 45 characters that pack as badly as real
/// ones.
QString writeNzb(const QTemporaryDir &folder, int segments)
{
    QFile file(folder.filePath(u"bench.nzb"_s));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("The NZB cannot be written.");
    file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<nzb>\n");
    for (int i = 0; i < segments; ++i) {
        const int number = i % segmentsPerFile + 1;
        if (number == 1)
            file.write("<file poster=\"poster\" date=\"1700000000\" subject=\"a post "
                       "&quot;name.part"
                       + QByteArray::number(i / segmentsPerFile)
                       + ".rar&quot; yEnc (1/200)\">\n<segments>\n");
        file.write(
            "  <segment bytes=\"750000\" number=\"" + QByteArray::number(number) + "\">"
            + QCryptographicHash::hash(QByteArray::number(i), QCryptographicHash::Md5).toHex()
            + "@example.test</segment>\n");
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
    double taken = 0;
    for (auto _ : state) {
        const double before = bytesAllocated();
        const Nzb job(nullptr, folder.path(), path);
        taken = bytesAllocated() - before;
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

/// An engine with settings and queue file in @p folder and an empty queue. Without the setting
/// "threads" it opens no connection.
std::unique_ptr<Marlowick> makeEngine(const QTemporaryDir &folder)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    auto engine = std::make_unique<Marlowick>(nullptr);
    engine->settings()->setValue("downloadFolder"_L1, folder.path());
    QObject::connect(engine.get(), &Marlowick::error, engine.get(),
                     [](int, const QString &text) { qFatal("%s", qPrintable(text)); });
    return engine;
}

QString queueFile(const Marlowick &engine)
{
    return QFileInfo(engine.settings()->fileName()).path() + u"/queue.qzb"_s;
}

/// Saves a queue of @p segments segments. @returns the queue file
QString writeQueue(const QTemporaryDir &folder, int segments)
{
    const auto engine = makeEngine(folder);
    static_cast<void>(engine->addNZB(writeNzb(folder, segments)));
    engine->saveQueue();
    return queueFile(*engine);
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

/// Packs the document that a save writes.
void packOnly(benchmark::State &state)
{
    const QTemporaryDir folder;
    QuaGzipFile saved(writeQueue(folder, static_cast<int>(state.range(0))));
    if (!saved.open(QIODevice::ReadOnly))
        qFatal("The queue file cannot be read.");
    const QByteArray document = saved.readAll();
    const QString path = folder.filePath(u"packed"_s);
    for (auto _ : state) {
        QuaGzipFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(document) != document.size())
            qFatal("The document cannot be packed.");
        file.close();
    }
    state.counters["file bytes"] = static_cast<double>(QFileInfo(path).size());
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

/// An NZB of @p files files with one segment each.
QString writeSmallFiles(const QTemporaryDir &folder, int files)
{
    QFile nzb(folder.filePath(u"files.nzb"_s));
    if (!nzb.open(QIODevice::WriteOnly))
        qFatal("The NZB cannot be written.");
    nzb.write("<nzb>");
    for (int i = 0; i < files; ++i)
        nzb.write("<file subject='\"" + QByteArray::number(i)
                  + ".bin\"'><segment bytes='9' number='1'>id@x</segment></file>");
    nzb.write("</nzb>");
    return nzb.fileName();
}

void nextArticle(benchmark::State &state)
{
    const QTemporaryDir folder;
    const auto engine = makeEngine(folder);
    static_cast<void>(engine->addNZB(writeSmallFiles(folder, finishedFiles + 1)));
    NzbFile *file = nullptr;
    int number = 0;
    QString messageId;
    for (int i = 0; i < finishedFiles && engine->nextArticle(file, number, messageId); ++i)
        file->segmentDecoded(number, QString(), 9, true, true);
    for (auto _ : state) {
        if (!engine->nextArticle(file, number, messageId))
            qFatal("There is nothing to fetch.");
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

void largeQueue(benchmark::internal::Benchmark *row)
{
    row->Arg(200'000)->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(importNzb)->Apply(largeQueue);
BENCHMARK(parseOnly)->Apply(largeQueue);
BENCHMARK(saveQueue)->Apply(largeQueue);
BENCHMARK(packOnly)->Apply(largeQueue);
BENCHMARK(loadQueue)->Apply(largeQueue);
BENCHMARK(unpackAndParse)->Apply(largeQueue);
BENCHMARK(nextArticle)->Unit(benchmark::kMicrosecond);
BENCHMARK(walkPlainArray)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    MedianReporter reporter;
    reporter.run(argc, argv);
    return 0;
}
