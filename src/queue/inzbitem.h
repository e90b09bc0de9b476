// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>

/// A row of the queue: a job (Nzb) or one of its files (NzbFile). Lives on the GUI thread.
class INzbItem : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(INzbItem)

public:
    using QObject::QObject;

    [[nodiscard]] virtual QString name() const = 0;
    /// Size in bytes as posted, that is encoded; more if the decoded data is larger.
    [[nodiscard]] virtual quint64 size() const = 0;
    /// Translated text for the status column; the progress bar reads its percentage from it.
    [[nodiscard]] virtual QString status() const = 0;
    [[nodiscard]] virtual bool isPaused() const = 0;
    virtual void setPaused(bool paused) = 0;
};
