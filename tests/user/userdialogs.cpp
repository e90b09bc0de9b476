// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "user/userdialogs.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

void click(const QWidget *dialog, const QString &button)
{
    dialog->findChild<QAbstractButton *>(button)->click();
}

void clickDefault(const QMessageBox *box)
{
    tell({u"box"_s, box->windowTitle(), box->text().simplified()});
    const QList<QAbstractButton *> buttons = box->buttons();
    QAbstractButton *button = box->defaultButton();
    (button ? button : buttons.constFirst())->click();
}

} // namespace

void tell(const QStringList &words)
{
    const QByteArray line = words.join(u'\t').toUtf8() + '\n';
    for (qsizetype done = 0; done < line.size();) {
        const auto size = static_cast<size_t>(line.size() - done);
        const ssize_t written = write(STDOUT_FILENO, line.constData() + done, size);
        if (written <= 0)
            _exit(1); // nobody listens any more
        done += written;
    }
}

void UserDialogs::answer(QWidget *widget)
{
    auto *dialog = qobject_cast<QDialog *>(widget);
    if (!dialog || qobject_cast<QProgressDialog *>(dialog))
        return;
    if (const auto *box = qobject_cast<QMessageBox *>(dialog)) {
        clickDefault(box);
    } else if (dialog->inherits("DeleteDialog")) {
        const QString buttons[] = {u"commandLinkButton"_s, u"commandLinkButton_2"_s,
                                   u"commandLinkButton_3"_s};
        click(dialog, buttons[static_cast<int>(onDelete)]);
    } else if (dialog->inherits("SettingsWindow")) {
        changeSettings(dialog);
    } else if (dialog->inherits("QFileDialog")) {
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(fileToOpen);
        QMetaObject::invokeMethod(dialog, "accept");
    } else if (qobject_cast<QInputDialog *>(dialog)) {
        givePassword(dialog);
    } else {
        dialog->reject();
    }
}

/// A change of the number of connections has the server tested; one that does not pass is given up.
void UserDialogs::changeSettings(QDialog *dialog)
{
    if (!dialog->isEnabled())
        return;
    const auto *buttons = dialog->findChild<QDialogButtonBox *>();
    const bool tried = dialog->property("tried").toBool();
    const bool agrees = !tried && random.bounded(4) > 0;
    dialog->setProperty("tried", true);
    if (!agrees) {
        tell({u"settings"_s, u"cancel"_s});
        return buttons->button(QDialogButtonBox::Cancel)->click();
    }
    if (random.bounded(3) == 0)
        dialog->findChild<QSpinBox *>(u"threads"_s)->setValue(random.bounded(1, 9));
    auto *clears = dialog->findChild<QCheckBox *>(u"clearOnCompletion"_s);
    if (random.bounded(2) == 0)
        clears->toggle();
    tell({u"settings"_s, clears->isChecked() ? u"clears"_s : u"keeps"_s});
    const auto *off = dialog->findChild<QRadioButton *>(u"rarhandlingDisabled"_s);
    if (!off->isChecked())
        click(dialog, random.bounded(2) ? u"rarHandlingDuring"_s : u"rarHandlingAfter"_s);
    buttons->button(QDialogButtonBox::Ok)->click();
}

void UserDialogs::givePassword(QDialog *dialog)
{
    const bool knows = random.bounded(6) > 0;
    tell({u"password"_s, knows ? u"given"_s : u"declined"_s});
    if (!knows)
        return dialog->reject();
    dialog->findChild<QLineEdit *>()->setText(u"secret"_s);
    dialog->accept();
}
