// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSocketNotifier>

/// Reports the first SIGTERM, SIGINT or SIGHUP, which asks the process to end. A further one ends
/// the process at once. A signal that was ignored at the start, as under nohup, stays ignored.
/// There is at most one object of this class, and it lasts as long as the process.
class TerminationSignals final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TerminationSignals)

public:
    TerminationSignals();

    [[nodiscard]] bool haveCome() const { return !notifier.isEnabled(); }

signals:
    void received();

private:
    QSocketNotifier notifier;
};
