// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/terminationsignals.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr int terminating[] = {SIGTERM, SIGINT, SIGHUP};
int eventDescriptor = -1; ///< constant once the first signal is watched
std::atomic_flag hasCome; ///< the handler may run on two threads at once

/// Runs on any thread, as the system chooses, and calls only functions that are safe in a handler.
void onSignal(int number)
{
    if (hasCome.test_and_set()) {
        signal(number, SIG_DFL);
        raise(number); // takes effect on return
        return;
    }
    const int before = errno;
    const quint64 one = 1;
    [[maybe_unused]] const ssize_t written = write(eventDescriptor, &one, sizeof one);
    errno = before;
}

} // namespace

TerminationSignals::TerminationSignals()
    : notifier(eventDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), QSocketNotifier::Read)
{
    connect(&notifier, &QSocketNotifier::activated, this, [this] {
        notifier.setEnabled(false);
        emit received();
    });
    struct sigaction ours { };
    ours.sa_handler = onSignal;
    ours.sa_flags = SA_RESTART;
    for (const int number : terminating) {
        struct sigaction before { };
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN)
            sigaction(number, &ours, nullptr);
    }
}
