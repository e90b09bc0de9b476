// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "queue/nzbfile.h"
#include "support/articles.h"
#include "support/testcertificate.h"
#include "transfer/nntplink.h"

using namespace Qt::StringLiterals;

/// More than is decrypted at once.
const QByteArray content = randomBytes(7, 1'000'000);

class TestNntpSsl final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<NzbFile *>(); }
    void verifiesCertificate_data();
    void verifiesCertificate();

private:
    QTemporaryDir dir;
};

void TestNntpSsl::verifiesCertificate_data()
{
    QTest::addColumn<bool>("ownAuthority");
    QTest::addColumn<QString>("validFor");
    QTest::addColumn<QString>("text");
    QTest::newRow("valid") << true << u"127.0.0.1"_s << QString();
    QTest::newRow("self-signed") << false << u"127.0.0.1"_s
                                 << u"SSL verification error.<p>This could mean something bad"_s;
    QTest::newRow("other host")
        << true << u"news.example"_s
        << u"SSL verification error: You entered hostname '127.0.0.1' but the server's SSL "
           "certificate is only valid for 'news.example'"_s;
}

void TestNntpSsl::verifiesCertificate()
{
    QFETCH(const bool, ownAuthority);
    QFETCH(const QString, validFor);
    QFETCH(const QString, text);
    QString reason;
    const bool isAddress = validFor.front().isDigit();
    const QStringList names{(isAddress ? "IP:"_L1 : "DNS:"_L1) + validFor};
    const auto made = ownAuthority ? TestCertificate::signedByAuthority(validFor, names, &reason)
                                   : TestCertificate::selfSigned(validFor, names, &reason);
    if (!made)
        QSKIP(qPrintable(reason));
    std::optional<TrustedAuthority> trust;
    if (ownAuthority)
        trust.emplace(made->authority);
    NewsServer server(made->serverConfiguration());
    server.addArticle("a@b", yencArticle("film.bin", content.size(), 1, 1, 1, content));

    Link link(server, u"secret"_s, true);
    link.nntp->getArticle(u"a@b"_s, dir.path(), nullptr, 1);
    QTRY_COMPARE(link.outcomes(), 1);
    if (text.isEmpty()) {
        QCOMPARE(link.decoded.size(), 1);
        QFile saved(dir.filePath(u"film.bin"_s));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QVERIFY(saved.readAll() == content);
        // What limits the decryption must not make a long line wait for room.
        server.script(When::body(), Reply::bytes(QByteArray(4'000'000, 'x')));
        link.nntp->getArticle(u"a@b"_s, dir.path(), nullptr, 1);
        QTRY_COMPARE(link.failed.size(), 1);
        QCOMPARE(link.failed.first().at(1).toString(), u"The server sent a line without an end"_s);
        return;
    }
    QCOMPARE(link.failed.size(), 1);
    QCOMPARE(link.failed.first().at(0).toInt(), 0);
    QVERIFY2(link.failed.first().at(1).toString().startsWith(text),
             qPrintable(link.failed.first().at(1).toString()));
    QVERIFY(server.commands().isEmpty());
}

QTEST_GUILESS_MAIN(TestNntpSsl)
#include "test_nntp_ssl.moc"
