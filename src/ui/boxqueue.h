// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>

#include <functional>

/// Shows boxes one after another, never stacked, and none above a question of another part. No box
/// blocks its caller: a bad file on the command line delays neither the window nor the next file,
/// and a failed socket does not wait for the user inside its signal.
class BoxQueue final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BoxQueue)

public:
    /// @param window  the window that the boxes belong to and block
    explicit BoxQueue(QWidget *window);

    /// Makes a box when its turn has come; null if it is no longer needed.
    using Maker = std::function<QDialog *()>;
    void append(const Maker &make);
    /// The text is shortened(), since a hostile name can make it very long.
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
