// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/nzbfile.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "queue/displaytext.h"
#include "queue/nzb.h"
#include "queue/savednzb.h"
#include "queue/subject.h"

using namespace Qt::StringLiterals;

NzbFile::NzbFile(QObject *parent, const QString &subjectLine, const QString &postedBy, int postDate,
                 quint64 bytes, quint64 done, bool hold, int partsDone, bool viaYenc)
    : INzbItem(parent)
    , subject(subjectLine)
    , poster(postedBy)
    , date(postDate)
    , completedparts(partsDone)
    , size_(bytes)
    , completed(done)
    , paused(hold)
    , yenc(viaYenc)
{
    Subject parsed = parseSubject(subject);
    filename = std::move(parsed.filename);
    extension_ = std::move(parsed.extension);
    parts = parsed.parts;
    incomplete = completedparts < parts;
}

QString NzbFile::status() const
{
    if (size_ == 0)
        return tr("-empty file-");
    if (isFinished())
        return incomplete ? tr("Finished") + tr(" incomplete") : tr("Finished");
    if (paused)
        return tr("Paused");
    return completed != 0 ? percentage(completed, size_) : tr("Queued");
}

Nzb *NzbFile::job() const { return qobject_cast<Nzb *>(parent()); }

QString NzbFile::path() const { return job()->folder() + u'/' + filename; }

void NzbFile::addSegment(int number, int bytes, const QString &messageId)
{
    QString id = messageId;
    id.squeeze(); // a text from the XML reader has spare memory, and millions of ids may wait
    pendingSegments.insert(number, id);
    size_ += bytes;
    incomplete = pendingSegments.size() + completedparts < parts;
}

QString NzbFile::nextSegment(int *seqnr)
{
    if (pendingSegments.isEmpty()) {
        return {};
    }
    *seqnr = pendingSegments.firstKey();
    QString messageId = pendingSegments.take(*seqnr);
    if (pendingSegments.isEmpty())
        pendingSegments = {}; // the search for the next article need not look into an empty map
    activeSegments.insert(*seqnr, messageId);
    return messageId;
}

void NzbFile::requeueSegment(int seqnr)
{
    const QString messageId = activeSegments.take(seqnr);
    if (!messageId.isEmpty())
        pendingSegments.insert(seqnr, messageId);
}

void NzbFile::segmentNotFound(int seqnr)
{
    activeSegments.remove(seqnr);
    incomplete = true;
}

void NzbFile::segmentDecoded(int seqnr, const QString &name, quint64 bytes, bool ok, bool viaYenc)
{
    activeSegments.remove(seqnr);
    completed += bytes;
    size_ = std::max(size_, completed);
    if (isFinished())
        completed = size_;
    yenc = yenc || viaYenc;
    if (!ok) {
        incomplete = true;
    } else if (completedparts < std::numeric_limits<int>::max()) {
        ++completedparts;
    }
    if (!name.isEmpty() && name != filename)
        setFilename(name);
}

void NzbFile::markRepaired()
{
    incomplete = false;
    completedparts = parts;
}

void NzbFile::markWhole()
{
    pendingSegments.clear();
    if (isFinished())
        completed = size_; // not reached by a file whose last article is missing
    markRepaired();
    paused = false;
}

void NzbFile::markLost()
{
    incomplete = incomplete || completedparts > 0;
    completedparts = 0; // saved, so that the next run knows it as well
}

QString NzbFile::baseName() const
{
    return withoutVolumeTail(filename.left(filename.size() - 1 - extension_.size()));
}

SavedFile NzbFile::saved() const
{
    return {
        .size = size_,
        .completed = completed,
        .subject = subject,
        .filename = filename,
        .parts = parts,
        .completedparts = completedparts,
        .place = place_,
        .paused = paused,
        .yenc = yenc,
        .ordered = ordered && !isFinished(),
        .activeSegments = activeSegments,
        .pendingSegments = pendingSegments,
    };
}

void NzbFile::setFilename(const QString &name)
{
    filename = name;
    extension_ = extensionOf(name);
}
