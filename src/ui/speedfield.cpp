// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/speedfield.h"

#include <QActionGroup>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QStyleOptionFocusRect>
#include <QStylePainter>

#include <algorithm>
#include <iterator>

#include "engine/marlowick.h"

namespace {

constexpr int kibPerMegabyte = 1024;
constexpr int usualMegabytes[] = {1, 2, 5, 10, 20, 50};
constexpr int lowestLimit = 64; ///< KiB per second; with less, articles would take minutes
constexpr int highestLimit = 10 * kibPerMegabyte * kibPerMegabyte;

QString limitText(int kib)
{
    return kib % kibPerMegabyte == 0 ? SpeedField::tr("%1 MB/s").arg(kib / kibPerMegabyte)
                                     : SpeedField::tr("%1 KB/s").arg(kib);
}

} // namespace

SpeedField::SpeedField(Marlowick *engine, const QString &speed)
    : engine(engine)
{
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(tr("Download speed"));
    setToolTip(tr("Download speed. Click to limit it."));
    setSpeed(speed);
}

void SpeedField::setSpeed(const QString &speed)
{
    shownSpeed = speed;
    setText(limit() == 0 ? speed : tr("%1(limit %2)  ").arg(speed, limitText(limit())));
    setAccessibleDescription(text().simplified());
}

int SpeedField::limit() const { return static_cast<int>(engine->settings()->speedLimit() / 1024); }

void SpeedField::setLimit(int kibPerSecond)
{
    engine->setSpeedLimit(kibPerSecond);
    setSpeed(shownSpeed);
}

void SpeedField::contextMenuEvent(QContextMenuEvent * /*event*/) { showMenu(); }

void SpeedField::keyPressEvent(QKeyEvent *event)
{
    const int key = event->key();
    if (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter)
        showMenu();
    else
        QLabel::keyPressEvent(event);
}

void SpeedField::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        showMenu();
}

void SpeedField::paintEvent(QPaintEvent *event)
{
    QLabel::paintEvent(event);
    if (!hasFocus())
        return;
    QStylePainter painter(this);
    QStyleOptionFocusRect frame;
    frame.initFrom(this);
    painter.drawPrimitive(QStyle::PE_FrameFocusRect, frame);
}

void SpeedField::showMenu()
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    auto *group = new QActionGroup(menu); // of which one is chosen, so it has round marks
    const auto add = [this, menu, group](const QString &text, bool isChosen, int kib) {
        QAction *action = menu->addAction(text, this, [this, kib] { setLimit(kib); });
        action->setCheckable(true);
        action->setActionGroup(group);
        action->setChecked(isChosen);
        return action;
    };
    QAction *chosen = add(tr("No limit"), limit() == 0, 0);
    for (const int megabytes : usualMegabytes) {
        const int kib = megabytes * kibPerMegabyte;
        QAction *action = add(limitText(kib), limit() == kib, kib);
        chosen = action->isChecked() ? action : chosen;
    }
    QAction *other = menu->addAction(tr("Other..."), this, &SpeedField::askForLimit);
    other->setCheckable(true);
    other->setActionGroup(group);
    if (limit() != 0 && !chosen->isChecked()) {
        other->setChecked(true);
        chosen = other;
    }
    menu->setActiveAction(chosen);
    menu->popup(mapToGlobal(QPoint(0, -menu->sizeHint().height())));
}

void SpeedField::askForLimit()
{
    auto *dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Speed limit"));
    dialog->setLabelText(tr("Limit in KB/s (1024 KB/s are 1 MB/s):"));
    dialog->setInputMode(QInputDialog::IntInput);
    dialog->setIntRange(lowestLimit, highestLimit);
    dialog->setIntStep(lowestLimit);
    dialog->setIntValue(limit() == 0 ? kibPerMegabyte : limit());
    connect(dialog, &QInputDialog::intValueSelected, this, &SpeedField::setLimit);
    dialog->open();
}
