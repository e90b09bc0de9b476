// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QStringList>

#include <optional>

/// A server certificate made for one test run, with the program `openssl`.
struct TestCertificate {
    /// @param commonName  such as "localhost"
    /// @param altNames    in OpenSSL's form, such as "DNS:localhost" or "IP:127.0.0.1"
    /// @param reason      where given, says why the result is empty (`openssl` is missing)
    [[nodiscard]] static std::optional<TestCertificate>
    selfSigned(const QString &commonName, const QStringList &altNames, QString *reason = nullptr);
    /// The same, signed by a test authority of its own; see TrustedAuthority.
    [[nodiscard]] static std::optional<TestCertificate>
    signedByAuthority(const QString &commonName, const QStringList &altNames,
                      QString *reason = nullptr);

    /// What NewsServer takes.
    [[nodiscard]] QSslConfiguration serverConfiguration() const;

    QSslCertificate certificate;
    QSslKey key;
    QSslCertificate authority; ///< the certificate itself when it is self-signed
};

/// As long as it lives, sockets made with Qt's default TLS settings trust @p authority.
class TrustedAuthority final {
public:
    explicit TrustedAuthority(const QSslCertificate &authority);
    ~TrustedAuthority();
    Q_DISABLE_COPY_MOVE(TrustedAuthority)

private:
    QSslConfiguration previous;
};
