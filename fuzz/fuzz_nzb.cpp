// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The reader of NZB files. An input that starts with 'z' is packed by gzip first, which mutations
// would hardly get right.
#include <limits>
#include <quazip/quagzipfile.h>
#include <stdexcept>

#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support.h"

using namespace Qt::StringLiterals;

namespace {

void write(QIODevice &file, const QByteArray &content)
{
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(),
            "room for the input");
    file.close();
}

/// Returns the path.
QString writeNzb(const QByteArray &input)
{
    static const QString path = scratchFolder() + u"/job.nzb"_s;
    if (input.startsWith('z')) {
        QuaGzipFile packed(path);
        write(packed, input.sliced(1));
    } else {
        QFile plain(path);
        write(plain, input);
    }
    return path;
}

/// What the queue, its view and the scheduler ask of a file.
void use(NzbFile &file)
{
    static_cast<void>(file.status() + file.baseName() + file.extension());
    require(file.partCount() >= 0, "a part count that is not negative");
    int last = std::numeric_limits<int>::min();
    bool first = true;
    while (file.hasPendingSegments()) {
        int number = 0;
        static_cast<void>(file.nextSegment(&number));
        require(number != 0 && (first || number > last), "segments in the order of their numbers");
        first = false;
        last = number;
        file.segmentNotFound(number);
    }
    require(file.isFinished(), "a file without a segment left that is finished");
}

void use(Nzb &job)
{
    const int files = job.fileCount();
    const quint64 size = job.size();
    job.sortFiles();
    require(job.fileCount() == files && job.size() == size, "the same files when sorted");
    static_cast<void>(job.status());
    for (int i = 0; i < files; ++i) {
        require(job.indexOf(job.fileAt(i)) == i, "each file once");
        use(*job.fileAt(i));
    }
    require(job.name() == "job"_L1, "the name of the NZB file");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    try {
        Nzb job(nullptr, scratchFolder(), writeNzb(input));
        use(job);
    } catch (const std::runtime_error &) {
        // not an NZB
    }
    return 0;
}
