// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSslConfiguration>
#include <QSslKey>

#include "support/programs.h"

/// A server certificate made for one test run, with the program `openssl`.
struct TestCertificate {
    /// @param name     such as "localhost"
    /// @param altName  in OpenSSL's form, such as "DNS:localhost" or "IP:127.0.0.1"
    /// @param ownAuthority  whether a test authority has signed it, rather than the server itself
    TestCertificate(const QString &name, const QString &altName, bool ownAuthority = true)
    {
        const QTemporaryDir folder;
        const QString line("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
                           "-days 2 -keyout %1.key -out %1.pem -subj "
                           "'/CN=%2' -addext basicConstraints=critical,CA:%3");
        runInFolder(folder.path(), line.arg(u"first", u"Test authority", u"TRUE"));
        runInFolder(folder.path(), line.arg(u"server", name, u"FALSE")
                                       + " -addext subjectAltName=" + altName
                                       + (ownAuthority ? " -CA first.pem -CAkey first.key" : ""));
        server.setLocalCertificate(QSslCertificate(contentsOf(folder.filePath("server.pem"))));
        server.setPrivateKey(QSslKey(contentsOf(folder.filePath("server.key")), QSsl::Ec));
        server.setPeerVerifyMode(QSslSocket::VerifyNone);
        authority = QSslCertificate(contentsOf(folder.filePath("first.pem")));
    }

    QSslConfiguration server = QSslConfiguration::defaultConfiguration(); ///< for NewsServer
    QSslCertificate authority;
};

/// Sockets made with Qt's default TLS settings trust @p authority alone from now on.
inline void trustOnly(const QSslCertificate &authority)
{
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.setCaCertificates({authority});
    QSslConfiguration::setDefaultConfiguration(trusting);
}
