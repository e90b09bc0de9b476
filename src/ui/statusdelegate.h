// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include "queue/progressbardelegate.h"

/// Makes a colour that the model gives a text brighter on a dark ground, where pure red could
/// hardly be read. The theme's own colours stay.
void brightenOnDark(QStyleOptionViewItem *option);

/// Draws the status column as ProgressbarDelegate does, with texts that can be read on a dark
/// ground.
class StatusDelegate final : public ProgressbarDelegate {
public:
    using ProgressbarDelegate::ProgressbarDelegate;

protected:
    void drawDisplay(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
                     const QString &text) const override;
};
