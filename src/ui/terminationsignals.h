// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSocketNotifier>

/// Tells when the process is asked to end by SIGTERM, SIGINT or SIGHUP, once. From then on a
/// further signal of these ends it at once. One that was ignored at the start of the program, as
/// nohup does, stays so. There is one object of this class at most, and it lasts as long as the
/// process.
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
