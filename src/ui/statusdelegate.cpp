// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/statusdelegate.h"

#include <QPainter>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

constexpr int gap = 3; // pixels

bool isDark(const QStyleOptionViewItem &option)
{
    return option.palette.color(QPalette::Base).lightness() < 128;
}

} // namespace

void brightenOnDark(QStyleOptionViewItem *option)
{
    constexpr int bright = 200;
    const QColor text = option->palette.color(QPalette::Text);
    if (!option->widget || text == option->widget->palette().color(QPalette::Text))
        return;
    if (isDark(*option) && text.lightness() < bright)
        option->palette.setColor(QPalette::Text,
                                 QColor::fromHsl(text.hslHue(), text.hslSaturation(), bright));
}

void StatusDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                           const QModelIndex &index) const
{
    if (!index.data().toString().endsWith(" %"_L1)) {
        ProgressbarDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem cell = option;
    cell.rect.adjust(gap, gap, -gap, -gap);
    ProgressbarDelegate::paint(painter, cell, index);
    if (!isDark(option))
        return;
    QColor frame = option.palette.color(QPalette::Text);
    frame.setAlpha(80);
    painter->setPen(frame);
    painter->drawRect(cell.rect.adjusted(0, 0, -1, -1));
}

void StatusDelegate::drawDisplay(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QRect &rect, const QString &text) const
{
    QStyleOptionViewItem readable = option;
    brightenOnDark(&readable);
    ProgressbarDelegate::drawDisplay(painter, readable, rect, text);
}
