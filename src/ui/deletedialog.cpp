// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/deletedialog.h"

#include "ui_deletedialog.h"

DeleteDialog::DeleteDialog()
    : ui(std::make_unique<Ui::DeleteDialog>())
{
    ui->setupUi(this);
    setFixedSize(size().expandedTo(minimumSizeHint())); // larger letters need more
}

DeleteDialog::~DeleteDialog() = default;

int DeleteDialog::ask()
{
    DeleteDialog dialog;
    dialog.exec();
    return dialog.choice;
}

void DeleteDialog::on_commandLinkButton_clicked()
{
    choice = QMessageBox::No;
    accept();
}

void DeleteDialog::on_commandLinkButton_2_clicked()
{
    choice = QMessageBox::Yes;
    accept();
}

void DeleteDialog::on_commandLinkButton_3_clicked() { reject(); }
