// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The reader and the writer of the queue file: what was written must come back the same, unless it
// is something that only a strange hand can have written.
#include <QFile>

#include <limits>
#include <stdexcept>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support.h"

using namespace Qt::StringLiterals;

namespace {

/// False with a negative size, or a name out of which the next reader would cut one more ".nzb".
bool isWritable(Nzb *job)
{
    const auto isSize = [](quint64 size) { return size <= std::numeric_limits<qint64>::max(); };
    bool writable = job->name() == Nzb::cleanName(job->name());
    for (int i = 0; i < job->fileCount(); ++i)
        writable &= isSize(job->fileAt(i)->size()) && isSize(job->fileAt(i)->completedBytes());
    for (const quint64 size : job->extractedFiles())
        writable &= isSize(size);
    return writable;
}

/// Returns what is written of the queue that the file @p name holds, or holds up to a fault in it.
QByteArray savedAgain(const QString &name, bool &writable)
{
    Marlowick engine(nullptr);
    try {
        engine.loadQueue(scratchFolder() + u'/' + name);
    } catch (const std::runtime_error &) {
        require(name == "input.qzb"_L1, "a queue file that can be read again");
    }
    writable = std::all_of(engine.queue()->cbegin(), engine.queue()->cend(), isWritable);
    engine.saveQueue();
    QFile file(scratchFolder() + u"/Marlowick/queue.qzb"_s);
    require(file.open(QIODevice::ReadOnly), "a queue file");
    return file.readAll();
}

const Target target("queuefile", [](const QByteArray &input) {
    writeScratch(u"input.qzb"_s, input);
    bool writable = false;
    savedAgain(u"input.qzb"_s, writable); // without what cannot be written
    const QByteArray saved = savedAgain(u"Marlowick/queue.qzb"_s, writable);
    const bool comparable = writable;
    require(savedAgain(u"Marlowick/queue.qzb"_s, writable) == saved || !comparable,
            "the same queue file when it is written again");
});

} // namespace
