#pragma once
// Names for clang's -Wthread-safety analysis, and a mutex that carries them. With g++ the names vanish.
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define MTPB_TS(x) __attribute__((x))
#else
#define MTPB_TS(x)
#endif

#define MTPB_CAPABILITY(x) MTPB_TS(capability(x))
#define MTPB_SCOPED_CAPABILITY MTPB_TS(scoped_lockable)
#define MTPB_GUARDED_BY(x) MTPB_TS(guarded_by(x))
#define MTPB_REQUIRES(...) MTPB_TS(requires_capability(__VA_ARGS__))
#define MTPB_ACQUIRE(...) MTPB_TS(acquire_capability(__VA_ARGS__))
#define MTPB_RELEASE(...) MTPB_TS(release_capability(__VA_ARGS__))
#define MTPB_EXCLUDES(...) MTPB_TS(locks_excluded(__VA_ARGS__))
#define MTPB_NO_ANALYSIS MTPB_TS(no_thread_safety_analysis)

namespace platform {

/// A std::mutex the analysis knows. Not recursive.
class MTPB_CAPABILITY("mutex") Mutex {
public:
  void lock() MTPB_ACQUIRE() { m_mutex.lock(); }
  void unlock() MTPB_RELEASE() { m_mutex.unlock(); }

private:
  std::mutex m_mutex;
};

/// Holds a Mutex for a scope.
class MTPB_SCOPED_CAPABILITY Lock {
public:
  explicit Lock(Mutex& mutex) MTPB_ACQUIRE(mutex)
      : m_mutex(mutex) {
    m_mutex.lock();
  }
  ~Lock() MTPB_RELEASE() { m_mutex.unlock(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

private:
  Mutex& m_mutex;
};

/// A condition variable for Mutex. Call wait() with the mutex held; always inside a loop that tests the condition.
using Condition = std::condition_variable_any;

} // namespace platform
