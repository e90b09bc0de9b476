// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/addressfamily.h"

#include <QHash>
#include <QHostInfo>

#include <algorithm>

namespace AddressFamily {

namespace {

QHash<QString, Family> &families()
{
    static QHash<QString, Family> map;
    return map;
}

} // namespace

Family of(const QString &host) { return families().value(host, QAbstractSocket::AnyIPProtocol); }

void avoid(const QString &host, Family tried)
{
    QHostInfo::lookupHost(host, [host, tried](const QHostInfo &found) {
        const QList<QHostAddress> addresses = found.addresses();
        if (addresses.isEmpty())
            return;
        // Without a limit, the first address has used up all the time.
        const Family dead =
            tried == QAbstractSocket::AnyIPProtocol ? addresses.first().protocol() : tried;
        const auto other = std::find_if(addresses.cbegin(), addresses.cend(),
                                        [dead](auto &a) { return a.protocol() != dead; });
        if (other != addresses.cend())
            families().insert(host, other->protocol());
        else
            families().remove(host);
    });
}

} // namespace AddressFamily
