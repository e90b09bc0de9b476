// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>
#include <utility>

/// One member of an archive, with a header that may say anything.
struct Rar4Member {
    QByteArray name;
    QByteArray data;
    quint32 attributes = 0100644; ///< as st_mode
    std::optional<quint64> claimedSize = {}; ///< unpacked, in place of the true one
    bool directory = false;
};

/// File names and contents, the first volume first.
using RarVolumes = QList<std::pair<QString, QByteArray>>;

/// A set in the format of RAR 2.9 to 4, stored, with the old volume names: "x.rar", "x.r00", ...
/// @param dataPerVolume  bytes of members' data in a volume; 0 for a single volume
[[nodiscard]] RarVolumes rar4Set(const QString &stem, const QList<Rar4Member> &members,
                                 qsizetype dataPerVolume = 0);
