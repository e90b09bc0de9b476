// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <memory>

#include "engine/settings.h"

class ConnectionPool;
class INzbItem;
class Nzb;
class NzbFile;
class PostProcessor;
class Queue;
class QueueFile;
class SpeedMeter;
enum class XmlResult;

/// The engine's face: the operations and signals that windows use. Owns the parts that do the work,
/// connects them with each other and passes on what they say. Lives on the GUI thread; all its
/// signals are direct.
class Marlowick final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Marlowick)

public:
    /// @param tick  how often connections are looked at and the speed is told
    explicit Marlowick(QObject *parent, std::chrono::milliseconds tick = std::chrono::seconds(2));
    ~Marlowick() override;

    [[nodiscard]] Settings *settings() const { return settings_; }
    /// The folder below which each job gets its own.
    [[nodiscard]] QString downloadFolder() const;
    [[nodiscard]] QString mediaPlayer() const;
    [[nodiscard]] QString version() const;
    [[nodiscard]] int connectionCount() const;
    /// The jobs in the order of download and display.
    [[nodiscard]] const QList<Nzb *> *queue() const;
    /// The same with its announcements, for the model. Jobs come and go through addNZB() and
    /// deleteItem() alone.
    [[nodiscard]] Queue *jobs() const { return queue_.get(); }
    /// Starts the periodic save of the queue.
    void setSaveInterval(int seconds);

    /// Makes a job of an NZB file, plain or gzip-compressed, and starts the download.
    /// @throws std::runtime_error  with a text for the user; the queue is as it was
    Nzb *addNZB(const QString &nzbFile);
    /// Takes a job or a file out of the queue. What a connection still fetches for it stays
    /// allocated until that article has come back.
    void deleteItem(INzbItem *item);
    /// Removes the item's files from disk, never anything outside the job's folder. Called before
    /// deleteItem(); what cannot be removed stays, without a message.
    void deleteFiles(INzbItem *item);

    /// True when some unpaused file has a pending segment.
    [[nodiscard]] bool hasWork() const;
    /// True when every job is paused, and for an empty queue.
    [[nodiscard]] bool allPaused() const;
    void pauseAll();
    /// The scheduling decision: the first unpaused file from the top of the queue that has a
    /// pending segment, and of it the lowest one, which becomes active. False without one.
    [[nodiscard]] bool nextArticle(NzbFile *&file, int &number, QString &messageId);
    /// Ends every connection; their articles go back to the queue.
    void closeAllConnections();
    /// Tells the engine whether an error box stands on the screen. While one asks for a password no
    /// connection is added to the pool; those in it retry as ever.
    void setErrorBoxShown(bool shown);

    /// The answer to passwordNeeded(): empty when the user declines.
    void setRarPassword(Nzb *nzb, const QString &password);

    /// True when the job has something on disk and no article under way.
    [[nodiscard]] bool canRepairAndUnpack(const Nzb *nzb) const;
    /// Takes the post-processing of a job anew from what is on disk, whatever has become of it:
    /// repairs if anything is wrong with it, unpacks, joins. No effect unless
    /// canRepairAndUnpack().
    void repairAndUnpack(Nzb *nzb);

    /// Appends the jobs of a queue file, with half-done files where they stood. Without a file
    /// there are none.
    /// @param fileName  the engine's own queue file if it is empty
    /// @throws std::runtime_error  with a text for the user; the queue then holds the jobs that
    ///     stand before the fault, of which the last may be short of files
    void loadQueue(const QString &fileName);
    /// Replaces the queue by that of the save before the last one.
    /// @throws std::runtime_error  as loadQueue()
    void loadBackup();

signals:
    void beforeAddNZB(QString name);
    /// Closes what beforeAddNZB() opened; null when the job could not be made, or its element of
    /// the queue file breaks off.
    void NZBadded(Nzb *nzb);
    void beforeNzbDelete(Nzb *nzb);
    void beforeNzbFileDelete(NzbFile *file);
    void NzbItemDeleted();
    void downloadProgresses(NzbFile *file);
    void fileComplete(NzbFile *file);
    void nzbComplete(Nzb *nzb);
    /// Post-processing has given the job another status text, and nothing else has changed.
    void statusChanged(Nzb *nzb);
    /// For a message box. @p code is always 0.
    void error(int code, QString msg);
    /// For the status bar. @p code is always 0.
    void notice(int code, QString msg);
    /// @p speedinbytespsec is raw bytes off the sockets per second; @p bytesleft does not count
    /// paused files; @p secondsleft is 0 when the speed is.
    void downloadStatistics(int speedinbytespsec, quint64 bytesleft, int secondsleft);
    /// The extraction of @p rarfile sleeps until setRarPassword() is called.
    void passwordNeeded(Nzb *nzb, QString rarfile);
    /// Around a change of the whole queue at once, of which no other signal tells.
    void beforeQueueReset();
    void queueReset();

public slots:
    /// Opens one more connection, if the limit and the queue allow it.
    void startToDownloadQueue();
    /// Writes the queue file; the one there becomes the backup. On failure that one stays, the
    /// periodic save ends, and error() tells.
    void saveQueue();

private:
    void connectQueue();
    void connectPool();
    void connectPostProcessor();
    void openQueueFile();
    void readQueue(XmlResult result, qsizetype before);
    [[nodiscard]] Nzb *importNzb(const QString &nzbFile);

    // The later ones use the earlier ones to their end.
    Settings *settings_;
    std::unique_ptr<Queue> queue_;
    std::unique_ptr<ConnectionPool> pool;
    std::unique_ptr<PostProcessor> post;
    std::unique_ptr<SpeedMeter> meter;
    std::unique_ptr<QueueFile> queueFile;
    QTimer socketTimer;
    QTimer saveTimer;
};
