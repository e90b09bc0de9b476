// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "ui/mainwindow.h"
#include "ui/queueview.h"
#include "ui/user.h"

/// A user of the main window. The fixture's own engine only sets things.
struct World : User {
    World()
    {
        QDir().mkpath(downloads());
        set("threads", 0);
        start();
    }
    void start()
    {
        window.reset();
        window = std::make_unique<MainWindow>();
        live = window->findChild<Marlowick *>();
        view = window->findChild<QueueView *>();
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }
    /// Adds jobs of a film, a volume and a text, with the film on disk, and returns the last one.
    Nzb *add(const QStringList &names)
    {
        for (const QString &name : names) {
            Post post(name);
            for (const char *file : {"film.mkv", "vol.par2", "read.txt"})
                post.addYenc(file, "data");
            window->handleMessage(post.writeNzb(dir.path()));
            writeFile(live->queue()->last()->folder() + "/film.mkv", "data");
        }
        return live->queue()->last();
    }
    /// What is shown after @p words, of which a letter selects the first row that begins with it,
    /// beside those that are selected after a plus: each job with a letter for each of its files, a
    /// mark behind what is paused, then the row that is selected, what the button says of it, and
    /// the message.
    QString after(const QString &words)
    {
        window->activateWindow(); // which the end of a menu or dialog does not do here
        if (!QApplication::activeModalWidget())
            (void)QTest::qWaitForWindowActive(window.get());
        view->expandAll();
        const auto *model = view->model();
        for (const QString &word : words.split(';', Qt::SkipEmptyParts)) {
            const auto found =
                model->match(model->index(0, 0), Qt::DisplayRole, QString(word).remove('+'), 1,
                             Qt::MatchStartsWith | Qt::MatchRecursive);
            if (found.isEmpty())
                use(window.get(), word);
            else // as by a click on its status
                view->selectionModel()->setCurrentIndex(
                    found[0].siblingAtColumn(2),
                    QItemSelectionModel::Rows
                        | QItemSelectionModel::SelectionFlag(word[0] == '+' ? 2 : 3));
        }
        QString all;
        for (QModelIndex row = view->indexAt({}); row.isValid(); row = view->indexBelow(row)) {
            const QString name = row.data().toString();
            all += row.parent().isValid() ? name.first(1) : QString(' ' + name + ':');
            all += row.siblingAtColumn(2).data() == "Paused" ? "!" : "";
        }
        const auto *pause = window->findChild<QAction *>("actionPause");
        const QString button = !pause->isEnabled() ? "" : pause->isChecked() ? "paused" : "running";
        all +=
            " > " + view->currentIndex().siblingAtColumn(0).data().toString() + ' ' + button + ' ';
        return all + window->statusBar()->currentMessage();
    }

    /// What the menu offers, before @p choice is taken.
    QString menu(const QString &choice)
    {
        answers.prepend(choice + ";Esc");
        after("Shift+F10");
        return told.takeLast();
    }

    std::unique_ptr<MainWindow> window;
    Marlowick *live = nullptr;
    QueueView *view = nullptr;
};
