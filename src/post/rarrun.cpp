// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/rarrun.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>

#include <unistd.h>
#include <utility>

#include "post/freebytes.h"
#include "post/threadsanitizer.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"

#include "post/unrar.h"

using Result = RarArchive::Result;

namespace {

constexpr double spaceMargin = 100.0 * 1024 * 1024;

} // namespace

RarRun::RarRun(QString theFolder, const QString &firstVolume)
    : folder(std::move(theFolder))
    , rarFile(folder + u'/' + firstVolume)
{
}

void RarRun::setArrived(const QHash<QString, bool> &files)
{
    const QMutexLocker lock(&volumeMutex);
    arrived = files;
    if (!awaited.isEmpty() && volumeReady(awaited))
        volumeCondition.wakeOne();
}

void RarRun::wake(const QString &name)
{
    const QMutexLocker lock(&volumeMutex);
    if (name == awaited)
        volumeCondition.wakeOne();
}

void RarRun::giveUpVolume(bool evenDamaged)
{
    const QMutexLocker lock(&volumeMutex);
    if (awaited.isEmpty() || volumeReady(awaited) || !(evenDamaged || arrived.value(awaited, true)))
        return;
    lost = true;
    volumeCondition.wakeOne();
}

void RarRun::setPassword(const QByteArray &text)
{
    const QMutexLocker lock(&passwordMutex);
    password = text;
    asksPassword = false;
    passwordCondition.wakeOne();
}

void RarRun::setKeepsVolumes(bool keeps)
{
    const QMutexLocker lock(&volumeMutex);
    keepsVolumes = keeps;
}

void RarRun::stop(bool atOnce)
{
    if (atOnce)
        abortRequested = true;
    {
        const QMutexLocker lock(&passwordMutex);
        stopRequested = true;
        passwordCondition.wakeOne();
    }
    const QMutexLocker lock(&volumeMutex);
    volumeCondition.wakeOne();
}

QString RarRun::waitingFor()
{
    const QMutexLocker lock(&volumeMutex);
    return awaited;
}

bool RarRun::isAsleep()
{
    {
        const QMutexLocker lock(&passwordMutex);
        if (asksPassword)
            return true;
    }
    const QMutexLocker lock(&volumeMutex);
    return !awaited.isEmpty() && !lost && !volumeReady(awaited);
}

void RarRun::unpack()
{
    const QString firstVolume = rarFile;
    Outcome outcome = Outcome::Failed;
    for (;; knownPasswords.removeFirst()) {
        rarFile = firstVolume;
        volumes.clear();
        archive = std::make_unique<RarArchive>(rarFile, folder);
        outcome = processArchive();
        if (outcome != Outcome::WrongPassword)
            break;
        qDebug() << "RARhandler: a known password does not open" << firstVolume;
    }
    if (outcome == Outcome::Complete)
        qDebug() << "Rar processing complete";
    archive.reset();

    switch (outcome) {
    case Outcome::Complete:
        return complete();
    case Outcome::WrongPassword:
    case Outcome::Failed:
        emit failed(rarFile);
        return;
    case Outcome::NoSpace:
        emit lowDiskspace(member.size);
        break;
    case Outcome::NoPassword:
        break;
    }
    emit suspended();
}

RarRun::Outcome RarRun::processArchive()
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

RarRun::Outcome RarRun::processMembers()
{
    Result result = Result::Ok;
    while ((result = archive->nextMember()) == Result::Ok) {
        proved = proved || archive->hasEncryptedHeaders();
        member = archive->member();
        bytesProcessed = 0;
        currentFile = QDir::fromNativeSeparators(QFile::decodeName(member.name));
        if (lacksSpace())
            return Outcome::NoSpace;
        if (member.encrypted && !unlock())
            return Outcome::NoPassword;
        if (lacksMemory())
            return Outcome::Failed;
        const bool unsafe = isUnsafe();
        if (unsafe)
            result = skip();
        else
            result = member.nameCut || overwritesVolume() ? Result::Failed : extract();
        if (result != Result::Ok)
            break;
        proved = proved || (member.encrypted && !unsafe);
    }
    if (result == Result::Locked && !knownPasswords.isEmpty() && !proved)
        return Outcome::WrongPassword;
    return result == Result::End ? Outcome::Complete : Outcome::Failed;
}

bool RarRun::lacksSpace() const
{
    const double available = freeBytes(QFile::encodeName(folder).constData());
    return available >= 0 && static_cast<double>(member.size) + spaceMargin > available;
}

/// The library fills the whole dictionary that a header claims, which may be 4 GiB for one byte.
bool RarRun::lacksMemory() const
{
    const qint64 memory = qint64{sysconf(_SC_PHYS_PAGES)} * sysconf(_SC_PAGESIZE);
    const bool lacks = member.dictionary > static_cast<quint64>(memory) / 2;
    if (lacks)
        qDebug() << "RARhandler: not enough memory for" << currentFile << member.dictionary;
    return lacks;
}

bool RarRun::isUnsafe() const
{
    return member.symbolicLink || isSuspiciousMember(member.name)
           || !isInsideFolder(folder, folder + u'/' + currentFile);
}

/// A post may have been packed twice, under one name.
bool RarRun::overwritesVolume()
{
    const QString path = QDir::cleanPath(folder + u'/' + currentFile);
    const QString name = QFileInfo(path).fileName();
    if (!isRarVolume(name) || path != QDir::cleanPath(folder + u'/' + name))
        return false;
    const QMutexLocker lock(&volumeMutex);
    return arrived.contains(name) || volumes.contains(folder + u'/' + name);
}

Result RarRun::skip()
{
    // Deliberate: the spelling.
    qDebug() << "RARhandler: skipping file because of symlink or suspicous filename" << currentFile;
    return archive->skipMember();
}

Result RarRun::extract()
{
    qDebug() << "RARhandler: extracting file" << currentFile << "size" << member.size;
    // Created at once, for a preview that reads it as it grows. Its folder may not exist yet.
    QFile target(folder + u'/' + currentFile);
    const bool made = !target.exists() && target.open(QIODevice::ReadWrite);
    target.close();
    emit memberBegun(currentFile, member.size);
    const Result result = archive->extractMember();
    if (result != Result::Ok && made && target.size() == 0)
        target.remove(); // as after a wrong password
    return result;
}

void RarRun::complete()
{
    const bool keeps = [this] {
        const QMutexLocker lock(&volumeMutex);
        return keepsVolumes;
    }();
    for (const QString &volume : std::as_const(volumes)) {
        if (keeps)
            break;
        qDebug() << "Removing processed RAR file:" << volume;
        QFile::remove(volume);
    }
    emit completed(volumes, keeps);
}

void RarRun::askPassword(const QString &rarfile)
{
    const QMutexLocker lock(&passwordMutex);
    if (!password.isEmpty() || stopRequested)
        return;
    qDebug() << "Password needed to decrypt RAR";
    asksPassword = true;
    emit passwordNeeded(rarfile);
    sleepOn(passwordCondition, passwordMutex);
}

/// Sets the next known password or, without one, that of the user. False if the user declines.
bool RarRun::unlock()
{
    if (!knownPasswords.isEmpty()) {
        archive->setPassword(knownPasswords.first());
        return true;
    }
    askPassword(archive->firstVolume());
    const QMutexLocker lock(&passwordMutex);
    if (password.isEmpty())
        return false;
    archive->setPassword(password);
    return true;
}

int RarRun::rarCallback(unsigned msg, long userData, long p1, long p2)
{
    return reinterpret_cast<RarRun *>(userData)->onRarCallback(msg, p1, p2);
}

int RarRun::onRarCallback(unsigned msg, long p1, long p2)
{
    if (msg == UCM_PROCESSDATA)
        bytesProcessed += static_cast<quint64>(p2);
    if (abortRequested)
        return -1;
    if (msg != UCM_CHANGEVOLUME)
        return 0;
    if (!changeVolume(QFile::decodeName(reinterpret_cast<const char *>(p1))))
        return -1;
    // A second request means that the volume cannot be opened: the library would ask for ever.
    return p2 == RAR_VOL_ASK && !archive->admitVolume(rarFile) ? -1 : 0;
}

/// @p path is where the library looks: only its last component is that of the volume.
bool RarRun::changeVolume(const QString &path)
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

bool RarRun::waitForVolume(const QString &name)
{
    const QMutexLocker lock(&volumeMutex);
    awaited = name;
    if (!volumeReady(name)) {
        if (stopRequested)
            return false;
        emit volumeMissed();
        sleepOn(volumeCondition, volumeMutex);
    }
    const bool ready = volumeReady(name);
    awaited.clear();
    return ready;
}

/// With volumeMutex held.
bool RarRun::volumeReady(const QString &name) const
{
    return QFile::exists(folder + u'/' + name) && arrived.value(name, false);
}
