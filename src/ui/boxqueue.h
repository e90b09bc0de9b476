// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>

/// Shows message boxes one after another, never stacked. None of them holds up what led to it: a
/// bad file on the command line neither keeps the window from appearing nor the next file from
/// being read, and a socket that failed does not wait in its signal for the user.
class BoxQueue final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BoxQueue)

public:
    /// @param window  the window that the boxes belong to and block
    explicit BoxQueue(QWidget *window);

    /// A text that nobody would read to its end, from a hostile name, is cut.
    void append(QMessageBox::Icon icon, const QString &title, const QString &text);
    [[nodiscard]] bool isEmpty() const { return boxes.isEmpty(); }
    /// Returns once the user has answered every box, with the event loop running meanwhile.
    void waitUntilEmpty();

signals:
    /// False as soon as a box waits or is on the screen, true when the last has been answered.
    void emptyChanged(bool empty);

private:
    struct Box {
        QMessageBox::Icon icon;
        QString title;
        QString text;
    };

    void showFirst();
    void removeFirst();

    QList<Box> boxes;
};
