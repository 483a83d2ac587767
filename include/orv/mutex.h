#pragma once

#include <mutex>

// Lock rules the compiler checks: under clang with -Wthread-safety, a field marked
// ORV_GUARDED_BY(m) touched without m held, or a function marked ORV_REQUIRES(m) called without
// it, is a warning (an error in the thread-safety build). Other compilers see plain code.
#if defined(__clang__)
#define ORV_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ORV_THREAD_ANNOTATION(x)
#endif

#define ORV_CAPABILITY(name) ORV_THREAD_ANNOTATION(capability(name))
#define ORV_SCOPED_CAPABILITY ORV_THREAD_ANNOTATION(scoped_lockable)
#define ORV_GUARDED_BY(m) ORV_THREAD_ANNOTATION(guarded_by(m))
#define ORV_PT_GUARDED_BY(m) ORV_THREAD_ANNOTATION(pt_guarded_by(m))
#define ORV_REQUIRES(...) ORV_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ORV_EXCLUDES(...) ORV_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ORV_ACQUIRE(...) ORV_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ORV_RELEASE(...) ORV_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ORV_TRY_ACQUIRE(...) ORV_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))

namespace orv {

// A plain (non-recursive) std::mutex the analysis knows as a capability.
class ORV_CAPABILITY("mutex") Mutex final {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() ORV_ACQUIRE() { m_mutex.lock(); }
  bool try_lock() ORV_TRY_ACQUIRE(true) { return m_mutex.try_lock(); }
  void unlock() ORV_RELEASE() { m_mutex.unlock(); }

 private:
  std::mutex m_mutex;
};

// Holds a Mutex for its scope, like std::lock_guard, in a way the analysis follows.
class ORV_SCOPED_CAPABILITY MutexLock final {
 public:
  explicit MutexLock(Mutex& mutex) ORV_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
  ~MutexLock() ORV_RELEASE() { m_mutex.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& m_mutex;
};

}  // namespace orv
