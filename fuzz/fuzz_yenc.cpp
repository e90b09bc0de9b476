// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The yEnc decoder against the plain way: each kernel by itself, and a whole article cut into
// pieces.
#include <QFile>

#include <algorithm>
#include <vector>
#include <zlib.h>

#include "support.h"
#include "transfer/kernels.h"
#include "transfer/yencdecoder.h"
#include "transfer/yencreference.h"
#include "yencarticle.h"

using namespace Qt::StringLiterals;

namespace {

using Bytes = std::vector<uchar>;

/// Walks with each kernel that this processor can run, all buffers being as small as they may be.
void compareWalk(std::span<const uchar> in, std::span<uchar> out, std::span<const uchar> expected,
                 const YencProgress &wanted)
{
    for (const Kernel<YencWalk> &kernel : yencKernels()) {
        const YencProgress done = kernel.run(in, out);
        require(done.consumed == wanted.consumed && done.produced == wanted.produced,
                "a walk as far as that by bytes");
        require(std::equal(out.begin(), out.begin() + qsizetype(done.produced), expected.begin()),
                "the bytes of the walk by bytes");
    }
}

/// Over all of @p input: where a walk stops, the next one starts a byte later.
void compareWalks(const QByteArray &input)
{
    const Bytes in(input.begin(), input.end());
    Bytes out(in.size());
    Bytes expected(in.size());
    for (size_t at = 0; at < in.size(); ++at) {
        const auto rest = std::span(in).subspan(at);
        const YencProgress wanted = referenceWalk(rest, expected);
        compareWalk(rest, std::span(out).subspan(at), expected, wanted);
        at += wanted.consumed;
    }
}

QByteArray endLine(const QByteArray &content)
{
    const uLong crc = crc32(0, reinterpret_cast<const Bytef *>(content.constData()),
                            static_cast<uInt>(content.size()));
    return "\r\n=yend size=" + QByteArray::number(content.size())
           + " crc32=" + QByteArray::number(qulonglong(crc), 16) + "\r\n.\r\n";
}

QByteArray decodedFile()
{
    QFile file(scratchFolder() + u"/a"_s);
    require(file.open(QIODevice::ReadOnly), "a file that the decoder made");
    return file.readAll();
}

/// False if it throws.
bool decode(auto &decoder, const QByteArrayList &blocks)
{
    try {
        for (QByteArray block : blocks)
            decoder.decode(block);
    } catch (const std::exception &) {
        return false;
    }
    return true;
}

/// An input that starts with '#' stands behind so much that the border between two of the decoder's
/// pieces is in it, as far as its second byte says.
QByteArray withFiller(const QByteArray &input)
{
    constexpr qsizetype pieceSize = 64 * 1024;
    if (!input.startsWith('#') || input.size() < 2)
        return input;
    return QByteArray(pieceSize - uchar(input.at(1)), 'x') + input.sliced(2);
}

/// The input as data of an article that is cut where the input says, and ends well if it does not
/// end in the input.
void compareDecoder(const QByteArray &input)
{
    const QByteArray beginning = "=ybegin line=128 name=a\r\n";
    QByteArrayList blocks = pieces(input);
    blocks.first() = withFiller(blocks.first());
    YencArticle endless;
    static_cast<void>(decode(endless, blocks + QByteArrayList{"xx"}));
    blocks.last().append("xx" + endLine(endless.written));

    YencArticle expected;
    const bool works = decode(expected, blocks);
    blocks.first().prepend(beginning);
    YencDecoder decoder(scratchFolder(), nullptr);
    const bool worked = decode(decoder, blocks);
    if (expected.known) {
        require(works == worked, "a failure where the reference has one");
        require(decoder.bytes() == quint64(expected.written.size()), "as many bytes");
        require(decoder.isOk() == expected.ok, "the verdict of the reference");
        require(decodedFile() == expected.file, "the content that the reference gives");
    }
    clearFiles(scratchFolder());
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    compareWalks(input);
    compareDecoder(input);
    return 0;
}
