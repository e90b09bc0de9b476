// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What runs on the worker thread.
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>

#include <unistd.h>

#include "post/freebytes.h"
#include "post/rarhandler.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"

#include "post/unrar.h"

using Result = RarArchive::Result;

namespace {

constexpr double spaceMargin = 100.0 * 1024 * 1024;

/// Tells the thread sanitizer, if the build is for it, that others may have the mutex meanwhile: it
/// does not see that of itself, as Qt's library is not built for it.
void sleepOn(QWaitCondition &condition, QMutex &mutex)
{
    QtTsan::mutexPreUnlock(&mutex, 0);
    QtTsan::mutexPostUnlock(&mutex, 0);
    condition.wait(&mutex);
    QtTsan::mutexPreLock(&mutex, 0);
    QtTsan::mutexPostLock(&mutex, 0, 0);
}

} // namespace

void RarHandler::run()
{
    volumes.clear();
    archive = std::make_unique<RarArchive>(rarFile, folder);
    const Outcome outcome = unpack();
    if (outcome == Outcome::Complete)
        qDebug() << "Rar processing complete";
    archive.reset();

    switch (outcome) {
    case Outcome::Complete:
        keepOrRemoveVolumes();
        emit processingComplete(nzb);
        break;
    case Outcome::Failed:
        emit errorProcessing(nzb, rarFile);
        break;
    case Outcome::NoSpace:
        emit lowDiskspace(member.size);
        emit suspended();
        break;
    case Outcome::NoPassword:
        emit suspended();
        break;
    }
    // For the thread sanitizer, which does not see that wait() orders all this before what follows.
    QtTsan::futexRelease(this);
}

RarHandler::Outcome RarHandler::unpack()
{
    if (archive->openResult() != 0) {
        qDebug() << archive->openResult() << "Error opening RAR file" << rarFile;
        return Outcome::Failed;
    }
    qDebug() << "RARhandler: Opened RAR file" << rarFile;
    if (archive->hasEncryptedHeaders() && !unlock())
        return Outcome::NoPassword;
    volumes << rarFile;
    archive->setCallback(rarCallback, this);
    return processMembers();
}

RarHandler::Outcome RarHandler::processMembers()
{
    Result result = Result::Ok;
    while ((result = archive->nextMember()) == Result::Ok) {
        member = archive->member();
        bytesProcessed = 0;
        currentFile = QDir::fromNativeSeparators(QFile::decodeName(member.name));
        if (lacksSpace())
            return Outcome::NoSpace;
        if (member.encrypted && !unlock())
            return Outcome::NoPassword;
        if (lacksMemory())
            return Outcome::Failed;
        if (isUnsafe())
            result = skip();
        else
            result = member.nameCut || overwritesVolume() ? Result::Failed : extract();
        if (result != Result::Ok)
            return Outcome::Failed;
    }
    return result == Result::End ? Outcome::Complete : Outcome::Failed;
}

bool RarHandler::lacksSpace() const
{
    const double available = freeBytes(QFile::encodeName(folder).constData());
    return available >= 0 && static_cast<double>(member.size) + spaceMargin > available;
}

/// The library fills the whole dictionary that a header claims, which may be 4 GiB for one byte.
bool RarHandler::lacksMemory() const
{
    const auto memory = static_cast<quint64>(sysconf(_SC_PHYS_PAGES) * sysconf(_SC_PAGESIZE));
    const bool lacks = member.dictionary > memory / 2;
    if (lacks)
        qDebug() << "RARhandler: not enough memory for" << currentFile << member.dictionary;
    return lacks;
}

bool RarHandler::isUnsafe() const
{
    return member.symbolicLink || isSuspiciousMember(member.name)
           || !isInsideFolder(folder, folder + u'/' + currentFile);
}

/// A post may have been packed twice, under one name.
bool RarHandler::overwritesVolume()
{
    const QString path = QDir::cleanPath(folder + u'/' + currentFile);
    const QString name = QFileInfo(path).fileName();
    if (!isRarVolume(name) || path != QDir::cleanPath(folder + u'/' + name))
        return false;
    const QMutexLocker lock(&volumeMutex);
    return arrived.contains(name) || volumes.contains(folder + u'/' + name);
}

Result RarHandler::skip()
{
    qDebug() << "RARhandler: skipping file because of symlink or suspicous filename" << currentFile;
    return archive->skipMember();
}

Result RarHandler::extract()
{
    qDebug() << "RARhandler: extracting file" << currentFile << "size" << member.size;
    // Made at once, for whoever wants to read it as it grows. The folder may be missing yet.
    QFile target(folder + u'/' + currentFile);
    const bool made = !target.exists() && target.open(QIODevice::ReadWrite);
    target.close();
    emit memberBegun(currentFile, member.size);
    emit currentlyExtracting(currentFile);
    const Result result = archive->extractMember();
    if (result != Result::Ok && made && target.size() == 0)
        target.remove(); // as after a wrong password
    return result;
}

void RarHandler::keepOrRemoveVolumes()
{
    {
        const QMutexLocker lock(&volumeMutex);
        for (const QString &volume : std::as_const(volumes))
            unpackedVolumes.insert(volume);
        if (keepsVolumes)
            keptVolumes += std::exchange(volumes, {});
    }
    for (const QString &volume : std::as_const(volumes)) {
        qDebug() << "Removing processed RAR file:" << volume;
        QFile::remove(volume);
    }
    volumes.clear();
}

void RarHandler::askPassword(const QString &rarfile)
{
    const QMutexLocker lock(&passwordMutex);
    if (!password.isEmpty() || stopRequested)
        return;
    qDebug() << "Password needed to decrypt RAR";
    asksPassword = true;
    emit passwordNeeded(nzb, rarfile);
    sleepOn(passwordCondition, passwordMutex);
}

/// False when the user declines.
bool RarHandler::unlock()
{
    askPassword(archive->firstVolume());
    const QMutexLocker lock(&passwordMutex);
    if (password.isEmpty())
        return false;
    archive->setPassword(password);
    return true;
}

int RarHandler::rarCallback(unsigned msg, long userData, long p1, long p2)
{
    return reinterpret_cast<RarHandler *>(userData)->onRarCallback(msg, p1, p2);
}

int RarHandler::onRarCallback(unsigned msg, long p1, long p2)
{
    if (msg == UCM_PROCESSDATA)
        bytesProcessed += static_cast<quint64>(p2);
    if (abortRequested)
        return -1;
    if (msg != UCM_CHANGEVOLUME)
        return 0;
    if (!changeVolume(QFile::decodeName(reinterpret_cast<const char *>(p1))))
        return -1;
    // Asked for again, a volume is there and cannot be opened: the library would ask for ever.
    return p2 == RAR_VOL_ASK && !archive->admitVolume(rarFile) ? -1 : 0;
}

/// @p path is where the library looks: only its last component is that of the volume.
bool RarHandler::changeVolume(const QString &path)
{
    const QString name = QFileInfo(QDir::fromNativeSeparators(path)).fileName();
    const QString volume = QFileInfo(rarFile).path() + u'/' + name;
    qDebug() << "RARHandler: needs next volume" << volume;
    const bool ready = waitForVolume(name);
    if (ready || lost)
        rarFile = volume;
    if (!ready)
        return false;
    volumes << rarFile;
    return true;
}

bool RarHandler::waitForVolume(const QString &name)
{
    const QMutexLocker lock(&volumeMutex);
    waitingFor = name;
    if (!volumeReady(name)) {
        if (stopRequested)
            return false;
        emit volumeMissed();
        sleepOn(volumeCondition, volumeMutex);
    }
    const bool ready = volumeReady(name);
    waitingFor.clear();
    return ready;
}

/// With volumeMutex held.
bool RarHandler::volumeReady(const QString &name) const
{
    return QFile::exists(folder + u'/' + name) && arrived.value(name, false);
}
