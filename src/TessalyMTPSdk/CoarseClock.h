#pragma once
// The time for time-outs and progress. Any thread.
#include <chrono>
#include <ctime>

namespace mtp {

/// std::chrono::steady_clock's time as of the kernel's last tick, 1 to 10 ms ago: near enough for waits that take
/// hundreds of them. A transaction reads it dozens of times, and where the processor's own counter is no clock (often
/// on older and on virtual machines) an exact reading is a system call that asks a device.
struct CoarseClock {
  using duration = std::chrono::steady_clock::duration;
  using rep = duration::rep;
  using period = duration::period;
  using time_point = std::chrono::steady_clock::time_point;
  static constexpr bool is_steady = true;

  static time_point now() noexcept {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    return time_point(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
  }
};

} // namespace mtp
