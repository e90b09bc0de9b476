// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/abstractdecoder.h"

using namespace Qt::StringLiterals;

AbstractDecoder::AbstractDecoder(const QString &outputFolder, QObject *parent)
    : QObject(parent)
    , folder(outputFolder)
{
}

namespace {

// isprint() of the C locale: the result must not depend on where the program runs.
bool isAllowed(char c)
{
    return c >= ' ' && c <= '~' && !QByteArrayView("/:\\?*&`<>\"|'").contains(c);
}

} // namespace

QString AbstractDecoder::sanitizeFilename(const QByteArray &name)
{
    QString result;
    for (const char c : name) {
        if (isAllowed(c))
            result += QLatin1Char(c);
    }
    if (result.isEmpty() || result.startsWith(u'.'))
        return u"invalid-name-"_s % QLatin1StringView(name.toHex());
    return result;
}
