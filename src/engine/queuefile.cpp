// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/queuefile.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlDefaultHandler>
#include <QXmlStreamWriter>

#include <cstdio>
#include <fcntl.h>
#include <quazip/quagzipfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/jobfolder.h"
#include "queue/nzb.h"
#include "queue/queue.h"
#include "queue/savednzb.h"

using namespace Qt::StringLiterals;

namespace {

constexpr mode_t privateMode = 0600;

/// Creates @p file if it is missing, and lets only its owner read it: it may hold passwords.
void makePrivate(const QString &file)
{
    const QByteArray path = QFile::encodeName(file);
    const int descriptor = open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, privateMode);
    if (descriptor < 0)
        return; // the caller cannot open it, either, and reports that
    static_cast<void>(fchmod(descriptor, privateMode));
    close(descriptor);
}

/// Moves @p file to @p backup, which does not exist, and leaves an empty file in its place. So
/// there is a file of that name at each moment: after a crash, a missing file would count as an
/// empty queue, while an empty file counts as damaged, and the backup is offered.
/// @returns false where the file system cannot exchange two names at once
bool replaceByEmptyFile(const QString &file, const QString &backup)
{
    const QByteArray from = QFile::encodeName(file);
    const QByteArray to = QFile::encodeName(backup);
    const int created = open(to.constData(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, privateMode);
    if (created < 0)
        return false;
    close(created);
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_EXCHANGE) == 0)
        return true;
    unlink(to.constData());
    return false;
}

/// Replaces @p file by @p backup in one step, so that a crash leaves one of them.
void restoreBackup(const QString &backup, const QString &file)
{
    if (QFileInfo(backup).isFile())
        std::rename(QFile::encodeName(backup).constData(), QFile::encodeName(file).constData());
}

/// Reads the top level of a queue file; each job reads itself.
class Reader final : public QXmlDefaultHandler {
public:
    Reader(Queue &queue, const QString &downloadFolder)
        : queue(queue)
        , downloadFolder(downloadFolder)
    {
    }

    bool startElement(const QString &namespaceURI, const QString &localName, const QString &qName,
                      const QXmlAttributes &attributes) override
    {
        if (qName != "nzb"_L1)
            return !last() || last()->startElement(namespaceURI, localName, qName, attributes);
        auto *nzb = new Nzb(&queue, downloadFolder, QString());
        static_cast<void>(nzb->startElement(namespaceURI, localName, qName, attributes));
        nzb->setName(folderName(nzb->name()));
        ++rowsOpen;
        queue.beginAdd(nzb->name());
        queue.append(nzb);
        return true;
    }

    bool endElement(const QString &namespaceURI, const QString &localName,
                    const QString &qName) override
    {
        if (!last())
            return true;
        static_cast<void>(last()->endElement(namespaceURI, localName, qName));
        if (qName == "nzb"_L1) {
            --rowsOpen;
            queue.endAdd(last());
        }
        return true;
    }

    bool characters(const QString &text) override { return !last() || last()->characters(text); }

    /// For a file that ends within a job.
    void closeRows()
    {
        for (; rowsOpen > 0; --rowsOpen)
            queue.endAdd(nullptr);
    }

private:
    [[nodiscard]] Nzb *last() const
    {
        return queue.jobs().isEmpty() ? nullptr : queue.jobs().last();
    }

    Queue &queue;
    QString downloadFolder;
    int rowsOpen = 0;
};

} // namespace

QueueFile::QueueFile(const QString &folder)
    : queueFileName(folder + "/queue.qzb"_L1)
    , backupFileName(queueFileName + ".old"_L1)
{
}

QueueFile::Written QueueFile::save(const QList<SavedNzb> &jobs)
{
    const Written written = write(jobs);
    if (written == Written::CannotOpen)
        restoreBackup(backupFileName, queueFileName);
    damaged = written == Written::Full;
    return written;
}

/// After loadBackup(), or a save that filled the disk, the queue file is damaged and is overwritten
/// in place: as a backup it would replace the only good file.
QueueFile::Written QueueFile::write(const QList<SavedNzb> &jobs)
{
    if (!damaged && QFile::exists(queueFileName)) {
        makePrivate(queueFileName); // one of an earlier version
        QFile::remove(backupFileName);
        if (!replaceByEmptyFile(queueFileName, backupFileName))
            QFile::rename(queueFileName, backupFileName);
    }
    makePrivate(queueFileName);
    QuaGzipFile file(queueFileName);
    if (!file.open(QIODevice::WriteOnly))
        return Written::CannotOpen;
    QXmlStreamWriter xml(&file);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeComment("Marlowick queue file - looks a bit like a NZB but is not"_L1);
    xml.writeStartElement("qzb"_L1);
    for (const SavedNzb &nzb : jobs)
        nzb.saveXml(xml);
    xml.writeEndElement();
    xml.writeEndDocument();
    const bool flushed = file.flush(); // including what close() would have written
    const bool whole = flushed && !xml.hasError();
    file.close();
    return whole ? Written::Whole : Written::Full;
}

XmlResult QueueFile::load(Queue &queue, const QString &downloadFolder, const QString &fileName)
{
    const QString path = fileName.isEmpty() ? queueFileName : fileName;
    if (!QFile::exists(path))
        return XmlResult::Read;
    Reader reader(queue, downloadFolder);
    const XmlResult result = readXml(path, reader, queueLimits);
    reader.closeRows();
    return result;
}

XmlResult QueueFile::loadBackup(Queue &queue, const QString &downloadFolder)
{
    const XmlResult result = load(queue, downloadFolder, backupFileName);
    if (result == XmlResult::Read)
        damaged = QFile::exists(backupFileName);
    return result;
}
