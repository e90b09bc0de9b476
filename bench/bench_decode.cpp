// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What decoding an article costs: each way beside its plain rival, in the same run. Rates count
// article bytes as posted for decoding, decoded bytes for the checksum.
#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <vector>
#include <zlib.h>

#include "support/articles.h"
#include "transfer/crc32.h"
#include "transfer/yencdecoder.h"
#include "transfer/yenckernel.h"
#include "transfer/yencreference.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype articleSize = 750'000;
constexpr qsizetype chunkSize = 64 * 1024;

const QByteArray &decodedArticle()
{
    static const QByteArray data = randomBytes(1, articleSize);
    return data;
}

QByteArray article() { return yencArticle("a", articleSize, 1, 1, 1, decodedArticle()); }

QList<QByteArray> chunksOf(const QByteArray &text)
{
    QList<QByteArray> chunks;
    for (qsizetype at = 0; at < text.size(); at += chunkSize)
        chunks.append(text.mid(at, chunkSize));
    return chunks;
}

std::span<const uchar> bytesOf(const QByteArray &data)
{
    return {reinterpret_cast<const uchar *>(data.constData()), size_t(data.size())};
}

// The article's lines alone, without header and trailer, chunk by chunk.
template <typename Walk> void decodeLines(benchmark::State &state, Walk walk)
{
    const QByteArray text = article();
    const qsizetype start = text.indexOf('\n') + 1;
    const QByteArray lines = text.mid(start, text.indexOf("=yend") - start);
    const QList<QByteArray> chunks = chunksOf(lines);
    std::vector<uchar> out(chunkSize);
    for (auto _ : state) {
        for (const QByteArray &chunk : chunks)
            benchmark::DoNotOptimize(walk(bytesOf(chunk), out));
    }
    state.SetBytesProcessed(state.iterations() * lines.size());
}

void plainLoop(benchmark::State &state) { decodeLines(state, referenceWalk); }

void kernel(benchmark::State &state, YencKernel kernel)
{
    if (!isSupported(kernel))
        return state.SkipWithError("not on this processor");
    decodeLines(state, [kernel](std::span<const uchar> in, std::span<uchar> out) {
        return walkYenc(in, out, kernel);
    });
}

// What a decoder cannot do without: the loop, zlib's checksum, one write a chunk.
void plainDecoder(benchmark::State &state)
{
    const QTemporaryDir dir(u"/dev/shm/bench-XXXXXX"_s);
    const QByteArray text = article();
    const QList<QByteArray> chunks = chunksOf(text);
    std::vector<uchar> out(chunkSize);
    for (auto _ : state) {
        QFile file(dir.filePath(u"a"_s));
        if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
            return state.SkipWithError("cannot write");
        uLong crc = 0;
        for (const QByteArray &chunk : chunks) {
            const size_t size = referenceWalk(bytesOf(chunk), out).produced;
            file.write(reinterpret_cast<const char *>(out.data()), qint64(size));
            crc = crc32(crc, out.data(), uInt(size));
        }
        benchmark::DoNotOptimize(crc);
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}

void yencDecoder(benchmark::State &state)
{
    const QTemporaryDir dir(u"/dev/shm/bench-XXXXXX"_s);
    const QByteArray text = article();
    const QList<QByteArray> chunks = chunksOf(text);
    for (auto _ : state) {
        YencDecoder decoder(dir.path(), nullptr);
        for (QByteArray chunk : chunks)
            decoder.decode(chunk);
        if (!decoder.isOk())
            return state.SkipWithError("wrong result");
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}

template <typename Update> void checksum(benchmark::State &state, Update update)
{
    const auto data = bytesOf(decodedArticle());
    for (auto _ : state)
        benchmark::DoNotOptimize(update(data));
    state.SetBytesProcessed(state.iterations() * articleSize);
}

void crcZlib(benchmark::State &state)
{
    checksum(state,
             [](std::span<const uchar> data) { return crc32(0, data.data(), uInt(data.size())); });
}

void crcTables(benchmark::State &state)
{
    checksum(state, [](std::span<const uchar> data) { return ~updateCrc32ByTables(~0u, data); });
}

void crcFolding(benchmark::State &state)
{
    if (!canFoldCrc32())
        return state.SkipWithError("not on this processor");
    checksum(state, [](std::span<const uchar> data) { return ~updateCrc32ByFolding(~0u, data); });
}

BENCHMARK(plainLoop);
BENCHMARK_CAPTURE(kernel, bytes, YencKernel::Bytes);
BENCHMARK_CAPTURE(kernel, ssse3, YencKernel::Ssse3);
BENCHMARK_CAPTURE(kernel, avx2, YencKernel::Avx2);
BENCHMARK(plainDecoder);
BENCHMARK(yencDecoder);
BENCHMARK(crcZlib);
BENCHMARK(crcTables);
BENCHMARK(crcFolding);

// Prints the rows as usual and remembers their rates for the ratios at the end.
class Reporter final : public benchmark::ConsoleReporter {
public:
    Reporter()
        : ConsoleReporter(OO_Tabular)
    {
    }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.counters.contains("bytes_per_second"))
                rates[run.run_name.function_name] = run.counters.at("bytes_per_second");
        }
    }

    void printRatio(const char *name, const char *rival) const
    {
        const auto rate = rates.find(name);
        const auto rivalRate = rates.find(rival);
        if (rate != rates.end() && rivalRate != rates.end())
            std::printf("%-14s %5.2f GB/s = %4.1f times %s\n", name, rate->second / 1e9,
                        rate->second / rivalRate->second, rival);
    }

private:
    std::map<std::string, double> rates;
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\n");
    for (const char *name : {"kernel/bytes", "kernel/ssse3", "kernel/avx2"})
        reporter.printRatio(name, "plainLoop");
    reporter.printRatio("yencDecoder", "plainDecoder");
    for (const char *name : {"crcTables", "crcFolding"})
        reporter.printRatio(name, "crcZlib");
    return 0;
}
