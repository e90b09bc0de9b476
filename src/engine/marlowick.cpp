// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/marlowick.h"

#include <QDebug>
#include <QDir>

#include <stdexcept>

#include "engine/connectionpool.h"
#include "engine/jobfiles.h"
#include "engine/jobfolder.h"
#include "engine/postprocessor.h"
#include "engine/queuefile.h"
#include "engine/queuesaver.h"
#include "engine/speedmeter.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

namespace {

/// Only the user may read it, since the queue shows what is downloaded.
bool makePrivateFolder(const QString &folder)
{
    if (!QDir().mkpath(folder))
        return false;
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return true;
}

} // namespace

Marlowick::Marlowick(QObject *parent, std::chrono::milliseconds tick)
    : QObject(parent)
    , settings_(Settings::open(this))
    , queue_(std::make_unique<Queue>(this))
    , pool(std::make_unique<ConnectionPool>(*queue_, *settings_, this))
    , post(std::make_unique<PostProcessor>(*queue_, *settings_, this))
    , meter(std::make_unique<SpeedMeter>(*queue_, this))
{
    connectQueue();
    connectPool();
    connectPostProcessor();
    openQueueFile();
    qDebug().nospace() << "Loading settings from: " << settings_->fileName();
    qDebug().nospace() << "Queue filename: " << queueFile->name();

    pool->checkSockets();
    connect(&socketTimer, &QTimer::timeout, pool.get(), &ConnectionPool::checkSockets);
    socketTimer.start(tick);
    connect(&saveTimer, &QTimer::timeout, this, &Marlowick::saveQueueInBackground);
}

Marlowick::~Marlowick() = default;

void Marlowick::connectQueue()
{
    const Queue *queue = queue_.get();
    connect(queue, &Queue::beforeAddNZB, this, &Marlowick::beforeAddNZB);
    connect(queue, &Queue::NZBadded, this, &Marlowick::NZBadded);
    connect(queue, &Queue::beforeNzbDelete, this, &Marlowick::beforeNzbDelete);
    connect(queue, &Queue::beforeNzbFileDelete, this, &Marlowick::beforeNzbFileDelete);
    connect(queue, &Queue::NzbItemDeleted, this, &Marlowick::NzbItemDeleted);
    connect(queue, &Queue::beforeQueueReset, this, &Marlowick::beforeQueueReset);
    connect(queue, &Queue::queueReset, this, &Marlowick::queueReset);
    // For the rows of the model. Connected before receivers that may delete a job.
    connect(this, &Marlowick::downloadProgresses, queue, &Queue::downloadProgresses);
    connect(this, &Marlowick::nzbComplete, queue, &Queue::statusChanged);
    connect(this, &Marlowick::statusChanged, queue, &Queue::statusChanged);
}

void Marlowick::connectPool()
{
    const ConnectionPool *from = pool.get();
    connect(from, &ConnectionPool::error, this, &Marlowick::error);
    connect(from, &ConnectionPool::notice, this, &Marlowick::notice);
    connect(from, &ConnectionPool::downloadProgresses, this, &Marlowick::downloadProgresses);
    connect(from, &ConnectionPool::fileDecoded, post.get(), &PostProcessor::finishFile);
    connect(from, &ConnectionPool::fileEndsMissing, post.get(), &PostProcessor::noteMissing);
    connect(from, &ConnectionPool::bytesReceived, meter.get(), &SpeedMeter::update);
    connect(meter.get(), &SpeedMeter::downloadStatistics, this, &Marlowick::downloadStatistics);
}

void Marlowick::connectPostProcessor()
{
    const PostProcessor *from = post.get();
    connect(from, &PostProcessor::error, this, &Marlowick::error);
    connect(from, &PostProcessor::notice, this, &Marlowick::notice);
    connect(from, &PostProcessor::downloadProgresses, this, &Marlowick::downloadProgresses);
    connect(from, &PostProcessor::fileComplete, this, &Marlowick::fileComplete);
    connect(from, &PostProcessor::nzbComplete, this, &Marlowick::nzbComplete);
    connect(from, &PostProcessor::nzbFailed, this, &Marlowick::nzbFailed);
    connect(from, &PostProcessor::statusChanged, this, &Marlowick::statusChanged);
    connect(from, &PostProcessor::passwordNeeded, this, &Marlowick::passwordNeeded);
    connect(from, &PostProcessor::volumeOrdered, this, &Marlowick::startToDownloadQueue);
    connect(from, &PostProcessor::filesRenamed, this, &Marlowick::saveQueueInBackground,
            Qt::QueuedConnection);
}

/// The queue file lies beside the settings file, whose folder may have to be made.
void Marlowick::openQueueFile()
{
    const QString folder = settings_->folder();
    if (!QDir(folder).exists() && !makePrivateFolder(folder)) {
        // Emitted later, since the window connects after the engine has been made.
        QTimer::singleShot(0, this, [this, folder] {
            emit error(0,
                       tr("Error creating the settings folder '%1'. Settings and queue cannot be "
                          "saved.")
                           .arg(QDir::toNativeSeparators(folder)));
        });
    }
    queueFile = std::make_unique<QueueFile>(folder);
    saver = std::make_unique<QueueSaver>(*queueFile);
    // Deliberate: if the disk has too little space for the queue, there is no message.
    connect(saver.get(), &QueueSaver::failed, this, [this] {
        saveTimer.stop();
        emit error(0, tr("Error saving queue file"));
    });
}

QString Marlowick::downloadFolder() const
{
    return Settings::expand(settings_->get(Settings::downloadFolder));
}

QString Marlowick::mediaPlayer() const
{
    return Settings::expand(settings_->get(Settings::mediaPlayer));
}

QString Marlowick::version() const { return tr(MARLOWICK_VERSION); }

int Marlowick::connectionCount() const { return pool->connectionCount(); }

const QList<Nzb *> *Marlowick::queue() const { return &queue_->jobs(); }

void Marlowick::setSaveInterval(int seconds) { saveTimer.start(seconds * 1000); }

Nzb *Marlowick::addNZB(const QString &nzbFile)
{
    queue_->beginAdd(nzbFile);
    Nzb *nzb = nullptr;
    try {
        nzb = importNzb(nzbFile);
    } catch (const std::runtime_error &) {
        queue_->endAdd(nullptr);
        throw;
    }
    queue_->append(nzb);
    queue_->endAdd(nzb);
    if (connectionCount() == 0)
        startToDownloadQueue();
    return nzb;
}

/// The new job, with its folder on disk, but not in the queue yet.
Nzb *Marlowick::importNzb(const QString &nzbFile)
{
    auto nzb = std::make_unique<Nzb>(queue_.get(), downloadFolder(), nzbFile);
    makeFolder(nzb.get());
    nzb->sortFiles();
    if (settings_->get(Settings::pausePAR2)) {
        for (NzbFile *file : nzb->allFiles()) {
            if (file->isPar2())
                file->setPaused(true);
        }
    }
    return nzb.release();
}

void Marlowick::deleteItem(INzbItem *item)
{
    if (auto *nzb = qobject_cast<Nzb *>(item))
        queue_->remove(nzb);
    else if (auto *file = qobject_cast<NzbFile *>(item))
        queue_->remove(file);
}

void Marlowick::deleteFiles(INzbItem *item)
{
    if (auto *nzb = qobject_cast<Nzb *>(item)) {
        post->endProcessing(nzb);
        removeFiles(nzb);
    } else if (const auto *file = qobject_cast<NzbFile *>(item)) {
        removeFiles(file);
    }
}

bool Marlowick::hasWork() const { return queue_->hasWork(); }

bool Marlowick::isAtWork() const { return pool->isFetching() || post->isBusy(); }

bool Marlowick::allPaused() const { return queue_->allPaused(); }

void Marlowick::pauseAll() { queue_->pauseAll(); }

bool Marlowick::nextArticle(NzbFile *&file, int &number, QString &messageId)
{
    return queue_->nextArticle(file, number, messageId);
}

void Marlowick::startToDownloadQueue() { pool->startToDownloadQueue(); }

void Marlowick::closeAllConnections() { pool->closeAllConnections(); }

void Marlowick::setSpeedLimit(int kibPerSecond)
{
    settings_->set(Settings::speedLimitKib, kibPerSecond);
    pool->applySpeedLimit();
    if (!settings_->save())
        emit error(0, tr("The speed limit could not be saved. It holds until the program ends."));
}

void Marlowick::setErrorBoxShown(bool shown) { pool->setErrorBoxShown(shown); }

void Marlowick::setRarPassword(Nzb *nzb, const QString &password)
{
    post->setRarPassword(nzb, password);
}

bool Marlowick::canRepairAndUnpack(const Nzb *nzb) const { return post->canRepairAndUnpack(nzb); }

void Marlowick::repairAndUnpack(Nzb *nzb) { post->repairAndUnpack(nzb); }

void Marlowick::saveQueue()
{
    saveQueueInBackground();
    saver->wait();
}

void Marlowick::saveQueueInBackground() { saver->save(queue_->jobs()); }

void Marlowick::loadQueue(const QString &fileName)
{
    saver->wait();
    const qsizetype before = queue_->jobs().size();
    readQueue(queueFile->load(*queue_, downloadFolder(), fileName), before);
}

/// The jobs that a failed loadQueue() has read stay allocated.
void Marlowick::loadBackup()
{
    saver->wait();
    queue_->clear();
    readQueue(queueFile->loadBackup(*queue_, downloadFolder()), 0);
}

/// @param before  the number of jobs before the file was read
void Marlowick::readQueue(XmlResult result, qsizetype before)
{
    if (result == XmlResult::CannotOpen)
        throw std::runtime_error(tr("Error loading queue file").toStdString());
    if (result == XmlResult::Damaged)
        throw std::runtime_error(tr("Error parsing queue file").toStdString());
    post->resumeLater(queue_->jobs().sliced(before));
}
