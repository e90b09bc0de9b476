// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A user for the real program, which loads it as a generic plugin by QT_QPA_GENERIC_PLUGINS=user.
// It answers every dialog and works at random, but watches, pauses and deletes only what is called
// "victim". By a letter on its standard input it saves (s) or clears (c) the queue, and answers any
// letter with a line: the bytes allocated, and the number of objects of window and engine.
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
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog) // not from here: the timer would stand still in a dialog that comes of it
            return QTimer::singleShot(0, this, &User::act);
        if (auto *password = qobject_cast<QInputDialog *>(dialog))
            password->setTextValue(QStringLiteral("secret"));
        const auto buttons = dialog->findChildren<QPushButton *>();
        buttons[dialog->inherits("DeleteDialog") ? dice.bounded(2) : 0]->click();
    }
    void act()
    {
        const QWidgetList widgets = QApplication::allWidgets();
        for (auto each = widgets.begin(); each != widgets.end() && !view; ++each)
            view = qobject_cast<QTreeView *>(*each);
        if (!view || !view->isVisible())
            return;
        char order = 0;
        if (read(STDIN_FILENO, &order, 1) == 0)
            _exit(1); // the test is gone
        if (order == 0)
            return dice.bounded(20) > 0 || view->model()->rowCount() == 0 ? void() : work();
        if (order == 's')
            callEngine("saveQueue");
        while (order == 'c' && view->model()->rowCount() > 0)
            trigger(view->model()->index(0, 0), "actionDelete");
        const struct mallinfo2 heap = mallinfo2();
        const auto objects = view->window()->findChildren<QObject *>().size();
        QTextStream(stdout) << heap.uordblks + heap.hblkhd << ' ' << objects << Qt::endl;
    }
    void work()
    {
        QAbstractItemModel *model = view->model();
        const int jobs = model->rowCount();
        const std::unique_ptr<QMimeData> drag(
            model->mimeData({model->index(dice.bounded(jobs), 0)}));
        model->dropMimeData(drag.get(), Qt::CopyAction, dice.bounded(jobs + 1), 0, {});
        callEngine(dice.bounded(2) ? "saveQueue" : "startToDownloadQueue");
        const QModelIndex job = model->index(dice.bounded(jobs), 0);
        const QModelIndex file = model->index(dice.bounded(model->rowCount(job) + 1), 0, job);
        const char *const actions[] = {"actionPreview", "actionPause", "actionDelete"};
        if (job.data().toString().startsWith(u"victim"))
            trigger(file.isValid() ? file : job, actions[dice.bounded(3)]);
    }
    void trigger(const QModelIndex &row, const char *action)
    {
        view->setCurrentIndex({}); // anew, for the actions tell what was true when it was chosen
        view->setCurrentIndex(row);
        view->window()->findChild<QAction *>(QLatin1StringView(action))->trigger();
    }
    void callEngine(const char *slot)
    {
        for (QObject *child : view->window()->children()) {
            if (child->inherits("Marlowick"))
                QMetaObject::invokeMethod(child, slot);
        }
    }

    QRandomGenerator dice{1};
    QTreeView *view = nullptr;
};

#include "user.moc"
