// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/par2output.h"

#include <QByteArrayList>
#include <QByteArrayView>
#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

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

QStringList lines(const QByteArray &text) { return QFile::decodeName(text).split(u'\n'); }

} // namespace

/// The mark keeps the rest of a cut line from looking like a whole line.
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

QStringList Par2Output::targets() const
{
    static const QRegularExpression pattern(u"^Target: \"(.+)\" - "_s);
    QStringList names;
    const QStringList all = lines(text_);
    for (const QString &line : all) {
        const QRegularExpressionMatch match = pattern.match(line);
        if (match.hasMatch())
            names << match.captured(1);
    }
    names.removeDuplicates();
    return names;
}

QMap<QString, QString> Par2Output::foundIn() const
{
    static const QRegularExpression pattern(
        u"^File: \"(.+)\" - (?:is a match for|found (\\d+) of (\\d+) data blocks from) \"(.+)\"\\."_s);
    QMap<QString, QString> names;
    const QStringList all = lines(text_);
    for (const QString &line : all) {
        const QRegularExpressionMatch found = pattern.match(line);
        const bool most =
            found.hasMatch() && found.captured(2).toInt() * 2 >= found.captured(3).toInt();
        if (most && !names.contains(found.captured(4)))
            names.insert(found.captured(4), found.captured(1));
    }
    return names;
}
