// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The receiving of an article's body: lines until the encoding is known, raw chunks from then on.
// Also how much is read at once.
#include <QDebug>
#include <stdexcept>

#include "queue/nzbfile.h"
#include "transfer/nntp.h"
#include "transfer/speedlimit.h"
#include "transfer/uudecoder.h"
#include "transfer/yencdecoder.h"

namespace {

/// The end of a multi-line reply, with the line end before it (RFC 3977 3.1.1).
constexpr QByteArrayView terminator = "\r\n.\r\n";

/// Far above any article: most have less than one megabyte, and servers take no more than a few.
constexpr quint64 maxArticleLength = 32 * 1024 * 1024;

/// The most bytes that one connection reads from the network and decrypts before the others and the
/// window get their turn. Qt's limit applies to its buffer of encrypted bytes, all of which it
/// decrypts at once: without a limit, eight connections decrypt eight whole articles first.
constexpr qint64 decryptedAtOnce = 128 * 1024;

/// The same for a plain socket while there is a speed limit.
constexpr qint64 limitedAtOnce = 64 * 1024;

/// How many bytes of the terminator @p chunk ends with, 0 to 4.
int terminatorBegun(const QByteArray &chunk)
{
    for (const int length : {4, 3, 2, 1}) {
        if (chunk.endsWith(terminator.first(length)))
            return length;
    }
    return 0;
}

/// True when @p chunk ends the article, @p begun being terminatorBegun() of the chunk before it.
/// A terminator in three pieces is not recognised; the owner's time-out ends such an article.
bool endsArticle(const QByteArray &chunk, int begun)
{
    return chunk.endsWith(terminator) || chunk == terminator.sliced(begun);
}

/// A line of 45 encoded bytes, the length that posters use for every line but the last.
bool isFullUuencodeLine(const QByteArray &line)
{
    return (line.size() == 63 || line.size() == 64) && line.startsWith('M');
}

} // namespace

void NNTP::readBodyLines(QByteArray line)
{
    const QPointer<NNTP> self(this);
    examineBodyLine(line);
    while (self && !decoder && !abortedForEndlessArticle() && socket->canReadLine()
           && grantedBytes(1) == 1) {
        line = takeLine();
        examineBodyLine(line);
    }
}

void NNTP::examineBodyLine(QByteArray &line)
{
    if (line.startsWith("=ybegin ")) {
        startDecoder(new YencDecoder(folder, this), line);
    } else if (isUuencode(line)) {
        qDebug() << "Detected UUencoding";
        const QString name = nzbfile ? nzbfile->name() : QString();
        startDecoder(new UUDecoder(folder, name, seqnr, this), line);
    } else if (line == ".\r\n" || line == ".\n") {
        finishUnknownArticle();
    }
}

bool NNTP::isUuencode(const QByteArray &line)
{
    if (seqnr == 1 ? UUDecoder::isBeginLine(line) : isFullUuencodeLine(line))
        return true;
    // The last line of a file's last article may be the only one, and short; what follows it tells.
    const QByteArray ahead = socket->peek(100);
    const bool lastPart = nzbfile && seqnr == nzbfile->partCount();
    return (lastPart && ahead.startsWith("`\r\nend\r\n")) || ahead.startsWith("`\nend\n");
}

void NNTP::startDecoder(AbstractDecoder *newDecoder, QByteArray &line)
{
    const QPointer<NNTP> self(this);
    decoder = newDecoder;
    terminatorMatch = terminatorBegun(line);
    decode(line);
    if (self)
        readAvailable();
}

void NNTP::finishUnknownArticle()
{
    qDebug() << "Article has unknown encoding :-(";
    state = StateReady;
    msgid.clear();
    emit dataDecoded(nzbfile, seqnr, QString(), 0, false, false);
}

/// How many bytes the socket reads ahead; 0 for all that come. With a speed limit the rest stays
/// with the server.
qint64 NNTP::readRoom() const
{
    if (ssl)
        return decryptedAtOnce;
    return speedLimit && speedLimit->isActive() ? limitedAtOnce : 0;
}

void NNTP::setReadRoom()
{
    if (const qint64 room = readRoom(); socket->readBufferSize() != room)
        socket->setReadBufferSize(room);
}

/// How many of @p available bytes may be read now. If these are fewer, the reading goes on by
/// itself.
qint64 NNTP::grantedBytes(qint64 available)
{
    if (!speedLimit)
        return available;
    setReadRoom();
    if (!speedLimit->isActive())
        return available;
    return speedLimit->take(available, this, [this] {
        if (state != StateReadingBody)
            return; // an error has ended the article, and the clock stands until the next login
        lastActivity.start(); // the server is not to blame for the wait
        readAvailable();
    });
}

void NNTP::readChunk()
{
    const QPointer<NNTP> self(this);
    // Unlike readAll(), this hands over the socket's own block without a copy.
    QByteArray chunk = socket->read(grantedBytes(socket->bytesAvailable()));
    if (chunk.isEmpty()) // an empty chunk would hide the first half of a terminator
        return;
    bytesReceived_ += static_cast<quint64>(chunk.size());
    if (abortedForEndlessArticle())
        return;
    const bool finished = endsArticle(chunk, terminatorMatch);
    if (!finished)
        terminatorMatch = terminatorBegun(chunk);
    decode(chunk);
    if (finished && self && decoder)
        finishArticle();
}

bool NNTP::abortedForEndlessArticle()
{
    if (state == StateDisconnected || bytesReceived_ - bytesBeforeArticle <= maxArticleLength)
        return false;
    abortWithError(0, tr("The server sent an article without an end"));
    return true;
}

/// A decoder that fails ends the connection and is gone when this returns.
void NNTP::decode(QByteArray &data)
{
    try {
        decoder->decode(data);
    } catch (const std::length_error &) {
        abortForEndlessLine();
    } catch (const std::runtime_error &failure) {
        abortWithError(DecoderFailed, QString::fromUtf8(failure.what()));
    }
}

void NNTP::finishArticle()
{
    // Ready before the signal goes out: its receiver asks for the next article from within it.
    state = StateReady;
    msgid.clear();
    const QPointer<AbstractDecoder> done(decoder);
    decoder->finish();
    const bool yenc = decoder->isYenc();
    const bool ok = decoder->isOk();
    const quint64 bytes = decoder->bytes();
    if (nzbfile && !decoder->postedName().isEmpty())
        nzbfile->setPostedName(decoder->postedName());
    emit dataDecoded(nzbfile, seqnr, decoder->filename(), bytes, ok, yenc);
    if (done)
        dropDecoder();
}
