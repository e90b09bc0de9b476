// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/marlowick.h"

#include <QDebug>
#include <QDir>

#include <stdexcept>
#include <utility>

#include "engine/connectionpool.h"
#include "engine/queuefile.h"
#include "engine/speedmeter.h"
#include "post/filecombiner.h"
#include "post/rarhandler.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/queue.h"

using namespace Qt::StringLiterals;

namespace {

/// For the user's eyes only: the queue tells what is downloaded.
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
    , queue_(new Queue(this))
    , pool(new ConnectionPool(*queue_, *settings_, this))
    , meter(new SpeedMeter(*queue_, this))
{
    relayQueue();
    relayPool();
    openSettings();
    qDebug().nospace() << "Loading settings from: " << settings_->fileName();
    qDebug().nospace() << "Queue filename: " << queueFile->name();

    pool->checkSockets();
    connect(&socketTimer, &QTimer::timeout, pool, &ConnectionPool::checkSockets);
    socketTimer.start(tick);
    connect(&saveTimer, &QTimer::timeout, this, &Marlowick::saveQueue);
    resumeTimer.setSingleShot(true);
    connect(&resumeTimer, &QTimer::timeout, this, &Marlowick::resumeNext);
}

Marlowick::~Marlowick()
{
    for (const JobWork &job : std::as_const(work))
        delete job.rarHandler;
    qDeleteAll(findChildren<FileCombiner *>()); // those of deleted jobs, too
    delete pool;
}

void Marlowick::relayQueue()
{
    connect(queue_, &Queue::beforeAddNZB, this, &Marlowick::beforeAddNZB);
    connect(queue_, &Queue::NZBadded, this, &Marlowick::NZBadded);
    connect(queue_, &Queue::beforeNzbDelete, this, &Marlowick::beforeNzbDelete);
    connect(queue_, &Queue::beforeNzbFileDelete, this, &Marlowick::beforeNzbFileDelete);
    connect(queue_, &Queue::NzbItemDeleted, this, &Marlowick::NzbItemDeleted);
    connect(queue_, &Queue::beforeQueueReset, this, &Marlowick::beforeQueueReset);
    connect(queue_, &Queue::queueReset, this, &Marlowick::queueReset);
    // The other way round: these the rows hear, too.
    connect(this, &Marlowick::downloadProgresses, queue_, &Queue::downloadProgresses);
    connect(this, &Marlowick::nzbComplete, queue_, &Queue::statusChanged);
    connect(this, &Marlowick::statusChanged, queue_, &Queue::statusChanged);
    connect(queue_, &Queue::nzbRemoved, this, &Marlowick::forget);
    connect(queue_, &Queue::nzbFileRemoved, this, &Marlowick::processLater);
}

void Marlowick::relayPool()
{
    connect(pool, &ConnectionPool::error, this, &Marlowick::error);
    connect(pool, &ConnectionPool::notice, this, &Marlowick::notice);
    connect(pool, &ConnectionPool::downloadProgresses, this, &Marlowick::downloadProgresses);
    connect(pool, &ConnectionPool::fileDecoded, this, &Marlowick::finishFile);
    connect(pool, &ConnectionPool::bytesReceived, meter, &SpeedMeter::update);
    connect(meter, &SpeedMeter::downloadStatistics, this, &Marlowick::downloadStatistics);
}

int Marlowick::connectionCount() const { return pool->connectionCount(); }

void Marlowick::startToDownloadQueue() { pool->startToDownloadQueue(); }

void Marlowick::closeAllConnections() { pool->closeAllConnections(); }

void Marlowick::setErrorBoxShown(bool shown) { pool->setErrorBoxShown(shown); }

const QList<Nzb *> *Marlowick::queue() const { return &queue_->jobs(); }

bool Marlowick::hasWork() const { return queue_->hasWork(); }

bool Marlowick::allPaused() const { return queue_->allPaused(); }

void Marlowick::pauseAll() { queue_->pauseAll(); }

bool Marlowick::nextArticle(NzbFile *&file, int &number, QString &messageId)
{
    return queue_->nextArticle(file, number, messageId);
}

void Marlowick::openSettings()
{
    const QString folder = settings_->folder();
    if (!QDir(folder).exists() && !makePrivateFolder(folder)) {
        // Nobody listens yet: the window connects once the engine is there.
        QTimer::singleShot(0, this, [this, folder] {
            emit error(0,
                       tr("Error creating the settings folder '%1'. Settings and queue cannot be "
                          "saved.")
                           .arg(QDir::toNativeSeparators(folder)));
        });
    }
    queueFile = std::make_unique<QueueFile>(folder);
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

void Marlowick::setSaveInterval(int seconds) { saveTimer.start(seconds * 1000); }

void Marlowick::saveQueue()
{
    // Deliberate: of a disk without room for the whole queue nothing is told.
    if (queueFile->save(queue_->jobs()) == QueueFile::Written::CannotOpen) {
        saveTimer.stop();
        emit error(0, tr("Error saving queue file"));
    }
}

void Marlowick::loadQueue(const QString &fileName)
{
    const qsizetype before = queue_->jobs().size();
    readQueue(queueFile->load(*queue_, downloadFolder(), fileName), before);
}

/// What a failed loadQueue() has read stays allocated.
void Marlowick::loadBackup()
{
    queue_->clear();
    readQueue(queueFile->loadBackup(*queue_, downloadFolder()), 0);
}

/// @param before  the jobs that have been there before
void Marlowick::readQueue(XmlResult result, qsizetype before)
{
    if (result == XmlResult::CannotOpen)
        throw std::runtime_error(tr("Error loading queue file").toStdString());
    if (result == XmlResult::Damaged)
        throw std::runtime_error(tr("Error parsing queue file").toStdString());
    resumeLater(queue_->jobs().sliced(before));
}
