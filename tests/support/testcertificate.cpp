// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/testcertificate.h"

#include <QProcess>
#include <QTemporaryDir>

#include "support/files.h"

using namespace Qt::StringLiterals;

namespace {

/// A folder that keys and certificates are made in, and the last failure there.
class Workshop final {
public:
    Workshop()
    {
        // The system's own OpenSSL settings would add extensions to the ones asked for.
        writeFile(path(u"openssl.cnf"_s), "[req]\ndistinguished_name = name\n[name]\n");
    }

    [[nodiscard]] QString path(const QString &name) const { return folder.filePath(name); }

    /// Makes "<name>.key" and "<name>.pem"; self-signed unless @p more says otherwise.
    [[nodiscard]] bool make(const QString &name, const QString &commonName, const QStringList &more)
    {
        QProcess openssl;
        openssl.setProcessChannelMode(QProcess::MergedChannels);
        openssl.start(u"openssl"_s,
                      QStringList{u"req"_s, u"-x509"_s, u"-config"_s, path(u"openssl.cnf"_s),
                                  u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s, u"-days"_s, u"2"_s,
                                  u"-subj"_s, u"/CN="_s + commonName, u"-keyout"_s,
                                  path(name + u".key"_s), u"-out"_s, path(name + u".pem"_s)}
                          + more);
        if (!openssl.waitForStarted() || !openssl.waitForFinished())
            failure = u"openssl: "_s + openssl.errorString();
        else if (openssl.exitStatus() != QProcess::NormalExit || openssl.exitCode() != 0)
            failure = QString::fromLocal8Bit(openssl.readAll());
        return failure.isEmpty();
    }

    [[nodiscard]] TestCertificate load(const QString &name, const QString &authority) const
    {
        return {.certificate = QSslCertificate(contentsOf(path(name + u".pem"_s))),
                .key = QSslKey(contentsOf(path(name + u".key"_s)), QSsl::Rsa),
                .authority = QSslCertificate(contentsOf(path(authority + u".pem"_s)))};
    }

    QString failure;

private:
    QTemporaryDir folder;
};

QStringList serverExtensions(const QStringList &altNames)
{
    QStringList extensions{u"-addext"_s, u"basicConstraints=CA:FALSE"_s};
    if (!altNames.isEmpty())
        extensions << u"-addext"_s << u"subjectAltName="_s + altNames.join(u',');
    return extensions;
}

std::nullopt_t failed(const Workshop &workshop, QString *reason)
{
    if (reason)
        *reason = workshop.failure;
    return std::nullopt;
}

} // namespace

std::optional<TestCertificate>
TestCertificate::selfSigned(const QString &commonName, const QStringList &altNames, QString *reason)
{
    Workshop workshop;
    if (!workshop.make(u"server"_s, commonName, serverExtensions(altNames)))
        return failed(workshop, reason);
    return workshop.load(u"server"_s, u"server"_s);
}

std::optional<TestCertificate> TestCertificate::signedByAuthority(const QString &commonName,
                                                                  const QStringList &altNames,
                                                                  QString *reason)
{
    Workshop workshop;
    const QStringList ofAuthority{u"-addext"_s, u"basicConstraints=critical,CA:TRUE"_s};
    const QStringList byAuthority{u"-CA"_s, workshop.path(u"authority.pem"_s), u"-CAkey"_s,
                                  workshop.path(u"authority.key"_s)};
    if (!workshop.make(u"authority"_s, u"Test authority"_s, ofAuthority)
        || !workshop.make(u"server"_s, commonName, serverExtensions(altNames) + byAuthority))
        return failed(workshop, reason);
    return workshop.load(u"server"_s, u"authority"_s);
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
