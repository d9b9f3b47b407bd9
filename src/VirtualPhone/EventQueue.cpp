#include "VirtualPhone/EventQueue.h"

namespace vphone {

void EventQueue::setOpen(bool open) {
  std::lock_guard lock(mutex_);
  open_ = open;
  waiting_.clear();
}

void EventQueue::push(const std::vector<Change>& changes) {
  std::lock_guard lock(mutex_);
  if (!open_ || changes.empty())
    return;
  waiting_.insert(waiting_.end(), changes.begin(), changes.end());
  while (waiting_.size() > Limit)
    waiting_.pop_front();
  wakes_.notify_all();
}

std::optional<Change> EventQueue::pop() {
  std::unique_lock lock(mutex_);
  wakes_.wait(lock, [this] { return ended_ || !waiting_.empty(); });
  if (ended_)
    return std::nullopt;
  auto change = waiting_.front();
  waiting_.pop_front();
  return change;
}

void EventQueue::end() {
  std::lock_guard lock(mutex_);
  ended_ = true;
  wakes_.notify_all();
}

void EventQueue::begin() {
  std::lock_guard lock(mutex_);
  ended_ = false;
}

} // namespace vphone
