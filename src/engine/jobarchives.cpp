// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/jobarchives.h"

#include <QCoreApplication>
#include <QFile>
#include <QPointer>

#include <utility>

#include "engine/jobsurvey.h"
#include "post/archiveunpacker.h"
#include "queue/filenames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

namespace {

/// The name of the joined file to which @p piece belongs; empty if none has been joined.
QString joinedName(Nzb *nzb, const NzbFile *piece)
{
    const QString name = seriesName(piece->name());
    const bool joined = isPieceExtension(piece->extension()) && !QFile::exists(piece->path())
                        && nzb->extractedFiles().contains(name);
    return joined ? name : QString();
}

} // namespace

JobArchives::JobArchives(Nzb *nzb, QObject *parent)
    : QObject(parent)
    , nzb(nzb)
{
}

JobArchives::~JobArchives() = default;

QStringList JobArchives::untried(Trust trust) const
{
    QStringList names = restored;
    for (const NzbFile *file : nzb->allFiles()) {
        if (trust == Trust::Disk || (file->isFinished() && !file->isIncomplete()))
            names << file->name();
        names << joinedName(nzb, file);
    }
    names.removeIf([this](const QString &name) {
        return !isZipOr7z(name) || tried.contains(name)
               || !existsInJob(nzb, nzb->folder() + u'/' + name);
    });
    return names;
}

QSet<QString> JobArchives::protectedNames() const
{
    QSet<QString> names(tried.cbegin(), tried.cend());
    names.unite({restored.cbegin(), restored.cend()});
    for (const NzbFile *file : nzb->allFiles())
        names << file->name() << joinedName(nzb, file);
    return names;
}

bool JobArchives::start(Trust trust)
{
    const QStringList names = untried(trust);
    if (names.isEmpty())
        return false;
    archive = names.first();
    trusted = trust;
    tried << archive;
    asked = false;
    startUnpacker();
    return true;
}

void JobArchives::startUnpacker()
{
    QByteArrayList passwords;
    for (const QString &password : nzb->passwords())
        passwords << password.toUtf8();
    if (!givenPassword.isEmpty())
        passwords << givenPassword.toUtf8();
    unpacker = std::make_unique<ArchiveUnpacker>(
        nzb, ArchiveUnpacker::Order{nzb->folder(), archive, protectedNames(), passwords}, nullptr);
    // The receiver is the unpacker itself, so that end() can have these calls delivered and no
    // others.
    connect(unpacker.get(), &ArchiveUnpacker::memberBegun, unpacker.get(),
            [](Nzb *job, const QString &file, quint64 size) { job->addExtractedFile(file, size); });
    connect(unpacker.get(), &ArchiveUnpacker::processingComplete, this, &JobArchives::unpackerDone);
    connect(unpacker.get(), &ArchiveUnpacker::passwordNeeded, this, &JobArchives::unpackerLocked);
    connect(unpacker.get(), &ArchiveUnpacker::lowDiskspace, this, &JobArchives::unpackerLacksSpace);
    connect(unpacker.get(), &ArchiveUnpacker::processingError, this,
            [this](Nzb *, const QString &reason) {
                fail(tr("Not unpacked: %1: %2").arg(archive, reason));
            });
    unpacker->startProcessing();
}

void JobArchives::unpackerDone()
{
    for (NzbFile *file : nzb->allFiles()) {
        const bool ours = file->name() == archive || joinedName(nzb, file) == archive;
        if (ours && trusted == Trust::Disk)
            file->markWhole(); // the archive has proved it
    }
    finish();
}

void JobArchives::unpackerLacksSpace(Nzb * /*nzb*/, quint64 needed)
{
    const QPointer<JobArchives> self(this);
    emit lowDiskspace(needed);
    if (self)
        fail(tr("Not unpacked: %1: not enough disk space").arg(archive));
}

void JobArchives::unpackerLocked()
{
    if (std::exchange(asked, true))
        return fail(tr("Not unpacked: %1: wrong password").arg(archive));
    unpacker.reset();
    emit passwordNeeded(nzb, nzb->folder() + u'/' + archive);
}

bool JobArchives::setPassword(const QString &password)
{
    if (!password.isEmpty())
        givenPassword = password;
    if (!isBusy() || isAtWork())
        return false;
    if (!password.isEmpty()) {
        startUnpacker();
    } else {
        anyFailed = true;
        finish();
    }
    return true;
}

void JobArchives::fail(const QString &status)
{
    anyFailed = true;
    const QPointer<JobArchives> self(this);
    emit failed(status);
    if (self)
        finish();
}

void JobArchives::finish()
{
    unpacker.reset();
    archive.clear();
    emit ended();
}

void JobArchives::end()
{
    if (!unpacker)
        return;
    unpacker->stop();
    QCoreApplication::sendPostedEvents(unpacker.get(), QEvent::MetaCall);
}
