// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/progressbardelegate.h"

#include <QApplication>
#include <QStyle>
#include <QStyleOptionProgressBar>

using namespace Qt::StringLiterals;

ProgressbarDelegate::ProgressbarDelegate(QObject *parent)
    : QItemDelegate(parent)
{
}

void ProgressbarDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const
{
    const QString text = index.data(Qt::DisplayRole).toString();
    if (!text.endsWith(" %"_L1)) {
        QItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionProgressBar bar;
    bar.state = QStyle::State_Horizontal; // the orientation, without the cell's own state
    bar.rect = option.rect;
    bar.minimum = 0;
    bar.maximum = 100;
    bar.progress = text.chopped(2).toInt();
    bar.text = text;
    bar.textVisible = true;
    QApplication::style()->drawControl(QStyle::CE_ProgressBar, &bar, painter);
}
