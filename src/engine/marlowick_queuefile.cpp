// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The queue across runs: one compressed XML file, and as its backup the file of the save before.
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamWriter>

#include <cstdio>
#include <fcntl.h>
#include <quazip/quagzipfile.h>
#include <stdexcept>
#include <unistd.h>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/queue.h"
#include "queue/readxml.h"

using namespace Qt::StringLiterals;

namespace {

/// Moves @p file to @p backup, which does not exist, and leaves an empty file in its place. A crash
/// finds at each moment a file of that name: a queue file that is missing counts as an empty queue,
/// an empty one as damaged, and then the backup is offered.
/// @returns false where the file system cannot exchange two names at once
bool replaceByEmptyFile(const QString &file, const QString &backup)
{
    const QByteArray from = QFile::encodeName(file);
    const QByteArray to = QFile::encodeName(backup);
    const int created = open(to.constData(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (created < 0)
        return false;
    close(created);
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_EXCHANGE) == 0)
        return true;
    unlink(to.constData());
    return false;
}

/// Puts @p backup in the place of @p file in one step, so that a crash finds one of them.
void restoreBackup(const QString &backup, const QString &file)
{
    if (QFileInfo(backup).isFile())
        std::rename(QFile::encodeName(backup).constData(), QFile::encodeName(file).constData());
}

/// A name from a queue file becomes a folder as it stands, so it must not lead anywhere else.
QString folderName(const QString &name)
{
    QString result = name;
    result.replace(u'/', u'_');
    return result.isEmpty() || result == "."_L1 || result == ".."_L1 ? u'_' + result : result;
}

} // namespace

void Marlowick::saveQueue()
{
    try {
        writeQueue();
    } catch (const std::runtime_error &failure) {
        saveTimer.stop();
        restoreBackup(backupFileName, queueFileName);
        queueFileDamaged = false;
        emit error(0, QString::fromUtf8(failure.what()));
    }
}

/// After loadBackup(), or a save for which the disk had no room, the queue file is damaged and is
/// written over where it lies: moved to the backup's name it would take the place of the only good
/// file before there is another.
void Marlowick::writeQueue()
{
    if (!queueFileDamaged && QFile::exists(queueFileName)) {
        QFile::remove(backupFileName);
        if (!replaceByEmptyFile(queueFileName, backupFileName))
            QFile::rename(queueFileName, backupFileName);
    }
    QuaGzipFile file(queueFileName);
    if (!file.open(QIODevice::WriteOnly))
        throw std::runtime_error(tr("Error saving queue file").toStdString());
    QXmlStreamWriter xml(&file);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeComment("Marlowick queue file - looks a bit like a NZB but is not"_L1);
    xml.writeStartElement("qzb"_L1);
    for (const Nzb *nzb : queue_->jobs())
        nzb->saveXml(xml);
    xml.writeEndElement();
    xml.writeEndDocument();
    const bool flushed = file.flush(); // also what only the closing would have written
    queueFileDamaged = xml.hasError() || !flushed;
    file.close();
}

void Marlowick::loadQueue(const QString &fileName)
{
    const QString path = fileName.isEmpty() ? queueFileName : fileName;
    if (!QFile::exists(path))
        return;
    const qsizetype before = queue_->jobs().size();
    const XmlResult result = readXml(path, *this, queueLimits);
    for (; rowsOpen > 0; --rowsOpen) // the file has broken off inside of a job
        queue_->endAdd(nullptr);
    if (result == XmlResult::CannotOpen)
        throw std::runtime_error(tr("Error loading queue file").toStdString());
    if (result == XmlResult::Damaged)
        throw std::runtime_error(tr("Error parsing queue file").toStdString());
    resumeLater(queue_->jobs().sliced(before));
}

/// What a failed loadQueue() has read stays allocated.
void Marlowick::loadBackup()
{
    queue_->clear();
    loadQueue(backupFileName);
    queueFileDamaged = QFile::exists(backupFileName);
}

bool Marlowick::startElement(const QString &namespaceURI, const QString &localName,
                             const QString &qName, const QXmlAttributes &attributes)
{
    if (qName != "nzb"_L1)
        return queue_->jobs().isEmpty()
               || queue_->jobs().last()->startElement(namespaceURI, localName, qName, attributes);
    auto *nzb = new Nzb(queue_, downloadFolder(), QString());
    static_cast<void>(nzb->startElement(namespaceURI, localName, qName, attributes));
    nzb->setName(folderName(nzb->name()));
    ++rowsOpen;
    queue_->beginAdd(nzb->name());
    queue_->append(nzb);
    return true;
}

bool Marlowick::endElement(const QString &namespaceURI, const QString &localName,
                           const QString &qName)
{
    if (queue_->jobs().isEmpty())
        return true;
    static_cast<void>(queue_->jobs().last()->endElement(namespaceURI, localName, qName));
    if (qName == "nzb"_L1) {
        --rowsOpen;
        queue_->endAdd(queue_->jobs().last());
    }
    return true;
}

bool Marlowick::characters(const QString &text)
{
    return queue_->jobs().isEmpty() || queue_->jobs().last()->characters(text);
}
