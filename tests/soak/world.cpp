// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "soak/world.h"

#include <QDir>
#include <QHostAddress>
#include <QRandomGenerator>

#include "support/files.h"

using namespace Qt::StringLiterals;

namespace {

TestCertificate certificate(const std::optional<TestCertificate> &made)
{
    if (!made)
        qFatal("No certificate could be made: is openssl there?");
    return *made;
}

} // namespace

World::World()
    : host(u"127.%1.%2.%3"_s.arg(QRandomGenerator::global()->bounded(1, 255))
               .arg(QRandomGenerator::global()->bounded(255))
               .arg(QRandomGenerator::global()->bounded(1, 255)))
{
    plain.close();
    secure.close();
    if (!plain.listen(QHostAddress(host), 119) || !secure.listen(QHostAddress(host), 563)) {
        plain.close();
        host = u"127.0.0.1"_s;
        listen(plain, 0);
        listen(secure, 0);
    }
    for (NewsServer *server : {&plain, &secure})
        server->requireLogin("reader", "secret");
    const QStringList names{"IP:"_L1 + host};
    certificates = {certificate(TestCertificate::signedByAuthority(host, names)),
                    certificate(TestCertificate::selfSigned(u"other.test"_s, {})),
                    certificate(TestCertificate::selfSigned(host, names))};
    secure.setCertificate(certificates[0].serverConfiguration());
    const QDir place(folder.path());
    writeFile(place.filePath(u"authorities.pem"_s),
              certificates[0].authority.toPem() + certificates[1].certificate.toPem());
    writeFile(place.filePath(u"player"_s),
              "#!/bin/sh\nfor url; do :; done\nexec curl -s -o \"$0.stream.$$\" \"$url\"\n");
    constexpr auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    QFile::setPermissions(place.filePath(u"player"_s), owner);
    if (!place.mkdir(u"run"_s) || !place.mkdir(u"downloads"_s)
        || !QFile::setPermissions(place.filePath(u"run"_s), owner)
        || !QFile::copy(QStringLiteral(MARLOWICK_PROGRAM), place.filePath(u"marlowick"_s)))
        qFatal("The program's folder cannot be made");
    writeSettings();
}

void World::writeSettings() const
{
    writeFile(folder.filePath(u"Marlowick.ini"_s),
              "hostname=" + host.toLatin1() + "\nport=" + QByteArray::number(plain.serverPort())
                  + "\nusername=reader\npassword=" + QByteArray("secret").toBase64()
                  + "\nthreads=4\nnetworkTimeout=2\nnetworkRetry=1\nmediaPlayer=%APPDIR/player\n"
                    "downloadFolder=%APPDIR/downloads\nrarHandling=during\nautoPAR2=true\n"
                    "pausePAR2=true\n");
}

void World::listen(NewsServer &server, quint16 port)
{
    if (!server.listen(QHostAddress(host), port))
        qFatal("The news server cannot listen: %s", qPrintable(server.errorString()));
}
