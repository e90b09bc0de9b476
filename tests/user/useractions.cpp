// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "user/useractions.h"

#include <QAction>
#include <QCoreApplication>
#include <QDropEvent>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <QStatusBar>
#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

QString nameOf(const QModelIndex &row) { return row.data().toString(); }
QString statusOf(const QModelIndex &row) { return row.siblingAtColumn(2).data().toString(); }
QString jobNameOf(const QModelIndex &row)
{
    return nameOf(row.parent().isValid() ? row.parent() : row);
}

bool isPar2(const QModelIndex &file) { return nameOf(file).endsWith(".par2"_L1); }
bool isFinished(const QModelIndex &file)
{
    const QString status = statusOf(file);
    return status.startsWith("Finished"_L1) || status.startsWith(u'-');
}

QList<QModelIndex> filesOf(const QModelIndex &job)
{
    QList<QModelIndex> files;
    for (int row = 0; row < job.model()->rowCount(job); ++row)
        files << job.model()->index(row, 0, job);
    return files;
}

/// Something is dragged to @p place, and dropped.
void drop(const QTreeView *view, const QMimeData &data, QPoint place)
{
    QWidget *target = view->viewport();
    QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &enter);
    QDragMoveEvent move(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &move);
    QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &drop);
}

} // namespace

UserActions::UserActions(QMainWindow *window, UserDialogs &dialogs, QRandomGenerator &random)
    : window(window)
    , view(window->findChild<QTreeView *>(u"treeView"_s))
    , dialogs(dialogs)
    , random(random)
{
}

void UserActions::act()
{
    const QModelIndex row = anyRow();
    if (!row.isValid())
        return;
    const int dice = random.bounded(100);
    if (dice < 16)
        togglePause(row);
    else if (dice < 26)
        resumeAll();
    else if (dice < 48)
        drag(row);
    else if (dice < 52)
        deleteRow(row, static_cast<UserDialogs::Delete>(random.bounded(3)));
    else if (dice < 64)
        preview();
    else if (dice < 67)
        trigger(u"actionSettings"_s);
    else if (dice < 71)
        save();
    else
        look(row);
}

void UserActions::saveOrDelete()
{
    const int dice = random.bounded(100);
    if (dice < 15)
        save();
    else if (dice < 17 && jobCount() > 0)
        deleteRow(job(random.bounded(jobCount())),
                  static_cast<UserDialogs::Delete>(random.bounded(2)));
}

void UserActions::trigger(const QString &action)
{
    window->findChild<QAction *>(action)->trigger();
}

/// Anew, for the buttons tell what was true when the row was chosen.
void UserActions::select(const QModelIndex &row)
{
    view->setCurrentIndex(QModelIndex());
    view->setCurrentIndex(row);
}

/// A row with something to fetch that is not paused is paused first.
void UserActions::resume(const QModelIndex &file)
{
    select(file);
    const bool paused = window->findChild<QAction *>(u"actionPause"_s)->isChecked();
    if (!paused && isFinished(file))
        return;
    if (!paused)
        trigger(u"actionPause"_s);
    trigger(u"actionPause"_s);
}

void UserActions::togglePause(const QModelIndex &row)
{
    select(row);
    tell({u"pause"_s, jobNameOf(row)});
    trigger(u"actionPause"_s);
}

void UserActions::drag(const QModelIndex &row)
{
    const QModelIndex level = row.parent();
    const int to = random.bounded(view->model()->rowCount(level));
    const QModelIndex target = view->model()->index(to, 0, level);
    view->expand(level);
    view->scrollTo(target);
    const std::unique_ptr<QMimeData> data(view->model()->mimeData({row}));
    const int line = random.bounded(view->visualRect(target).height() + 1);
    tell({u"drag"_s, jobNameOf(row)});
    drop(view, *data, view->visualRect(target).topLeft() + QPoint(2, line));
}

void UserActions::deleteRow(const QModelIndex &row, UserDialogs::Delete choice)
{
    select(row);
    dialogs.onDelete = choice;
    const QStringList what{jobNameOf(row), row.parent().isValid() ? nameOf(row) : QString()};
    if (choice != UserDialogs::Delete::Nothing)
        tell(QStringList(u"delete"_s) + what);
    QStringList finished;
    const QList<QModelIndex> files = row.parent().isValid() ? QList{row} : filesOf(row);
    for (const QModelIndex &file : files) {
        if (isFinished(file))
            finished << nameOf(file);
    }
    window->statusBar()->clearMessage();
    trigger(u"actionDelete"_s);
    if (window->statusBar()->currentMessage() != "Deleted item"_L1)
        return; // the item has gone by itself
    tell(QStringList(choice == UserDialogs::Delete::Item ? u"kept"_s : u"gone"_s) + what
         + finished);
}

void UserActions::preview()
{
    const int from = random.bounded(jobCount());
    for (int i = 0; i < jobCount(); ++i) {
        select(job((from + i) % jobCount()));
        if (!window->findChild<QAction *>(u"actionPreview"_s)->isEnabled())
            continue;
        tell({u"preview"_s, nameOf(view->currentIndex())});
        return trigger(u"actionPreview"_s);
    }
}

void UserActions::look(const QModelIndex &row)
{
    const QModelIndex job = row.parent().isValid() ? row.parent() : row;
    view->setExpanded(job, !view->isExpanded(job));
    view->setCurrentIndex(row);
}

void UserActions::addByDialog(const QString &nzb)
{
    dialogs.fileToOpen = nzb;
    trigger(u"actionAdd_NZB"_s);
}

void UserActions::addByDrop(const QString &nzb)
{
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(nzb)});
    drop(view, data, view->viewport()->rect().center());
}

void UserActions::resumeAll()
{
    for (int row = 0; row < jobCount(); ++row) {
        const QList<QModelIndex> files = filesOf(job(row));
        for (const QModelIndex &file : files) {
            if (!isPar2(file))
                resume(file);
        }
    }
}

void UserActions::deleteAll()
{
    while (jobCount() > 0)
        deleteRow(job(random.bounded(jobCount())),
                  static_cast<UserDialogs::Delete>(random.bounded(2)));
}

void UserActions::save()
{
    QMetaObject::invokeMethod(engine(), "saveQueue");
    QStringList words{u"saved"_s};
    for (int row = 0; row < jobCount(); ++row)
        words << nameOf(job(row));
    tell(words);
}

void UserActions::tellState() const
{
    int connections = 0;
    for (const QObject *child : engine()->children())
        connections += child->inherits("NNTP");
    QJsonArray jobs;
    for (int row = 0; row < jobCount(); ++row) {
        QJsonObject files;
        const QList<QModelIndex> rows = filesOf(job(row));
        for (const QModelIndex &file : rows)
            files.insert(nameOf(file), statusOf(file));
        jobs << QJsonObject{
            {u"name"_s, nameOf(job(row))}, {u"status"_s, statusOf(job(row))}, {u"files"_s, files}};
    }
    const QJsonObject state{{u"connections"_s, connections}, {u"jobs"_s, jobs}};
    tell({u"state"_s, QString::fromUtf8(QJsonDocument(state).toJson(QJsonDocument::Compact))});
}

QObject *UserActions::engine() const
{
    for (QObject *child : window->children()) {
        if (child->inherits("Marlowick"))
            return child;
    }
    qFatal("The window has no engine");
}

QModelIndex UserActions::anyRow() const
{
    if (jobCount() == 0)
        return {};
    const QModelIndex chosen = job(random.bounded(jobCount()));
    const QList<QModelIndex> files = filesOf(chosen);
    return files.isEmpty() || random.bounded(2) ? chosen : files.at(random.bounded(files.size()));
}
