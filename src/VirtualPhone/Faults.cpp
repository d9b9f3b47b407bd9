#include "VirtualPhone/Faults.h"

#include <algorithm>

namespace vphone {

void Faults::add(const Fault& fault) {
  std::lock_guard lock(mutex_);
  waiting_.push_back(fault);
}

void Faults::clear() {
  std::lock_guard lock(mutex_);
  waiting_.clear();
  transactions_ = struck_ = 0;
}

std::uint64_t Faults::transactions() const {
  std::lock_guard lock(mutex_);
  return transactions_;
}

std::uint64_t Faults::struck() const {
  std::lock_guard lock(mutex_);
  return struck_;
}

std::optional<Fault> Faults::next(std::uint16_t operation) {
  std::lock_guard lock(mutex_);
  auto index = transactions_++;
  auto fits = [&](const Fault& fault) {
    return (!fault.transaction || *fault.transaction == index) && (!fault.operation || *fault.operation == operation);
  };
  auto found = std::find_if(waiting_.begin(), waiting_.end(), fits);
  if (found == waiting_.end())
    return std::nullopt;
  auto fault = *found;
  waiting_.erase(found);
  return fault;
}

void Faults::countStrike() {
  std::lock_guard lock(mutex_);
  ++struck_;
}

} // namespace vphone
