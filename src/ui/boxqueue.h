// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>

#include <functional>

/// Shows boxes one after another, never stacked, and none above a question of somebody else. None
/// of them holds up what led to it: a bad file on the command line neither keeps the window from
/// appearing nor the next file from being read, and a socket that failed does not wait in its
/// signal for the user.
class BoxQueue final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BoxQueue)

public:
    /// @param window  the window that the boxes belong to and block
    explicit BoxQueue(QWidget *window);

    /// Makes a box when its turn has come, or null if it is no longer wanted.
    using Maker = std::function<QDialog *()>;
    void append(const Maker &make);
    /// A text that nobody would read to its end, from a hostile name, is cut.
    void append(QMessageBox::Icon icon, const QString &title, const QString &text);
    [[nodiscard]] bool isEmpty() const { return boxes.isEmpty(); }
    /// Returns once the user has answered every box, with the event loop running meanwhile.
    void waitUntilEmpty();

signals:
    /// False as soon as a box waits or is on the screen, true when the last has been answered.
    void emptyChanged(bool empty);

private:
    void showFirst();
    void removeFirst();

    QList<Maker> boxes;
};
