// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A user for the real program, which loads it as a generic plugin by
// QT_QPA_GENERIC_PLUGINS=user:<file of certificates to trust>. It answers every dialog. Letters on
// its standard input say what it does otherwise: w works at random, r resumes all, s saves the
// queue, c clears it, t tells of it. The answer to s, c and t is a line.
#include <QGenericPlugin>
#include <QSslConfiguration>
#include <QtWidgets>

#include <cstdio>
#include <malloc.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class User final : public QObject {
    Q_OBJECT

public:
    User()
    {
        connect(&input, &QSocketNotifier::activated, this, [this] {
            if (read(STDIN_FILENO, &order, 1) != 1)
                _exit(1); // the test is gone
        });
        connect(&timer, &QTimer::timeout, this, &User::tick);
        timer.start(5);
    }

private:
    void tick()
    {
        if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
            return answer(dialog);
        if (std::exchange(busy, true))
            return;
        // Not from the timer's own slot, which would not run again before the end of a dialog.
        QTimer::singleShot(0, this, [this] {
            const QWidgetList windows = QApplication::topLevelWidgets();
            for (QWidget *each : windows) {
                window = qobject_cast<QMainWindow *>(each);
                view = each->findChild<QTreeView *>(u"treeView"_s);
                if (window && view && window->isVisible())
                    act(std::exchange(order, order == 'w' ? 'w' : ' '));
            }
            busy = false;
        });
    }
    void answer(QDialog *dialog)
    {
        if (auto *button = dialog->findChildren<QCommandLinkButton *>().value(random.bounded(2)))
            return button->click(); // deletes the item, or its files as well
        if (auto *box = qobject_cast<QMessageBox *>(dialog))
            return box->findChild<QPushButton *>()->click();
        auto *password = qobject_cast<QInputDialog *>(dialog);
        if (password)
            password->setTextValue(u"secret"_s);
        dialog->done(password ? QDialog::Accepted : QDialog::Rejected);
    }
    void act(char letter)
    {
        if (letter == 'w' && view->model()->rowCount() > 0 && random.bounded(20) == 0)
            work();
        if (letter == 'r')
            resume();
        if (letter == 's')
            callEngine("saveQueue");
        while (letter == 'c' && view->model()->rowCount() > 0)
            trigger(view->model()->index(0, 0), u"actionDelete"_s);
        if (letter == 's' || letter == 'c' || letter == 't')
            tellHeap();
    }
    void work()
    {
        const QAbstractItemModel *model = view->model();
        const QModelIndex job = model->index(random.bounded(model->rowCount()), 0);
        const QModelIndex file = model->index(random.bounded(model->rowCount(job) + 1), 0, job);
        const QString name = job.data().toString();
        const int dice = random.bounded(8);
        if (dice == 0 && !name.startsWith("par2"_L1)) // which a repair wants now and then
            trigger(job, u"actionPause"_s);
        else if (dice == 1 && name.startsWith("victim"_L1))
            trigger(file.isValid() ? file : job, u"actionDelete"_s);
        else if (dice == 2 || dice == 3)
            trigger(job, dice == 2 ? u"actionPreview"_s : u"actionSettings"_s);
        else if (dice == 4)
            callEngine("saveQueue");
        else if (dice == 5)
            drag(file.isValid() ? file : job);
        else if (dice == 6)
            resume();
        else
            view->setExpanded(job, !view->isExpanded(job));
    }
    void trigger(const QModelIndex &row, const QString &action)
    {
        view->setCurrentIndex({}); // anew, for the buttons tell what was true when it was chosen
        view->setCurrentIndex(row);
        window->findChild<QAction *>(action)->trigger();
    }
    void drag(const QModelIndex &row)
    {
        const std::unique_ptr<QMimeData> data(view->model()->mimeData({row}));
        const int place = random.bounded(view->model()->rowCount(row.parent()) + 1);
        view->model()->dropMimeData(data.get(), Qt::CopyAction, place, 0, row.parent());
    }
    void resume()
    {
        for (int row = 0; row < view->model()->rowCount(); ++row) {
            view->setCurrentIndex(view->model()->index(row, 0));
            if (window->findChild<QAction *>(u"actionPause"_s)->isChecked())
                trigger(view->currentIndex(), u"actionPause"_s);
        }
        callEngine("startToDownloadQueue");
    }
    void callEngine(const char *slot)
    {
        for (QObject *child : window->children()) {
            if (child->inherits("Marlowick"))
                QMetaObject::invokeMethod(child, slot);
        }
    }
    /// The bytes allocated, and the number of objects of window and engine.
    void tellHeap()
    {
        QPixmapCache::clear();
        malloc_trim(0);
        const struct mallinfo2 heap = mallinfo2();
        const auto objects = window->findChildren<QObject *>().size();
        std::printf("%zu %d\n", heap.uordblks + heap.hblkhd, int(objects));
        std::fflush(stdout);
    }

    QRandomGenerator random{1};
    QMainWindow *window = nullptr;
    QTreeView *view = nullptr;
    QSocketNotifier input{STDIN_FILENO, QSocketNotifier::Read};
    QTimer timer;
    char order = ' ';
    bool busy = false; ///< a dialog may stand in the middle of an action
};

class UserPlugin final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "user.json")

public:
    QObject *create(const QString & /*key*/, const QString &authorities) override
    {
        QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
        trusting.setCaCertificates(QSslCertificate::fromPath(authorities));
        QSslConfiguration::setDefaultConfiguration(trusting);
        return new User;
    }
};

#include "user.moc"
