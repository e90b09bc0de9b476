// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTemporaryDir>

#include "queue/nzbfile.h"
#include "support/articles.h"
#include "support/case.h"
#include "support/files.h"
#include "support/testcertificate.h"
#include "transfer/nntplink.h"

using namespace Qt::StringLiterals;

namespace {

/// More than is decrypted at once.
const QByteArray content = randomBytes(7, 1'000'000);

/// A server with a certificate, trusted if it is that of an authority, and a connection to it.
struct Session {
    explicit Session(const QString &commonName = u"127.0.0.1"_s,
                     const QString &altName = u"IP:127.0.0.1"_s, bool ownAuthority = true)
    {
        qRegisterMetaType<NzbFile *>();
        static QHash<QString, std::optional<TestCertificate>> all; // making one takes its time
        auto &made = all[commonName + QString::number(ownAuthority)];
        const auto make =
            ownAuthority ? TestCertificate::signedByAuthority : TestCertificate::selfSigned;
        QString reason;
        if (!made && !(made = make(commonName, {altName}, &reason)))
            qFatal("%s", qPrintable(reason));
        if (ownAuthority)
            trust.emplace(made->authority);
        server.emplace(made->serverConfiguration());
        server->addArticle("a@b", yencArticle("film.bin", content.size(), 1, 1, 1, content));
        link.emplace(*server, u"secret"_s, true);
    }
    void fetch() const { link->nntp->getArticle(u"a@b"_s, dir.path(), nullptr, 2); }
    [[nodiscard]] QByteArray saved() const { return contentsOf(dir.filePath(u"film.bin"_s)); }

    QTemporaryDir dir;
    std::optional<TrustedAuthority> trust;
    std::optional<NewsServer> server;
    std::optional<Link> link;
};

const struct {
    const char *name;
    bool ownAuthority;
    QString commonName;
    QString altName;
    QString text;
} certificates[]{
    {"self-signed", false, u"127.0.0.1"_s, u"IP:127.0.0.1"_s,
     u".<p>This could mean something bad"_s},
    {"other host", true, u"news.example"_s, u"DNS:news.example"_s,
     u": You entered hostname '127.0.0.1' but the server's SSL certificate is only valid for "
     "'news.example'"_s},
    {"no common name", true, QString(), u"DNS:other.example"_s,
     u"is only valid for 'other.example'"_s},
};
const Case refused("a certificate that is refused", certificates, [](const auto &row) {
    const Session session(row.commonName, row.altName, row.ownAuthority);
    session.fetch();
    QTRY_COMPARE(session.link->outcomes(), 1);
    QCOMPARE(session.link->failed.size(), 1);
    QCOMPARE(session.link->failed.first().at(0).toInt(), 0);
    const QString text = session.link->failed.first().at(1).toString();
    QVERIFY2(text.startsWith("SSL verification error"_L1) && text.contains(row.text),
             qPrintable(text));
    QVERIFY(session.server->commands().isEmpty());
});

const Case longLine("an article, then a line without an end", [] {
    Session session;
    session.fetch();
    QTRY_COMPARE(session.link->decoded.size(), 1);
    QVERIFY(session.saved() == content);
    // What limits the decryption must not make a long line wait for room.
    session.server->script(When::body(), Reply::bytes(QByteArray(4'000'000, 'x')));
    session.fetch();
    QTRY_COMPARE(session.link->failed.size(), 1);
    QCOMPARE(session.link->failed.first().at(1).toString(),
             u"The server sent a line without an end"_s);
});

/// What Qt decrypts at a time.
constexpr qsizetype block = 4096;

const struct {
    const char *name;
    qsizetype cut; ///< where the server cuts the reply, from its end
    qsizetype blocks; ///< before the terminator
    bool closed; ///< the server closes the connection behind the article
} endings[]{
    {"dot line apart", -3, 2, false},
    {"dot line apart, short", -3, 1, false},
    {"terminator apart", -5, 2, false},
    {"LF, dot and line end apart", -4, 2, false},
    {"line end apart", -2, 2, false},
    {"LF apart", -1, 2, false},
    {"dot line apart, then closed", -3, 2, true},
};
const Case remainders("an article ends behind any remainder of a block", endings, [](auto &row) {
    Session session;
    QTRY_COMPARE(session.link->loggedIn.size(), 1);
    const QByteArray part = content.first(row.blocks * block - 1000);
    const QByteArray article = yencArticle("film.bin", 99 + part.size(), 2, 2, 100, part);
    const QByteArray reply = "222 0 <a@b>\r\nX: " + article;
    const qsizetype padding = block * (row.blocks + 1) - reply.size() - 2;
    for (const qsizetype remainder : {0, 1, 2, 3, 4, 5}) {
        QByteArray padded = reply;
        padded.insert(16, QByteArray(padding % block + remainder, 'x') + "\r\n");
        QCOMPARE(padded.size() % block, remainder);
        const Reply whole = Reply::bytes(padded + ".\r\n").splitAt({row.cut});
        session.server->script(When::body(), row.closed ? whole.closeAfter(Reply::whole) : whole,
                               1);
        QFile::remove(session.dir.filePath(u"film.bin"_s));
        session.fetch();
        QTRY_COMPARE(session.link->decoded.size(), remainder + 1);
        QVERIFY(session.saved().sliced(99) == part);
        QTRY_COMPARE(session.link->failed.size(), row.closed ? remainder + 1 : 0);
    }
});

} // namespace
