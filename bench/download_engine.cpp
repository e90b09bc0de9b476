// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "download_job.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QTimer>

#include "engine/marlowick.h"
#include "preview/preview.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

QByteArray nzbOf(const DownloadJob &job)
{
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<nzb>\n";
    for (qint64 file = 0; file < job.files(); ++file) {
        const qint64 parts = job.parts(file);
        xml += "<file poster=\"p\" date=\"1\" subject=\"&quot;"
               + (job.set.isEmpty() ? DownloadJob::fileName(file) : DownloadJob::volumeName(file))
               + "&quot; yEnc (1/" + QByteArray::number(parts) + ")\"><segments>\n";
        for (qint64 part = 1; part <= parts; ++part)
            xml += "<segment bytes=\"" + QByteArray::number(DownloadJob::articleSize)
                   + "\" number=\"" + QByteArray::number(part) + "\">"
                   + job.messageId(file * job.articlesPerFile + part - 1) + "</segment>\n";
        xml += "</segments></file>\n";
    }
    return xml + "</nzb>\n";
}

QString writeNzb(const DownloadJob &job)
{
    const QString path = job.folder + u"/post.nzb"_s;
    QFile file(path);
    const QByteArray xml = nzbOf(job);
    if (!file.open(QIODevice::WriteOnly) || file.write(xml) != xml.size())
        qFatal("The NZB cannot be written");
    return path;
}

/// A player that takes as much as a film of good quality needs.
void watch(Nzb *nzb)
{
    auto *preview = new Preview(nzb, nzb);
    preview->start(u"/bin/sh"_s,
                   {u"-c"_s, u"exec curl --silent --limit-rate 1M --output /dev/null \"$0\""_s});
}

/// Leaves a hole of the file's size.
void discard(const NzbFile *file)
{
    const auto *job = qobject_cast<Nzb *>(file->parent());
    QFile content(job->folder() + u'/' + file->name());
    const qint64 size = content.size();
    if (size == 0 || !content.resize(0) || !content.resize(size))
        qFatal("%s cannot be emptied", qPrintable(content.fileName()));
}

enum class Meanwhile { Nothing, Unpacking, Watching, Discarding };

DownloadCost download(const DownloadJob &job, Meanwhile meanwhile)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, job.folder);
    const QString nzbFile = writeNzb(job);
    Marlowick engine(nullptr);
    job.configure(*engine.settings());

    CostMeter meter;
    DownloadCost cost;
    QString folder;
    qint64 files = 0;
    QObject::connect(&engine, &Marlowick::fileComplete, &engine, [&](const NzbFile *file) {
        if (meanwhile == Meanwhile::Watching && files == 0)
            watch(qobject_cast<Nzb *>(file->parent()));
        if (meanwhile == Meanwhile::Discarding)
            discard(file);
        meter.reached(static_cast<double>(++files) / static_cast<double>(job.files()));
    });
    QObject::connect(&engine, &Marlowick::nzbComplete, &engine, [&](const Nzb *nzb) {
        if (cost.seconds == 0)
            cost = meter.cost();
        folder = nzb->folder();
        QCoreApplication::quit();
    });
    QObject::connect(&engine, &Marlowick::error, &engine,
                     [](int, const QString &text) { qFatal("%s", qPrintable(text)); });
    const Nzb *nzb = engine.addNZB(nzbFile);
    // The film is whole when the first of its volumes goes.
    const QString first = nzb->folder() + u'/' + QString::fromLatin1(job.volumeName(0));
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, &engine, [&] {
        if (files > 0 && cost.seconds == 0 && !QFile::exists(first))
            cost = meter.cost();
    });
    if (meanwhile == Meanwhile::Unpacking)
        tick.start(2);
    QCoreApplication::exec();
    if (meanwhile == Meanwhile::Nothing || meanwhile == Meanwhile::Watching)
        job.verify(folder);
    return cost;
}

} // namespace

DownloadCost downloadWithEngine(const DownloadJob &job)
{
    return download(job, Meanwhile::Nothing);
}

DownloadCost downloadSet(const DownloadJob &job) { return download(job, Meanwhile::Unpacking); }

DownloadCost downloadWatched(const DownloadJob &job) { return download(job, Meanwhile::Watching); }

DownloadCost downloadDiscarded(const DownloadJob &job)
{
    return download(job, Meanwhile::Discarding);
}
