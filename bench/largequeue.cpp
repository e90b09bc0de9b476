// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "largequeue.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>

#include "engine/marlowick.h"

using namespace Qt::StringLiterals;

QString writeNzb(const QTemporaryDir &folder, int segments, int segmentsPerFile)
{
    QFile file(folder.filePath(u"bench.nzb"_s));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("The NZB cannot be written.");
    file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<nzb>\n");
    for (int i = 0; i < segments; ++i) {
        const int number = i % segmentsPerFile + 1;
        if (number == 1)
            file.write("<file poster=\"poster\" date=\"1700000000\" subject=\"a post "
                       "&quot;name.part"
                       + QByteArray::number(i / segmentsPerFile) + ".rar&quot; yEnc (1/"
                       + QByteArray::number(segmentsPerFile) + ")\">\n<segments>\n");
        file.write(
            "  <segment bytes=\"750000\" number=\"" + QByteArray::number(number) + "\">"
            + QCryptographicHash::hash(QByteArray::number(i), QCryptographicHash::Md5).toHex()
            + "@example.test</segment>\n");
        if (number == segmentsPerFile || i == segments - 1)
            file.write("</segments>\n</file>\n");
    }
    file.write("</nzb>\n");
    return file.fileName();
}

void writeSettings(const QTemporaryDir &folder)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    QSettings settings(QSettings::IniFormat, QSettings::UserScope, u"Marlowick"_s, u"Marlowick"_s);
    settings.setValue("hostname"_L1, u"127.0.0.1"_s);
    settings.setValue("threads"_L1, 0);
    settings.setValue("downloadFolder"_L1, folder.path());
}

std::unique_ptr<Marlowick> makeEngine(const QTemporaryDir &folder)
{
    writeSettings(folder);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    auto engine = std::make_unique<Marlowick>(nullptr);
    QObject::connect(engine.get(), &Marlowick::error, engine.get(),
                     [](int, const QString &text) { qFatal("%s", qPrintable(text)); });
    return engine;
}

QString queueFile(const Marlowick &engine)
{
    return QFileInfo(engine.settings()->fileName()).path() + u"/queue.qzb"_s;
}

QString writeQueue(const QTemporaryDir &folder, int segments)
{
    const auto engine = makeEngine(folder);
    static_cast<void>(engine->addNZB(writeNzb(folder, segments)));
    engine->saveQueue();
    return queueFile(*engine);
}
