// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/marlowick.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>

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

/// The file beside the program wins by its mere existence, which makes an installation movable.
void Marlowick::openSettings()
{
    const QString beside = QCoreApplication::applicationDirPath() + "/Marlowick.ini"_L1;
    if (QFile::exists(beside))
        settings_ = new QSettings(beside, QSettings::IniFormat, this);
    else
        settings_ = new QSettings(QSettings::IniFormat, QSettings::UserScope, u"Marlowick"_s,
                                  u"Marlowick"_s, this);

    const QString folder = QFileInfo(settings_->fileName()).path();
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

QString Marlowick::downloadFolder() const { return expanded("downloadFolder"); }

QString Marlowick::mediaPlayer() const { return expanded("mediaPlayer"); }

QString Marlowick::expanded(const char *key) const
{
    QString value = settings_->value(QLatin1StringView(key)).toString();
    return value.replace("%APPDIR"_L1, QCoreApplication::applicationDirPath());
}

void Marlowick::setSaveInterval(int seconds) { saveTimer.start(seconds * 1000); }
