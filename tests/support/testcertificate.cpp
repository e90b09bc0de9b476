// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/testcertificate.h"

#include <QTemporaryDir>

#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

/// Makes "<name>.key" and "<name>.pem" in @p folder.
void make(const QTemporaryDir &folder, const QString &name, const QString &commonName,
          const QStringList &more)
{
    // The system's own OpenSSL settings would add extensions to the ones asked for.
    writeFile(folder.filePath(u"openssl.cnf"_s), "[req]\ndistinguished_name = name\n[name]\n");
    const QString line =
        u"openssl req -x509 -config openssl.cnf -newkey rsa:2048 -nodes -days 2 -keyout %1.key "
        "-out %1.pem -subj"_s.arg(name);
    runInFolder(folder.path(), line.split(u' ') + QStringList{u"/CN="_s + commonName} + more);
}

std::optional<TestCertificate> made(const QString &commonName, const QStringList &altNames,
                                    const QString &authority, QString *reason)
{
    const QTemporaryDir folder;
    QStringList more{u"-addext"_s, u"basicConstraints=CA:FALSE"_s};
    if (!altNames.isEmpty())
        more << u"-addext"_s << u"subjectAltName="_s + altNames.join(u',');
    try {
        if (authority != "server"_L1) {
            make(folder, authority, u"Test authority"_s,
                 {u"-addext"_s, u"basicConstraints=critical,CA:TRUE"_s});
            more << u"-CA"_s << authority + u".pem"_s << u"-CAkey"_s << authority + u".key"_s;
        }
        make(folder, u"server"_s, commonName, more);
    } catch (const std::runtime_error &failure) {
        if (reason)
            *reason = QString::fromUtf8(failure.what());
        return {};
    }
    const auto pem = [&](const QString &name) { return contentsOf(folder.filePath(name)); };
    return TestCertificate{.certificate = QSslCertificate(pem(u"server.pem"_s)),
                           .key = QSslKey(pem(u"server.key"_s), QSsl::Rsa),
                           .authority = QSslCertificate(pem(authority + u".pem"_s))};
}

} // namespace

std::optional<TestCertificate>
TestCertificate::selfSigned(const QString &commonName, const QStringList &altNames, QString *reason)
{
    return made(commonName, altNames, u"server"_s, reason);
}

std::optional<TestCertificate> TestCertificate::signedByAuthority(const QString &commonName,
                                                                  const QStringList &altNames,
                                                                  QString *reason)
{
    return made(commonName, altNames, u"authority"_s, reason);
}

QSslConfiguration TestCertificate::serverConfiguration() const
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(certificate);
    configuration.setPrivateKey(key);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    return configuration;
}

TrustedAuthority::TrustedAuthority(const QSslCertificate &authority)
    : previous(QSslConfiguration::defaultConfiguration())
{
    QSslConfiguration trusting = previous;
    trusting.setCaCertificates({authority});
    QSslConfiguration::setDefaultConfiguration(trusting);
}

TrustedAuthority::~TrustedAuthority() { QSslConfiguration::setDefaultConfiguration(previous); }
