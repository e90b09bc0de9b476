// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Whether the window stays alive during a download at full speed: how long the event loop lets an
// event wait, and what the view costs, beside the same download by the engine alone.
//
//     bench_window [bytes] [rounds]
//
// The window holds 1,000 jobs of 200 files, half done but for the first, which is being downloaded:
// a column of progress bars when the jobs are collapsed, that job's files when they are expanded.
// It fills a screen, so that a repaint can concern many rows. "at 60 Hz", it is brought up to date
// 60 times a second; with "all", each row is drawn again each time, whether it has changed or not.
#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSettings>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>

#include "engine/marlowick.h"
#include "latencyprobe.h"
#include "measurement.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "ui/mainwindow.h"
#include "ui/queueview.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int jobs = 1000;
constexpr int filesPerJob = 200;

enum Column {
    Seconds,
    ProcessorSeconds,
    MedianWait,
    HighWait,
    LongestWait,
    LongestTurn,
    Repaints,
    ForcedShare
};

QByteArray fileElement(const QByteArray &name, qint64 done, qint64 parts,
                       const QByteArray &segments)
{
    const auto number = [](qint64 value) { return QByteArray::number(value); };
    return "<file size=\"" + number(parts * DownloadJob::articleSize) + "\" completed=\""
           + number(done * DownloadJob::articleSize) + "\" completedparts=\"" + number(done)
           + "\" subject=\"&quot;" + name + "&quot; (1/" + number(parts) + ")\"><segments>"
           + segments + "</segments></file>\n";
}

QByteArray segmentElement(qint64 number, const QByteArray &messageId)
{
    return "<segment number=\"" + QByteArray::number(number) + "\">" + messageId + "</segment>";
}

/// The post as the first job, and the others half done.
QByteArray queueOf(const DownloadJob &post)
{
    QByteArray xml = "<qzb>\n<nzb name=\"job0\">\n";
    for (qint64 file = 0; file < post.files(); ++file) {
        QByteArray segments;
        for (qint64 part = 1; part <= post.parts(file); ++part)
            segments += segmentElement(part, post.messageId(file, part));
        xml += fileElement(DownloadJob::fileName(file), 0, post.parts(file), segments);
    }
    for (int job = 1; job < jobs; ++job) {
        xml += "</nzb>\n<nzb name=\"job" + QByteArray::number(job) + "\">\n";
        for (int file = 0; file < filesPerJob; ++file)
            xml += fileElement(DownloadJob::fileName(file), 1, 2, segmentElement(2, "none@bench"));
    }
    return xml + "</nzb>\n</qzb>\n";
}

/// Leaves behind what a start of the program finds.
void prepare(const DownloadJob &post)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, post.folder);
    QSettings settings(QSettings::IniFormat, QSettings::UserScope, u"Marlowick"_s, u"Marlowick"_s);
    post.configure(settings);
    settings.sync();
    QFile queue(QFileInfo(settings.fileName()).path() + u"/queue.qzb"_s);
    const QByteArray xml = queueOf(post);
    if (!QDir(post.folder).mkdir(u"job0"_s) || !queue.open(QIODevice::WriteOnly)
        || queue.write(xml) != xml.size())
        qFatal("The queue file cannot be written");
}

class PaintCounter final : public QObject {
public:
    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }
};

std::unique_ptr<MainWindow> showWindow(const QString &client, PaintCounter &paints)
{
    auto window = std::make_unique<MainWindow>();
    auto *view = window->findChild<QueueView *>();
    window->resize(1920, 1080);
    window->show();
    if (client.startsWith("expanded"_L1))
        view->expandAll();
    view->viewport()->installEventFilter(&paints);
    return window;
}

/// Brings the view up to date 60 times a second, or repaints all of it, and knows what that costs.
class Repainter final : public QObject {
public:
    Repainter(QueueView *view, bool all)
    {
        timer.setTimerType(Qt::PreciseTimer);
        connect(&timer, &QTimer::timeout, this, [this, view, all] {
            const double before = processorSeconds();
            if (all)
                view->viewport()->update();
            else
                view->repaintChanged();
            QCoreApplication::sendPostedEvents(view->window(), QEvent::UpdateRequest);
            spent += processorSeconds() - before;
            ++repaints;
        });
        timer.start(1000 / 60);
    }

    /// Of a core, when there are 60 in each second.
    [[nodiscard]] double share() const { return repaints ? 60 * spent / repaints : 0; }

private:
    static double processorSeconds()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    }

    QTimer timer;
    double spent = 0;
    int repaints = 0;
};

/// Runs the event loop for the time from the first article to the last.
QList<double> watchDownload(Marlowick *engine, const DownloadJob &post, const PaintCounter &paints)
{
    std::unique_ptr<CostMeter> meter;
    LatencyProbe probe;
    QList<double> numbers;
    int paintsBefore = 0;
    qint64 files = 0;
    QObject::connect(engine, &Marlowick::error, engine,
                     [](int, const QString &text) { qFatal("%s", qPrintable(text)); });
    QObject::connect(engine, &Marlowick::downloadProgresses, engine, [&] {
        if (meter)
            return;
        meter = std::make_unique<CostMeter>();
        paintsBefore = paints.count;
        probe.start();
    });
    QObject::connect(engine, &Marlowick::fileComplete, engine, [&] {
        if (++files != post.files())
            return;
        const DownloadCost cost = meter->cost();
        const QList<double> waits = probe.stop();
        numbers = {cost.seconds,
                   cost.processorSeconds,
                   waits.at(waits.size() / 2),
                   waits.at(waits.size() * 99 / 100),
                   waits.last(),
                   probe.longestTurn(),
                   (paints.count - paintsBefore) / cost.seconds};
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    return numbers;
}

QList<double> measure(const QString &client, const DownloadJob &job)
{
    DownloadJob post = job;
    post.articlesPerFile = (post.articles + filesPerJob - 1) / filesPerJob;
    prepare(post);
    PaintCounter paints;
    QList<double> numbers;
    if (client == "engine"_L1) {
        Marlowick engine(nullptr);
        engine.loadQueue(QString());
        engine.startToDownloadQueue();
        numbers = watchDownload(&engine, post, paints) << 0.0;
    } else {
        const auto window = showWindow(client, paints);
        std::unique_ptr<Repainter> repainter;
        if (client.endsWith("at 60 Hz"_L1))
            repainter = std::make_unique<Repainter>(window->findChild<QueueView *>(),
                                                    client.contains(", all"_L1));
        numbers = watchDownload(window->findChild<Marlowick *>(), post, paints);
        numbers << (repainter ? repainter->share() : 0);
    }
    post.verify(post.folder + u"/job0"_s);
    return numbers;
}

void printRow(const QString &client, const QList<QList<double>> &rounds, double bytes)
{
    const auto median = [&](Column column) { return medianOf(rounds, column); };
    const auto worst =
        *std::max_element(rounds.cbegin(), rounds.cend(), [](const auto &a, const auto &b) {
            return a.at(LongestWait) < b.at(LongestWait);
        });
    std::printf("%-23s %5.0f MB/s %6.2f s/GB %6.1f %6.1f %6.1f %6.1f %6.1f ms %5.0f /s %5.1f %%\n",
                qPrintable(client), bytes / 1e6 / median(Seconds),
                median(ProcessorSeconds) / (bytes / 1e9), median(MedianWait), median(HighWait),
                median(LongestWait), worst.at(LongestWait), median(LongestTurn), median(Repaints),
                100 * median(ForcedShare));
}

void compare(const Measurements &measurements, bool ssl, qint64 articles, int rounds)
{
    const QStringList clients{u"engine"_s,
                              u"collapsed"_s,
                              u"expanded"_s,
                              u"collapsed at 60 Hz"_s,
                              u"expanded at 60 Hz"_s,
                              u"collapsed, all at 60 Hz"_s};
    QHash<QString, QList<QList<double>>> results;
    for (int round = 0; round < rounds; ++round) {
        for (const QString &client : clients)
            results[client].append(measurements.run(client, {.ssl = ssl}, articles));
    }
    const auto bytes = static_cast<double>(articles * DownloadJob::articleSize);
    for (const QString &client : clients)
        printRow(client, results[client], bytes);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (isClient())
        return runClient(measure);

    const QStringList arguments = QCoreApplication::arguments();
    const qint64 bytes = arguments.value(1, u"2000000000"_s).toLongLong();
    const int rounds = std::max(1, arguments.value(2, u"3"_s).toInt());
    const qint64 articles = std::max<qint64>(filesPerJob, bytes / DownloadJob::articleSize);
    const Measurements measurements;
    for (const bool ssl : {false, true}) {
        std::printf("%lld bytes over %d connections, %s, median of %d\n"
                    "client                  throughput   processor  an event's wait: half, 99 %%, "
                    "longest, in any round, without other processes; repaints; processor for 60 a "
                    "second\n",
                    articles * DownloadJob::articleSize, DownloadJob().connections,
                    ssl ? "TLS" : "plain", rounds);
        std::fflush(stdout);
        compare(measurements, ssl, articles, rounds);
    }
    return 0;
}
