// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/par2process.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "queue/filenames.h"
#include "queue/nzb.h"

using namespace Qt::StringLiterals;

namespace {

QString findExecutable(const QStringList &candidates)
{
    const auto found = std::find_if(candidates.cbegin(), candidates.cend(),
                                    [](const QString &path) { return QFile::exists(path); });
    QString executable = found == candidates.cend() ? QString() : *found;
    qDebug() << "par2 found" << executable << "possible" << candidates;
    if (executable.isEmpty())
        throw std::runtime_error(Par2Process::tr("Cannot find par2 executable").toStdString());
    return executable;
}

/// The program refuses a path that holds a wildcard. It runs in the volume's folder, so the name of
/// that folder can be left out.
QString volumeArgument(const QFileInfo &volume)
{
    const QString folder = volume.absolutePath();
    const bool wildcard = folder.contains(u'*') || folder.contains(u'?');
    return wildcard ? u"./"_s + volume.fileName() : volume.absoluteFilePath();
}

} // namespace

Par2Process::Par2Process(Nzb *nzb, const QStringList &files, QObject *parent)
    : Par2Process(nzb, files, parent,
                  {u"/usr/bin/par2tbb"_s, u"/usr/local/bin/par2tbb"_s, u"/usr/bin/par2"_s,
                   u"/usr/local/bin/par2"_s})
{
}

Par2Process::Par2Process(Nzb *nzb, const QStringList &files, QObject *parent,
                         const QStringList &candidates)
    : QObject(parent)
    , nzb(nzb)
    , executable(findExecutable(candidates))
{
    for (const QString &file : files) {
        if (const QString stem = par2Stem(file); !stem.isEmpty())
            groups[stem] << file;
    }
    nextGroup = groups.begin();
}

Par2Process::~Par2Process()
{
    if (!process)
        return;
    process->disconnect(this);
    process->kill();
    process->waitForFinished();
}

void Par2Process::setDataFiles(const QStringList &names)
{
    constexpr qsizetype longest = 500'000; // of a system's limit of 2 MiB for a command line
    qsizetype length = 0;
    QStringList arguments;
    for (const QString &name : names) {
        arguments << (name.startsWith(u'-') ? u"./"_s + name : name);
        length += arguments.last().size();
    }
    if (length <= longest)
        dataFiles = arguments;
}

void Par2Process::startNextGroup()
{
    if (nextGroup != groups.end()) {
        startVolume(nextGroup.key(), nextGroup->constFirst());
        ++nextGroup;
        return;
    }
    const QPointer<Par2Process> alive(this);
    const bool success = repaired != 0 && failed == 0;
    answered = answered || allCorrect != 0 || success;
    if (allCorrect != 0)
        emit nothingToRepair(nzb);
    else if (success)
        emit repairComplete(nzb);
    if (alive)
        emit passEnded(nzb, answered);
}

void Par2Process::startVolume(const QString &group, const QString &file)
{
    const QFileInfo volume(file);
    output.clear();
    process = new QProcess(this);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->setStandardInputFile(QProcess::nullDevice());
    connect(process, &QProcess::finished, this, &Par2Process::onFinished);
    connect(process, &QProcess::readyRead, this, &Par2Process::readOutput);
    // Queued, because start() may emit it.
    connect(process, &QProcess::errorOccurred, this, &Par2Process::onError, Qt::QueuedConnection);
    process->setWorkingDirectory(volume.absolutePath());
    qDebug() << "Starting par2 repair using" << file;
    currentGroup = group;
    process->start(executable, QStringList{u"r"_s, u"-q"_s, volumeArgument(volume)} + dataFiles,
                   QIODevice::ReadOnly);
}

void Par2Process::onFinished()
{
    readOutput();
    // We are inside a signal of the process, which must outlive this object if a slot deletes us.
    process->setParent(nullptr);
    std::exchange(process, nullptr)->deleteLater();
    qDebug() << "PAR2 response" << QString::fromLocal8Bit(output.text());

    const Par2Output::Verdict verdict = output.verdict();
    switch (verdict.answer) {
    case Par2Output::Answer::Repaired:
        return finishGroup(repaired);
    case Par2Output::Answer::Correct:
        return finishGroup(allCorrect);
    case Par2Output::Answer::NeedsBlocks:
        return stopForBlocks(verdict.blocks);
    case Par2Output::Answer::CorruptVolume:
        return dropCorruptVolume();
    case Par2Output::Answer::Unknown:
        break;
    }
    qDebug() << "Error parsing par2 response";
    finishGroup(failed);
}

/// A crash is ignored here: the program has ended then, and onFinished() judges its output.
void Par2Process::onError(QProcess::ProcessError error)
{
    if (error != QProcess::FailedToStart)
        return;
    qWarning() << "Cannot start par2:" << process->errorString();
    emit passEnded(nzb, answered);
}

void Par2Process::finishGroup(int &counter)
{
    if (&counter != &failed) {
        targets_ += output.targets();
        foundIn_.insert(output.foundIn());
    }
    ++counter;
    startNextGroup();
}

/// The remaining sets are not started: the job has to fetch volumes first.
void Par2Process::stopForBlocks(int number)
{
    if (requestBlocks(number))
        emit passEnded(nzb, answered);
}

/// Unlike a set that lacks blocks, one without a useful volume does not stop the others.
void Par2Process::dropCorruptVolume()
{
    QStringList &volumes = groups[currentGroup];
    const QString corrupt = volumes.takeFirst();
    qDebug() << "Deleting corrupt PAR2 file:" << corrupt;
    QFile::remove(corrupt);
    if (!volumes.isEmpty())
        startVolume(currentGroup, volumes.constFirst());
    else if (requestBlocks(1))
        startNextGroup();
}

/// False when a slot has deleted this object.
bool Par2Process::requestBlocks(int number)
{
    const QPointer<Par2Process> alive(this);
    ++failed;
    answered = true;
    emit needMoreBlocks(nzb, number, currentGroup);
    return alive;
}
