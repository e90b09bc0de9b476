// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QKeySequence>
#include <QTimer>
#include <QTreeView>
#include <QVariant>

/// The tree of the queue. Each progress concerns two rows, a file's and its job's. Finding them
/// would take time that grows with the queue, so the view looks through the rows on the screen
/// instead, a few times a second however many articles arrive, and repaints those that have
/// changed. Alt and an arrow key move the current row, as the mouse does. What a column is too
/// narrow for stands in a tool tip.
class QueueView final : public QTreeView {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueView)

public:
    explicit QueueView(QWidget *parent);

    void dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                     const QList<int> &roles = {}) override;

public slots:
    /// Repaints the rows on the screen that no longer show what the model says.
    void repaintChanged();

signals:
    /// The menu of the actions, by mouse or key.
    void aboutToShowMenu();

protected:
    bool viewportEvent(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void drawRow(QPainter *painter, const QStyleOptionViewItem &option,
                 const QModelIndex &index) const override;
    void scrollContentsBy(int dx, int dy) override;

private:
    void addMove(const QString &text, const QKeySequence &key, int step);
    void moveCurrentRow(int step);

    QTimer repaintTimer;
    /// By the top of a row, what all of it shows.
    mutable QHash<int, QVariantList> shown;
};
