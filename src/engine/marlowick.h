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
class QueueSaver;
class SpeedMeter;
enum class XmlResult;

/// The engine's face: the operations and signals that windows use. Owns the parts that do the work,
/// connects them with each other and relays their signals. Lives on the GUI thread; all its signals
/// are direct.
class Marlowick final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Marlowick)

public:
    /// @param tick  how often the connections are checked and the speed is measured
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
    /// The same with its announcements, for the model. Only the engine adds and removes jobs: see
    /// addNZB(), deleteItem(), loadQueue() and loadBackup().
    [[nodiscard]] Queue *jobs() const { return queue_.get(); }
    /// Starts the periodic save of the queue.
    void setSaveInterval(int seconds);

    /// Makes a job of an NZB file, plain or gzip-compressed, and starts the download.
    /// @throws std::runtime_error  with a text for the user; the queue is as it was
    Nzb *addNZB(const QString &nzbFile);
    /// Takes a job or a file out of the queue. If a connection still fetches an article of it, the
    /// item stays allocated until that article has come back.
    void deleteItem(INzbItem *item);
    /// Removes the item's files from disk, never anything outside the job's folder. Call it before
    /// deleteItem(). Files that cannot be removed stay, without a message.
    void deleteFiles(INzbItem *item);

    /// True when some unpaused file has a pending segment.
    [[nodiscard]] bool hasWork() const;
    /// True while an article, a repair, an extraction or a join is under way.
    [[nodiscard]] bool isAtWork() const;
    /// True when every job is paused, and for an empty queue.
    [[nodiscard]] bool allPaused() const;
    void pauseAll();
    /// The scheduling decision: the first unpaused file from the top of the queue that has a
    /// pending segment, and of it the lowest one, which becomes active. False without one.
    [[nodiscard]] bool nextArticle(NzbFile *&file, int &number, QString &messageId);
    /// Ends every connection; their articles go back to the queue.
    void closeAllConnections();
    /// Limits the speed of all connections together, from now on and at each later start.
    /// @param kibPerSecond  0 for no limit
    void setSpeedLimit(int kibPerSecond);
    /// Tells the engine whether an error box is shown. While one asks for a password no connection
    /// is added to the pool; those in it go on retrying.
    void setErrorBoxShown(bool shown);

    /// The answer to passwordNeeded(): empty when the user declines.
    void setRarPassword(Nzb *nzb, const QString &password);

    /// True when the job has something on disk and no article under way.
    [[nodiscard]] bool canRepairAndUnpack(const Nzb *nzb) const;
    /// Repeats the post-processing of a job with the files on disk, whatever its result was:
    /// repairs if anything is wrong, unpacks, joins. No effect unless canRepairAndUnpack().
    void repairAndUnpack(Nzb *nzb);

    /// Appends the jobs of a queue file, including the state of half-finished files. A file that
    /// does not exist counts as an empty queue.
    /// @param fileName  if it is empty, the engine's own queue file
    /// @throws std::runtime_error  with a text for the user; the queue then holds the jobs before
    ///     the fault, and the last of them may lack files
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
    /// The job has ended without being complete; @p reason is for the user. A receiver must not
    /// remove the job.
    void nzbFailed(Nzb *nzb, QString reason);
    /// Post-processing has given the job another status text, and nothing else has changed.
    void statusChanged(Nzb *nzb);
    /// For a message box. @p code is always 0.
    void error(int code, QString msg);
    /// For the status bar. @p code is always 0.
    void notice(int code, QString msg);
    /// @p speedinbytespsec counts the raw bytes from the sockets per second; @p bytesleft does not
    /// count paused files; @p secondsleft is 0 if the speed is 0.
    void downloadStatistics(int speedinbytespsec, quint64 bytesleft, int secondsleft);
    /// The extraction of @p rarfile, a RAR or ZIP archive, waits for setRarPassword().
    void passwordNeeded(Nzb *nzb, QString rarfile);
    /// Emitted before and after a change of the whole queue, without any other signal.
    void beforeQueueReset();
    void queueReset();

public slots:
    /// Opens one more connection, if the limit and the queue allow it.
    void startToDownloadQueue();
    /// Writes the queue file; the existing one becomes the backup. On failure the existing one
    /// stays, the periodic save ends, and error() is emitted. Returns when all that is done.
    void saveQueue();
    /// The same, but returns at once. The file gets the present state, unless another save follows
    /// before its turn comes.
    void saveQueueInBackground();

private:
    void connectQueue();
    void connectPool();
    void connectPostProcessor();
    void openQueueFile();
    void readQueue(XmlResult result, qsizetype before);
    [[nodiscard]] Nzb *importNzb(const QString &nzbFile);

    // Destroyed in reverse order, since the later parts use the earlier ones.
    Settings *settings_;
    std::unique_ptr<Queue> queue_;
    std::unique_ptr<ConnectionPool> pool;
    std::unique_ptr<PostProcessor> post;
    std::unique_ptr<SpeedMeter> meter;
    std::unique_ptr<QueueFile> queueFile;
    std::unique_ptr<QueueSaver> saver;
    QTimer socketTimer;
    QTimer saveTimer;
};
