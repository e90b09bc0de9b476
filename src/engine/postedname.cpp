// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/postedname.h"

#include "queue/filenames.h"
#include "queue/nzbfile.h"
#include "queue/subject.h"
#include "transfer/abstractdecoder.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto invalidMark = "invalid-name-"_L1;

/// The name from which an "invalid-name-" was made: its bytes follow in hexadecimal digits.
QByteArray nameBehindMark(const QString &name)
{
    return QByteArray::fromHex(name.sliced(invalidMark.size()).toLatin1());
}

} // namespace

QString postedName(const NzbFile *file)
{
    const QString present = file->name();
    const bool invalid = present.startsWith(invalidMark);
    QByteArrayList candidates{file->postedName()};
    const QString inSubject = parseSubject(file->subjectLine()).filename;
    if (!inSubject.startsWith(u'.') && !inSubject.startsWith(invalidMark))
        candidates << inSubject.toUtf8();
    if (invalid)
        candidates << nameBehindMark(present);
    for (const QByteArray &candidate : std::as_const(candidates)) {
        QString name = plainName(candidate);
        if (!name.isEmpty() && name != present
            && (invalid || AbstractDecoder::sanitizeFilename(candidate) == present))
            return name;
    }
    return {};
}
