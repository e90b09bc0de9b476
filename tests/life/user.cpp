// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A user for the real program, which loads it as a generic plugin by QT_QPA_GENERIC_PLUGINS=user.
// It answers every dialog and works at random, but pauses and deletes only what is called "victim".
// By a letter on its standard input it saves (s) or clears (c) the queue, and answers any letter
// with a line: the bytes allocated, and the number of objects of window and engine.
#include <QGenericPlugin>
#include <QtWidgets>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

class User final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "user.json")

public:
    QObject *create(const QString & /*key*/, const QString & /*arguments*/) override
    {
        fcntl(STDIN_FILENO, F_SETFL, O_NONBLOCK);
        startTimer(5);
        return new QObject;
    }

protected:
    void timerEvent(QTimerEvent * /*event*/) override
    {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog) // not from here: the timer would stand still in a dialog that comes of it
            return QTimer::singleShot(0, this, &User::act);
        if (auto *password = qobject_cast<QInputDialog *>(dialog))
            password->setTextValue(QStringLiteral("secret"));
        const auto buttons = dialog->findChildren<QPushButton *>();
        dialog->inherits("SettingsWindow")
            ? dialog->reject()
            : buttons[dialog->inherits("DeleteDialog") ? dice.bounded(2) : 0]->click();
    }

private:
    void act()
    {
        for (QWidget *each : QApplication::topLevelWidgets()) {
            window = each->inherits("MainWindow") && each->isVisible() ? each : nullptr;
            if (!window)
                continue;
            view = window->findChild<QTreeView *>(QStringLiteral("treeView"));
            char order = 0;
            if (read(STDIN_FILENO, &order, 1) == 0)
                _exit(1); // the test is gone
            if (order != 0)
                obey(order);
            else if (view->model()->rowCount() > 0 && dice.bounded(20) == 0)
                work();
        }
    }
    void obey(char order)
    {
        if (order == 's')
            callEngine("saveQueue");
        while (order == 'c' && view->model()->rowCount() > 0)
            trigger(view->model()->index(0, 0), "actionDelete");
        QPixmapCache::clear();
        malloc_trim(0);
        const struct mallinfo2 heap = mallinfo2();
        const auto objects = window->findChildren<QObject *>().size();
        QTextStream(stdout) << heap.uordblks + heap.hblkhd << ' ' << objects << Qt::endl;
    }
    void work()
    {
        static const char *const actions[] = {"actionPreview", "actionSettings", "actionPause",
                                              "actionDelete"};
        QAbstractItemModel *model = view->model();
        const QModelIndex job = model->index(dice.bounded(model->rowCount()), 0);
        const QModelIndex file = model->index(dice.bounded(model->rowCount(job) + 1), 0, job);
        const QModelIndex row = file.isValid() ? file : job;
        view->setExpanded(job, !view->isExpanded(job));
        const int what = dice.bounded(job.data().toString().startsWith(u"victim") ? 7 : 5);
        if (what > 2)
            return trigger(row, actions[what - 3]);
        if (what < 2)
            return callEngine(what == 0 ? "saveQueue" : "startToDownloadQueue");
        const std::unique_ptr<QMimeData> data(model->mimeData({row}));
        const int place = dice.bounded(model->rowCount(row.parent()) + 1);
        model->dropMimeData(data.get(), Qt::CopyAction, place, 0, row.parent());
    }
    void trigger(const QModelIndex &row, const char *action)
    {
        view->setCurrentIndex({}); // anew, for the actions tell what was true when it was chosen
        view->setCurrentIndex(row);
        window->findChild<QAction *>(QLatin1StringView(action))->trigger();
    }
    void callEngine(const char *slot)
    {
        for (QObject *child : window->children()) {
            if (child->inherits("Marlowick"))
                QMetaObject::invokeMethod(child, slot);
        }
    }

    QRandomGenerator dice{1};
    QWidget *window = nullptr;
    QTreeView *view = nullptr;
};

#include "user.moc"
