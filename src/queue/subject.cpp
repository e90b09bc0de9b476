// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/subject.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "queue/filenames.h"

using namespace Qt::StringLiterals;

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

QString alphanumericRun(const QString &text, qsizetype begin)
{
    const auto end = std::find_if_not(text.cbegin() + begin, text.cend(),
                                      [](QChar c) { return c.isLetterOrNumber(); });
    return text.mid(begin, end - text.cbegin() - begin);
}

/// The text before the dot at @p dot, back to a character that ends a file name. Deliberate: index
/// 0 is never looked at, so that an undelimited name loses its first character.
QString stemBefore(const QString &text, qsizetype dot)
{
    static constexpr auto delimiters = R"(/ :\?*&`<>"|)"_L1;
    if (dot < 2) {
        return {};
    }
    qsizetype i = dot - 1;
    while (i >= 1 && !delimiters.contains(text.at(i)))
        --i;
    return text.mid(i + 1, dot - i - 1);
}

void takeQuotedName(const QString &name, Subject &result)
{
    result.filename = name;
    result.extension = extensionOf(name);
}

void takeBareName(const QString &subject, Subject &result)
{
    const qsizetype dot = subject.lastIndexOf(u'.');
    if (dot == 0) {
        result.filename = subject;
        return;
    }
    result.extension = alphanumericRun(subject, dot + 1);
    result.filename = stemBefore(subject, dot) + u'.' + result.extension;
}

/// The number that begins at @p digits; the highest int if it is larger.
int leadingNumber(const char *digits, const char *end)
{
    int number = 0;
    const auto [rest, error] = std::from_chars(digits, end, number);
    return error == std::errc::result_out_of_range ? std::numeric_limits<int>::max() : number;
}

/// m of the last "(n/m" in @p text. Deliberate: a closing parenthesis is not necessary.
int announcedParts(const QByteArray &text)
{
    int parts = 1;
    bool inside = false;
    const char *const end = text.cend();
    for (const char *c = text.cbegin(); c != end; ++c) {
        const bool digitFollows = c + 1 != end && isDigit(c[1]);
        if (!inside) {
            inside = *c == '(' && digitFollows;
        } else if (!isDigit(*c)) {
            inside = false;
            if (*c == '/' && digitFollows)
                parts = leadingNumber(c + 1, end);
        }
    }
    return parts;
}

} // namespace

Subject parseSubject(const QString &subject)
{
    Subject result;
    const qsizetype open = subject.indexOf(u'"');
    const qsizetype close = open < 0 ? -1 : subject.indexOf(u'"', open + 1);
    if (close >= 0) {
        takeQuotedName(subject.mid(open + 1, close - open - 1), result);
    } else {
        takeBareName(subject, result);
    }
    result.parts = announcedParts(subject.toLatin1());
    return result;
}
