// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/marlowick.h"

#include <QDebug>
#include <QDir>

#include <utility>

#include "post/filecombiner.h"
#include "post/rarhandler.h"
#include "transfer/nntp.h"

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
{
    openSettings();
    qDebug().nospace() << "Loading settings from: " << settings_->fileName();
    qDebug().nospace() << "Queue filename: " << queueFileName;

    checkSockets();
    connect(&socketTimer, &QTimer::timeout, this, &Marlowick::checkSockets);
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
    qDeleteAll(connections);
}

void Marlowick::openSettings()
{
    settings_ = Settings::open(this);
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
    queueFileName = folder + "/queue.qzb"_L1;
    backupFileName = queueFileName + ".old"_L1;
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
