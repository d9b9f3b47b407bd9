#include "TessalyMTPSdk/LibusbTransport.h"

#include "TessalyMTPSdk/CoarseClock.h"
#include "TessalyMTPSdk/UsbMemory.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <libusb.h>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

namespace mtp {

std::vector<std::byte> UsbEventAssembler::take(std::span<const std::byte> packet) {
  m_partial.insert(m_partial.end(), packet.begin(), packet.end());
  std::size_t wanted = 4; // the container's length stands in its first four bytes, little-endian
  if (m_partial.size() >= wanted) {
    wanted = 0;
    for (int i = 3; i >= 0; --i) {
      wanted = wanted << 8 | std::to_integer<std::size_t>(m_partial[static_cast<std::size_t>(i)]);
    }
  }
  const bool shortPacket = packet.size() < m_packetSize;
  if (shortPacket || m_partial.size() >= std::min(wanted, maxSize)) {
    return std::exchange(m_partial, {});
  }
  return {};
}

namespace {

using Clock = CoarseClock;
using Milliseconds = Transport::Milliseconds;

constexpr std::size_t smallSize = 16 * 1024;
// One large transfer costs the phone and the kernel far less than many small ones; usbfs lends 16 MiB to all programs.
constexpr std::size_t largeSize = 1024 * 1024;
constexpr std::size_t smallPending = 2; // data and response
constexpr std::size_t largePending = 4; // or waiting to be handed out
// While one is on the bus the kernel copies the next one.
constexpr std::size_t outSize = 512 * 1024;
constexpr std::size_t outPending = 3;
constexpr std::size_t eventsPending = 4;
// So long after a transaction the next one is likely, and the event thread leaves the USB to the transacting thread:
// handing it over costs two thread switches.
constexpr Milliseconds handOver{20};
// Cancelled transfers come back as soon as the kernel has taken them off the bus.
constexpr Milliseconds cancelLimit{5000};
constexpr Milliseconds longestWait{60000};
constexpr Milliseconds lookAgain{1000}; // whether large transfers have been taken
constexpr int eventFailuresBorne = 8;
constexpr std::size_t eventsKept = 4096; // while the handler is slow; a flood beyond that is dropped

IoStatus fromTransfer(libusb_transfer_status status) {
  switch (status) {
  case LIBUSB_TRANSFER_COMPLETED:
    return IoStatus::Ok;
  case LIBUSB_TRANSFER_TIMED_OUT:
    return IoStatus::Timeout;
  case LIBUSB_TRANSFER_CANCELLED:
    return IoStatus::Cancelled;
  case LIBUSB_TRANSFER_STALL:
    return IoStatus::Stall;
  case LIBUSB_TRANSFER_NO_DEVICE:
    return IoStatus::Gone;
  case LIBUSB_TRANSFER_ERROR:
  case LIBUSB_TRANSFER_OVERFLOW:
    break;
  }
  return IoStatus::Error;
}

IoStatus fromResult(int result) {
  switch (result) {
  case LIBUSB_ERROR_TIMEOUT:
    return IoStatus::Timeout;
  case LIBUSB_ERROR_PIPE:
    return IoStatus::Stall;
  case LIBUSB_ERROR_NO_DEVICE:
  case LIBUSB_ERROR_NOT_FOUND: // what a reset answers when the device came back as another one
    return IoStatus::Gone;
  default:
    return result >= 0 ? IoStatus::Ok : IoStatus::Error;
  }
}

void setWake(int& flag, int value) {
  std::atomic_ref(flag).store(value);
}

class LibusbTransport final : public Transport {
public:
  LibusbTransport(libusb_context* context, libusb_device_handle* handle, const UsbInterfaceFacts& facts)
      : m_context(context)
      , m_handle(handle)
      , m_facts(facts)
      , m_assembler(facts.eventPacketSize) {
    // No more are ever put there, and what puts them there must not throw.
    m_freeSmall.reserve(largePending);
    m_freeLarge.reserve(largePending);
    m_freeOut.reserve(outPending);
  }
  ~LibusbTransport() override { close(); }
  LibusbTransport(const LibusbTransport&) = delete;
  LibusbTransport& operator=(const LibusbTransport&) = delete;

  std::size_t maxPacketSize() const override { return m_facts.bulkPacketSize; }
  IoStatus write(std::span<const std::byte> data, bool endsTransfer, Milliseconds idle) override;
  ReadResult read(std::span<std::byte> buffer, Milliseconds idle) override;
  void expect(std::uint64_t bytes) override;
  void setTick(Tick tick) override { m_tick = std::move(tick); }
  IoStatus controlOut(std::uint8_t request, std::span<const std::byte> data, Milliseconds limit) override;
  ReadResult controlIn(std::uint8_t request, std::span<std::byte> buffer, Milliseconds limit) override;
  IoStatus clearHalt(Pipe pipe) override;
  IoStatus reset() override;
  void startEvents(EventHandler handler) override;
  void interrupt() override;
  bool isGone() const override { return m_gone; }
  void close() override;

private:
  using Lock = std::unique_lock<std::mutex>;

  struct Transfer {
    Transfer(LibusbTransport& transport, std::size_t space)
        : owner(transport)
        , buffer(space > smallSize ? takeUsbMemory(transport.m_handle, space) : takeHeapMemory(space))
        , usb(libusb_alloc_transfer(0))
        , space(space) {
      if (usb == nullptr) {
        throw std::bad_alloc();
      }
    }
    ~Transfer() { libusb_free_transfer(usb); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    LibusbTransport& owner;
    UsbMemory buffer; // of no size: the caller's memory is sent
    libusb_transfer* usb;
    std::size_t space;
    bool pending = false;
    std::size_t length = 0; // asked for
    std::size_t moved = 0;  // came or went
    std::size_t taken = 0;  // of what came: handed out
    IoStatus status = IoStatus::Ok;
  };
  using TransferPtr = std::unique_ptr<Transfer>;
  using Queue = std::deque<TransferPtr>; // in the order of submission, which is the order on the bus

  /// Counts the calls that are inside, so that close() can wait for them. Made and ended under the lock.
  class Inside {
  public:
    explicit Inside(LibusbTransport& transport)
        : m_transport(transport) {
      ++m_transport.m_inside;
    }
    ~Inside() {
      if (--m_transport.m_inside == 0 && m_transport.m_closing) {
        m_transport.m_changed.notify_all();
      }
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

  private:
    LibusbTransport& m_transport;
  };

  static void LIBUSB_CALL transferCompleted(libusb_transfer* usb);
  void completed(Transfer& transfer);
  void eventCompleted(Transfer& transfer);

  int submit(Transfer& transfer, std::uint8_t endpoint, unsigned char* data, std::size_t length, bool zeroPacket);
  bool append(Queue& queue, std::vector<TransferPtr>& store, std::size_t space);
  IoStatus submitIn(std::size_t length);
  IoStatus fillIn();
  ReadResult takeReceived(std::span<std::byte> buffer);
  void recycle(TransferPtr transfer);
  IoStatus submitOut(Queue& queue, std::span<const std::byte> data, bool zeroPacket);
  void submitEvents();

  bool pump(Lock& lock, Clock::time_point deadline);
  enum class Waited { Woken, Late, Stopped };
  Waited wait(Lock& lock, Clock::time_point deadline, std::size_t moved);
  static bool isAnyPending(const Queue& queue) {
    return std::any_of(queue.begin(), queue.end(), [](const TransferPtr& transfer) { return transfer->pending; });
  }
  bool cancel(Queue& queue, Lock& lock);
  int control(std::uint8_t direction, std::uint8_t request, unsigned char* data, std::size_t size, Milliseconds limit,
              Lock& lock);
  bool over() const { return m_closing || m_gone; }
  void wake();
  void runEvents();

  libusb_context* m_context;      // null once closed
  libusb_device_handle* m_handle; // null once closed
  const UsbInterfaceFacts m_facts;

  std::atomic<bool> m_gone{false}; // written under the lock by whoever sees the phone leave; isGone() reads it

  Tick m_tick; // the transacting thread's
  Clock::time_point m_nextTick{};

  std::mutex m_closeMutex; // held for the whole of close(); taken before m_mutex
  // Guards everything below. libusb's calls that submit, cancel and wake are made under it; waiting is not.
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_closing = false;
  bool m_interrupted = false;
  int m_inside = 0;

  Queue m_in;
  Queue m_stuck; // the kernel did not give them back: kept until close()
  std::vector<TransferPtr> m_freeSmall, m_freeLarge, m_freeOut;
  std::uint64_t m_expected = 0; // bytes of the current transfer not yet handed out, as far as known
  std::size_t m_largeIn = largeSize, m_largeOut = outSize; // lowered for a transfer when the kernel lends less
  bool m_answerDue = false;                                // nothing was read since the last write
  bool m_outOpen = false;                                  // a transfer to the phone has begun and not ended

  Queue m_eventTransfers;
  UsbEventAssembler m_assembler;
  std::deque<std::vector<std::byte>> m_events; // complete ones, for the event thread to hand out
  EventHandler m_handler;
  std::thread m_eventThread;
  bool m_eventsOn = false; // event transfers are to be pending
  int m_eventFailures = 0; // in a row
  bool m_pumping = false;  // the transacting thread handles the USB's completions
  Clock::time_point m_lastPump{};

  // The `completed` of libusb_handle_events_timeout_completed, which is an int: non-zero ends the wait of the
  // transacting and of the event thread. Written under the lock by whoever has news; libusb reads it without.
  int m_wakePump = 0, m_wakeEvents = 0;
};

// -- completions ------------------------------------------------------------------------------------------------------

void LIBUSB_CALL LibusbTransport::transferCompleted(libusb_transfer* usb) {
  auto& transfer = *static_cast<Transfer*>(usb->user_data);
  transfer.owner.completed(transfer);
}

void LibusbTransport::completed(Transfer& transfer) {
  const Lock lock(m_mutex);
  transfer.pending = false;
  transfer.moved = transfer.usb->actual_length > 0 ? static_cast<std::size_t>(transfer.usb->actual_length) : 0;
  transfer.status = fromTransfer(transfer.usb->status);
  if (transfer.status == IoStatus::Gone) {
    m_gone = true;
  }
  if (transfer.usb->endpoint == m_facts.interruptIn) {
    eventCompleted(transfer);
  }
  setWake(m_wakePump, 1);
}

void LibusbTransport::eventCompleted(Transfer& transfer) {
  if (transfer.status == IoStatus::Ok) {
    m_eventFailures = 0;
    try {
      auto event = m_assembler.take(std::as_bytes(std::span(transfer.buffer.get(), transfer.moved)));
      if (!event.empty() && m_events.size() < eventsKept) {
        m_events.push_back(std::move(event));
        // Beside a transaction the event thread looks by itself every `handOver`: waking it for each event of each
        // small file would cost the transacting thread more than the event.
        if (m_gone) {
          m_changed.notify_all();
        }
      }
    } catch (const std::bad_alloc&) {
      // This runs inside libusb, which knows no exceptions: the event is lost, the pipe goes on.
    }
  } else if (transfer.status == IoStatus::Cancelled || ++m_eventFailures > eventFailuresBorne) {
    return;
  }
  // Again at once: a phone may hold its lock while it waits for an event to be fetched.
  if (m_eventsOn && !over()) {
    submit(transfer, m_facts.interruptIn, transfer.buffer.get(), transfer.space, false);
  }
}

// -- submitting -------------------------------------------------------------------------------------------------------

int LibusbTransport::submit(Transfer& transfer, std::uint8_t endpoint, unsigned char* data, std::size_t length,
                            bool zeroPacket) {
  if (endpoint == m_facts.interruptIn) {
    libusb_fill_interrupt_transfer(transfer.usb, m_handle, endpoint, data, static_cast<int>(length), transferCompleted,
                                   &transfer, 0);
  } else {
    libusb_fill_bulk_transfer(transfer.usb, m_handle, endpoint, data, static_cast<int>(length), transferCompleted,
                              &transfer, 0);
  }
  transfer.usb->flags = zeroPacket ? LIBUSB_TRANSFER_ADD_ZERO_PACKET : 0;
  transfer.length = length;
  transfer.moved = transfer.taken = 0;
  transfer.status = IoStatus::Ok;
  transfer.pending = true;
  const int result = libusb_submit_transfer(transfer.usb);
  if (result != LIBUSB_SUCCESS) {
    transfer.pending = false;
    if (fromResult(result) == IoStatus::Gone) {
      m_gone = true;
    }
  }
  return result;
}

/// A transfer that is not pending, at the end of the queue. False: there is no memory for one; to throw would be to
/// forget the pending ones of a queue on the stack.
bool LibusbTransport::append(Queue& queue, std::vector<TransferPtr>& store, std::size_t space) {
  try {
    if (store.empty()) {
      store.push_back(std::make_unique<Transfer>(*this, space));
    }
    queue.push_back(std::move(store.back()));
    store.pop_back();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

IoStatus LibusbTransport::submitIn(std::size_t length) {
  const bool large = length > smallSize;
  if (!append(m_in, large ? m_freeLarge : m_freeSmall, large ? largeSize : smallSize)) {
    return IoStatus::Error;
  }
  Transfer& added = *m_in.back();
  const int result = submit(added, m_facts.bulkIn, added.buffer.get(), length, false);
  if (result == LIBUSB_SUCCESS) {
    return IoStatus::Ok;
  }
  recycle(std::move(m_in.back()));
  m_in.pop_back();
  if (result == LIBUSB_ERROR_NO_MEM && length > smallSize) {
    m_largeIn = std::max(smallSize, length / 2 / smallSize * smallSize);
    return submitIn(m_largeIn);
  }
  return fromResult(result);
}

/// Puts transfers in flight behind those that are: large ones while much is to come, then small ones.
IoStatus LibusbTransport::fillIn() {
  std::size_t pending = 0, large = 0;
  std::uint64_t ahead = 0; // what the queue holds or can take
  for (const auto& transfer : m_in) {
    pending += transfer->pending ? 1 : 0;
    large += transfer->length > smallSize ? 1 : 0; // also those not handed out yet: a slow disk must not pile them up
    ahead += transfer->pending ? transfer->length : transfer->moved - transfer->taken;
  }
  IoStatus status = IoStatus::Ok;
  while (status == IoStatus::Ok && m_expected > ahead && large < largePending) {
    const std::uint64_t missing = std::min<std::uint64_t>(m_expected - ahead, m_largeIn);
    const std::size_t length = (static_cast<std::size_t>(missing) + smallSize - 1) / smallSize * smallSize;
    status = submitIn(length);
    if (status == IoStatus::Ok) {
      const std::size_t submitted = m_in.back()->length;
      ahead += submitted;
      large += 1;
      pending += 1;
    }
  }
  while (status == IoStatus::Ok && pending < smallPending) {
    status = submitIn(smallSize);
    pending += status == IoStatus::Ok ? 1 : 0;
  }
  // What is in flight goes on without the ones that could not be added.
  return pending > 0 && status == IoStatus::Error ? IoStatus::Ok : status;
}

void LibusbTransport::recycle(TransferPtr transfer) {
  auto& store = transfer->space > smallSize ? m_freeLarge : m_freeSmall;
  if (store.size() < largePending) {
    store.push_back(std::move(transfer));
  }
}

/// Adds as much of `data` as fits one transfer; queue.back()->length says how much. The zero-length packet goes with
/// the last piece; for empty data the empty transfer is that packet.
IoStatus LibusbTransport::submitOut(Queue& queue, std::span<const std::byte> data, bool zeroPacket) {
  if (!append(queue, m_freeOut, 0)) {
    return IoStatus::Error;
  }
  for (;;) {
    const std::size_t length = std::min(data.size(), m_largeOut);
    const bool zero = zeroPacket && length == data.size() && length > 0;
    auto* bytes = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(data.data()));
    const int result = submit(*queue.back(), m_facts.bulkOut, bytes, length, zero);
    if (result == LIBUSB_SUCCESS) {
      return IoStatus::Ok;
    }
    if (result == LIBUSB_ERROR_NO_MEM && length > smallSize) {
      m_largeOut = std::max(smallSize, m_largeOut / 2);
      continue;
    }
    m_freeOut.push_back(std::move(queue.back()));
    queue.pop_back();
    return fromResult(result);
  }
}

void LibusbTransport::submitEvents() {
  m_eventsOn = true;
  while (m_eventTransfers.size() < eventsPending) {
    m_eventTransfers.push_back(std::make_unique<Transfer>(*this, m_facts.eventPacketSize));
  }
  for (const auto& transfer : m_eventTransfers) {
    if (!transfer->pending && !over()) {
      submit(*transfer, m_facts.interruptIn, transfer->buffer.get(), transfer->space, false);
    }
  }
}

// -- waiting ----------------------------------------------------------------------------------------------------------

/// Handles the USB's completions once, until the deadline at most. False: the deadline has passed.
bool LibusbTransport::pump(Lock& lock, Clock::time_point deadline) {
  const auto left = std::min<Clock::duration>(deadline - Clock::now(), longestWait);
  if (left <= Clock::duration::zero()) {
    return false;
  }
  const auto us = std::chrono::ceil<std::chrono::microseconds>(left).count();
  timeval wait{static_cast<time_t>(us / 1000000), static_cast<suseconds_t>(us % 1000000)};
  setWake(m_wakePump, 0);
  m_pumping = true;
  lock.unlock();
  libusb_handle_events_timeout_completed(m_context, &wait, &m_wakePump);
  lock.lock();
  m_pumping = false;
  m_lastPump = Clock::now();
  return true;
}

/// As pump(), and asks the tick when it is due. Late: the deadline has passed. Stopped: the tick wants an end.
LibusbTransport::Waited LibusbTransport::wait(Lock& lock, Clock::time_point deadline, std::size_t moved) {
  if (!m_tick) {
    return pump(lock, deadline) ? Waited::Woken : Waited::Late;
  }
  const bool woken = pump(lock, std::min(deadline, m_nextTick));
  if (Clock::now() < m_nextTick) {
    return woken ? Waited::Woken : Waited::Late;
  }
  lock.unlock();
  const bool goOn = m_tick(moved);
  lock.lock();
  m_nextTick = Clock::now() + TickInterval;
  if (!goOn) {
    return Waited::Stopped;
  }
  return woken || Clock::now() < deadline ? Waited::Woken : Waited::Late;
}

/// Takes the queue's pending transfers off the bus, the last one first, so that none is served after a gap. What they
/// have moved so far counts. False: the kernel did not give them back.
bool LibusbTransport::cancel(Queue& queue, Lock& lock) {
  for (auto transfer = queue.rbegin(); transfer != queue.rend(); ++transfer) {
    if ((*transfer)->pending) {
      libusb_cancel_transfer((*transfer)->usb);
    }
  }
  const auto deadline = Clock::now() + cancelLimit;
  while (isAnyPending(queue)) {
    if (!pump(lock, deadline)) {
      m_gone = true;
      return false;
    }
  }
  return true;
}

void LibusbTransport::wake() {
  setWake(m_wakePump, 1);
  if (m_context != nullptr) {
    libusb_interrupt_event_handler(m_context);
  }
}

// -- bulk -------------------------------------------------------------------------------------------------------------

IoStatus LibusbTransport::write(std::span<const std::byte> data, bool endsTransfer, Milliseconds idle) {
  Lock lock(m_mutex);
  const Inside inside(*this);
  if (over()) {
    return IoStatus::Gone;
  }
  if (std::exchange(m_interrupted, false)) {
    return IoStatus::Cancelled;
  }
  bool fillsIn = !m_outOpen;
  if (fillsIn) {
    m_expected = 0;
    m_largeOut = outSize;
    // The answer is awaited before the question leaves, but one transfer will do until then.
    if (!isAnyPending(m_in)) {
      if (const IoStatus status = fillIn(); status != IoStatus::Ok) {
        return status;
      }
    }
  }
  const bool zeroPacket = endsTransfer && (m_outOpen || !data.empty()) && data.size() % m_facts.bulkPacketSize == 0;
  m_outOpen = !endsTransfer && (m_outOpen || !data.empty());
  m_answerDue = true;

  Queue queue;
  std::size_t submitted = 0, moved = 0;
  bool zeroLeft = zeroPacket;
  const auto giveUp = [&](IoStatus status) {
    const bool back = cancel(queue, lock);
    for (auto& transfer : queue) {
      if (back) {
        m_freeOut.push_back(std::move(transfer));
      } else {
        m_stuck.push_back(std::move(transfer));
      }
    }
    m_outOpen = false;
    return status;
  };

  auto deadline = Clock::now() + idle;
  while (moved < data.size() || zeroLeft || !queue.empty()) {
    while ((submitted < data.size() || (zeroLeft && data.size() == submitted)) && queue.size() < outPending) {
      const IoStatus status = submitOut(queue, data.subspan(submitted), zeroPacket);
      if (status != IoStatus::Ok) {
        if (queue.empty() || status == IoStatus::Gone) {
          return giveUp(status);
        }
        break; // the kernel lends no more for now
      }
      submitted += queue.back()->length;
      zeroLeft = zeroLeft && submitted < data.size();
    }
    if (std::exchange(fillsIn, false)) {
      fillIn(); // the phone is at work already; a failure will show at the read
    }
    Transfer& front = *queue.front();
    if (front.pending) {
      if (m_closing) {
        return giveUp(IoStatus::Gone);
      }
      if (std::exchange(m_interrupted, false)) {
        return giveUp(IoStatus::Cancelled);
      }
      const Waited waited = wait(lock, deadline, moved);
      if (waited == Waited::Stopped) {
        return giveUp(IoStatus::Cancelled);
      }
      if (waited == Waited::Woken || !front.pending) {
        continue;
      }
      // Nothing was completed. The phone may yet be taking a large piece slowly: see how far it has come.
      if (!cancel(queue, lock)) {
        return giveUp(IoStatus::Gone);
      }
      const std::size_t before = moved;
      bool allDone = true;
      for (const auto& transfer : queue) {
        moved += transfer->moved;
        allDone = allDone && transfer->status == IoStatus::Ok;
      }
      if (moved == before && !allDone) {
        return giveUp(IoStatus::Timeout);
      }
      for (auto& transfer : queue) {
        m_freeOut.push_back(std::move(transfer));
      }
      queue.clear();
      submitted = moved;
      zeroLeft = zeroPacket && !(allDone && moved == data.size());
      deadline = Clock::now() + idle;
      continue;
    }
    if (front.status != IoStatus::Ok) {
      return giveUp(front.status);
    }
    moved += front.moved;
    deadline = Clock::now() + idle;
    m_freeOut.push_back(std::move(queue.front()));
    queue.pop_front();
  }
  return IoStatus::Ok;
}

/// Hands out what has come, up to the end of a transfer. A failure is told once, after the bytes before it.
ReadResult LibusbTransport::takeReceived(std::span<std::byte> buffer) {
  ReadResult result;
  while (!m_in.empty() && !m_in.front()->pending) {
    Transfer& front = *m_in.front();
    const std::size_t size = std::min(buffer.size() - result.size, front.moved - front.taken);
    std::memcpy(buffer.data() + result.size, front.buffer.get() + front.taken, size);
    front.taken += size;
    result.size += size;
    m_expected -= std::min<std::uint64_t>(m_expected, size);
    // A cancelled transfer holds what had come until then; the stream goes on behind it.
    const bool failed = front.status != IoStatus::Ok && front.status != IoStatus::Cancelled;
    if (front.taken < front.moved || (failed && result.size > 0)) {
      break;
    }
    const IoStatus status = front.status;
    const bool ended = status == IoStatus::Ok && front.moved < front.length;
    recycle(std::move(m_in.front()));
    m_in.pop_front();
    if (failed) {
      result.status = status;
      break;
    }
    if (ended) {
      result.endOfTransfer = true;
      m_expected = 0;
      break;
    }
    if (result.size == buffer.size()) {
      break;
    }
  }
  return result;
}

ReadResult LibusbTransport::read(std::span<std::byte> buffer, Milliseconds idle) {
  Lock lock(m_mutex);
  const Inside inside(*this);
  const auto deadline = Clock::now() + idle;
  bool cancelled = false;
  for (;;) {
    if (m_closing) {
      return {IoStatus::Gone};
    }
    if (std::exchange(m_interrupted, false)) {
      return {IoStatus::Cancelled};
    }
    const ReadResult result = takeReceived(buffer);
    if (result.status == IoStatus::Stall) {
      cancel(m_in, lock); // a halted pipe serves none of those behind
    } else if (m_expected > 0 && result.status == IoStatus::Ok && result.size > 0) {
      fillIn(); // a failure will show at the read that finds nothing in flight
    }
    if (result.size > 0 || result.endOfTransfer || result.status != IoStatus::Ok) {
      return result;
    }
    if (m_gone) {
      return {IoStatus::Gone};
    }
    if (cancelled) {
      return {IoStatus::Timeout};
    }
    // Some host controllers (emulated ones) look at a waiting transfer again only when another one joins it.
    const IoStatus status = std::exchange(m_answerDue, false) ? submitIn(smallSize) : fillIn();
    if (status != IoStatus::Ok) {
      return {status};
    }
    const Waited waited = wait(lock, deadline, 0);
    if (waited == Waited::Stopped) {
      return {IoStatus::Cancelled};
    }
    if (waited == Waited::Late) {
      // Nothing was completed, but a large transfer may have come in part: cut it there and look.
      cancel(m_in, lock);
      cancelled = true;
    }
  }
}

void LibusbTransport::expect(std::uint64_t bytes) {
  const Lock lock(m_mutex);
  m_expected = bytes;
  m_largeIn = largeSize; // the kernel may lend more than the last time
  if (!over() && bytes > 0) {
    fillIn(); // a failure will show at the read
  }
}

// -- control ----------------------------------------------------------------------------------------------------------

int LibusbTransport::control(std::uint8_t direction, std::uint8_t request, unsigned char* data, std::size_t size,
                             Milliseconds limit, Lock& lock) {
  const auto ms = static_cast<unsigned>(std::clamp<Milliseconds::rep>(limit.count(), 1, longestWait.count()));
  m_pumping = true;
  lock.unlock();
  const int result =
      libusb_control_transfer(m_handle, direction | LIBUSB_REQUEST_TYPE_CLASS | LIBUSB_RECIPIENT_INTERFACE, request, 0,
                              m_facts.number, data, static_cast<std::uint16_t>(std::min<std::size_t>(size, 4096)), ms);
  lock.lock();
  m_pumping = false;
  m_lastPump = Clock::now();
  if (fromResult(result) == IoStatus::Gone) {
    m_gone = true;
  }
  return result;
}

IoStatus LibusbTransport::controlOut(std::uint8_t request, std::span<const std::byte> data, Milliseconds limit) {
  Lock lock(m_mutex);
  const Inside inside(*this);
  if (over()) {
    return IoStatus::Gone;
  }
  auto* bytes = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(data.data()));
  return fromResult(control(LIBUSB_ENDPOINT_OUT, request, bytes, data.size(), limit, lock));
}

ReadResult LibusbTransport::controlIn(std::uint8_t request, std::span<std::byte> buffer, Milliseconds limit) {
  Lock lock(m_mutex);
  const Inside inside(*this);
  if (over()) {
    return {IoStatus::Gone};
  }
  auto* bytes = reinterpret_cast<unsigned char*>(buffer.data());
  const int result = control(LIBUSB_ENDPOINT_IN, request, bytes, buffer.size(), limit, lock);
  const std::size_t size = result > 0 ? static_cast<std::size_t>(result) : 0;
  return {fromResult(result), size, size < buffer.size()};
}

IoStatus LibusbTransport::clearHalt(Pipe pipe) {
  Lock lock(m_mutex);
  const Inside inside(*this);
  if (over()) {
    return IoStatus::Gone;
  }
  if (pipe == Pipe::BulkIn) {
    // The kernel wants nothing queued on a pipe it clears; what came before the halt belongs to a broken transaction.
    if (!cancel(m_in, lock)) {
      return IoStatus::Gone;
    }
    while (!m_in.empty()) {
      recycle(std::move(m_in.front()));
      m_in.pop_front();
    }
    m_expected = 0;
  } else {
    m_outOpen = false;
  }
  const IoStatus status =
      fromResult(libusb_clear_halt(m_handle, pipe == Pipe::BulkIn ? m_facts.bulkIn : m_facts.bulkOut));
  if (status == IoStatus::Gone) {
    m_gone = true;
  }
  return status;
}

IoStatus LibusbTransport::reset() {
  Lock lock(m_mutex);
  const Inside inside(*this);
  if (over()) {
    return IoStatus::Gone;
  }
  m_eventsOn = false;
  if (!cancel(m_in, lock) || !cancel(m_eventTransfers, lock)) {
    return IoStatus::Gone;
  }
  while (!m_in.empty()) {
    recycle(std::move(m_in.front()));
    m_in.pop_front();
  }
  m_expected = 0;
  m_outOpen = false;
  lock.unlock();
  const IoStatus status = fromResult(libusb_reset_device(m_handle));
  lock.lock();
  if (status == IoStatus::Gone) {
    m_gone = true;
  } else if (m_handler && !m_closing) {
    m_eventFailures = 0;
    submitEvents();
  }
  return status;
}

// -- events -----------------------------------------------------------------------------------------------------------

void LibusbTransport::startEvents(EventHandler handler) {
  const Lock lock(m_mutex);
  if (over() || m_eventThread.joinable()) {
    return;
  }
  m_handler = std::move(handler);
  submitEvents();
  m_eventThread = std::thread([this] { runEvents(); });
}

void LibusbTransport::runEvents() {
  Lock lock(m_mutex);
  while (!m_closing) {
    if (!m_events.empty()) {
      const auto events = std::exchange(m_events, {});
      lock.unlock();
      for (const auto& event : events) {
        m_handler(event);
      }
      lock.lock();
    } else if (m_gone) {
      m_changed.wait(lock, [this] { return m_closing || !m_events.empty(); });
    } else if (m_pumping || Clock::now() < m_lastPump + handOver) {
      m_changed.wait_for(lock, handOver);
    } else {
      // The phone is idle: what the kernel lent is for all programs. What has yet to be taken goes back later.
      m_freeLarge.clear();
      const bool isSomeLeft = std::any_of(m_in.begin(), m_in.end(),
                                          [](const TransferPtr& transfer) { return transfer->space > smallSize; });
      timeval wait{(isSomeLeft ? lookAgain : longestWait).count() / 1000, 0};
      lock.unlock();
      libusb_handle_events_timeout_completed(m_context, &wait, &m_wakeEvents);
      lock.lock();
    }
  }
}

// -- ending -----------------------------------------------------------------------------------------------------------

void LibusbTransport::interrupt() {
  const Lock lock(m_mutex);
  m_interrupted = true;
  wake();
}

void LibusbTransport::close() {
  const std::scoped_lock closing(m_closeMutex);
  Lock lock(m_mutex);
  if (m_handle == nullptr) {
    return;
  }
  assert(m_eventThread.get_id() != std::this_thread::get_id());
  m_closing = true;
  setWake(m_wakeEvents, 1);
  wake();
  m_changed.notify_all();
  lock.unlock();
  if (m_eventThread.joinable()) {
    m_eventThread.join();
  }
  lock.lock();
  m_changed.wait(lock, [this] { return m_inside == 0; });
  cancel(m_in, lock);
  cancel(m_eventTransfers, lock);
  m_gone = true;
  // A transfer refers to its handle to the end, except one the kernel kept: that one is taken from it by the closing.
  Queue kept;
  for (auto* queue : {&m_in, &m_eventTransfers, &m_stuck}) {
    for (auto& transfer : *queue) {
      if (transfer->pending) {
        kept.push_back(std::move(transfer));
      }
    }
    queue->clear();
  }
  for (auto* store : {&m_freeSmall, &m_freeLarge, &m_freeOut}) {
    store->clear();
  }
  for (auto& transfer : kept) {
    // Not after its handle. The kernel holds on to what it lent as long as it writes to it, and writes no other memory
    // of the program by itself.
    transfer->buffer.reset();
  }
  auto* const context = std::exchange(m_context, nullptr);
  auto* const handle = std::exchange(m_handle, nullptr);
  lock.unlock();
  libusb_release_interface(handle, m_facts.number);
  libusb_close(handle);
  kept.clear();
  libusb_exit(context);
}

} // namespace

std::unique_ptr<Transport> makeLibusbTransport(libusb_context* context, libusb_device_handle* handle,
                                               const UsbInterfaceFacts& facts) {
  return std::make_unique<LibusbTransport>(context, handle, facts);
}

} // namespace mtp
