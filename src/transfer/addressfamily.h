// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractSocket>

/// Which of a server's addresses its connections try. What one connection learns holds for all of
/// them until the program ends.
///
/// A socket tries the addresses of a name one after another, each for 30 seconds. Where one of them
/// swallows packets and the time-out is shorter, it never gets to the others. For the main thread
/// alone.
namespace AddressFamily {

using Family = QAbstractSocket::NetworkLayerProtocol;

/// The family to which the next attempt is limited; normally there is no limit.
[[nodiscard]] Family of(const QString &host);
/// Makes later attempts use the other family if @p host has one. @p tried is the limit of the
/// failed attempt.
void avoid(const QString &host, Family tried);

} // namespace AddressFamily
