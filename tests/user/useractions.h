// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>
#include <QModelIndex>
#include <QRandomGenerator>
#include <QTreeView>

#include "user/userdialogs.h"

/// What the simulated user does with the program's window, by its real actions and events. What may
/// change the outcome of a job is told before it is done.
class UserActions final {
public:
    UserActions(QMainWindow *window, UserDialogs &dialogs, QRandomGenerator &random);

    /// Something at random; returns after the dialog, if it brings one.
    void act();
    /// Now and then has the queue saved, or deletes a job.
    void saveOrDelete();
    void addByDialog(const QString &nzb);
    void addByDrop(const QString &nzb);
    /// Lets everything go on but the PAR2 files, and opens a connection if need be.
    void resumeAll();
    void deleteAll();
    void save();
    /// Tells the number of connections, and the name, the status and the files of each job.
    void tellState() const;

private:
    void trigger(const QString &action);
    void select(const QModelIndex &row);
    void resume(const QModelIndex &file);
    void togglePause(const QModelIndex &row);
    void drag(const QModelIndex &row);
    void deleteRow(const QModelIndex &row, UserDialogs::Delete choice);
    void preview();
    void look(const QModelIndex &row);
    [[nodiscard]] QObject *engine() const;
    [[nodiscard]] QModelIndex job(int row) const { return view->model()->index(row, 0); }
    [[nodiscard]] int jobCount() const { return view->model()->rowCount(); }
    [[nodiscard]] QModelIndex anyRow() const;

    QMainWindow *window;
    QTreeView *view;
    UserDialogs &dialogs;
    QRandomGenerator &random;
};
