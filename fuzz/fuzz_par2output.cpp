// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What the PAR2 program may print, against a plain search. The first piece that starts with '*'
// stands for as many bytes as are kept of the output, less its own length.
#include "post/par2output.h"
#include "support.h"

namespace {

/// The last line of @p text that tells something, by its first words.
Par2Output::Verdict plainVerdict(const QByteArray &text)
{
    using Answer = Par2Output::Answer;
    Par2Output::Verdict result;
    for (const QByteArray &line : text.split('\n')) {
        if (line.startsWith("Repair complete"))
            result = {.answer = Answer::Repaired};
        else if (line.startsWith("All files are correct"))
            result = {.answer = Answer::Correct};
        else if (line.startsWith("Main packet not found"))
            result = {.answer = Answer::CorruptVolume};
        else if (line.startsWith("You need "))
            result = {.answer = Answer::NeedsBlocks,
                      .blocks = line.sliced(9).split(' ').first().toInt()};
    }
    return result;
}

const Target target("par2output", [](const QByteArray &input) {
    Par2Output output;
    QByteArray whole;
    for (const QByteArray &piece : pieces(input)) {
        const bool fill = piece.startsWith('*') && whole.size() < Par2Output::maxSize;
        const QByteArray text = fill ? QByteArray(Par2Output::maxSize - piece.size(), 'x') : piece;
        output.append(text);
        whole += text;
    }
    require(output.text().size() <= Par2Output::maxSize + 3, "no more than is to be kept");
    if (whole.size() > Par2Output::maxSize) // a line that is cut counts no more
        whole.replace(0, whole.size() - Par2Output::maxSize, ".");
    const Par2Output::Verdict expected = plainVerdict(whole);
    const Par2Output::Verdict verdict = output.verdict();
    require(verdict.answer == expected.answer && verdict.blocks == expected.blocks,
            "the verdict of the plain search");
});

} // namespace
