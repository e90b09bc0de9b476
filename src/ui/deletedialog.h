// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QMessageBox>

#include <memory>

namespace Ui {
class DeleteDialog;
}

/// Asks whether to remove a row only from the list or its files from the disk as well.
class DeleteDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DeleteDialog)

public:
    /// @returns QMessageBox::No for the list only, QMessageBox::Yes for the files on disk too,
    ///     QMessageBox::Cancel for neither
    [[nodiscard]] static int ask();

private slots:
    void on_commandLinkButton_clicked();
    void on_commandLinkButton_2_clicked();
    void on_commandLinkButton_3_clicked();

private:
    DeleteDialog();
    ~DeleteDialog() override;

    std::unique_ptr<Ui::DeleteDialog> ui;
    int choice = QMessageBox::Cancel;
};
