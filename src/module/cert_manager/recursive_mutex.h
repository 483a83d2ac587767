#pragma once

#include <pthread.h>

#include <cerrno>
#include <system_error>

namespace qel::tcp_traffic_interceptor {

// A recursive pthread mutex, owned from birth; Lockable, so std::lock_guard holds it.
class RecursiveMutex final {
 public:
  RecursiveMutex() {
    pthread_mutexattr_t attributes;
    int error = pthread_mutexattr_init(&attributes);
    if (error == 0) {
      error = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
      if (error == 0) {
        error = pthread_mutex_init(&m_mutex, &attributes);
      }
      pthread_mutexattr_destroy(&attributes);
    }
    if (error != 0) {
      throw std::system_error(error, std::generic_category(), "pthread_mutex_init");
    }
  }
  ~RecursiveMutex() { pthread_mutex_destroy(&m_mutex); }
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  void lock() {
    if (const int error = pthread_mutex_lock(&m_mutex); error != 0) {
      throw std::system_error(error, std::generic_category(), "pthread_mutex_lock");
    }
  }
  bool try_lock() noexcept { return pthread_mutex_trylock(&m_mutex) == 0; }
  void unlock() noexcept { pthread_mutex_unlock(&m_mutex); }

 private:
  pthread_mutex_t m_mutex;
};

}  // namespace qel::tcp_traffic_interceptor
