// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTemporaryDir>

#include <memory>

#include "queue/nzb.h"
#include "support/files.h"

/// The job that an NZB with @p elements within its root, and @p prolog ahead, stands for.
[[nodiscard]] inline std::unique_ptr<Nzb> readJob(const QByteArray &elements,
                                                  const QByteArray &prolog = {})
{
    const QTemporaryDir folder;
    const QString path = writeFile(folder.filePath(QStringLiteral("job.nzb")),
                                   prolog + "<nzb>" + elements + "</nzb>");
    return std::make_unique<Nzb>(nullptr, QStringLiteral("/downloads"), path);
}
