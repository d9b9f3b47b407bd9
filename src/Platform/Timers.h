#pragma once
// Timers of the main thread behind a small interface, so that tests drive the clock.
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// A running timer. Destroying it cancels: its function is not called any more. Destroying it from within its own
/// function is allowed. A one-shot timer that has fired does nothing more; it is destroyed by its owner as ever.
class Timer {
public:
  virtual ~Timer() = default;
};

/// Makes timers. Main thread only; the functions are called on the main thread, from the event loop.
class Timers {
public:
  using Milliseconds = std::chrono::milliseconds;

  virtual ~Timers() = default;

  /// Calls `fire` once, `delay` (0 or more) from now. The caller owns the timer.
  [[nodiscard]] virtual std::unique_ptr<Timer> oneShot(Milliseconds delay, std::function<void()> fire) = 0;
  /// Calls `fire` every `interval` (1 ms or more), first one interval from now. Calls missed while the main thread was
  /// busy are not made up for.
  [[nodiscard]] virtual std::unique_ptr<Timer> repeating(Milliseconds interval, std::function<void()> fire) = 0;
  /// The clock the timers run by: steady, its zero is arbitrary.
  virtual Milliseconds now() const = 0;

  /// The event loop's timers. Lives as long as the process.
  static Timers& mainThread();
};

/// Timers that stand still until a test lets time pass. One thread.
class ManualTimers : public Timers {
public:
  ManualTimers();
  ~ManualTimers() override;

  std::unique_ptr<Timer> oneShot(Milliseconds delay, std::function<void()> fire) override;
  std::unique_ptr<Timer> repeating(Milliseconds interval, std::function<void()> fire) override;
  Milliseconds now() const override;

  /// Moves the clock on by `step`, calling on the way every function that falls due, in the order of the due times
  /// (of equal ones: in the order of their making), also those of timers made meanwhile. now() is then the due time.
  void advance(Milliseconds step);
  /// How many timers will still fire.
  int pending() const;

private:
  struct State;
  std::shared_ptr<State> m_state;
  std::unique_ptr<Timer> add(Milliseconds delay, std::optional<Milliseconds> interval, std::function<void()> fire);
};

} // namespace platform
