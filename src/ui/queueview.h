// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTimer>
#include <QTreeView>

/// The tree of the queue. Each progress concerns two rows, a file's and its job's, so it repaints
/// what it shows, a few times a second however many articles arrive: finding the rows would take
/// time that grows with the queue, and a repaint for each article most of the processor's.
class QueueView final : public QTreeView {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueView)

public:
    explicit QueueView(QWidget *parent)
        : QTreeView(parent)
    {
        repaintTimer.setSingleShot(true);
        repaintTimer.setInterval(100);
        connect(&repaintTimer, &QTimer::timeout, viewport(), qOverload<>(&QWidget::update));
    }

    void dataChanged(const QModelIndex & /*topLeft*/, const QModelIndex & /*bottomRight*/,
                     const QList<int> & /*roles*/ = {}) override
    {
        if (!repaintTimer.isActive())
            repaintTimer.start();
    }

private:
    QTimer repaintTimer;
};
