// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/abstractdecoder.h"

#include "queue/filenames.h"

using namespace Qt::StringLiterals;

AbstractDecoder::AbstractDecoder(const QString &outputFolder, QObject *parent)
    : QObject(parent)
    , folder(outputFolder)
{
}

QString AbstractDecoder::sanitizeFilename(const QByteArray &name)
{
    QString result;
    for (const char c : name) {
        if (isKeptInNames(c))
            result += QLatin1Char(c);
    }
    if (result.isEmpty() || result.startsWith(u'.'))
        return u"invalid-name-"_s % QLatin1StringView(name.toHex());
    return result;
}
