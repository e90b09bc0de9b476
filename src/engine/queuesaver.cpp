// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/queuesaver.h"

#include <chrono>
#include <utility>

#include "queue/nzb.h"
#include "queue/savednzb.h"

QueueSaver::QueueSaver(QueueFile &queueFile)
    : file(queueFile)
{
}

QueueSaver::~QueueSaver()
{
    blockSignals(true);
    wait();
}

void QueueSaver::save(const QList<Nzb *> &jobs)
{
    QList<SavedNzb> copy;
    copy.reserve(jobs.size());
    for (const Nzb *nzb : jobs)
        copy.append(nzb->saved());
    waiting = std::move(copy);
    if (!underWay.valid())
        start();
}

void QueueSaver::wait()
{
    while (underWay.valid())
        finish();
}

void QueueSaver::start()
{
    // If no thread can be started, the save is deferred until finish() asks for its result.
    constexpr auto policy = std::launch::async | std::launch::deferred;
    auto write = [this, number = ++started, jobs = *std::exchange(waiting, {})]() mutable {
        // The copy is destroyed on this thread, so that the window need not wait for that.
        const QueueFile::Written written = file.save(std::exchange(jobs, {}));
        const auto end = [this, number] {
            if (number == started && underWay.valid())
                finish();
        };
        QMetaObject::invokeMethod(this, end, Qt::QueuedConnection);
        return written;
    };
    underWay = std::async(policy, std::move(write));
    if (underWay.wait_for(std::chrono::seconds(0)) == std::future_status::deferred)
        finish();
}

void QueueSaver::finish()
{
    const QueueFile::Written written = underWay.get();
    if (waiting)
        start();
    if (written == QueueFile::Written::CannotOpen)
        emit failed();
}
