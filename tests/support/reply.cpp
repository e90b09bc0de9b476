// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/reply.h"

#include <algorithm>

namespace {

qsizetype position(qsizetype offset, qsizetype size)
{
    return std::clamp<qsizetype>(offset < 0 ? size + offset : offset, 0, size);
}

} // namespace

QList<QByteArray> Reply::pieces(const QByteArray &reply) const
{
    const qsizetype size = end == End::KeepOpen ? reply.size() : position(endAt, reply.size());
    QList<qsizetype> cuts{size};
    for (const qsizetype offset : splits)
        cuts.append(std::min(position(offset, reply.size()), size));
    std::sort(cuts.begin(), cuts.end());

    QList<QByteArray> result;
    qsizetype from = 0;
    for (const qsizetype cut : std::as_const(cuts)) {
        if (cut > from)
            result.append(reply.sliced(from, cut - from));
        from = cut;
    }
    return result;
}
