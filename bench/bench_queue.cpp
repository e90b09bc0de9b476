// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What a large queue costs: reading an NZB beside the bare parse of the same file, and the search
// for the next article beside the same search over a plain array.
#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QXmlAttributes>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <vector>

#include "engine/marlowick.h"
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
               "<nzb>\n");
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
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    Marlowick engine(nullptr); // without the setting "threads" it opens no connection
    engine.settings()->setValue("downloadFolder"_L1, folder.path());
    static_cast<void>(engine.addNZB(writeSmallFiles(folder, finishedFiles + 1)));
    NzbFile *file = nullptr;
    int number = 0;
    QString messageId;
    for (int i = 0; i < finishedFiles && engine.nextArticle(file, number, messageId); ++i)
        file->segmentDecoded(number, QString(), 9, true, true);
    for (auto _ : state) {
        if (!engine.nextArticle(file, number, messageId))
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

} // namespace

BENCHMARK(importNzb)->Arg(200'000)->Unit(benchmark::kMillisecond);
BENCHMARK(parseOnly)->Arg(200'000)->Unit(benchmark::kMillisecond);
BENCHMARK(nextArticle)->Unit(benchmark::kMicrosecond);
BENCHMARK(walkPlainArray)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
