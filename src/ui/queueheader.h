// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHeaderView>

/// The header of the queue, whose first column takes the room that the others leave. For that
/// reason, dragging the border between two columns changes the width of the right one. The last
/// column can be widened only in this way, since its right border is that of the view.
class QueueHeader final : public QHeaderView {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueHeader)

public:
    explicit QueueHeader(QWidget *parent);

    static constexpr int sizeColumn = 1;
    static constexpr int statusColumn = 2;
    /// A blank behind texts that are aligned to the right, to keep them away from the next column.
    static constexpr QChar gap{0x2002};

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void initStyleOptionForIndex(QStyleOptionHeader *option, int section) const override;

private:
    [[nodiscard]] int columnBehind(int x) const;

    int dragged = 0; ///< the column that is being resized; 0 for none
    int rightEdge = 0; ///< of the dragged column, in pixels from the left
    int grip = 0; ///< how far to the right of the border the mouse was pressed, in pixels
};
