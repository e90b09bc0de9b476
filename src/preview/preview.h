// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QMap>
#include <QPointer>
#include <QProcess>
#include <QTcpServer>
#include <QTimer>

class IsoFile;
class Nzb;
class QTcpSocket;

/// Lets the user watch the films of a job while they are downloaded or unpacked.
///
/// It starts the media player with the address of a server of its own on the loopback interface,
/// which serves one client and hands it the files one after another, as one body of HTTP/1.0
/// without a length. The player sets the pace: at most one chunk is held in memory. When a file is
/// still being unpacked, the stream waits until it has grown. In a file that is being downloaded,
/// missing parts read as zeros.
///
/// It changes neither the job nor the order of its download, and reports nothing to the user: if
/// the player cannot be started, the preview goes on waiting. Lives on the GUI thread.
class Preview final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Preview)

public:
    Preview(Nzb *nzb, QObject *parent);
    /// Kills the player; previewFinished() is not emitted.
    ~Preview() override;

    /// The full paths of the video files that can be read already, in the order in which they are
    /// streamed, with their final sizes in bytes as far as these are known.
    [[nodiscard]] static QMap<QString, quint64> previewableFiles(Nzb *nzb);

    /// @param arguments  of the player; the address is appended to them
    void start(const QString &playerPath, const QStringList &arguments);

signals:
    /// The player has ended, or start() found nothing to play. @p nzb is null if the job is gone.
    void previewFinished(Nzb *nzb);

protected slots:
    void sendData();
    void onStatTimer();
    void onFinished();
    void onConnection();
    void onIncomingData();

private:
    [[nodiscard]] bool isServing() const;
    [[nodiscard]] bool sendChunk();
    [[nodiscard]] bool isGrowing() const;
    [[nodiscard]] bool hasGrown();
    [[nodiscard]] bool forgetRenamed();
    void findNewFiles();
    void streamNextFile();
    void leaveFile();
    [[nodiscard]] qint64 replaceByJoinedFile();
    void openFile(qint64 offset);

    QPointer<Nzb> nzb;
    QMap<QString, quint64> pending; ///< what is still to be streamed, path and final size
    QProcess player;
    QString currentFile;
    qint64 position = 0; ///< bytes sent of currentFile; in a DVD image IsoFile::pos()
    qint64 available = 0; ///< size of currentFile on disk when last looked at
    quint64 finalSize = 0; ///< of currentFile
    qint64 joinedOffset = 0; ///< where the pieces not yet sent begin in the file joined of them
    QFile file;
    QTimer statTimer; ///< runs while the stream waits for currentFile to grow
    QTcpSocket *socket = nullptr; ///< the one client
    QTcpServer server;
    IsoFile *iso = nullptr; ///< reads currentFile if it is a DVD image
    bool answered = false; ///< the client's request has been answered
};
