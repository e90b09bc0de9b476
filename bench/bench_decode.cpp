// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What decoding an article costs: each way beside its plain rival, in the same run. Rates count
// article bytes as posted for decoding, decoded bytes for the checksum.
#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>
#include <zlib.h>

#include "medianreporter.h"
#include "support/articles.h"
#include "transfer/kernels.h"
#include "transfer/yencdecoder.h"
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
void decodeLines(benchmark::State &state, YencWalk *walk)
{
    const QByteArray text = article();
    const qsizetype start = text.indexOf('\n') + 1;
    const QByteArray lines = text.mid(start, text.indexOf("=yend") - start);
    const QList<QByteArray> chunks = chunksOf(lines);
    std::vector<uchar> out(chunkSize);
    for (auto _ : state) {
        for (const QByteArray &chunk : chunks) {
            // At a chunk's end a byte or two may be left, which those behind them judge.
            if (walk(bytesOf(chunk), out).consumed + 2 < size_t(chunk.size()))
                qFatal("A kernel stops before the end");
        }
    }
    state.SetBytesProcessed(state.iterations() * lines.size());
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

void checksum(benchmark::State &state, Crc32Update *update)
{
    const auto data = bytesOf(decodedArticle());
    for (auto _ : state)
        benchmark::DoNotOptimize(update(~0u, data));
    state.SetBytesProcessed(state.iterations() * articleSize);
}

quint32 crcByZlib(quint32 crc, std::span<const uchar> data)
{
    return ~quint32(crc32(~crc, data.data(), uInt(data.size())));
}

using Pairs = std::vector<std::pair<std::string, std::string>>;

/// @returns each row that has a rival, with the rival
Pairs registerRows()
{
    Pairs pairs{{"yencDecoder", "plainDecoder"}};
    benchmark::RegisterBenchmark("plainDecoder", plainDecoder);
    benchmark::RegisterBenchmark("yencDecoder", yencDecoder);
    benchmark::RegisterBenchmark("plainLoop", decodeLines, referenceWalk);
    for (const auto &kernel : yencKernels()) {
        pairs.emplace_back(std::string("kernel/") + kernel.name, "plainLoop");
        benchmark::RegisterBenchmark(pairs.back().first.c_str(), decodeLines, kernel.run);
    }
    benchmark::RegisterBenchmark("crcZlib", checksum, crcByZlib);
    for (const auto &kernel : crc32Kernels()) {
        pairs.emplace_back(std::string("crc/") + kernel.name, "crcZlib");
        benchmark::RegisterBenchmark(pairs.back().first.c_str(), checksum, kernel.run);
    }
    return pairs;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const Pairs pairs = registerRows();
    MedianReporter reporter;
    reporter.run(argc, argv);
    std::printf("\n");
    for (const auto &[row, rival] : pairs)
        reporter.printRatio(row.c_str(), rival.c_str());
    return 0;
}
