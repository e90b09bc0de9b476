// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMutex>
#include <QThread>
#include <QWaitCondition>

// Qt's library is not built for the thread sanitizer, which therefore has to be told of some
// things. In any other build these functions do only what their names say.

/// To be called last on @p thread, so that awaitEnd() sees everything that it has done.
inline void announceEnd(QThread *thread) { QtTsan::futexRelease(thread); }

/// Waits until @p thread has ended.
inline void awaitEnd(QThread *thread)
{
    thread->wait();
    QtTsan::futexAcquire(thread);
}

/// Sleeps until @p condition is met; others may lock @p mutex in the meantime.
inline void sleepOn(QWaitCondition &condition, QMutex &mutex)
{
    QtTsan::mutexPreUnlock(&mutex, 0);
    QtTsan::mutexPostUnlock(&mutex, 0);
    condition.wait(&mutex);
    QtTsan::mutexPreLock(&mutex, 0);
    QtTsan::mutexPostLock(&mutex, 0, 0);
}
