// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractSocket>

/// Which of a server's addresses its connections try: what one of them learns holds for all, until
/// the program ends.
///
/// A socket tries the addresses of a name one after another, each for 30 seconds. Where one of them
/// swallows packets and its owner has less patience, it never gets to the other ones. For the main
/// thread alone.
namespace AddressFamily {

using Family = QAbstractSocket::NetworkLayerProtocol;

/// What the next attempt is to be limited to; no limit, normally.
[[nodiscard]] Family of(const QString &host);
/// Lets later attempts take the other family if @p host has one. @p tried is the limit that the
/// failed attempt had.
void avoid(const QString &host, Family tried);

} // namespace AddressFamily
