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
