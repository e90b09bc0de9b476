// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QAction>
#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <optional>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/files.h"
#include "ui/mainwindow.h"

/// The main window with settings and folders of its own. Its engine is allowed no connection.
struct WindowFixture {
    /// Before the first window, which asks for the settings otherwise.
    void configure()
    {
        dir.emplace();
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir->path());
        QVERIFY(QDir(dir->path()).mkdir(QStringLiteral("downloads")));
        const QString name = QStringLiteral("Marlowick");
        QSettings settings(QSettings::IniFormat, QSettings::UserScope, name, name);
        settings.setValue("hostname", QStringLiteral("127.0.0.1"));
        settings.setValue("downloadFolder", dir->filePath(QStringLiteral("downloads")));
    }
    void openWindow()
    {
        window.emplace();
        engine = window->findChild<Marlowick *>();
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(&*window));
    }
    /// A job of a film, which is finished, a text and a PAR2 volume, with their files on disk.
    Nzb *addJob(const QString &name = QStringLiteral("job"))
    {
        const QString path = writeFile(dir->filePath(name + QStringLiteral(".nzb")), R"xml(<nzb>
    <file subject='"film.mkv" (1/1)'><segment number='1' bytes='1000'>a@b</segment></file>
    <file subject='"read.txt" (1/2)'><segment number='1' bytes='500'>c@d</segment>
    <segment number='2' bytes='500'>e@f</segment></file>
    <file subject='"film.par2" (1/1)'><segment number='1' bytes='1000'>g@h</segment></file></nzb>)xml");
        Nzb *nzb = engine->addNZB(path);
        for (int i = 0; i < nzb->fileCount(); ++i)
            writeFile(nzb->folder() + u'/' + nzb->fileAt(i)->name(), "data");
        int number = 0;
        nzb->fileAt(0)->nextSegment(&number);
        nzb->fileAt(0)->segmentDecoded(number, {}, 1000, true, true);
        return nzb;
    }
    void set(const char *key, const QVariant &value) const
    {
        engine->settings()->setValue(QLatin1StringView(key), value);
    }
    [[nodiscard]] QTreeView *view() const { return window->findChild<QTreeView *>(); }
    /// Of a job, or of a file of the first job.
    [[nodiscard]] QModelIndex rowAt(int number, const QModelIndex &job = {}) const
    {
        return view()->model()->index(number, 0, job);
    }
    void select(const QModelIndex &index) const { view()->setCurrentIndex(index); }
    [[nodiscard]] QAction *action(const QString &name) const
    {
        return window->findChild<QAction *>(name);
    }

    std::optional<QTemporaryDir> dir;
    std::optional<MainWindow> window;
    Marlowick *engine = nullptr;
};
