// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A user for the real program, which loads it as a generic plugin by QT_QPA_GENERIC_PLUGINS=
// simulateduser:<seed>. It answers every box; with a seed other than 0 it also deletes jobs and has
// the queue saved at random moments. It tells what it does on standard output, at once, so that
// nothing told is lost when the program is killed: "box <title>", "delete <job>" before anything is
// deleted, "saved <job>..." after a save, with the jobs that were in the queue.
#include <QAction>
#include <QApplication>
#include <QGenericPlugin>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTimer>
#include <QTreeView>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

void tell(const QString &text)
{
    const QByteArray line = text.toUtf8() + '\n';
    if (write(STDOUT_FILENO, line.constData(), static_cast<size_t>(line.size())) != line.size())
        qFatal("The simulated user cannot speak");
}

/// Null until the program is ready for its user.
QMainWindow *mainWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (auto *main = qobject_cast<QMainWindow *>(window); main && main->isVisible())
            return main;
    }
    return nullptr;
}

void save(const QMainWindow *window, const QAbstractItemModel *model)
{
    for (QObject *child : window->children()) {
        if (child->inherits("Marlowick") && !QMetaObject::invokeMethod(child, "saveQueue"))
            qFatal("The engine cannot save");
    }
    QString names;
    for (int row = 0; row < model->rowCount(); ++row)
        names += u' ' + model->index(row, 0).data().toString();
    tell(u"saved"_s + names);
}

void deleteRow(const QMainWindow *window, QTreeView *view, int row)
{
    const QModelIndex job = view->model()->index(row, 0);
    if (!job.isValid())
        return;
    view->setCurrentIndex(job);
    tell(u"delete "_s + job.data().toString());
    window->findChild<QAction *>(u"actionDelete"_s)->trigger(); // returns after the dialog
}

void answer(QWidget *dialog, QRandomGenerator &random)
{
    QAbstractButton *button = nullptr;
    if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
        tell(u"box "_s + box->windowTitle());
        button = box->defaultButton() ? box->defaultButton() : box->buttons().constFirst();
    } else {
        button = dialog->findChild<QAbstractButton *>(random.bounded(2) ? u"commandLinkButton"_s
                                                                        : u"commandLinkButton_2"_s);
    }
    button->click();
}

void work(const QMainWindow *window, QRandomGenerator &random)
{
    auto *view = window->findChild<QTreeView *>(u"treeView"_s);
    const int dice = random.bounded(100);
    if (dice < 15) {
        save(window, view->model());
    } else if (dice < 17) {
        // Not from the timer's own slot, which would not run again before the dialog's end.
        const int row = random.bounded(view->model()->rowCount() + 1);
        QTimer::singleShot(0, view, [=] { deleteRow(window, view, row); });
    }
}

} // namespace

class SimulatedUserPlugin final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "simulateduser.json")

public:
    QObject *create(const QString & /*key*/, const QString &seed) override
    {
        auto *timer = new QTimer;
        connect(timer, &QTimer::timeout, timer,
                [active = seed != "0"_L1, random = QRandomGenerator(seed.toUInt())]() mutable {
                    if (QWidget *dialog = QApplication::activeModalWidget())
                        answer(dialog, random);
                    else if (const QMainWindow *window = mainWindow(); window && active)
                        work(window, random);
                });
        timer->start(3);
        return timer;
    }
};

#include "simulateduser.moc"
