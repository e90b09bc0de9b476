// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A connection and its decoders against what a server may send. The input's first line says, by
// one character each: the article's number, how many its file has, what the receiver of the signals
// does (see React), and a 'p' if there is a password. The rest is sent, in pieces as it says;
// without a password from the reply to BODY on.
#include <QDir>
#include <QFile>
#include <QTcpSocket>

#include <sanitizer/allocator_interface.h>

#include "queue/nzbfile.h"
#include "rawsocket.h"
#include "support.h"
#include "transfer/abstractdecoder.h"
#include "transfer/nntp.h"

using namespace Qt::StringLiterals;

namespace {

enum React : char {
    FetchNext = 'n', ///< as the engine does
    Quit = 'q',
    Delete = 'd',
    DeleteLater = 'l',
    Retry = 'r', ///< does nothing but to log in again after an error
};

constexpr int mostArticles = 5;
constexpr qsizetype chunk = 4096;
constexpr qsizetype mostEndless = 512 * chunk;

struct Plan {
    explicit Plan(const QByteArray &line)
        : number(1 + line.at(0) % 4)
        , parts(1 + line.at(1) % 4)
        , reaction(line.at(2))
        , login(line.contains('p'))
        , endless(line.contains('e'))
    {
    }

    int number;
    int parts;
    char reaction;
    bool login;
    bool endless; ///< the last piece goes on and on
};

const QString &jobFolder()
{
    static const QString folder = [] {
        const QString job = scratchFolder() + u"/job"_s;
        QDir().mkdir(job);
        QFile::link(scratchFolder() + u"/outside"_s, job + u"/link"_s);
        QFile::link(scratchFolder() + u"/outside"_s, job + u"/link.uu000002"_s);
        return job;
    }();
    return folder;
}

/// Owns the connection, receives its signals and stands for the server.
class Session final : public QObject {
public:
    explicit Session(const Plan &how);
    ~Session() override { delete nntp; }

    void deliver(const QByteArray &piece);
    void deliverEndless(const QByteArray &piece);
    void hangUp();

private:
    void fetch(int number);
    void onDecoded(NzbFile *of, int number, const QString &name, bool ok);
    void onError(NzbFile *of);
    void react();
    void settle();
    void checkCommands();
    [[nodiscard]] bool isUp() const { return nntp && socket->isOpen(); }
    [[nodiscard]] qsizetype decoders() const;

    Plan plan;
    NzbFile file;
    QPointer<NNTP> nntp;
    QPointer<QTcpSocket> socket;
    RawSocket server;
    QByteArray commands;
    int wanted = 0;
    int good = 0;
    int failures = 0;
    qint64 sent = 0;
};

const RawSocket &listener()
{
    static const RawSocket socket = RawSocket::listening();
    return socket;
}

Session::Session(const Plan &how)
    : plan(how)
    , file(nullptr, u"\"link\" (1/%1)"_s.arg(plan.parts), {}, 0, 0, 0, false, 0, false)
    , nntp(new NNTP(u"127.0.0.1"_s, listener().port(), u"joe"_s,
                    plan.login ? u"secret"_s : QString(), false, nullptr))
    , socket(nntp->findChild<QTcpSocket *>())
{
    connect(nntp, &NNTP::dataDecoded, this,
            [this](NzbFile *of, int number, const QString &name, quint64, bool ok) {
                onDecoded(of, number, name, ok);
            });
    connect(nntp, &NNTP::error, this, [this](int, const QString &, NzbFile *of) { onError(of); });
    connect(nntp, &NNTP::articleNotFound, this, &Session::react);
    connect(nntp, &NNTP::loggedIn, this, [this] { fetch(plan.number); });
    fetch(plan.number);
    if (!plan.login)
        deliver("200\r\n");
}

void Session::fetch(int number)
{
    if (++wanted <= mostArticles)
        nntp->getArticle(u"a@b"_s, jobFolder(), &file, number);
}

void Session::onDecoded(NzbFile *of, int number, const QString &name, bool ok)
{
    require(of == &file && number >= plan.number, "the file of the article");
    require(!name.startsWith(u'.') && !name.contains(u'/'), "a name that stays in the folder");
    good += ok;
    require(good <= wanted, "an article decoded once");
    react();
}

void Session::onError(NzbFile *of)
{
    ++failures;
    require(!of || of == &file, "the file of the article");
    require(!socket->isOpen() && decoders() == 0, "a connection that is reset");
    require(nntp->idleSeconds() == 0, "a clock that stands");
    if (plan.reaction == Retry && ++wanted <= mostArticles)
        nntp->retryAfter(0);
    else if (plan.reaction != FetchNext)
        react();
}

void Session::react()
{
    switch (plan.reaction) {
    case FetchNext:
        fetch(plan.number + 1);
        break;
    case Quit:
        nntp->quit();
        break;
    case Delete:
        delete nntp;
        break;
    case DeleteLater:
        nntp->deleteLater();
        break;
    default:
        break;
    }
}

qsizetype Session::decoders() const { return nntp->findChildren<AbstractDecoder *>().size(); }

void Session::deliver(const QByteArray &piece)
{
    settle();
    for (RawSocket next = listener().accept(); next.isOpen(); next = listener().accept())
        server = std::move(next);
    sent += server.send(piece);
    settle();
    checkCommands();
}

/// Goes on as long as what is sent stays in memory, which must have an end.
void Session::deliverEndless(const QByteArray &piece)
{
    const QByteArray pattern = piece.isEmpty() ? "x" : piece;
    const QByteArray part = pattern.repeated(1 + chunk / pattern.size());
    // Buffers that were there come and go; only without lines is it cheap to wait that out.
    const qint64 slack = pattern.contains('\n') ? 0 : 8 * chunk;
    const int failuresBefore = failures;
    const qint64 sentBefore = sent;
    const size_t memoryBefore = __sanitizer_get_current_allocated_bytes();
    qint64 more = 0;
    qint64 kept = 0;
    do {
        deliver(part);
        more = sent - sentBefore;
        kept = qint64(__sanitizer_get_current_allocated_bytes() - memoryBefore);
        kept += isUp() ? socket->bytesAvailable() : 0; // may lie in a buffer that was there
        require(more < mostEndless, "an end of what is kept");
    } while (isUp() && failures == failuresBefore && kept > more / 2 - slack);
}

/// Lets the connection read all that has arrived.
void Session::settle()
{
    do {
        runEvents();
    } while (socket
             && (socket->state() == QAbstractSocket::ConnectingState
                 || isReadable(socket->socketDescriptor())));
}

void Session::checkCommands()
{
    commands += server.receive();
    QByteArrayList complete = commands.split('\n');
    commands = complete.takeLast();
    for (const QByteArray &command : std::as_const(complete)) {
        require(command == "BODY <a@b>\r" || command == "QUIT\r" || command == "AUTHINFO USER joe\r"
                    || command == "AUTHINFO PASS secret\r",
                "a command that is known");
    }
    require(!nntp || nntp->bytesReceived() <= quint64(sent), "no byte more than was sent");
    require(!nntp || decoders() <= 1, "a decoder an article");
    require(!nntp || socket->bytesAvailable() < mostEndless, "no pile of what was not read");
}

void Session::hangUp()
{
    server.close();
    settle();
    require(!socket || plan.reaction == Retry || !socket->isOpen(), "a closed connection");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype lineEnd = input.indexOf('\n');
    if (lineEnd < 3)
        return 0;
    const Plan plan(input.first(lineEnd));
    QByteArrayList blocks = pieces(input.sliced(lineEnd + 1));
    const QByteArray last = plan.endless ? blocks.takeLast() : QByteArray();
    {
        Session session(plan);
        for (const QByteArray &block : blocks)
            session.deliver(block);
        if (plan.endless)
            session.deliverEndless(last);
        session.hangUp();
    }
    runEvents();
    requireOnly({"job"}, scratchFolder());
    clearFiles(jobFolder());
    return 0;
}
