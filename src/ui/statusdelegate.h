// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include "queue/progressbardelegate.h"

/// Brightens a text colour of the model on a dark background, where pure red is hard to read. The
/// theme's own colours stay.
void brightenOnDark(QStyleOptionViewItem *option);

/// Draws the status column like ProgressbarDelegate, with texts that are readable on a dark
/// background, and leaves a gap between one bar and the next. On a dark background bars get a
/// frame, since styles draw their empty part as dark as the background.
class StatusDelegate final : public ProgressbarDelegate {
public:
    using ProgressbarDelegate::ProgressbarDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

protected:
    void drawDisplay(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
                     const QString &text) const override;
};
