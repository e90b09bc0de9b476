// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The kernels of yEnc against the plain way, and the decoder with an article in pieces beside the
// same in one.
#include <QFile>

#include "support.h"
#include "transfer/yencdecoder.h"
#include "transfer/yencreference.h"

using namespace Qt::StringLiterals;

namespace {

std::span<const uchar> bytesOf(const QByteArray &data)
{
    return {reinterpret_cast<const uchar *>(data.constData()), size_t(data.size())};
}

/// Returns the file, of which a part may lie far behind its start, and its verdict as a last byte;
/// the text of the exception if there is one.
QByteArray decode(const QByteArrayList &blocks)
{
    clearFiles(scratchFolder());
    YencDecoder decoder(scratchFolder(), nullptr);
    try {
        for (QByteArray block : blocks)
            decoder.decode(block);
    } catch (const std::exception &failure) {
        return failure.what();
    }
    QFile file(scratchFolder() + u"/a"_s);
    require(file.open(QIODevice::ReadOnly), "a file that the decoder made");
    return file.read(1024 * 1024) + (decoder.isOk() ? '+' : '-');
}

const Target target("yenc", [](const QByteArray &input) {
    require(!wrongKernel(bytesOf(input)), "the bytes of the walk by bytes");
    QByteArrayList blocks = pieces(input);
    // Behind so much the border between two of the decoder's pieces is in the input.
    if (input.startsWith('#') && input.size() > 1)
        blocks.first().replace(0, 2, QByteArray(64 * 1024 - uchar(input.at(1)), 'x'));
    blocks.first().prepend("=ybegin line=128 name=a\r\n");
    blocks.last() += "xx";
    const bool endsEarly = blocks.join().contains("=yend");
    const QByteArray content = decode({blocks.join()}).chopped(1);
    blocks.last() += "\r\n=yend size=" + QByteArray::number(content.size()) + " crc32="
                     + QByteArray::number(~updateCrc32ByTables(~0U, bytesOf(content)), 16) + "\r\n";
    const QByteArray whole = blocks.join();
    // These act at once on what is not yet written, or take the place of a cut.
    const bool anyCut = !whole.contains(QByteArrayView("=\0", 2)) && !whole.contains("\n=yp")
                        && !whole.contains("\n=yb");
    const QByteArray inPieces = decode(blocks);
    require(!anyCut || inPieces == decode({whole}), "the same in pieces");
    require(!anyCut || endsEarly || inPieces.endsWith('+'), "the verdict");
});

} // namespace
