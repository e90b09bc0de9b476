// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A user for the real program, which loads it as a generic plugin by its option "-plugin user".
// It answers every dialog; it watches, pauses and resumes at random, and deletes what is called
// "victim". By a letter on its standard input it saves (s) or clears (c) the queue, and it
// answers any with a line: the bytes allocated, and 100,000 for each object of window and engine.
#include <QGenericPlugin>
#include <QtWidgets>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

class User final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "user.json")

    QObject *create(const QString & /*key*/, const QString & /*arguments*/) override
    {
        fcntl(STDIN_FILENO, F_SETFL, O_NONBLOCK);
        startTimer(5);
        return new QObject;
    }
    void timerEvent(QTimerEvent * /*event*/) override
    {
        if (QWidget *dialog = QApplication::activeModalWidget()) {
            if (auto *password = qobject_cast<QInputDialog *>(dialog))
                password->setTextValue(QStringLiteral("secret"));
            return dialog->findChild<QPushButton *>()->click();
        }
        // Not from here, or the timer would stand still in a dialog that comes of it.
        for (QWidget *each : QApplication::topLevelWidgets()) {
            if (each->inherits("MainWindow") && each->isVisible())
                QTimer::singleShot(0, each, [this, each] { act(each); });
        }
    }
    void act(QWidget *window)
    {
        const auto *model = window->findChild<QTreeView *>(QStringLiteral("treeView"))->model();
        const QModelIndex job = model->index(dice.bounded(qMax(1, model->rowCount())), 0);
        const QModelIndex file = model->index(dice.bounded(model->rowCount(job) + 1), 0, job);
        char order = 0;
        if (read(STDIN_FILENO, &order, 1) == 0)
            _exit(1); // the test is gone
        for (QObject *child : window->children()) {
            if (order == 's' && child->inherits("Marlowick"))
                QMetaObject::invokeMethod(child, "saveQueue");
        }
        while (order == 'c' && model->rowCount() > 0)
            trigger(window, model->index(0, 0), {"actionDelete"});
        if (order != 0) {
            const struct mallinfo2 heap = mallinfo2();
            const auto objects = window->findChildren<QObject *>().size();
            QTextStream(stdout) << heap.uordblks + heap.hblkhd + 100'000 * objects << Qt::endl;
        } else if (job.isValid() && dice.bounded(20) == 0) {
            const bool isDoomed =
                job.data().toString().startsWith(u"victim") && dice.bounded(8) == 0;
            trigger(window, file.isValid() ? file : job,
                    {"actionPreview", "actionPause", isDoomed ? "actionDelete" : "actionPause"});
        }
    }
    static void trigger(QWidget *window, const QModelIndex &row, const QList<const char *> &actions)
    {
        auto *view = window->findChild<QTreeView *>(QStringLiteral("treeView"));
        view->setCurrentIndex({}); // anew, for the actions tell what was true when it was chosen
        view->setCurrentIndex(row);
        for (const char *action : actions)
            window->findChild<QAction *>(QLatin1StringView(action))->trigger();
    }

    QRandomGenerator dice{1};
};

#include "user.moc"
