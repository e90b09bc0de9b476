// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The parser of subject lines. What it finds is put into the line that the queue file keeps, out of
// which it must find the same.
#include "queue/subject.h"
#include "support.h"

using namespace Qt::StringLiterals;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString line = QString::fromUtf8(input);
    const Subject found = parseSubject(line);
    require(found.parts >= 0, "a part count that is not negative");
    require(found.filename.endsWith(found.extension, Qt::CaseInsensitive),
            "a name that ends with its extension");
    if (found.filename.contains(u'"'))
        return 0;
    const QString kept = u'"' + found.filename + u"\" (1/"_s + QString::number(found.parts) + u')';
    const Subject again = parseSubject(kept);
    require(again.filename == found.filename, "the same name out of the line that is kept");
    require(again.parts == found.parts, "the same part count out of the line that is kept");
    return 0;
}
