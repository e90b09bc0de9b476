// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "soak/faults.h"

#include <algorithm>

#include "support/articles.h"

using namespace Qt::StringLiterals;

namespace {

enum Kind { End, Code, Slow };

/// In a hundred faults.
constexpr struct {
    int below;
    QLatin1StringView name;
    Kind kind;
    Reply::End end = Reply::End::KeepOpen;
} sorts[] = {
    {25, "cut"_L1, End, Reply::End::Cut},
    {38, "reset"_L1, End, Reply::End::Reset},
    {48, "close"_L1, End, Reply::End::Close},
    {54, "stall"_L1, End, Reply::End::Stall},
    {75, "code"_L1, Code},
    {100, "slow"_L1, Slow},
};

constexpr int rarely = 15; // one in so many refusals asks for the password

QByteArray anyOf(const QList<QByteArray> &lines, QRandomGenerator &random)
{
    return lines.at(random.bounded(lines.size()));
}

Reply dripping(QRandomGenerator &random)
{
    QList<qsizetype> pieces;
    for (int i = random.bounded(2, 60); i > 0; --i)
        pieces << (random.bounded(3) ? random.bounded(4'500) : -random.bounded(1, 8));
    return Reply::ordinary().splitAt(pieces).delayed(random.bounded(200));
}

} // namespace

Reply Faults::choose(const QByteArray &event)
{
    const int attempt = ++attempts[event];
    QRandomGenerator random(seed ^ crc32Of(event + QByteArray::number(attempt)));
    if (random.bounded(100) >= percent)
        return Reply::ordinary();
    const qsizetype place = random.bounded(4) ? random.bounded(4'500) : -random.bounded(0, 8);
    const int dice = random.bounded(100);
    const auto *sort = std::find_if(std::begin(sorts), std::end(sorts),
                                    [dice](const auto &each) { return dice < each.below; });
    if (sort->name == "stall"_L1 && event == "QUIT") // the program waits half a minute for it
        return Reply::ordinary();
    ++dealt[sort->name];
    switch (sort->kind) {
    case Code:
        return refuse(event, random);
    case Slow:
        return dripping(random);
    case End:
        break;
    }
    Reply reply;
    reply.end = sort->end;
    reply.endAt = place;
    return reply;
}

Reply Faults::refuse(const QByteArray &event, QRandomGenerator &random)
{
    const bool costly = random.bounded(rarely) == 0 && event != "QUIT";
    loginRefused = loginRefused || costly;
    if (costly)
        return Reply::code(event.startsWith("AUTHINFO PASS") ? "483 no" : "480 password, please");
    if (event.startsWith("AUTHINFO"))
        return Reply::code(anyOf({"481 refused", "482 out of sequence", "502 too many"}, random));
    // The last takes the program into a body that never comes.
    return Reply::code(anyOf({"400 going down", "451 later", "423 what", "502 no", "500 what",
                              "gar\xff\x00bage", "x", "281 welcome"},
                             random));
}
