// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QItemDelegate>

/// Draws a cell whose text is a percentage, such as "45 %", as a progress bar, any other as text.
class ProgressbarDelegate : public QItemDelegate {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ProgressbarDelegate)

public:
    explicit ProgressbarDelegate(QObject *parent);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
};
