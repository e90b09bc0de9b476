// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMutex>
#include <QThread>
#include <QWaitCondition>

// What the thread sanitizer has to be told, as Qt's library is not built for it: these functions do
// so in a build for it, and nothing more than their names say in any other.

/// To be called last on @p thread: awaitEnd() is to see all that it has done.
inline void announceEnd(QThread *thread) { QtTsan::futexRelease(thread); }

/// Waits until @p thread has ended.
inline void awaitEnd(QThread *thread)
{
    thread->wait();
    QtTsan::futexAcquire(thread);
}

/// Sleeps until @p condition is met; others may have the locked @p mutex meanwhile.
inline void sleepOn(QWaitCondition &condition, QMutex &mutex)
{
    QtTsan::mutexPreUnlock(&mutex, 0);
    QtTsan::mutexPostUnlock(&mutex, 0);
    condition.wait(&mutex);
    QtTsan::mutexPreLock(&mutex, 0);
    QtTsan::mutexPostLock(&mutex, 0, 0);
}
