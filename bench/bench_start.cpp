// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// How long the user of a large queue waits: from the start of the program to the first picture of
// its window, and while an NZB is imported, when the event loop stands still. Each beside the same
// with next to nothing in the queue or the NZB.
//
//     bench_start [segments] [rounds]
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

#include "engine/marlowick.h"
#include "largequeue.h"
#include "queue/nzb.h"
#include "ui/mainwindow.h"

using namespace Qt::StringLiterals;

namespace {

struct Wait {
    double seconds;
    double processorSeconds;
};

/// What a process has used so far.
double processorSeconds(qint64 process)
{
    QFile file(u"/proc/%1/stat"_s.arg(process));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The process has ended.");
    const QByteArray line = file.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    return static_cast<double>(fields.value(11).toLongLong() + fields.value(12).toLongLong())
           / static_cast<double>(sysconf(_SC_CLK_TCK));
}

QProcessEnvironment environmentIn(const QTemporaryDir &folder)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, folder.path());
    environment.insert(u"XDG_RUNTIME_DIR"_s, folder.path());
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    // Qt tells when it hands a picture to the screen.
    environment.insert(u"QT_LOGGING_RULES"_s, u"qt.widgets.painting=true"_s);
    return environment;
}

/// From the start of the program itself, which finds its settings and a queue of @p segments
/// segments, to the first picture.
Wait startProgram(int segments)
{
    const QTemporaryDir folder;
    writeQueue(folder, segments);
    QProcess program;
    program.setProcessEnvironment(environmentIn(folder));
    program.setReadChannel(QProcess::StandardError);
    QElapsedTimer clock;
    clock.start();
    program.start(QStringLiteral(MARLOWICK_PROGRAM), QStringList());
    QByteArray line;
    while (!line.startsWith("qt.widgets.painting: Flushing")) {
        if (!program.canReadLine() && !program.waitForReadyRead(120'000))
            qFatal("The program shows nothing.");
        line = program.readLine();
    }
    const Wait wait{static_cast<double>(clock.elapsed()) / 1e3,
                    processorSeconds(program.processId())};
    program.kill();
    program.waitForFinished();
    return wait;
}

/// How long an event waits that is posted just before an NZB of @p segments segments enters the
/// queue of a window that is shown.
Wait importIntoWindow(int segments)
{
    const QTemporaryDir folder;
    const QString nzb = writeNzb(folder, segments);
    writeSettings(folder);
    MainWindow window;
    window.show();
    auto *engine = window.findChild<Marlowick *>();
    Wait wait{};
    QTimer::singleShot(500, engine, [&] {
        const double processor = processorSeconds(getpid());
        QElapsedTimer clock;
        clock.start();
        const auto arrive = [&wait, clock, processor] {
            wait = {static_cast<double>(clock.elapsed()) / 1e3,
                    processorSeconds(getpid()) - processor};
            QCoreApplication::quit();
        };
        QMetaObject::invokeMethod(engine, arrive, Qt::QueuedConnection);
        static_cast<void>(engine->addNZB(nzb));
    });
    QCoreApplication::exec();
    return wait;
}

void compare(const char *title, Wait (*measure)(int), int segments, int rounds)
{
    const QList<int> sizes{1, segments};
    QList<QList<Wait>> waits(sizes.size());
    for (int round = 0; round < rounds; ++round) {
        for (qsizetype i = 0; i < sizes.size(); ++i)
            waits[i].append(measure(sizes[i]));
    }
    const auto middle = [&](QList<Wait> list, double Wait::*field) {
        std::sort(list.begin(), list.end(),
                  [field](const Wait &a, const Wait &b) { return a.*field < b.*field; });
        return list[list.size() / 2].*field;
    };
    for (qsizetype i = 0; i < sizes.size(); ++i)
        std::printf("%-24s %9d segments %7.2f s %7.2f s of processor time\n", title, sizes[i],
                    middle(waits[i], &Wait::seconds), middle(waits[i], &Wait::processorSeconds));
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    const QStringList arguments = QCoreApplication::arguments();
    const int segments = std::max(1, arguments.value(1, u"1000000"_s).toInt());
    const int rounds = std::max(1, arguments.value(2, u"5"_s).toInt());
    std::printf("Median of %d\n", rounds);
    compare("start to first picture", startProgram, segments, rounds);
    compare("an event in an import", importIntoWindow, segments, rounds);
    return 0;
}
