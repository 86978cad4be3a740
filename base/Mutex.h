#pragma once

#include <pthread.h>

#include <cerrno>
#include <ctime>

#include "base/ThreadAnnotations.h"

namespace orvel {

/// A POSIX mutex with default attributes that Clang's analysis can follow.
class ORVEL_CAPABILITY("mutex") Mutex {
 public:
  Mutex() { pthread_mutex_init(&mutex, nullptr); }
  ~Mutex() { pthread_mutex_destroy(&mutex); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() ORVEL_ACQUIRE() { pthread_mutex_lock(&mutex); }
  void unlock() ORVEL_RELEASE() { pthread_mutex_unlock(&mutex); }

 private:
  friend class Condition;
  pthread_mutex_t mutex;
};

/// Holds a mutex for a scope.
class ORVEL_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& held) ORVEL_ACQUIRE(held) : mutex(held) { mutex.lock(); }
  ~MutexLock() ORVEL_RELEASE() { mutex.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex;
};

/// A POSIX condition variable. `wait` may return spuriously; callers test their predicate.
class Condition {
 public:
  Condition() { pthread_cond_init(&cond, nullptr); }
  /// Builds the condition with attributes of the caller's, for example the monotonic clock.
  explicit Condition(const pthread_condattr_t& attributes) {
    pthread_cond_init(&cond, &attributes);
  }
  ~Condition() { pthread_cond_destroy(&cond); }
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void wait(Mutex& mutex) ORVEL_REQUIRES(mutex) { pthread_cond_wait(&cond, &mutex.mutex); }
  /// Waits until `deadline` on the condition's clock; false when the deadline has passed.
  bool waitUntil(Mutex& mutex, const timespec& deadline) ORVEL_REQUIRES(mutex) {
    return pthread_cond_timedwait(&cond, &mutex.mutex, &deadline) != ETIMEDOUT;
  }
  void broadcast() noexcept { pthread_cond_broadcast(&cond); }

 private:
  pthread_cond_t cond;
};

}  // namespace orvel
