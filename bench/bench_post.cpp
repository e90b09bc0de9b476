// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// How long the user waits for the film once the last article is there, when the other volumes were
// unpacked as they arrived, beside unrar on the finished set; and joining split files beside cat.
//
//     bench_post [folder]
//
// The folder, /var/tmp by default, ought to lie on a disk. Works on real copies, not on links, so
// that deleting volumes and pieces costs what it costs a user. Nothing is left to be written when a
// clock starts; what is written while it runs may still be in the page cache, on either side.
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QProcess>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QTimer>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <stdexcept>

#include "measurement.h"
#include "post/filecombiner.h"
#include "post/rarhandler.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 megabyte = 1'000'000;
constexpr qint64 spaceNeeded = 8'000 * megabyte;
constexpr qint64 volumeSize = 50 * megabyte;
constexpr int volumes = 20;
// Fills them, headers included: the last one is as large as the others.
constexpr qint64 filmSize = volumes * volumeSize - 20'000;
constexpr int rounds = 3;

void require(bool ok, const QString &what)
{
    if (!ok)
        throw std::runtime_error(qPrintable(what));
}

QElapsedTimer startClock()
{
    ::sync();
    QElapsedTimer clock;
    clock.start();
    return clock;
}

double secondsOf(const QElapsedTimer &clock)
{
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

/// Runs the event loop. Events show at once, anything else within a moment.
void waitUntil(const QString &what, const std::function<bool()> &reached)
{
    const QDeadlineTimer deadline(std::chrono::minutes(5));
    QTimer tick;
    tick.start(2);
    while (!reached()) {
        require(!deadline.hasExpired(), u"Not reached in 5 minutes: "_s + what);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// Runs @p command in the current folder.
void shell(const QString &command)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(u"sh"_s, {u"-ec"_s, command});
    require(process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit
                && process.exitCode() == 0,
            u"Failed: "_s + command);
}

void bookArrival(NzbFile *file)
{
    int segment = 0;
    require(!file->nextSegment(&segment).isEmpty(), u"A volume has no article"_s);
    file->segmentDecoded(segment, QString(), volumeSize, true, true);
}

/// Until the handler has used up what has arrived: all volumes but the last.
void waitForLull()
{
    qint64 size = 0;
    QElapsedTimer still;
    waitUntil(u"all volumes but one unpacked"_s, [&] {
        const qint64 now = QFileInfo(u"job/film.mkv"_s).size();
        if (now != size || !still.isValid())
            still.start();
        size = now;
        // The library keeps a few megabytes back.
        return size > filmSize - volumeSize - 10 * megabyte && still.hasExpired(500);
    });
    require(size < filmSize, u"The film is whole without the last volume"_s);
}

/// Seconds from the last volume's arrival to the whole film, and until its volumes are deleted. The
/// film is closed before the first volume goes.
QList<double> unpack()
{
    shell(u"rm -rf job; mkdir job"_s);
    Nzb job(nullptr, QDir::currentPath(), u"job.nzb"_s);
    require(job.fileCount() == volumes, u"The NZB was not read whole"_s);
    RarHandler handler(&job);
    bool done = false;
    QObject::connect(&handler, &RarHandler::processingComplete, &job, [&] { done = true; });

    for (int i = 0; i < volumes; ++i) {
        NzbFile *file = job.fileAt(i);
        shell(u"cp set/"_s + file->name() + u" job"_s);
        if (i == volumes - 1)
            break;
        bookArrival(file);
        i == 0 ? handler.checkCompletedFiles() : handler.fileCompleted(file);
    }
    waitForLull();
    const QString firstVolume = u"job/"_s + job.fileAt(0)->name();
    const QElapsedTimer clock = startClock();
    bookArrival(job.fileAt(volumes - 1));
    handler.fileCompleted(job.fileAt(volumes - 1));
    waitUntil(u"the film"_s, [&] { return !QFile::exists(firstVolume); });
    const double whole = secondsOf(clock);
    waitUntil(u"the end of the volumes"_s, [&] { return done; });
    return {whole, secondsOf(clock)};
}

QList<double> join()
{
    shell(u"rm -rf job; cp -r pieces job"_s);
    FileCombiner combiner(nullptr, nullptr);
    for (const QString &name : QDir(u"job"_s).entryList(QDir::Files))
        combiner.addFile(u"job/"_s + name);
    bool done = false;
    QObject::connect(&combiner, &FileCombiner::processingComplete, &combiner, [&] { done = true; });
    const QElapsedTimer clock = startClock();
    combiner.startProcessing();
    waitUntil(u"the joined file"_s, [&] { return done; });
    return {secondsOf(clock)};
}

QList<double> runRival(const QString &command)
{
    shell(u"rm -rf rival; mkdir rival"_s);
    const QElapsedTimer clock = startClock();
    shell(u"exec "_s + command);
    return {secondsOf(clock)};
}

/// Prints a row for each number that @p ours returns.
void compare(const QList<const char *> &rows, QList<double> (*ours)(), const QString &rival)
{
    QList<QList<double>> results;
    for (int i = 0; i < rounds; ++i) {
        // By turns, so that neither always finds what the other left behind.
        const QList<double> before = i % 2 != 0 ? runRival(rival) : QList<double>();
        const QList<double> numbers = ours();
        results.append(numbers + (before.isEmpty() ? runRival(rival) : before));
        shell(u"cmp job/film.mkv rival/film.mkv; test \"$(ls job)\" = film.mkv"_s);
    }
    const double rivalSeconds = medianOf(results, static_cast<int>(rows.size()));
    for (int i = 0; i < rows.size(); ++i) {
        const double seconds = medianOf(results, i);
        std::printf("%-44s %7.3f s %7.3f s %6.3f\n", rows.at(i), seconds, rivalSeconds,
                    seconds / rivalSeconds);
    }
    std::fflush(stdout);
}

void compareAll()
{
    shell(uR"(mkdir set; head -c %1 /dev/urandom >film.mkv
        rar a -inul -m0 -v%2b set/film.rar film.mkv; rm film.mkv
        for name in $(ls set); do
            echo "<file subject='&quot;$name&quot; yEnc (1/1)'><segments>"
            echo "<segment bytes='1' number='1'>id@bench</segment></segments></file>"
        done >files; (echo '<nzb>'; cat files; echo '</nzb>') >job.nzb)"_s.arg(filmSize)
              .arg(volumeSize));
    compare({"last article to film, 1 GB set; unrar x", "  and to its volumes deleted; the same"},
            unpack, u"unrar x -inul set/film.part01.rar rival/"_s);
    shell(uR"(rm -rf ./*; mkdir pieces
        for i in $(seq -w 20); do head -c 100000000 /dev/urandom >pieces/film.mkv.0$i; done)"_s);
    compare({"joining 20 pieces, 2 GB; cat"}, join, u"cat pieces/* >rival/film.mkv"_s);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"*.debug=false"_s);
    const QString place = QCoreApplication::arguments().value(1, u"/var/tmp"_s);
    const QStorageInfo disk(place);
    if (disk.bytesAvailable() < spaceNeeded) {
        std::printf("Skipped: %lld MB are free in the folder, %lld MB are needed; name another\n",
                    disk.bytesAvailable() / megabyte, spaceNeeded / megabyte);
        return 0;
    }
    try {
        const QTemporaryDir folder(QDir(place).absoluteFilePath(u"marlowick-bench-XXXXXX"_s));
        require(folder.isValid() && QDir::setCurrent(folder.path()), folder.errorString());
        std::printf("%s (%s), median of %d; Marlowick, rival, ratio\n", qPrintable(place),
                    disk.fileSystemType().constData(), rounds);
        compareAll();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
