// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

class Marlowick;

/// The field of the status bar that shows the speed. A click, the space bar, Return or the menu key
/// opens a menu that limits it.
class SpeedField final : public QLabel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SpeedField)

public:
    /// @param engine  whose speed it is; must outlive the field
    /// @param speed  as setSpeed()
    SpeedField(Marlowick *engine, const QString &speed);

    /// @param speed  a text that ends with blanks; the limit is shown behind it if there is one
    void setSpeed(const QString &speed);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    /// In KiB per second; 0 for none.
    [[nodiscard]] int limit() const;
    void setLimit(int kibPerSecond);
    void showMenu();
    void askForLimit();

    Marlowick *engine;
    QString shownSpeed;
};
