// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What another process may send to the socket of the first instance.
#include <QLocalSocket>
#include <QtEndian>

#include "rawsocket.h"
#include "support.h"
#include "ui/instancelink.h"

using namespace Qt::StringLiterals;

namespace {

/// The one message in @p sent, null if it is not whole.
QString messageIn(const QByteArray &sent)
{
    if (sent.size() < 4)
        return {};
    const auto length = qFromBigEndian<quint32>(sent.constData());
    if (length > InstanceLink::maxMessageBytes || sent.size() - 4 < qsizetype(length))
        return {};
    return u""_s + QString::fromUtf8(sent.sliced(4, length));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static InstanceLink link(scratchFolder(), u"fuzz"_s);
    link.takeMessages();
    const QByteArrayList blocks =
        pieces(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));

    QStringList received;
    QObject context;
    QObject::connect(&link, &InstanceLink::messageReceived, &context,
                     [&](const QString &message) { received << message; });
    RawSocket sender = RawSocket::toPath(link.socketPath());
    for (const QByteArray &block : blocks) {
        sender.send(block);
        runEvents();
    }
    runEvents();

    const QString expected = messageIn(blocks.join());
    require(received.size() == (expected.isNull() ? 0 : 1), "a whole message once, others never");
    require(received.value(0) == expected, "the message as it was sent");
    require(sender.receive() == (expected.isNull() ? "" : "T"), "an answer to a whole message");
    sender.close();
    runEvents();
    require(!link.findChild<QLocalSocket *>(), "no sender left");
    return 0;
}
