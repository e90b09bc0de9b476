// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QRandomGenerator>
#include <QString>
#include <QStringList>

class QDialog;
class QWidget;

/// Says something to the driver on standard output, at once, as nothing told may be lost when the
/// program is killed: one line, its words apart by tabs.
void tell(const QStringList &words);

/// Answers whatever dialog stands before the simulated user.
class UserDialogs final {
public:
    enum class Delete { Item, ItemAndFiles, Nothing };

    explicit UserDialogs(QRandomGenerator &random)
        : random(random)
    {
    }
    void answer(QWidget *dialog);

    Delete onDelete = Delete::Nothing; ///< the answer to the next question before a delete
    QString fileToOpen; ///< the answer to the next file dialog

private:
    void changeSettings(QDialog *dialog);
    void givePassword(QDialog *dialog);

    QRandomGenerator &random;
};
