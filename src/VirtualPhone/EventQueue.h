#pragma once
// MTP events waiting for the interrupt pipe. Any thread.
#include "VirtualPhone/ObjectTree.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

namespace vphone {

class EventQueue {
public:
  /// Events are for an open session: without one they are dropped.
  void setOpen(bool open);
  void push(const std::vector<Change>& changes);
  /// Waits for the next; no value once end() was called.
  std::optional<Change> pop();
  /// Lets pop() return, now and from now on, until begin().
  void end();
  void begin();

private:
  static constexpr std::size_t Limit = 10000; // a host that does not fetch them loses the oldest

  std::mutex mutex_;
  std::condition_variable wakes_;
  std::deque<Change> waiting_;
  bool open_ = false;
  bool ended_ = false;
};

} // namespace vphone
