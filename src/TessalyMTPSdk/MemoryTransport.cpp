#include "TessalyMTPSdk/MemoryTransport.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace mtp {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr std::size_t OnTheWay = 1 << 20; // bytes a bulk pipe holds
constexpr std::uint8_t CancelRequest = 0x64;
constexpr std::uint8_t ResetRequest = 0x66;

/// A point in time any number of milliseconds away, without overflow.
Clock::time_point after(Milliseconds limit) {
  return Clock::now() + std::min(limit, Milliseconds(std::chrono::hours(24)));
}

/// One bulk pipe: a ring of bytes with marks where a short or zero-length packet stands in the stream.
class BulkPipe {
public:
  bool halted = false;

  std::size_t available() const { return std::size_t(tail_ - head_); }
  std::size_t room() const { return OnTheWay - available(); }
  std::uint64_t head() const { return head_; }
  std::uint64_t tail() const { return tail_; }
  bool endsHere() const { return !ends_.empty() && ends_.front().position == head_; }
  std::size_t endsOnTheWay() const { return ends_.size(); }
  bool drainedTo(std::uint64_t position) const {
    return head_ >= position && (ends_.empty() || ends_.front().position > position);
  }

  /// Puts in as much as fits.
  std::size_t put(std::span<const std::byte> data) {
    if (ring_.empty())
      ring_.resize(OnTheWay);
    auto size = std::min(data.size(), room());
    auto at = std::size_t(tail_ % OnTheWay);
    auto first = std::min(size, OnTheWay - at);
    if (first)
      std::memcpy(ring_.data() + at, data.data(), first);
    if (size > first)
      std::memcpy(ring_.data(), data.data() + first, size - first);
    tail_ += size;
    return size;
  }
  void putEnd(bool zeroLength) { ends_.push_back({tail_, zeroLength}); }

  /// Takes bytes up to the next end of a transfer. A zero-length packet behind a full buffer stays for the next read,
  /// as it would on a bus.
  ReadResult take(std::span<std::byte> buffer) {
    ReadResult result;
    auto limit = ends_.empty() ? tail_ : ends_.front().position;
    result.size = std::min(buffer.size(), std::size_t(limit - head_));
    auto at = std::size_t(head_ % OnTheWay);
    auto first = std::min(result.size, OnTheWay - at);
    if (first)
      std::memcpy(buffer.data(), ring_.data() + at, first);
    if (result.size > first)
      std::memcpy(buffer.data() + first, ring_.data(), result.size - first);
    head_ += result.size;
    bool full = result.size > 0 && result.size == buffer.size();
    if (endsHere() && !(ends_.front().zeroLength && full)) {
      ends_.pop_front();
      result.endOfTransfer = true;
    }
    return result;
  }

  /// What has not been taken is gone.
  void clear() {
    head_ = tail_;
    ends_.clear();
  }

private:
  struct End {
    std::uint64_t position;
    bool zeroLength;
  };
  std::vector<std::byte> ring_; // allocated at the first byte
  std::uint64_t head_ = 0;      // stream positions, never wrapping
  std::uint64_t tail_ = 0;
  std::deque<End> ends_;
};

/// What both ends share. `mutex` guards all but the control handler, which has a lock of its own: it is called on the
/// initiator's thread and may itself use the device end.
struct Wire {
  explicit Wire(std::size_t packet)
      : packetSize(packet) {}

  const std::size_t packetSize;
  std::mutex mutex;
  std::condition_variable initiatorWakes;
  std::condition_variable deviceWakes;
  std::condition_variable eventWakes;
  BulkPipe out;
  BulkPipe in;
  std::size_t posted = 0; // bytes the device's waiting read still has room for
  bool unplugged = false; // either end closed
  bool interrupted = false;
  bool cancelled = false;
  bool eventsStarted = false;
  bool eventsEnd = false;
  std::optional<std::vector<std::byte>> event; // on its way to the initiator's event thread

  std::mutex controlMutex;
  DeviceEnd::ControlHandler controlHandler;

  void unplug() {
    std::lock_guard lock(mutex);
    unplugged = true;
    in.clear();
    out.clear();
    wakeAll();
  }
  void wakeAll() {
    initiatorWakes.notify_all();
    deviceWakes.notify_all();
    eventWakes.notify_all();
  }
};

bool takeFlag(bool& flag) {
  return std::exchange(flag, false);
}

class MemoryInitiator final : public Transport {
public:
  explicit MemoryInitiator(std::shared_ptr<Wire> wire)
      : wire_(std::move(wire)) {}
  ~MemoryInitiator() override { close(); }

  std::size_t maxPacketSize() const override { return wire_->packetSize; }

  IoStatus write(std::span<const std::byte> data, bool endsTransfer, Milliseconds idle) override {
    std::unique_lock lock(wire_->mutex);
    auto& pipe = wire_->out;
    auto deadline = after(idle);
    auto taken = pipe.head();
    const auto size = data.size();
    for (bool ended = false;;) {
      // What the device has taken is written, even if it halted the pipe right after.
      if (ended && !wire_->unplugged && pipe.drainedTo(pipe.tail()))
        return IoStatus::Ok;
      if (auto s = initiatorStatus(pipe); s != IoStatus::Ok)
        return withdraw(s);
      auto moved = pipe.put(data);
      data = data.subspan(moved);
      inTransfer_ += moved;
      if (data.empty() && !ended) {
        ended = true;
        bool rest = inTransfer_ % wire_->packetSize != 0;
        if (rest || (endsTransfer && inTransfer_ > 0))
          pipe.putEnd(!rest);
        if (rest || endsTransfer)
          inTransfer_ = 0;
      }
      if (moved || ended)
        wire_->deviceWakes.notify_all();
      // A read the device has already posted takes it all, as a posted transfer on a bus does.
      if (ended && (pipe.drainedTo(pipe.tail()) || (pipe.available() <= wire_->posted && pipe.endsOnTheWay() <= 1)))
        return IoStatus::Ok;
      if (std::exchange(taken, pipe.head()) != pipe.head() || moved)
        deadline = after(idle);
      const bool late = waitedUntil(lock, deadline);
      if (!asksToGoOn(lock, size - data.size()))
        return withdraw(IoStatus::Cancelled);
      if (late && pipe.head() == taken && initiatorStatus(pipe, false) == IoStatus::Ok &&
          !(ended && pipe.drainedTo(pipe.tail())))
        return withdraw(IoStatus::Timeout);
    }
  }

  ReadResult read(std::span<std::byte> buffer, Milliseconds idle) override {
    std::unique_lock lock(wire_->mutex);
    auto& pipe = wire_->in;
    auto deadline = after(idle);
    for (;;) {
      bool something = pipe.available() || pipe.endsHere();
      if (auto s = initiatorStatus(pipe); s != IoStatus::Ok && !(s == IoStatus::Stall && something))
        return {s, 0, false};
      if (something) {
        auto result = pipe.take(buffer);
        wire_->deviceWakes.notify_all();
        return result;
      }
      if (buffer.empty())
        return {};
      const bool late = waitedUntil(lock, deadline);
      if (!asksToGoOn(lock, 0))
        return {IoStatus::Cancelled, 0, false};
      if (late && !pipe.available() && !pipe.endsHere() && initiatorStatus(pipe, false) == IoStatus::Ok)
        return {IoStatus::Timeout, 0, false};
    }
  }

  void expect(std::uint64_t) override {}
  void setTick(Tick tick) override { tick_ = std::move(tick); }

  IoStatus controlOut(std::uint8_t request, std::span<const std::byte> data, Milliseconds) override {
    if (isGone())
      return IoStatus::Gone;
    std::lock_guard control(wire_->controlMutex);
    if (!wire_->controlHandler || !wire_->controlHandler(request, true, data))
      return IoStatus::Stall;
    if (request == CancelRequest || request == ResetRequest)
      abortDevice();
    return isGone() ? IoStatus::Gone : IoStatus::Ok;
  }

  ReadResult controlIn(std::uint8_t request, std::span<std::byte> buffer, Milliseconds) override {
    if (isGone())
      return {IoStatus::Gone, 0, false};
    std::lock_guard control(wire_->controlMutex);
    auto answer = wire_->controlHandler ? wire_->controlHandler(request, false, {}) : std::nullopt;
    if (!answer)
      return {IoStatus::Stall, 0, false};
    auto size = std::min(answer->size(), buffer.size());
    std::copy_n(answer->begin(), size, buffer.begin());
    return {IoStatus::Ok, size, true};
  }

  IoStatus clearHalt(Pipe pipe) override {
    std::lock_guard lock(wire_->mutex);
    if (wire_->unplugged)
      return IoStatus::Gone;
    (pipe == Pipe::BulkIn ? wire_->in : wire_->out).halted = false;
    wire_->deviceWakes.notify_all();
    return IoStatus::Ok;
  }

  IoStatus reset() override {
    // The device learns of a port reset as it learns of a reset request: both end its session.
    auto status = controlOut(ResetRequest, {}, Milliseconds(0));
    std::lock_guard lock(wire_->mutex);
    wire_->in.halted = wire_->out.halted = false;
    wire_->in.clear();
    inTransfer_ = 0;
    wire_->deviceWakes.notify_all();
    return status == IoStatus::Gone ? status : IoStatus::Ok;
  }

  void startEvents(EventHandler handler) override {
    std::lock_guard lock(wire_->mutex);
    if (wire_->eventsStarted || wire_->unplugged)
      return;
    wire_->eventsStarted = true;
    wire_->deviceWakes.notify_all();
    eventThread_ = std::thread([this, handler = std::move(handler)] { deliverEvents(handler); });
  }

  void interrupt() override {
    std::lock_guard lock(wire_->mutex);
    wire_->interrupted = true;
    wire_->initiatorWakes.notify_all();
  }

  bool isGone() const override {
    std::lock_guard lock(wire_->mutex);
    return wire_->unplugged;
  }

  void close() override {
    wire_->unplug();
    std::thread ending;
    {
      std::lock_guard lock(wire_->mutex);
      wire_->eventsEnd = true;
      wire_->eventWakes.notify_all();
      ending = std::move(eventThread_);
    }
    if (ending.joinable())
      ending.join();
  }

private:
  /// `consume`: an interruption is used up by the call that reports it.
  IoStatus initiatorStatus(const BulkPipe& pipe, bool consume = true) {
    if (wire_->unplugged)
      return IoStatus::Gone;
    if (consume ? takeFlag(wire_->interrupted) : wire_->interrupted)
      return IoStatus::Cancelled;
    return pipe.halted ? IoStatus::Stall : IoStatus::Ok;
  }

  /// Waits for news, until the next tick or the deadline. True: the deadline has passed.
  bool waitedUntil(std::unique_lock<std::mutex>& lock, Clock::time_point deadline) {
    auto until = tick_ ? std::min(deadline, nextTick_) : deadline;
    return wire_->initiatorWakes.wait_until(lock, until) == std::cv_status::timeout && until == deadline;
  }
  bool asksToGoOn(std::unique_lock<std::mutex>& lock, std::size_t moved) {
    if (!tick_ || Clock::now() < nextTick_)
      return true;
    lock.unlock();
    bool goOn = tick_(moved);
    lock.lock();
    nextTick_ = Clock::now() + TickInterval;
    return goOn;
  }

  /// Takes back what the device has not read of a write that fails, as a cancelled transfer does.
  IoStatus withdraw(IoStatus status) {
    wire_->out.clear();
    inTransfer_ = 0;
    return status;
  }

  /// Cancel and reset requests: a device call in progress ends, and what was on its way to the device is void.
  void abortDevice() {
    std::lock_guard lock(wire_->mutex);
    wire_->cancelled = true;
    wire_->out.clear();
    inTransfer_ = 0;
    wire_->deviceWakes.notify_all();
  }

  void deliverEvents(const EventHandler& handler) {
    std::unique_lock lock(wire_->mutex);
    for (;;) {
      wire_->eventWakes.wait(lock, [&] { return wire_->event || wire_->eventsEnd; });
      if (wire_->eventsEnd)
        return;
      auto event = std::move(*wire_->event);
      wire_->event.reset();
      wire_->deviceWakes.notify_all();
      lock.unlock();
      handler(event);
      lock.lock();
    }
  }

  std::shared_ptr<Wire> wire_;
  Tick tick_; // the transacting thread's
  Clock::time_point nextTick_{};
  std::uint64_t inTransfer_ = 0; // bytes of the transfer being written; under the wire's mutex
  std::thread eventThread_;
};

class MemoryDevice final : public DeviceEnd {
public:
  explicit MemoryDevice(std::shared_ptr<Wire> wire)
      : wire_(std::move(wire)) {}
  ~MemoryDevice() override {
    setControlHandler({});
    close();
  }

  std::size_t maxPacketSize() const override { return wire_->packetSize; }

  ReadResult read(std::span<std::byte> buffer, Milliseconds limit) override {
    std::unique_lock lock(wire_->mutex);
    auto& pipe = wire_->out;
    auto deadline = after(limit);
    std::size_t size = std::min(early_.size(), buffer.size());
    std::copy_n(early_.begin(), size, buffer.begin());
    early_.erase(early_.begin(), early_.begin() + std::ptrdiff_t(size));
    for (;;) {
      if (wire_->unplugged)
        return {IoStatus::Gone, 0, false};
      if (takeFlag(wire_->cancelled))
        return {IoStatus::Cancelled, 0, false};
      if (size < buffer.size() && !pipe.halted && (pipe.available() || pipe.endsHere())) {
        auto part = pipe.take(buffer.subspan(size));
        size += part.size;
        wire_->initiatorWakes.notify_all();
        if (part.endOfTransfer)
          return {IoStatus::Ok, size, true};
      }
      if (size == buffer.size())
        return {IoStatus::Ok, size, false};
      wire_->posted = pipe.halted ? 0 : buffer.size() - size;
      if (wire_->posted)
        wire_->initiatorWakes.notify_all();
      auto woken = wire_->deviceWakes.wait_until(lock, deadline);
      wire_->posted = 0;
      if (woken == std::cv_status::timeout && !pipe.available() && !pipe.endsHere() && !wire_->unplugged &&
          !wire_->cancelled) {
        early_.assign(buffer.begin(), buffer.begin() + std::ptrdiff_t(size));
        return {IoStatus::Timeout, 0, false};
      }
    }
  }

  IoStatus write(std::span<const std::byte> data, Milliseconds limit) override {
    std::unique_lock lock(wire_->mutex);
    auto& pipe = wire_->in;
    auto deadline = after(limit);
    bool zeroLength = data.empty();
    bool shortEnd = data.size() % wire_->packetSize != 0;
    for (;;) {
      if (wire_->unplugged)
        return IoStatus::Gone;
      if (takeFlag(wire_->cancelled))
        return IoStatus::Cancelled;
      if (!pipe.halted) {
        auto moved = pipe.put(data);
        data = data.subspan(moved);
        if (data.empty() && (zeroLength || shortEnd))
          pipe.putEnd(zeroLength);
        wire_->initiatorWakes.notify_all();
        if (data.empty())
          return IoStatus::Ok;
        if (moved)
          deadline = after(limit);
      }
      if (wire_->deviceWakes.wait_until(lock, deadline) == std::cv_status::timeout && (pipe.halted || !pipe.room()) &&
          !wire_->unplugged && !wire_->cancelled)
        return IoStatus::Timeout;
    }
  }

  IoStatus writeEvent(std::span<const std::byte> data, Milliseconds limit) override {
    std::unique_lock lock(wire_->mutex);
    wire_->deviceWakes.wait_for(lock, limit,
                                [&] { return wire_->unplugged || (wire_->eventsStarted && !wire_->event); });
    if (wire_->unplugged)
      return IoStatus::Gone;
    if (!wire_->eventsStarted || wire_->event)
      return IoStatus::Timeout;
    wire_->event.emplace(data.begin(), data.end());
    wire_->eventWakes.notify_all();
    return IoStatus::Ok;
  }

  void stall() override {
    std::lock_guard lock(wire_->mutex);
    wire_->in.halted = wire_->out.halted = true;
    early_.clear();
    wire_->initiatorWakes.notify_all();
  }

  void setControlHandler(ControlHandler handler) override {
    std::lock_guard control(wire_->controlMutex);
    wire_->controlHandler = std::move(handler);
  }

  bool plugged() const override {
    std::lock_guard lock(wire_->mutex);
    return !wire_->unplugged;
  }

  void close() override { wire_->unplug(); }

private:
  std::shared_ptr<Wire> wire_;
  std::vector<std::byte> early_; // read before a time-out; under the wire's mutex
};

} // namespace

MemoryWire makeMemoryWire(std::size_t maxPacketSize) {
  auto wire = std::make_shared<Wire>(maxPacketSize);
  return {std::make_unique<MemoryInitiator>(wire), std::make_unique<MemoryDevice>(wire)};
}

} // namespace mtp
