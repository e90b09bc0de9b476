// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "preview/preview.h"

#include <QDebug>
#include <QFileInfo>
#include <QTcpSocket>

#include <algorithm>
#include <sys/stat.h>
#include <utility>

#include "preview/isofile.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 chunkSize = 32768;
constexpr qint64 longestLine = 65536; // no request comes near it
constexpr int statMsec = 1000;

/// Whether @p path is a name of the open file.
bool isSameFile(const QFile &file, const QString &path)
{
    struct stat one;
    struct stat other;
    return file.isOpen() && fstat(file.handle(), &one) == 0
           && stat(QFile::encodeName(path).constData(), &other) == 0 && one.st_dev == other.st_dev
           && one.st_ino == other.st_ino;
}

bool isFileOf(Nzb *nzb, const QString &path)
{
    return nzb->extractedFiles().contains(path.mid(nzb->folder().size() + 1))
           || std::ranges::any_of(nzb->allFiles(),
                                  [&path](const NzbFile *file) { return file->path() == path; });
}

} // namespace

Preview::Preview(Nzb *job, QObject *parent)
    : QObject(parent)
    , nzb(job)
    , server(this)
{
    player.setProcessChannelMode(QProcess::ForwardedChannels);
    statTimer.setInterval(statMsec);
    connect(&player, &QProcess::finished, this, &Preview::onFinished);
    connect(&statTimer, &QTimer::timeout, this, &Preview::onStatTimer);
    connect(&server, &QTcpServer::newConnection, this, &Preview::onConnection);
}

Preview::~Preview()
{
    player.disconnect(this);
    delete socket;
    server.close();
    if (player.processId() != 0) {
        player.kill();
        player.waitForFinished();
    }
}

void Preview::start(const QString &playerPath, const QStringList &arguments)
{
    qDebug() << "Starting media player:" << playerPath << arguments;
    pending = previewableFiles(nzb);
    if (pending.isEmpty()) {
        emit previewFinished(nzb);
        return;
    }
    server.listen(QHostAddress::LocalHost);
    const QString url = u"http://127.0.0.1:%1/marlowick"_s.arg(server.serverPort());
    player.start(playerPath, arguments + QStringList{url}, QIODevice::ReadWrite);
}

void Preview::onFinished() { emit previewFinished(nzb); }

/// The port is closed as soon as it has a client: a player that connects anew is refused.
void Preview::onConnection()
{
    socket = server.nextPendingConnection();
    socket->setParent(this);
    socket->setReadBufferSize(longestLine);
    connect(socket, &QTcpSocket::bytesWritten, this, &Preview::sendData);
    connect(socket, &QTcpSocket::readyRead, this, &Preview::onIncomingData);
    server.close();
}

/// Only the request line counts; a request for another path is ignored.
void Preview::onIncomingData()
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() >= longestLine)
            socket->abort();
        return;
    }
    const QByteArray line = socket->readLine();
    qDebug() << "RECV:" << line.trimmed();
    if (answered || !line.startsWith("GET /marlowick"))
        return;
    answered = true;
    socket->write("HTTP/1.0 200 Ok\r\nContent-Type: application/octet-stream\r\n"
                  "Connection: close\r\n\r\n");
    sendData();
}

void Preview::onStatTimer()
{
    if (hasGrown())
        sendData();
}

/// Runs whenever the socket has sent some bytes, and fills it up to one chunk again.
void Preview::sendData()
{
    // Only once in a call: an empty piece and its empty joined file would alternate for ever.
    bool searched = false;
    while (isServing() && !sendChunk()) {
        if (isGrowing()) {
            if (!hasGrown())
                return statTimer.start();
            continue;
        }
        if (forgetRenamed() || (pending.isEmpty() && !std::exchange(searched, true)))
            findNewFiles();
        if (pending.isEmpty())
            return socket->disconnectFromHost();
        streamNextFile();
    }
}

bool Preview::isServing() const
{
    return nzb && socket && socket->state() == QAbstractSocket::ConnectedState;
}

/// False when everything that is on disk of the current file has been sent.
bool Preview::sendChunk()
{
    const qint64 room = chunkSize - socket->bytesToWrite();
    const qint64 left = available - position;
    if (room <= 0)
        return true;
    if (left == 0)
        return false;
    const qint64 length = std::min(room, left);
    QByteArray data;
    if (iso) {
        data = iso->read(length);
        position = iso->pos();
        if (data.isEmpty())
            return false;
    } else if (file.isOpen() && length > 0) {
        data = file.read(length);
        position += data.size();
    }
    socket->write(data); // if it is empty the stream rests until the player ends
    return true;
}

bool Preview::isGrowing() const { return std::cmp_not_equal(available, finalSize); }

bool Preview::hasGrown()
{
    // An open file may have got another name meanwhile.
    const qint64 size = file.isOpen() ? file.size() : QFileInfo(currentFile).size();
    if (size == available)
        return false;
    available = size;
    statTimer.stop();
    return true;
}

/// Takes files off the list that the job does not have any more, at least not under these names.
bool Preview::forgetRenamed()
{
    return pending.removeIf([this](auto film) { return !isFileOf(nzb, film.key()); }) != 0;
}

/// Files of the job whose download began, or which got their names, after the list was made.
void Preview::findNewFiles()
{
    const QMap<QString, quint64> films = previewableFiles(nzb);
    for (auto it = films.cbegin(); it != films.cend(); ++it) {
        if (isSameFile(file, it.key()))
            currentFile = it.key(); // or the film would begin again
    }
    for (auto it = films.upperBound(currentFile); it != films.cend(); ++it)
        pending.insert(it.key(), it.value());
}

void Preview::streamNextFile()
{
    leaveFile();
    currentFile = pending.firstKey();
    finalSize = pending.take(currentFile);
    position = 0;
    const qint64 offset = QFileInfo::exists(currentFile) ? 0 : replaceByJoinedFile();
    available = QFileInfo(currentFile).size();
    // Opening a pipe would wait for its other end.
    if (QFileInfo(currentFile).isFile() && isInsideFolder(nzb->folder(), currentFile))
        openFile(offset);
    qDebug() << "Streaming file" << currentFile << position << available << finalSize;
}

/// The first piece of a split file adds nothing to the offset, wanted or not.
void Preview::leaveFile()
{
    file.close();
    if (currentFile.endsWith(".001"_L1))
        joinedOffset = 0;
    else
        joinedOffset += position;
    delete std::exchange(iso, nullptr);
}

/// A piece that is gone may have been joined with the others meanwhile. Returns where the stream
/// goes on in the joined file. The position still counts from 0, so that the stream rests at the
/// joined file's end instead of ending.
qint64 Preview::replaceByJoinedFile()
{
    const qsizetype dot = currentFile.lastIndexOf(u'.');
    const QString joined = currentFile.left(dot);
    if (!isPieceExtension(currentFile.mid(dot + 1)) || !QFileInfo::exists(joined))
        return 0;
    currentFile = joined;
    return joinedOffset;
}

/// Without a buffer, which would keep zeros in the place of bytes that arrive later.
void Preview::openFile(qint64 offset)
{
    constexpr auto mode = QIODevice::ReadOnly | QIODevice::Unbuffered;
    file.setFileName(currentFile);
    if (file.open(mode) && offset != 0)
        file.seek(offset);
    if (currentFile.endsWith(".iso"_L1, Qt::CaseInsensitive)) {
        iso = new IsoFile(currentFile, this);
        static_cast<void>(iso->open(mode)); // it reads as empty if it fails
    }
}
