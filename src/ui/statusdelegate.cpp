// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/statusdelegate.h"

#include <QWidget>

void brightenOnDark(QStyleOptionViewItem *option)
{
    constexpr int bright = 200;
    const QColor text = option->palette.color(QPalette::Text);
    if (!option->widget || text == option->widget->palette().color(QPalette::Text))
        return;
    const bool dark = option->palette.color(QPalette::Base).lightness() < 128;
    if (dark && text.lightness() < bright)
        option->palette.setColor(QPalette::Text,
                                 QColor::fromHsl(text.hslHue(), text.hslSaturation(), bright));
}

void StatusDelegate::drawDisplay(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QRect &rect, const QString &text) const
{
    QStyleOptionViewItem readable = option;
    brightenOnDark(&readable);
    ProgressbarDelegate::drawDisplay(painter, readable, rect, text);
}
