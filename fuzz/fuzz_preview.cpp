// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What a client of the preview's server may send. The player is one that cannot be started.
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QXmlAttributes>

#include "preview/preview.h"
#include "queue/nzb.h"
#include "rawsocket.h"
#include "support.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray film = "film";

/// With one film, all of which has arrived.
Nzb &job()
{
    static Nzb nzb(nullptr, scratchFolder(), QString());
    if (nzb.fileCount() == 0) {
        QXmlAttributes file;
        file.append(u"subject"_s, {}, {}, u"\"a.mkv\" (1/1)"_s);
        file.append(u"completed"_s, {}, {}, QString::number(film.size()));
        static_cast<void>(nzb.startElement({}, {}, u"file"_s, file));
        QFile content(nzb.folder() + u"/a.mkv"_s);
        require(content.open(QIODevice::WriteOnly) && content.write(film) == film.size(),
                "room for the film");
    }
    return nzb;
}

/// How the preview reads: a line each time that something arrives, of which the first request for
/// the film counts.
class Requests {
public:
    void arrive(const QByteArray &piece)
    {
        text += piece;
        const qsizetype lf = piece.isEmpty() ? -1 : text.indexOf('\n');
        asked = asked || (lf >= 0 && text.startsWith("GET /marlowick"));
        text.remove(0, lf + 1);
    }

    bool asked = false;

private:
    QByteArray text;
};

/// Lets the preview read all that has arrived.
void settle(const QPointer<QTcpSocket> &socket)
{
    do {
        runEvents();
    } while (socket && socket->isOpen() && isReadable(socket->socketDescriptor()));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    Preview preview(&job(), nullptr);
    preview.start(QString(), {});
    RawSocket client = RawSocket::toPort(preview.findChild<QTcpServer *>()->serverPort());
    runEvents();
    const QPointer<QTcpSocket> socket(preview.findChild<QTcpSocket *>());
    require(socket, "a client that is served");

    Requests requests;
    QByteArray answer;
    for (const QByteArray &piece : pieces(input)) {
        if (requests.asked)
            break;
        client.send(piece);
        settle(socket);
        requests.arrive(piece);
        answer += client.receive();
    }
    settle(socket);
    answer += client.receive();
    const QByteArray expected =
        "HTTP/1.0 200 Ok\r\nContent-Type: application/octet-stream\r\nConnection: close\r\n\r\n"
        + film;
    require(answer == (requests.asked ? expected : ""), "the film for a request, else nothing");
    return 0;
}
