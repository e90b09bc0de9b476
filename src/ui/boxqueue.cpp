// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/boxqueue.h"

#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include "queue/displaytext.h"
#include "ui/deletedialog.h"

namespace {

constexpr int lookAgainMsec = 100;

/// The settings dialog and file dialogs may stay open for long, so boxes do not wait for them.
bool questionStands()
{
    const QWidget *dialog = QApplication::activeModalWidget();
    return qobject_cast<const QMessageBox *>(dialog) || qobject_cast<const DeleteDialog *>(dialog);
}

} // namespace

BoxQueue::BoxQueue(QWidget *window)
    : QObject(window)
{
}

void BoxQueue::append(const Maker &make)
{
    boxes.append(make);
    if (boxes.size() == 1) {
        emit emptyChanged(false);
        QTimer::singleShot(0, this, &BoxQueue::showFirst);
    }
}

void BoxQueue::append(QMessageBox::Icon icon, const QString &title, const QString &text)
{
    append([this, icon, title, text = shortened(text)] {
        return new QMessageBox(icon, title, text, QMessageBox::Ok,
                               qobject_cast<QWidget *>(parent()));
    });
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
    if (questionStands()) { // another part shows it, and no signal says when it closes
        QTimer::singleShot(lookAgainMsec, this, &BoxQueue::showFirst);
        return;
    }
    QDialog *box = boxes.constFirst()();
    if (!box)
        return removeFirst();
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::ApplicationModal);
    connect(box, &QDialog::finished, this, &BoxQueue::removeFirst);
    box->show();
}

void BoxQueue::removeFirst()
{
    boxes.removeFirst();
    if (boxes.isEmpty())
        emit emptyChanged(true);
    else
        showFirst();
}
