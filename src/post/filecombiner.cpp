// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/filecombiner.h"

#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <numeric>
#include <unistd.h>

#include "post/threadsanitizer.h"
#include "queue/filenames.h"

namespace {

qint64 totalSize(const QStringList &paths)
{
    return std::accumulate(
        paths.cbegin(), paths.cend(), qint64(0),
        [](qint64 sum, const QString &path) { return sum + QFileInfo(path).size(); });
}

/// Whether the written data will stay. A quota or a network disk may refuse it only when the file
/// is closed; closing a copy of the handle shows that as well.
bool isAccepted(const QFile &output)
{
    const int copy = fcntl(output.handle(), F_DUPFD_CLOEXEC, 0);
    return copy >= 0 && close(copy) == 0;
}

/// Not QFile::rename(), which falls back to copying.
bool renameFile(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

} // namespace

FileCombiner::FileCombiner(Nzb *job, QObject *parent)
    : QThread(parent)
    , nzb(job)
{
}

QString FileCombiner::finish()
{
    awaitEnd(this);
    return outputName;
}

bool FileCombiner::hasGaps()
{
    if (parts.isEmpty())
        return true;
    parts.sort();
    return extensionOf(parts.first()).toInt() != 1
           || extensionOf(parts.last()).toInt() != parts.size();
}

void FileCombiner::run()
{
    const auto end = qScopeGuard([this] { announceEnd(this); });
    if (parts.isEmpty()) {
        emit processingComplete(nzb, QString());
        return;
    }
    parts.sort();
    const QString extension = extensionOf(parts.first());
    firstNumber = extension.toInt();
    outputName = parts.first().left(parts.first().size() - 1 - extension.size());
    pieceSize = QFileInfo(parts.first()).size();

    if (QFile::exists(outputName))
        finishEarlierRun();
    else if (join())
        emit processingComplete(nzb, outputName);
}

/// The output exists already. If its size is right, an earlier run has made it.
void FileCombiner::finishEarlierRun()
{
    if (totalSize(parts) != QFileInfo(outputName).size()) {
        fail(tr("Output filename '%1' already exists").arg(outputName));
        return;
    }
    for (const QString &part : std::as_const(parts))
        QFile::remove(part);
    emit processingComplete(nzb, outputName);
}

bool FileCombiner::join()
{
    QFile output(outputName);
    if (!takeFirstPart(output))
        return false;
    for (qsizetype i = 1; i < parts.size(); ++i) {
        if (sparseOutput)
            output.seek(output.pos() + pieceSize);
        if (!moveInto(output, parts.at(i)))
            return false;
    }
    return true;
}

/// Leaves @p output open, positioned after the data of the first piece. It has no buffer, so that a
/// full disk shows before the piece is deleted.
bool FileCombiner::takeFirstPart(QFile &output)
{
    const bool placed = sparseOutput && firstNumber != 1;
    if (!placed && renameFile(parts.first(), outputName)) {
        // If the output does not open, the first write to it fails.
        static_cast<void>(output.open(QIODevice::Append | QIODevice::Unbuffered));
        return true;
    }
    // The name is free; NewOnly also protects the target of a dangling link.
    if (!output.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)) {
        fail(tr("Error opening output file '%1'").arg(outputName));
        return false;
    }
    if (sparseOutput && firstNumber > 1)
        output.seek((firstNumber - 1) * pieceSize);
    return moveInto(output, parts.first());
}

bool FileCombiner::moveInto(QFile &output, const QString &part)
{
    if (!appendFile(part, &output))
        return false;
    if (!isAccepted(output)) {
        fail(tr("Error writing to file: ") + qt_error_string());
        return false;
    }
    QFile::remove(part);
    return true;
}

bool FileCombiner::appendFile(const QString &source, QIODevice *output)
{
    QFile input(source);
    if (!input.open(QIODevice::ReadOnly)) {
        fail(tr("Error opening file: ") + source);
        return false;
    }
    std::array<char, 32768> buffer;
    while (!input.atEnd()) {
        const qint64 length = input.read(buffer.data(), buffer.size());
        if (length <= 0) {
            fail(tr("Error reading from file: ") + input.errorString());
            return false;
        }
        if (output->write(buffer.data(), length) < length) {
            // Deliberate: the text of the file that is read.
            fail(tr("Error writing to file: ") + input.errorString());
            return false;
        }
    }
    return true;
}

void FileCombiner::fail(const QString &error) { emit processingError(nzb, outputName, error); }
