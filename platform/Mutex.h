// A mutex and a condition over pthreads. The engine needs nothing more of std::mutex, whose
// library code brings the C++ runtime's exception machinery into a library for phones (about a
// quarter of its size) although nothing here throws. Both are initialised statically and never
// destroyed: a static one needs no guard, and every one lives as long as what it protects.
#pragma once

#include <pthread.h>
#include <time.h>

namespace kesto {

class Mutex {
  public:
    constexpr Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() { pthread_mutex_lock(&mutex_); }
    void unlock() { pthread_mutex_unlock(&mutex_); }

  private:
    friend class Condition;
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

class MutexGuard {
  public:
    explicit MutexGuard(Mutex& mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexGuard() { mutex_.unlock(); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

  private:
    Mutex& mutex_;
};

class Condition {
  public:
    constexpr Condition() = default;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    // With `mutex` held; returns with it held, after a notification or `millis`.
    void waitFor(Mutex& mutex, int millis) {
        timespec until;
        clock_gettime(CLOCK_REALTIME, &until);
        until.tv_sec += millis / 1000;
        until.tv_nsec += static_cast<long>(millis % 1000) * 1000000L;
        if (until.tv_nsec >= 1000000000L) {
            until.tv_sec += 1;
            until.tv_nsec -= 1000000000L;
        }
        pthread_cond_timedwait(&condition_, &mutex.mutex_, &until);
    }
    void notifyAll() { pthread_cond_broadcast(&condition_); }

  private:
    pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
};

}  // namespace kesto
