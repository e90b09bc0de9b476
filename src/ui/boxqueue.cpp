// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/boxqueue.h"

#include <QEventLoop>
#include <QTimer>
#include <QWidget>

BoxQueue::BoxQueue(QWidget *window)
    : QObject(window)
{
}

void BoxQueue::append(QMessageBox::Icon icon, const QString &title, const QString &text)
{
    boxes.append({icon, title, text.left(1000)});
    if (boxes.size() == 1) {
        emit emptyChanged(false);
        QTimer::singleShot(0, this, &BoxQueue::showFirst);
    }
}

void BoxQueue::waitUntilEmpty()
{
    if (boxes.isEmpty())
        return;
    QEventLoop loop;
    connect(this, &BoxQueue::emptyChanged, &loop, &QEventLoop::quit);
    loop.exec();
}

void BoxQueue::showFirst()
{
    const Box &box = boxes.first();
    auto *window = new QMessageBox(box.icon, box.title, box.text, QMessageBox::Ok,
                                   qobject_cast<QWidget *>(parent()));
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowModality(Qt::ApplicationModal);
    connect(window, &QMessageBox::finished, this, &BoxQueue::removeFirst);
    window->show();
}

void BoxQueue::removeFirst()
{
    boxes.removeFirst();
    if (boxes.isEmpty())
        emit emptyChanged(true);
    else
        showFirst();
}
