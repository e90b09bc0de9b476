// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The uuencode decoder with an article in pieces, beside the same in one. The input's first line is
// the article's number, one digit, and the file's name; the rest is the article. The begin line of
// a first one is a piece.
#include <QDir>
#include <QFile>

#include "support.h"
#include "transfer/uudecoder.h"

using namespace Qt::StringLiterals;

namespace {

/// Returns verdict and size.
std::pair<bool, quint64> decode(const QByteArray &head, const QByteArrayList &blocks)
{
    static const QString folder = scratchFolder() + u"/job"_s;
    QDir().mkdir(folder);
    const int number = head[0] == '1' ? 1 : 2;
    UUDecoder decoder(folder,
                      QString::fromUtf8(head.sliced(1, std::min<qsizetype>(60, head.size() - 1))),
                      number, nullptr);
    for (QByteArray block : blocks)
        decoder.decode(block);
    decoder.finish();
    const QString name = decoder.filename() + u".uu00000%1"_s.arg(number);
    require(!name.startsWith(u'.') && !name.contains(u'/'), "a name that stays in the folder");
    require(QFileInfo(folder + u'/' + name).size() == qint64(decoder.bytes()), "all written");
    requireOnly({"job"}, scratchFolder());
    clearFiles(folder);
    return {decoder.isOk(), decoder.bytes()};
}

const Target target("uuencode", [](const QByteArray &input) {
    const QByteArray head = input.split('\n').first();
    if (head.isEmpty())
        return;
    const QByteArrayList blocks = pieces(input.mid(head.size() + 1));
    const auto inPieces = decode(head, blocks);
    QByteArrayList whole{blocks.join()};
    if (head[0] == '1')
        whole = {blocks.first(), blocks.sliced(1).join()};
    require((head[0] == '1' && !UUDecoder::isBeginLine(blocks.first()))
                || inPieces == decode(head, whole),
            "the same in pieces");
});

} // namespace
