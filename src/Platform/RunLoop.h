#pragma once
// A thread's run loop: descriptors that call back when they are readable, and one-shot timers, driven in slices by the
// thread itself. For threads without an event loop of their own; the main thread has Qt's.
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// Something a run loop watches. Owned by whoever made it and by the run loops it was added to.
struct RunLoopSource {
  int fd = -1;                   ///< polled for reading; stays owned by the maker, which keeps it open while added
  std::function<void()> perform; ///< called on the loop's thread when `fd` is readable; holds up all else
};

/// A one-shot timer. Owned by its run loop until it has fired and by whoever keeps the pointer.
class RunLoopTimer {
public:
  using Clock = std::chrono::steady_clock;
  RunLoopTimer(Clock::time_point fireDate, std::function<void()> fire);

  /// The timer will not fire any more (a call running now on the loop's thread goes on). Any thread.
  void invalidate() { m_valid = false; }

private:
  friend class RunLoop;
  const Clock::time_point m_fireDate;
  const std::function<void()> m_fire;
  std::atomic<bool> m_valid = true; // written by invalidate() on any thread and by the loop's, read by the loop's
};

/// One thread's run loop. Everything but stop() belongs to that thread.
class RunLoop {
public:
  RunLoop();
  ~RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  /// The calling thread's run loop, made at the first call. It lives as long as the thread or the last pointer to it.
  static std::shared_ptr<RunLoop> current();

  /// Adds a source; adding it twice watches it once. A source whose descriptor ends (hang-up, closed) is dropped with
  /// a log line.
  void addSource(std::shared_ptr<RunLoopSource> source);
  void removeSource(const std::shared_ptr<RunLoopSource>& source);

  /// Calls `fire` once on this thread, in the first pass that ends at or after `fireDate`. A date in the past means: as
  /// soon as the callbacks of the pass now running are through.
  std::shared_ptr<RunLoopTimer> addTimer(RunLoopTimer::Clock::time_point fireDate, std::function<void()> fire);

  /// Makes passes until `limit` has gone by or stop() is called; at least one. A pass waits for something to do, calls
  /// every source that is readable, then the timers that are due. With a limit of 0 it is one pass without waiting.
  void runFor(std::chrono::milliseconds limit);

  /// Lets the runFor() now running, or else the next one, return after the pass it is in. Any thread.
  void stop();

private:
  void callSources(RunLoopTimer::Clock::time_point until);
  void fireTimers();

  int m_wakeUp; // eventfd, written by stop()
  std::vector<std::shared_ptr<RunLoopSource>> m_sources;
  std::vector<std::shared_ptr<RunLoopTimer>> m_timers;
  std::atomic<bool> m_stopped = false; // written by stop() on any thread, read and cleared by the loop's thread
};

} // namespace platform
