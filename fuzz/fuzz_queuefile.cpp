// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The reader and the writer of the queue file: what was read must come back the same from what is
// written of it, unless it is something that only a strange hand can have written.
#include <QCoreApplication>
#include <QFile>
#include <QMap>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <stdexcept>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support.h"

using namespace Qt::StringLiterals;

namespace {

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// All that the next run must know, as text. Segments are taken out of the files.
QStringList stateOf(Nzb &job)
{
    QStringList state{job.name(), job.status()};
    for (int i = 0; i < job.fileCount(); ++i) {
        NzbFile *file = job.fileAt(i);
        state << file->name() << file->status() << QString::number(file->size())
              << QString::number(file->completedBytes()) << QString::number(file->partCount())
              << QString::number(file->isPaused()) << QString::number(file->isIncomplete())
              << QString::number(file->isYenc());
        while (file->hasPendingSegments()) {
            int number = 0;
            const QString id = file->nextSegment(&number);
            state << QString::number(number) << id;
        }
    }
    for (auto it = job.extractedFiles().cbegin(); it != job.extractedFiles().cend(); ++it)
        state << it.key() << QString::number(it.value());
    return state;
}

/// Without control characters and halves of surrogate pairs, which the writer drops or replaces.
bool isWritable(const QString &text)
{
    return text.isValidUtf16() && std::none_of(text.cbegin(), text.cend(), [](QChar c) {
               return c < u' ' || c > u'\xfffd';
           });
}

bool isWritable(quint64 number) { return number <= quint64(std::numeric_limits<qint64>::max()); }

/// False with a negative size, or a name out of which the next reader would cut one more ".nzb".
bool isWritable(Nzb &job)
{
    bool writable = job.name() == Nzb::cleanName(job.name());
    for (int i = 0; i < job.fileCount(); ++i) {
        writable = writable && isWritable(job.fileAt(i)->size())
                   && isWritable(job.fileAt(i)->completedBytes());
    }
    return writable
           && std::all_of(job.extractedFiles().cbegin(), job.extractedFiles().cend(),
                          [](quint64 size) { return isWritable(size); });
}

/// An engine without settings, whose queue file lies in the scratch folder.
class Run final {
public:
    /// Returns whether it is a queue file.
    bool load(const QString &path)
    {
        try {
            engine.loadQueue(path);
            return true;
        } catch (const std::runtime_error &) {
            return false;
        }
    }

    /// Returns what is written.
    QByteArray save()
    {
        engine.saveQueue();
        return contentsOf(queueFile);
    }

    [[nodiscard]] bool isWritable()
    {
        return std::all_of(engine.queue()->cbegin(), engine.queue()->cend(),
                           [](Nzb *job) { return ::isWritable(*job); });
    }

    /// To be called last.
    [[nodiscard]] QStringList state()
    {
        QStringList result;
        for (Nzb *job : *engine.queue())
            result << stateOf(*job);
        return result;
    }

    inline static const QString queueFile = scratchFolder() + u"/Marlowick/queue.qzb"_s;

private:
    Marlowick engine{nullptr};
};

void requireSame(const QStringList &before, const QStringList &after)
{
    for (qsizetype i = 0; i < std::max(before.size(), after.size()); ++i) {
        if (before.value(i) == after.value(i))
            continue;
        std::fprintf(stderr, "before: %s\nafter: %s\n", qPrintable(before.value(i)),
                     qPrintable(after.value(i)));
        require(false, "the same queue when it is read again");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QString path = scratchFolder() + u"/input.qzb"_s;
    QFile input(path);
    require(input.open(QIODevice::WriteOnly)
                && input.write(reinterpret_cast<const char *>(data), qint64(size)) == qint64(size),
            "room for the input");
    input.close();

    Run first;
    static_cast<void>(first.load(path)); // of a damaged one the jobs before the fault stay
    const QByteArray saved = first.save();
    Run second;
    require(second.load(Run::queueFile), "a queue file that can be read again");
    const bool writable = first.isWritable();
    const QStringList state = first.state();
    if (!writable
        || !std::all_of(state.cbegin(), state.cend(), qOverload<const QString &>(isWritable)))
        return 0;
    require(second.save() == saved, "the same queue file when it is written again");
    requireSame(state, second.state());
    return 0;
}
