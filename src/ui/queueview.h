// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTreeView>

/// The tree of the queue. All its rows are of one height, and each progress concerns two of them,
/// a file's and its job's, so it simply repaints what it shows: finding the rows takes the base
/// class time that grows with the queue, for each article.
class QueueView final : public QTreeView {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueView)

public:
    using QTreeView::QTreeView;

    void dataChanged(const QModelIndex & /*topLeft*/, const QModelIndex & /*bottomRight*/,
                     const QList<int> & /*roles*/ = {}) override
    {
        viewport()->update();
    }
};
