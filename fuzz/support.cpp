// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

void prepare(int &argc, char **argv)
{
    qputenv("QT_NO_GLIB", "1"); // its event loop is slower
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    static const QCoreApplication application(argc, argv);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(scratchFolder()));
}

// What libFuzzer calls.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    prepare(*argc, *argv);
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Target::all().front().run(
        QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    return 0;
}

const QString &scratchFolder()
{
    static const QTemporaryDir folder;
    static const QString path = folder.path();
    return path;
}

QString writeScratch(const QString &name, const QByteArray &content)
{
    QFile file(scratchFolder() + u'/' + name);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(),
            "room for the input");
    return file.fileName();
}

QByteArrayList pieces(const QByteArray &input) { return input.split('|'); }

void require(bool holds, const char *otherwise)
{
    if (holds)
        return;
    std::fprintf(stderr, "REQUIREMENT BROKEN: %s\n", otherwise);
    std::abort();
}

void requireOnly(const QByteArrayList &expected, const QString &folder)
{
    constexpr auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QString &name : QDir(folder).entryList(all))
        require(expected.contains(name.toUtf8()), "nothing else in the folder");
}

void clearFiles(const QString &folder)
{
    for (const QFileInfo &entry : QDir(folder).entryInfoList(QDir::Files | QDir::Hidden)) {
        if (!entry.isSymLink())
            QFile::remove(entry.filePath());
    }
}
