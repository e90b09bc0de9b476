// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSslConfiguration>
#include <QSslKey>

#include "support/programs.h"

/// A certificate for 127.0.0.1 and the authority that has signed it, made by the program `openssl`.
struct TestCertificate {
    TestCertificate()
    {
        const QTemporaryDir folder;
        const QString make = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
                             "-days 2 -keyout %1.key -out %1.pem -subj /CN=%2 -addext "
                             "basicConstraints=critical,CA:%3";
        runInFolder(folder.path(), make.arg("authority", "Authority", "TRUE"));
        runInFolder(folder.path(), make.arg("server", "127.0.0.1", "FALSE")
                                       + " -addext subjectAltName=IP:127.0.0.1"
                                       + " -CA authority.pem -CAkey authority.key");
        const auto pem = [&](const char *name) { return contentsOf(folder.filePath(name)); };
        server.setLocalCertificate(QSslCertificate(pem("server.pem")));
        server.setPrivateKey(QSslKey(pem("server.key"), QSsl::Ec));
        server.setPeerVerifyMode(QSslSocket::VerifyNone);
        authority = QSslCertificate(pem("authority.pem"));
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
