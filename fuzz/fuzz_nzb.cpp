// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The reader of NZB files. An input that starts with 'z' is packed by gzip first, which mutations
// would hardly get right; one that starts with 's' is a subject line.
#include <limits>
#include <quazip/quagzipfile.h>
#include <stdexcept>

#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/subject.h"
#include "support.h"

using namespace Qt::StringLiterals;

namespace {

/// What is found in a line must be found in the one that the queue file keeps of it, too.
void checkSubject(const QString &line)
{
    const Subject found = parseSubject(line);
    require(found.parts >= 0, "a part count that is not negative");
    require(found.filename.endsWith(found.extension, Qt::CaseInsensitive),
            "a name that ends with its extension");
    const Subject again =
        parseSubject(u"\"%1\" (1/%2)"_s.arg(found.filename, QString::number(found.parts)));
    require(found.filename.contains(u'"')
                || (again.filename == found.filename && again.parts == found.parts),
            "the same out of the line that is kept");
}

QString writeNzb(const QByteArray &input)
{
    if (!input.startsWith('z'))
        return writeScratch(u"job.nzb"_s, input);
    QuaGzipFile packed(scratchFolder() + u"/job.nzb"_s);
    require(packed.open(QIODevice::WriteOnly) && packed.write(input.sliced(1)) >= 0, "room");
    return packed.getFileName();
}

/// What the queue, its view and the scheduler ask of a file.
void use(NzbFile &file)
{
    static_cast<void>(file.status() + file.baseName() + file.extension());
    require(file.partCount() >= 0, "a part count that is not negative");
    for (qint64 last = std::numeric_limits<qint64>::min(); file.hasPendingSegments();) {
        int number = 0;
        static_cast<void>(file.nextSegment(&number));
        require(number != 0 && number > last, "segments in the order of their numbers");
        file.segmentNotFound(number);
        last = number;
    }
    require(file.isFinished(), "a file without a segment left that is finished");
}

const Target target("nzb", [](const QByteArray &input) {
    if (input.startsWith('s'))
        return checkSubject(QString::fromUtf8(input.sliced(1)));
    try {
        Nzb job(nullptr, scratchFolder(), writeNzb(input));
        const quint64 size = job.size();
        job.sortFiles();
        require(job.size() == size && job.name() == "job"_L1, "the same job when sorted");
        static_cast<void>(job.status());
        for (int i = 0; i < job.fileCount(); ++i) {
            require(job.indexOf(job.fileAt(i)) == i, "each file once");
            use(*job.fileAt(i));
        }
    } catch (const std::runtime_error &) {
        // not an NZB
    }
});

} // namespace
