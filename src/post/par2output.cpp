// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/par2output.h"

#include <QByteArrayList>
#include <QByteArrayView>

namespace {

Par2Output::Verdict verdictOf(QByteArrayView line)
{
    using Answer = Par2Output::Answer;
    if (line.startsWith("Repair complete"))
        return {.answer = Answer::Repaired};
    if (line.startsWith("All files are correct"))
        return {.answer = Answer::Correct};
    if (line.startsWith("You need "))
        return {.answer = Answer::NeedsBlocks,
                .blocks = line.toByteArray().split(' ').value(2).toInt()};
    if (line.startsWith("Main packet not found"))
        return {.answer = Answer::CorruptVolume};
    return {};
}

} // namespace

/// The mark in the place of what is dropped keeps the rest of a cut line from looking like a line.
void Par2Output::append(const QByteArray &text)
{
    text_ += text;
    if (text_.size() > maxSize)
        text_.replace(0, text_.size() - maxSize, "...");
}

Par2Output::Verdict Par2Output::verdict() const
{
    QByteArrayView rest(text_);
    for (;;) {
        const qsizetype lineStart = rest.lastIndexOf('\n') + 1;
        const Verdict verdict = verdictOf(rest.sliced(lineStart));
        if (verdict.answer != Answer::Unknown || lineStart == 0)
            return verdict;
        rest.truncate(lineStart - 1);
    }
}
