// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QTimer>
#include <QTreeView>
#include <QVariant>

/// The tree of the queue. Each progress changes two rows, that of a file and that of its job.
/// Finding them would take time that grows with the queue, so the view compares the rows on the
/// screen instead, a few times a second however many articles arrive, and repaints those that have
/// changed. A tool tip shows a text that is too wide for its column. Without rows, a hint stands in
/// their place. Its actions are its context menu.
class QueueView final : public QTreeView {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueView)

public:
    explicit QueueView(QWidget *parent);

    void dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                     const QList<int> &roles = {}) override;
    void setModel(QAbstractItemModel *model) override;
    /// Sets the text that tells, while there are no rows, what the user can do.
    void setHint(const QString &text);
    /// Ignores a letter that is the key of a disabled action.
    void keyboardSearch(const QString &search) override;

public slots:
    /// Repaints the rows on the screen that differ from the model.
    void repaintChanged();

signals:
    /// The menu of the actions is about to be shown, by mouse or key.
    void aboutToShowMenu();
    void menuClosed();

protected:
    void rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void drawRow(QPainter *painter, const QStyleOptionViewItem &option,
                 const QModelIndex &index) const override;
    void scrollContentsBy(int dx, int dy) override;

private:
    void selectSuccessor();
    void deselectFilesOf(const QModelIndex &job);
    void showMenu();
    void showMenuAt(const QPoint &place);

    QString hint;
    bool hadSelection = false; ///< when the removal of rows began
    QTimer repaintTimer;
    /// The content of each painted row, by its upper edge.
    mutable QHash<int, QVariantList> shown;
};
