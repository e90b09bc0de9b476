// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The yEnc decoder against the plain way: each kernel by itself, and a whole article cut into
// pieces.
#include <QDir>
#include <QFile>

#include <algorithm>
#include <vector>
#include <zlib.h>

#include "support.h"
#include "transfer/kernels.h"
#include "transfer/yencdecoder.h"
#include "transfer/yencreference.h"

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

/// What lines of data decode to that hold no NUL and no control line.
QByteArray decoded(const QByteArray &lines)
{
    const Bytes in(lines.begin(), lines.end());
    Bytes out(in.size());
    const YencProgress done = referenceWalk(in, out);
    require(done.consumed == in.size(), "data that the reference reads to its end");
    return {reinterpret_cast<const char *>(out.data()), qsizetype(done.produced)};
}

QByteArray endLine(const QByteArray &content)
{
    const uLong crc = crc32(0, reinterpret_cast<const Bytef *>(content.constData()),
                            static_cast<uInt>(content.size()));
    return "\r\n=yend size=" + QByteArray::number(content.size())
           + " crc32=" + QByteArray::number(qulonglong(crc), 16) + "\r\n.\r\n";
}

QByteArray takeFile(const QString &path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), "a file that the decoder made");
    QByteArray content = file.readAll();
    file.remove();
    return content;
}

/// The input as data of an article that is cut where the input says.
void compareDecoder(QByteArray input)
{
    input.replace('\0', 'x').replace('y', 'x');
    QByteArrayList blocks = pieces(input);
    const QByteArray expected = decoded('\n' + blocks.join() + "xx");
    blocks.first().prepend("=ybegin line=128 name=a\r\n");
    blocks.last().append("xx" + endLine(expected));

    YencDecoder decoder(scratchFolder(), nullptr);
    for (QByteArray &block : blocks)
        decoder.decode(block);
    decoder.finish();
    require(takeFile(scratchFolder() + u"/a"_s) == expected,
            "the content that the reference gives");
    require(decoder.isOk() && decoder.bytes() == quint64(expected.size()), "an undamaged article");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    compareWalks(input);
    compareDecoder(input);
    return 0;
}
