/// A mutex that tells an owner who locks again, instead of waiting for itself for ever.
///
///     const CoMutexGuard guard(mutex);   // releases on scope exit what it took, and only that
#pragma once

#include <pthread.h>

namespace DM
{

class CoMutex
{
public:
    CoMutex() = default;
    CoMutex(const CoMutex&) = delete;
    CoMutex& operator=(const CoMutex&) = delete;
    ~CoMutex() { pthread_mutex_destroy(&_mutex); }

    /// Waits for the mutex. False when the calling thread holds it already: it is then not taken a second time.
    [[nodiscard]] bool lock() { return pthread_mutex_lock(&_mutex) == 0; }
    /// Takes the mutex if nobody holds it, the calling thread included; never waits.
    [[nodiscard]] bool tryLock() { return pthread_mutex_trylock(&_mutex) == 0; }
    /// False when the calling thread does not hold the mutex; nothing is released then.
    bool unlock() { return pthread_mutex_unlock(&_mutex) == 0; }

private:
    pthread_mutex_t _mutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;
};

/// Holds a CoMutex for a scope. Inside a scope of the same thread that holds it already, does nothing.
class CoMutexGuard
{
public:
    explicit CoMutexGuard(CoMutex& mutex)
        : _mutex(mutex)
        , _taken(mutex.lock())
    {
    }
    CoMutexGuard(const CoMutexGuard&) = delete;
    CoMutexGuard& operator=(const CoMutexGuard&) = delete;
    ~CoMutexGuard()
    {
        if (_taken)
            _mutex.unlock();
    }

private:
    CoMutex& _mutex;
    bool _taken;
};

} // namespace DM
