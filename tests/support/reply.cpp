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

Reply Reply::bytes(const QByteArray &raw)
{
    Reply reply;
    reply.replacement = raw;
    return reply;
}

Reply Reply::splitAt(const QList<qsizetype> &offsets) const
{
    Reply reply = *this;
    reply.splits = offsets;
    return reply;
}

Reply Reply::delayed(int milliseconds) const
{
    Reply reply = *this;
    reply.delay = milliseconds;
    return reply;
}

Reply Reply::ended(End how, qsizetype count) const
{
    Reply reply = *this;
    reply.end = how;
    reply.endAt = count;
    return reply;
}

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

When When::onConnection(int number) const
{
    When when = *this;
    when.connection = number;
    return when;
}

bool When::matches(const QByteArray &happened, int onNumber) const
{
    return happened.startsWith(event) && (connection == 0 || connection == onNumber)
           && (article.isEmpty() || happened == "BODY <" + article + ">");
}
