// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

void dropMessage(QtMsgType, const QMessageLogContext &, const QString &) { }

std::filesystem::path pathOf(const QString &folder)
{
    return QFile::encodeName(folder).toStdString();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_NO_GLIB", "1"); // its event loop is slower
    qInstallMessageHandler(dropMessage);
    static const QCoreApplication application(*argc, *argv);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(scratchFolder()));
    return 0;
}

const QString &scratchFolder()
{
    static const QTemporaryDir folder;
    static const QString path = folder.path();
    return path;
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
    for (const auto &entry : std::filesystem::directory_iterator(pathOf(folder))) {
        const std::string name = entry.path().filename();
        require(expected.contains(QByteArrayView(name)), "nothing else in the folder");
    }
}

void clearFiles(const QString &folder)
{
    for (const auto &entry : std::filesystem::directory_iterator(pathOf(folder))) {
        if (entry.is_regular_file() && !entry.is_symlink())
            std::filesystem::remove(entry.path());
    }
}

void runEvents()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
