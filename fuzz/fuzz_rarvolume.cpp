// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The headers of RAR volumes: numbers that do not end, blocks cut short, sizes that lie.
#include <QBuffer>

#include "post/rarvolume.h"
#include "support.h"

namespace {

const Target target("rarvolume", [](const QByteArray &input) {
    QBuffer device;
    device.setData(input);
    device.open(QIODevice::ReadOnly);
    const auto volume = readRarVolume(device);
    require(!volume || startsRar(input), "only of an archive");
    require(!volume || !volume->number || (volume->isVolume && *volume->number >= 0),
            "a number that a volume can have");
});

} // namespace
