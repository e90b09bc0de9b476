// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QMessageBox>

#include <memory>

namespace Ui {
class DeleteDialog;
}

/// Asks how far the removal of a row shall go, and answers like a message box.
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
