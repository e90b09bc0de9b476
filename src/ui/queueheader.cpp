// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/queueheader.h"

#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionHeader>

#include <algorithm>
#include <cstdlib>

QueueHeader::QueueHeader(QWidget *parent)
    : QHeaderView(Qt::Horizontal, parent)
{
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setMouseTracking(true);
}

/// The column whose left border is near enough to @p x to be dragged; 0 for none.
int QueueHeader::columnBehind(int x) const
{
    const int margin = style()->pixelMetric(QStyle::PM_HeaderGripMargin, nullptr, this);
    for (int column = 1; column < count(); ++column) {
        if (std::abs(sectionViewportPosition(column) - x) <= margin)
            return column;
    }
    return 0;
}

void QueueHeader::mousePressEvent(QMouseEvent *event)
{
    const int x = event->position().toPoint().x();
    dragged = event->button() == Qt::LeftButton ? columnBehind(x) : 0;
    rightEdge = sectionViewportPosition(dragged) + sectionSize(dragged);
    grip = x - sectionViewportPosition(dragged);
}

void QueueHeader::mouseMoveEvent(QMouseEvent *event)
{
    const int x = event->position().toPoint().x();
    if (dragged == 0) {
        if (columnBehind(x) != 0)
            setCursor(Qt::SplitHCursor);
        else
            unsetCursor();
        return;
    }
    // The first column gives way as long as its arrow and icon have room, and the columns to the
    // right of the dragged one keep their places.
    const int most = sectionSize(dragged) + sectionSize(0) - 2 * minimumSectionSize();
    resizeSection(dragged, std::clamp(rightEdge - (x - grip), minimumSectionSize(),
                                      std::max(most, minimumSectionSize())));
}

void QueueHeader::mouseReleaseEvent(QMouseEvent * /*event*/) { dragged = 0; }

void QueueHeader::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (const int column = columnBehind(event->position().toPoint().x()))
        emit sectionHandleDoubleClicked(column);
}

void QueueHeader::initStyleOptionForIndex(QStyleOptionHeader *option, int section) const
{
    QHeaderView::initStyleOptionForIndex(option, section);
    if (section != sizeColumn)
        return;
    option->textAlignment = Qt::AlignRight | Qt::AlignVCenter;
    option->text += gap;
}
