#include "TessalyMTPSdk/LibusbTransport.h"
#include "TessalyMTPSdk/UsbMemory.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>
#include <map>
#include <mutex>
#include <numeric>
#include <optional>
#include <set>
#include <sys/utsname.h>
#include <thread>

using namespace mtp;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

using Bytes = std::vector<std::byte>;

constexpr std::uint8_t bulkIn = 0x81, bulkOut = 0x02, eventIn = 0x83;
constexpr std::size_t packet = 512;

Bytes pattern(std::size_t size, unsigned seed = 1) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::byte>((i * 31 + i / 251 + seed) & 0xff);
  }
  return bytes;
}

/// A bus with one phone on it, in the place of libusb's transfers. The phone takes what is sent and sends what the test
/// tells it to; completions are handed out by whoever handles events, one thread at a time, as libusb does.
class FakeBus {
public:
  // What the test does as the phone.
  void phoneSends(Bytes transfer) {
    const std::scoped_lock lock(m_mutex);
    const bool full = transfer.size() % packet == 0;
    m_toHost.push_back({std::move(transfer), 0, full, true});
    serveIn();
  }
  /// The beginning of a transfer whose rest has not come yet.
  void phoneSendsPart(Bytes part) {
    const std::scoped_lock lock(m_mutex);
    m_toHost.push_back({std::move(part), 0, false, false});
    serveIn();
  }
  void phoneSendsEventPacket(Bytes bytes) {
    const std::scoped_lock lock(m_mutex);
    ASSERT_FALSE(m_events.empty()) << "no interrupt transfer is pending";
    libusb_transfer* transfer = take(m_events, 0);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::byte*>(transfer->buffer));
    complete(transfer, LIBUSB_TRANSFER_COMPLETED, bytes.size());
  }
  void phoneStallsIn() {
    const std::scoped_lock lock(m_mutex);
    m_stalled = true;
    serveIn();
  }
  /// From now on the phone takes so many bytes of what is sent, then no more.
  void phoneTakesOnly(std::size_t bytes) {
    const std::scoped_lock lock(m_mutex);
    m_outRoom = bytes;
  }
  void phoneTakesAgain(std::size_t bytes) {
    const std::scoped_lock lock(m_mutex);
    m_roomAfterCancel = bytes;
  }
  void unplug() {
    const std::scoped_lock lock(m_mutex);
    m_gone = true;
    for (auto* queue : {&m_in, &m_out, &m_events}) {
      while (!queue->empty()) {
        complete(take(*queue, 0), LIBUSB_TRANSFER_NO_DEVICE, 0);
      }
    }
  }
  void kernelLendsAtMost(std::size_t bytes) {
    const std::scoped_lock lock(m_mutex);
    m_lends = bytes;
  }

  // What the test looks at.
  void waitUntilReadIsBlocked() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_waiting > 0 && !m_in.empty(); });
  }
  void waitUntilWriteIsBlocked() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_waiting > 0 && !m_out.empty(); });
  }
  std::vector<std::size_t> pendingIn() {
    const std::scoped_lock lock(m_mutex);
    std::vector<std::size_t> sizes;
    for (const auto* transfer : m_in) {
      sizes.push_back(static_cast<std::size_t>(transfer->length));
    }
    return sizes;
  }
  std::size_t pendingEvents() {
    const std::scoped_lock lock(m_mutex);
    return m_events.size();
  }
  Bytes sent() {
    const std::scoped_lock lock(m_mutex);
    return m_sent;
  }
  std::size_t zeroPackets() {
    const std::scoped_lock lock(m_mutex);
    return m_zeroPackets;
  }
  std::vector<std::string> calls() {
    const std::scoped_lock lock(m_mutex);
    return m_calls;
  }
  /// Transfers that went by memory the kernel has lent.
  std::size_t transfersInLentMemory() {
    const std::scoped_lock lock(m_mutex);
    return m_inLentMemory;
  }
  std::size_t lentPieces() {
    const std::scoped_lock lock(m_mutex);
    return m_lentPieces.size();
  }
  bool waitUntilNothingIsLent() {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, 20s, [this] { return m_lentPieces.empty(); });
  }
  bool lendsMemory = true;
  std::size_t transfersThereIsMemoryFor = SIZE_MAX;
  std::size_t mostOutPending = 0;
  int controlAnswer = 0;
  int resetAnswer = 0;

  // libusb's side.
  int submit(libusb_transfer* transfer) {
    const std::scoped_lock lock(m_mutex);
    if (m_gone) {
      return LIBUSB_ERROR_NO_DEVICE;
    }
    if (static_cast<std::size_t>(transfer->length) > m_lends) {
      return LIBUSB_ERROR_NO_MEM;
    }
    m_inLentMemory += m_lentPieces.count(transfer->buffer);
    switch (transfer->endpoint) {
    case bulkIn:
      m_calls.emplace_back("in");
      m_in.push_back(transfer);
      serveIn();
      break;
    case bulkOut:
      m_calls.emplace_back("out");
      m_out.push_back(transfer);
      mostOutPending = std::max(mostOutPending, m_out.size());
      serveOut();
      break;
    default:
      m_events.push_back(transfer);
    }
    m_changed.notify_all();
    return 0;
  }
  int cancel(libusb_transfer* transfer) {
    const std::scoped_lock lock(m_mutex);
    for (auto* queue : {&m_in, &m_out, &m_events}) {
      const auto found = std::find(queue->begin(), queue->end(), transfer);
      if (found != queue->end()) {
        m_cancelledLastFirst = m_cancelledLastFirst && found + 1 == queue->end();
        queue->erase(found);
        complete(transfer, LIBUSB_TRANSFER_CANCELLED, std::exchange(m_partial[transfer], 0));
        if (queue == &m_out && m_roomAfterCancel && m_out.empty()) {
          m_outRoom = *std::exchange(m_roomAfterCancel, std::nullopt);
        }
        return 0;
      }
    }
    return LIBUSB_ERROR_NOT_FOUND;
  }
  bool allocates() {
    const std::scoped_lock lock(m_mutex);
    return transfersThereIsMemoryFor > 0 && transfersThereIsMemoryFor-- > 0;
  }
  unsigned char* lend(std::size_t size) {
    const std::scoped_lock lock(m_mutex);
    if (!lendsMemory) {
      return nullptr;
    }
    return *m_lentPieces.insert(new unsigned char[size]).first;
  }
  void takeBack(unsigned char* memory) {
    const std::scoped_lock lock(m_mutex);
    EXPECT_EQ(std::count(m_calls.begin(), m_calls.end(), "close"), 0) << "memory is given back after its handle";
    EXPECT_EQ(m_lentPieces.erase(memory), 1u);
    m_changed.notify_all();
    delete[] memory;
  }
  bool cancelledLastFirst() const { return m_cancelledLastFirst; }
  int handleEvents(const timeval* limit, int* completed) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(limit->tv_sec) +
                          std::chrono::microseconds(limit->tv_usec);
    std::unique_lock lock(m_mutex);
    if (completed != nullptr && std::atomic_ref(*completed) != 0) {
      return 0;
    }
    ++m_waiting;
    m_changed.notify_all();
    const std::uint64_t round = m_round;
    m_changed.wait_until(lock, deadline, [&] { return !m_completed.empty() || m_interrupted || m_round != round; });
    --m_waiting;
    m_interrupted = false;
    ++m_round; // the others return too and look at what has changed
    m_changed.notify_all();
    while (!m_completed.empty()) {
      libusb_transfer* transfer = take(m_completed, 0);
      lock.unlock();
      transfer->callback(transfer);
      lock.lock();
    }
    return 0;
  }
  void interruptHandler() {
    const std::scoped_lock lock(m_mutex);
    m_interrupted = true;
    m_changed.notify_all();
  }
  void note(const std::string& call) {
    const std::scoped_lock lock(m_mutex);
    m_calls.push_back(call);
  }
  void clearInHalt() {
    const std::scoped_lock lock(m_mutex);
    EXPECT_TRUE(m_in.empty()) << "a halt is cleared under pending transfers";
    m_stalled = false;
  }

private:
  struct Sent {
    Bytes bytes;
    std::size_t at;
    bool zeroPacketDue; // full packets only: an empty one ends it
    bool ends;
  };

  static libusb_transfer* take(std::deque<libusb_transfer*>& queue, std::size_t at) {
    libusb_transfer* transfer = queue[at];
    queue.erase(queue.begin() + static_cast<std::ptrdiff_t>(at));
    return transfer;
  }
  void complete(libusb_transfer* transfer, libusb_transfer_status status, std::size_t size) {
    transfer->status = status;
    transfer->actual_length = static_cast<int>(size);
    m_completed.push_back(transfer);
    m_changed.notify_all();
  }
  void serveIn() {
    while (!m_in.empty() && m_stalled) {
      // The kernel completes the transfer that met the halt; those behind stay.
      if (std::exchange(m_stallTold, true)) {
        return;
      }
      complete(take(m_in, 0), LIBUSB_TRANSFER_STALL, 0);
    }
    while (!m_in.empty() && !m_toHost.empty()) {
      libusb_transfer* transfer = m_in.front();
      Sent& sent = m_toHost.front();
      std::size_t& filled = m_partial[transfer];
      const std::size_t size =
          std::min(static_cast<std::size_t>(transfer->length) - filled, sent.bytes.size() - sent.at);
      std::copy_n(sent.bytes.begin() + static_cast<std::ptrdiff_t>(sent.at), size,
                  reinterpret_cast<std::byte*>(transfer->buffer) + filled);
      sent.at += size;
      filled += size;
      const bool full = filled == static_cast<std::size_t>(transfer->length);
      const bool allSent = sent.at == sent.bytes.size();
      const bool ended = allSent && sent.ends && (!full || (!sent.zeroPacketDue && size > 0));
      if (ended || (allSent && !sent.ends)) {
        m_toHost.pop_front();
      }
      if (!full && !ended) {
        return; // it waits for more
      }
      m_in.pop_front();
      complete(transfer, LIBUSB_TRANSFER_COMPLETED, std::exchange(filled, 0));
    }
  }
  void serveOut() {
    while (!m_out.empty()) {
      libusb_transfer* transfer = m_out.front();
      std::size_t& gone = m_partial[transfer];
      const auto length = static_cast<std::size_t>(transfer->length);
      const std::size_t size = std::min(length - gone, m_outRoom);
      const auto* bytes = reinterpret_cast<const std::byte*>(transfer->buffer);
      m_sent.insert(m_sent.end(), bytes + gone, bytes + gone + size);
      gone += size;
      m_outRoom -= size;
      if (gone < length) {
        return;
      }
      if (length == 0 || ((transfer->flags & LIBUSB_TRANSFER_ADD_ZERO_PACKET) != 0 && length % packet == 0)) {
        ++m_zeroPackets;
      }
      m_out.pop_front();
      complete(transfer, LIBUSB_TRANSFER_COMPLETED, std::exchange(gone, 0));
    }
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<libusb_transfer*> m_in, m_out, m_events, m_completed;
  std::deque<Sent> m_toHost;
  std::map<libusb_transfer*, std::size_t> m_partial;
  Bytes m_sent;
  std::vector<std::string> m_calls;
  std::set<unsigned char*> m_lentPieces;
  std::size_t m_inLentMemory = 0;
  std::size_t m_zeroPackets = 0;
  std::size_t m_outRoom = SIZE_MAX;
  std::optional<std::size_t> m_roomAfterCancel;
  std::size_t m_lends = SIZE_MAX;
  std::uint64_t m_round = 0;
  int m_waiting = 0;
  bool m_interrupted = false;
  bool m_stalled = false, m_stallTold = false;
  bool m_gone = false;
  bool m_cancelledLastFirst = true;
};

FakeBus* bus = nullptr;

libusb_context* fakeContext() {
  return reinterpret_cast<libusb_context*>(bus);
}
libusb_device_handle* fakeHandle() {
  return reinterpret_cast<libusb_device_handle*>(bus);
}

template <typename Function> Function* real(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// These take the place of libusb's own in this program; calls that are not for the fake bus go on to libusb.
extern "C" {

int LIBUSB_CALL libusb_submit_transfer(libusb_transfer* transfer) {
  return bus != nullptr && transfer->dev_handle == fakeHandle()
             ? bus->submit(transfer)
             : real<decltype(libusb_submit_transfer)>("libusb_submit_transfer")(transfer);
}

libusb_transfer* LIBUSB_CALL libusb_alloc_transfer(int packets) {
  return bus != nullptr && !bus->allocates() ? nullptr
                                             : real<decltype(libusb_alloc_transfer)>("libusb_alloc_transfer")(packets);
}

void LIBUSB_CALL libusb_free_transfer(libusb_transfer* transfer) {
  if (bus != nullptr && transfer->dev_handle == fakeHandle()) {
    // libusb looks at the handle here.
    const auto calls = bus->calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "close"), 0) << "a transfer is freed after its handle";
    transfer->dev_handle = nullptr;
  }
  real<decltype(libusb_free_transfer)>("libusb_free_transfer")(transfer);
}

unsigned char* LIBUSB_CALL libusb_dev_mem_alloc(libusb_device_handle* handle, size_t size) {
  return bus != nullptr && handle == fakeHandle()
             ? bus->lend(size)
             : real<decltype(libusb_dev_mem_alloc)>("libusb_dev_mem_alloc")(handle, size);
}

int LIBUSB_CALL libusb_dev_mem_free(libusb_device_handle* handle, unsigned char* memory, size_t size) {
  if (bus == nullptr || handle != fakeHandle()) {
    return real<decltype(libusb_dev_mem_free)>("libusb_dev_mem_free")(handle, memory, size);
  }
  bus->takeBack(memory);
  return 0;
}

int LIBUSB_CALL libusb_cancel_transfer(libusb_transfer* transfer) {
  return bus != nullptr && transfer->dev_handle == fakeHandle()
             ? bus->cancel(transfer)
             : real<decltype(libusb_cancel_transfer)>("libusb_cancel_transfer")(transfer);
}

int LIBUSB_CALL libusb_handle_events_timeout_completed(libusb_context* context, timeval* limit, int* completed) {
  return bus != nullptr && context == fakeContext()
             ? bus->handleEvents(limit, completed)
             : real<decltype(libusb_handle_events_timeout_completed)>("libusb_handle_events_timeout_completed")(
                   context, limit, completed);
}

void LIBUSB_CALL libusb_interrupt_event_handler(libusb_context* context) {
  if (bus != nullptr && context == fakeContext()) {
    bus->interruptHandler();
  } else {
    real<decltype(libusb_interrupt_event_handler)>("libusb_interrupt_event_handler")(context);
  }
}

int LIBUSB_CALL libusb_control_transfer(libusb_device_handle* handle, std::uint8_t type, std::uint8_t request,
                                        std::uint16_t value, std::uint16_t index, unsigned char* data,
                                        std::uint16_t size, unsigned limit) {
  if (bus == nullptr || handle != fakeHandle()) {
    return real<decltype(libusb_control_transfer)>("libusb_control_transfer")(handle, type, request, value, index, data,
                                                                              size, limit);
  }
  bus->note("control " + std::to_string(type) + " " + std::to_string(request) + " " + std::to_string(index) + " " +
            std::to_string(size));
  if ((type & LIBUSB_ENDPOINT_IN) != 0 && bus->controlAnswer > 0) {
    std::fill_n(data, bus->controlAnswer, 0x5a);
  }
  return bus->controlAnswer;
}

int LIBUSB_CALL libusb_clear_halt(libusb_device_handle* handle, unsigned char endpoint) {
  if (bus == nullptr || handle != fakeHandle()) {
    return real<decltype(libusb_clear_halt)>("libusb_clear_halt")(handle, endpoint);
  }
  bus->note("clear halt " + std::to_string(endpoint));
  if (endpoint == bulkIn) {
    bus->clearInHalt();
  }
  return 0;
}

int LIBUSB_CALL libusb_reset_device(libusb_device_handle* handle) {
  if (bus == nullptr || handle != fakeHandle()) {
    return real<decltype(libusb_reset_device)>("libusb_reset_device")(handle);
  }
  bus->note("reset");
  return bus->resetAnswer;
}

int LIBUSB_CALL libusb_release_interface(libusb_device_handle* handle, int number) {
  if (bus == nullptr || handle != fakeHandle()) {
    return real<decltype(libusb_release_interface)>("libusb_release_interface")(handle, number);
  }
  bus->note("release " + std::to_string(number));
  return 0;
}

void LIBUSB_CALL libusb_close(libusb_device_handle* handle) {
  if (bus != nullptr && handle == fakeHandle()) {
    bus->note("close");
  } else {
    real<decltype(libusb_close)>("libusb_close")(handle);
  }
}

void LIBUSB_CALL libusb_exit(libusb_context* context) {
  if (bus != nullptr && context == fakeContext()) {
    bus->note("exit");
  } else {
    real<decltype(libusb_exit)>("libusb_exit")(context);
  }
}

} // extern "C"

namespace {

class LibusbTransport : public testing::Test {
protected:
  LibusbTransport() {
    bus = &m_bus;
    UsbInterfaceFacts facts;
    facts.number = 3;
    facts.bulkIn = bulkIn;
    facts.bulkOut = bulkOut;
    facts.interruptIn = eventIn;
    facts.bulkPacketSize = packet;
    facts.eventPacketSize = 28;
    transport = makeLibusbTransport(fakeContext(), fakeHandle(), facts);
  }
  ~LibusbTransport() override {
    transport.reset();
    EXPECT_TRUE(m_bus.pendingIn().empty());
    EXPECT_EQ(m_bus.pendingEvents(), 0u);
    EXPECT_EQ(m_bus.lentPieces(), 0u);
    bus = nullptr;
  }

  IoStatus send(const Bytes& bytes, bool ends = true, Transport::Milliseconds idle = 10s) {
    return transport->write(bytes, ends, idle);
  }
  /// One read; what it brought is appended to `received`.
  ReadResult receive(std::size_t room, Transport::Milliseconds idle = 10s) {
    Bytes buffer(room);
    const ReadResult result = transport->read(buffer, idle);
    received.insert(received.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(result.size));
    return result;
  }

  /// Has the phone send `data` as one large transfer, and takes it.
  void receiveAll(const Bytes& data) {
    transport->expect(data.size());
    m_bus.phoneSends(data);
    for (bool ended = false; !ended;) {
      const auto result = receive(300000);
      ASSERT_EQ(result.status, IoStatus::Ok);
      ended = result.endOfTransfer;
    }
  }

  FakeBus m_bus;
  std::unique_ptr<Transport> transport;
  Bytes received;
};

} // namespace

TEST_F(LibusbTransport, TheAnswerIsAwaitedBeforeTheCommandLeaves) {
  EXPECT_EQ(send(pattern(16)), IoStatus::Ok);
  EXPECT_THAT(m_bus.calls(), ElementsAre("in", "in", "out"));
  EXPECT_EQ(m_bus.sent(), pattern(16));
}

TEST_F(LibusbTransport, TheNextCommandFindsTransfersStillPending) {
  send(pattern(16));
  m_bus.phoneSends(pattern(12));
  EXPECT_TRUE(receive(512).endOfTransfer);
  EXPECT_EQ(m_bus.pendingIn().size(), 2u);
  send(pattern(16));
  EXPECT_EQ(m_bus.pendingIn().size(), 2u);
  EXPECT_EQ(m_bus.calls().back(), "out");
}

TEST_F(LibusbTransport, WhileOneAwaitsTheAnswerTheCommandLeavesBeforeTheyAreFull) {
  send(pattern(16));
  m_bus.phoneSends(pattern(100)); // data
  m_bus.phoneSends(pattern(12));
  EXPECT_TRUE(receive(512).endOfTransfer);
  EXPECT_TRUE(receive(512).endOfTransfer);
  ASSERT_EQ(m_bus.pendingIn().size(), 1u);
  const std::size_t before = m_bus.calls().size();
  EXPECT_EQ(send(pattern(16)), IoStatus::Ok);
  auto calls = m_bus.calls();
  calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
  EXPECT_THAT(calls, ElementsAre("out", "in"));
}

TEST_F(LibusbTransport, AnotherTransferJoinsTheWaitingOnesOnceTheAnswerIsDue) {
  send(pattern(16));
  IoStatus status = IoStatus::Ok;
  std::thread reader([&] { status = receive(512, 60s).status; });
  m_bus.waitUntilReadIsBlocked();
  EXPECT_THAT(m_bus.calls(), ElementsAre("in", "in", "out", "in"));
  transport->interrupt();
  reader.join();
  EXPECT_EQ(status, IoStatus::Cancelled);
}

TEST_F(LibusbTransport, PendingTransfersDoNotPileUp) {
  for (int i = 0; i < 100; ++i) {
    send(pattern(16));
    send(pattern(600)); // data to the phone
    std::thread phone([this] {
      m_bus.waitUntilReadIsBlocked();
      m_bus.phoneSends(pattern(12));
    });
    EXPECT_EQ(receive(512).size, 12u);
    phone.join();
  }
  EXPECT_LE(m_bus.pendingIn().size(), 3u);
}

TEST_F(LibusbTransport, AShortPacketEndsATransfer) {
  send(pattern(16));
  m_bus.phoneSends(pattern(700));
  const auto result = receive(4096);
  EXPECT_EQ(result.status, IoStatus::Ok);
  EXPECT_EQ(result.size, 700u);
  EXPECT_TRUE(result.endOfTransfer);
  EXPECT_EQ(received, pattern(700));
}

TEST_F(LibusbTransport, FullPacketsAreEndedByAnEmptyOne) {
  send(pattern(16));
  m_bus.phoneSends(pattern(16 * 1024)); // fills a pending transfer exactly
  const auto data = receive(64 * 1024);
  EXPECT_EQ(data.size, 16u * 1024);
  if (!data.endOfTransfer) {
    const auto end = receive(64 * 1024);
    EXPECT_EQ(end.status, IoStatus::Ok);
    EXPECT_EQ(end.size, 0u);
    EXPECT_TRUE(end.endOfTransfer);
  }
  EXPECT_EQ(received, pattern(16 * 1024));
}

TEST_F(LibusbTransport, AReadNeverGoesBeyondTheEndOfATransfer) {
  send(pattern(16));
  m_bus.phoneSends(pattern(100, 1));
  m_bus.phoneSends(pattern(12, 2));
  EXPECT_EQ(receive(4096).size, 100u);
  received.clear();
  EXPECT_EQ(receive(4096).size, 12u);
  EXPECT_EQ(received, pattern(12, 2));
}

TEST_F(LibusbTransport, WhatDoesNotFitTheBufferStaysForTheNextRead) {
  send(pattern(16));
  m_bus.phoneSends(pattern(40));
  for (const bool last : {false, false, false, true}) {
    const auto result = receive(10);
    EXPECT_EQ(result.size, 10u);
    EXPECT_EQ(result.endOfTransfer, last);
  }
  EXPECT_EQ(received, pattern(40));
}

TEST_F(LibusbTransport, SeveralLargeTransfersAreInFlightOnceMuchIsExpected) {
  send(pattern(16));
  transport->expect(8 << 20);
  const auto sizes = m_bus.pendingIn();
  EXPECT_GE(std::count_if(sizes.begin(), sizes.end(), [](std::size_t size) { return size >= 512 * 1024; }), 3);
}

TEST_F(LibusbTransport, ALargeAnswerArrivesInOrder) {
  const Bytes data = pattern((5 << 20) + 77);
  send(pattern(16));
  transport->expect(data.size());
  m_bus.phoneSends(data);
  m_bus.phoneSends(pattern(12, 9));
  bool ended = false;
  while (!ended) {
    const auto result = receive(300000);
    ASSERT_EQ(result.status, IoStatus::Ok);
    ended = result.endOfTransfer;
  }
  EXPECT_TRUE(received == data);
  received.clear();
  EXPECT_TRUE(receive(4096).endOfTransfer);
  EXPECT_EQ(received, pattern(12, 9));
}

TEST_F(LibusbTransport, SmallAnswersCostNoLargeTransfers) {
  send(pattern(16));
  transport->expect(20000);
  for (const std::size_t size : m_bus.pendingIn()) {
    EXPECT_LE(size, 16u * 1024);
  }
}

TEST_F(LibusbTransport, SmallerTransfersAreUsedWhereTheKernelLendsLess) {
  m_bus.kernelLendsAtMost(100000);
  const Bytes data = pattern(3 << 20);
  EXPECT_EQ(send(data), IoStatus::Ok);
  EXPECT_TRUE(m_bus.sent() == data);
  receiveAll(data);
  EXPECT_TRUE(received == data);
}

TEST_F(LibusbTransport, LargeTransfersComeIntoMemoryThatTheKernelLends) {
  struct utsname system {};
  ASSERT_EQ(uname(&system), 0);
  const Bytes data = pattern((5 << 20) + 77);
  send(pattern(16));
  EXPECT_EQ(m_bus.lentPieces(), 0u) << "small ones cost none of it";
  receiveAll(data);
  EXPECT_TRUE(received == data);
  EXPECT_EQ(m_bus.transfersInLentMemory(), isLentMemorySound(system.release) ? 5u : 0u);
  EXPECT_LE(m_bus.lentPieces(), 8u) << "all programs share what the kernel lends";
}

TEST_F(LibusbTransport, WhatHasComeButWasNotTakenIsNotPiledUp) {
  const Bytes data = pattern(40 << 20);
  send(pattern(16));
  transport->expect(data.size());
  m_bus.phoneSends(data);
  while (received.size() < data.size()) {
    // The disk is slow: meanwhile the event thread has taken all that was in flight from the bus.
    timeval none{0, 0};
    libusb_handle_events_timeout_completed(fakeContext(), &none, nullptr);
    ASSERT_EQ(receive(1 << 20).status, IoStatus::Ok);
    ASSERT_LE(m_bus.lentPieces(), 5u) << "after " << received.size() << " bytes";
  }
  EXPECT_TRUE(received == data);
}

TEST_F(LibusbTransport, TransfersAreLargeAgainOnceTheKernelLendsMore) {
  const Bytes data = pattern(3 << 20);
  m_bus.kernelLendsAtMost(100000);
  EXPECT_EQ(send(data), IoStatus::Ok);
  receiveAll(data);
  m_bus.kernelLendsAtMost(SIZE_MAX);
  send(pattern(16));
  transport->expect(8 << 20);
  const auto sizes = m_bus.pendingIn();
  EXPECT_EQ(*std::max_element(sizes.begin(), sizes.end()), std::size_t{1} << 20);
}

TEST_F(LibusbTransport, WhereTheKernelLendsNoMemoryTheProgramsOwnIsUsed) {
  m_bus.lendsMemory = false;
  const Bytes data = pattern((5 << 20) + 77);
  send(pattern(16));
  receiveAll(data);
  EXPECT_TRUE(received == data);
  EXPECT_EQ(m_bus.transfersInLentMemory(), 0u);
}

TEST_F(LibusbTransport, AKernelThatLendsNothingIsAnErrorNotAHang) {
  m_bus.kernelLendsAtMost(0);
  EXPECT_EQ(send(pattern(16)), IoStatus::Error);
  EXPECT_EQ(receive(512).status, IoStatus::Error);
}

TEST_F(LibusbTransport, WithMemoryForOneTransferToThePhoneAllIsSentAllTheSame) {
  m_bus.transfersThereIsMemoryFor = 3; // two of them await the answer
  const Bytes data = pattern(3 << 20);
  EXPECT_EQ(send(data), IoStatus::Ok);
  EXPECT_TRUE(m_bus.sent() == data);
}

TEST_F(LibusbTransport, WithoutMemoryForAnyTransferAWriteAndAReadAreErrors) {
  m_bus.transfersThereIsMemoryFor = 0;
  EXPECT_EQ(send(pattern(16)), IoStatus::Error);
  EXPECT_EQ(receive(512).status, IoStatus::Error);
}

TEST_F(LibusbTransport, OnlyAFullLastPacketIsFollowedByAnEmptyOne) {
  EXPECT_EQ(send(pattern(511)), IoStatus::Ok);
  EXPECT_EQ(m_bus.zeroPackets(), 0u);
  EXPECT_EQ(send(pattern(512)), IoStatus::Ok);
  EXPECT_EQ(m_bus.zeroPackets(), 1u);
  EXPECT_EQ(send(pattern(513)), IoStatus::Ok);
  EXPECT_EQ(m_bus.zeroPackets(), 1u);
  EXPECT_EQ(send(pattern(2 << 20)), IoStatus::Ok);
  EXPECT_EQ(m_bus.zeroPackets(), 2u);
}

TEST_F(LibusbTransport, PiecesInTheMiddleOfAContainerHaveNoEmptyPacketBehindThem) {
  EXPECT_EQ(send(pattern(1024), false), IoStatus::Ok);
  EXPECT_EQ(send(pattern(512), false), IoStatus::Ok);
  EXPECT_EQ(m_bus.zeroPackets(), 0u);
  EXPECT_EQ(send(pattern(5), true), IoStatus::Ok);
  EXPECT_EQ(m_bus.zeroPackets(), 0u);
}

TEST_F(LibusbTransport, AnEmptyLastPieceEndsAContainerWithAnEmptyPacket) {
  EXPECT_EQ(send(pattern(1024), false), IoStatus::Ok);
  EXPECT_EQ(send({}, true), IoStatus::Ok);
  EXPECT_EQ(m_bus.zeroPackets(), 1u);
}

TEST_F(LibusbTransport, NothingAtAllSendsNoPacket) {
  EXPECT_EQ(send({}, true), IoStatus::Ok);
  EXPECT_EQ(m_bus.zeroPackets(), 0u);
}

TEST_F(LibusbTransport, ALargeWriteKeepsSeveralTransfersInFlight) {
  m_bus.phoneTakesOnly(0);
  std::thread writer([this] { EXPECT_EQ(send(pattern(8 << 20)), IoStatus::Gone); });
  m_bus.waitUntilWriteIsBlocked();
  m_bus.unplug();
  writer.join();
  EXPECT_GE(m_bus.mostOutPending, 2u);
}

TEST_F(LibusbTransport, AReadThatBringsNothingTimesOutAndLosesNothing) {
  send(pattern(16));
  EXPECT_EQ(receive(512, 0ms).status, IoStatus::Timeout);
  m_bus.phoneSends(pattern(12));
  EXPECT_EQ(receive(512).size, 12u);
  EXPECT_EQ(received, pattern(12));
}

TEST_F(LibusbTransport, ATimeOutHandsOutWhatALargeTransferHasBroughtSoFar) {
  send(pattern(16));
  const Bytes data = pattern(200000);
  transport->expect(data.size());
  m_bus.phoneSendsPart(Bytes(data.begin(), data.begin() + 100 * 512));
  while (received.size() < 100 * 512) {
    const auto result = receive(1 << 20, 0ms);
    ASSERT_EQ(result.status, IoStatus::Ok);
    ASSERT_FALSE(result.endOfTransfer);
  }
  EXPECT_EQ(receive(1 << 20, 0ms).status, IoStatus::Timeout);
  m_bus.phoneSends(Bytes(data.begin() + 100 * 512, data.end()));
  bool ended = false;
  while (!ended) {
    const auto result = receive(1 << 20);
    ASSERT_EQ(result.status, IoStatus::Ok);
    ended = result.endOfTransfer;
  }
  EXPECT_TRUE(received == data);
  EXPECT_TRUE(m_bus.cancelledLastFirst());
}

TEST_F(LibusbTransport, AWriteThePhoneDoesNotTakeTimesOut) {
  m_bus.phoneTakesOnly(0);
  EXPECT_EQ(send(pattern(16), true, 0ms), IoStatus::Timeout);
}

TEST_F(LibusbTransport, ASlowPhoneIsNotASilentOne) {
  const Bytes data = pattern(4 << 20);
  m_bus.phoneTakesOnly(1000 * 512);
  m_bus.phoneTakesAgain(SIZE_MAX);
  EXPECT_EQ(send(data, true, 0ms), IoStatus::Ok);
  EXPECT_TRUE(m_bus.sent() == data);
  EXPECT_EQ(m_bus.zeroPackets(), 1u);
  EXPECT_TRUE(m_bus.cancelledLastFirst());
}

TEST_F(LibusbTransport, AWaitingReadAsksTheTickUntilItSaysNo) {
  int asked = 0;
  transport->setTick([&](std::size_t moved) {
    EXPECT_EQ(moved, 0u);
    return ++asked < 3;
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(receive(512, 60s).status, IoStatus::Cancelled);
  EXPECT_EQ(asked, 3);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s) << "three ticks of 50 ms, on whatever machine";
  transport->setTick({});
  m_bus.phoneSends(pattern(12));
  EXPECT_EQ(receive(512).size, 12u) << "nothing is lost by it";
  EXPECT_EQ(asked, 3);
}

TEST_F(LibusbTransport, AWaitingWriteTellsTheTickWhatHasLeftAndEndsWhenItSaysNo) {
  constexpr std::size_t taken = std::size_t{3} << 20;
  m_bus.phoneTakesOnly(taken);
  std::size_t told = 0;
  transport->setTick([&](std::size_t moved) {
    told = moved;
    return moved < (1 << 20);
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(send(pattern(8 << 20), true, 60s), IoStatus::Cancelled);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
  EXPECT_GE(told, std::size_t{1} << 20);
  EXPECT_LE(told, taken);
}

TEST_F(LibusbTransport, AnIdleTimeShorterThanTheTickStillCounts) {
  int asked = 0;
  transport->setTick([&](std::size_t) {
    ++asked;
    return true;
  });
  EXPECT_EQ(receive(512, 0ms).status, IoStatus::Timeout);
  EXPECT_EQ(receive(512, 120ms).status, IoStatus::Timeout) << "ticks do not lengthen it for good";
  EXPECT_GE(asked, 1);
  transport->setTick({});
}

TEST_F(LibusbTransport, InterruptEndsABlockedRead) {
  IoStatus status = IoStatus::Ok;
  std::thread reader([&] { status = receive(512, 60s).status; });
  m_bus.waitUntilReadIsBlocked();
  transport->interrupt();
  reader.join();
  EXPECT_EQ(status, IoStatus::Cancelled);
  m_bus.phoneSends(pattern(12));
  EXPECT_EQ(receive(512).size, 12u);
}

TEST_F(LibusbTransport, InterruptEndsABlockedWrite) {
  m_bus.phoneTakesOnly(0);
  IoStatus status = IoStatus::Ok;
  std::thread writer([&] { status = send(pattern(16), true, 60s); });
  m_bus.waitUntilWriteIsBlocked();
  transport->interrupt();
  writer.join();
  EXPECT_EQ(status, IoStatus::Cancelled);
}

TEST_F(LibusbTransport, InterruptWhenNoneIsBlockedEndsTheNextOneOnly) {
  transport->interrupt();
  EXPECT_EQ(send(pattern(16)), IoStatus::Cancelled);
  EXPECT_TRUE(m_bus.sent().empty());
  EXPECT_EQ(send(pattern(16)), IoStatus::Ok);
}

TEST_F(LibusbTransport, AHaltedPipeIsToldAndWorksAgainOnceCleared) {
  send(pattern(16));
  m_bus.phoneSends(pattern(30));
  m_bus.phoneStallsIn();
  EXPECT_EQ(receive(512).size, 30u);
  EXPECT_EQ(receive(512).status, IoStatus::Stall);
  EXPECT_EQ(transport->clearHalt(Pipe::BulkIn), IoStatus::Ok);
  EXPECT_EQ(transport->clearHalt(Pipe::BulkOut), IoStatus::Ok);
  m_bus.phoneSends(pattern(12));
  received.clear();
  EXPECT_EQ(receive(512).size, 12u);
  EXPECT_EQ(received, pattern(12));
}

TEST_F(LibusbTransport, UnpluggingEndsABlockedReadForGood) {
  send(pattern(16));
  IoStatus status = IoStatus::Ok;
  std::thread reader([&] { status = receive(512, 60s).status; });
  m_bus.waitUntilReadIsBlocked();
  m_bus.unplug();
  reader.join();
  EXPECT_EQ(status, IoStatus::Gone);
  EXPECT_TRUE(transport->isGone());
  EXPECT_EQ(send(pattern(16)), IoStatus::Gone);
  EXPECT_EQ(receive(512).status, IoStatus::Gone);
  Bytes data(8);
  EXPECT_EQ(transport->controlIn(0x67, data, 1s).status, IoStatus::Gone);
}

TEST_F(LibusbTransport, AnUnpluggedIdlePhoneIsSeenWithoutATransaction) {
  std::mutex mutex;
  transport->startEvents([](std::span<const std::byte>) {});
  m_bus.unplug();
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (!transport->isGone() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::yield();
  }
  EXPECT_TRUE(transport->isGone());
}

namespace {

/// Collects events; the test waits for them.
class EventLog {
public:
  Transport::EventHandler handler() {
    return [this](std::span<const std::byte> event) {
      const std::scoped_lock lock(m_mutex);
      m_events.emplace_back(event.begin(), event.end());
      m_thread = std::this_thread::get_id();
      m_changed.notify_all();
    };
  }
  std::vector<Bytes> wait(std::size_t count) {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, 30s, [&] { return m_events.size() >= count; });
    return m_events;
  }
  std::thread::id thread() {
    const std::scoped_lock lock(m_mutex);
    return m_thread;
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<Bytes> m_events;
  std::thread::id m_thread;
};

Bytes event(std::uint8_t length, std::uint8_t filling = 7) {
  Bytes bytes(length, static_cast<std::byte>(filling));
  bytes[0] = static_cast<std::byte>(length);
  bytes[1] = bytes[2] = bytes[3] = std::byte{0};
  return bytes;
}

} // namespace

TEST_F(LibusbTransport, WhatTheKernelHasLentGoesBackWhenThePhoneIsIdle) {
  EventLog log;
  transport->startEvents(log.handler());
  send(pattern(16));
  receiveAll(pattern(5 << 20));
  EXPECT_TRUE(m_bus.waitUntilNothingIsLent());
}

TEST_F(LibusbTransport, AnEventIsHandedOutWhileNoTransactionRuns) {
  EventLog log;
  transport->startEvents(log.handler());
  m_bus.phoneSendsEventPacket(event(16));
  EXPECT_THAT(log.wait(1), ElementsAre(event(16)));
}

TEST_F(LibusbTransport, AnEventIsHandedOutDuringATransactionAndNotInsideIt) {
  EventLog log;
  transport->startEvents(log.handler());
  send(pattern(16));
  std::thread::id transacting;
  std::thread reader([&] {
    transacting = std::this_thread::get_id();
    EXPECT_EQ(receive(512, 60s).size, 12u);
  });
  m_bus.waitUntilReadIsBlocked();
  m_bus.phoneSendsEventPacket(event(16));
  EXPECT_THAT(log.wait(1), ElementsAre(event(16)));
  m_bus.phoneSends(pattern(12));
  reader.join();
  EXPECT_NE(log.thread(), transacting);
}

TEST_F(LibusbTransport, TheInterruptPipeIsServedWhileTheHandlerIsBusy) {
  std::mutex mutex;
  std::condition_variable changed;
  bool free = false;
  std::size_t count = 0;
  transport->startEvents([&](std::span<const std::byte>) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return free; });
    ++count;
    changed.notify_all();
  });
  EXPECT_GE(m_bus.pendingEvents(), 2u);
  m_bus.phoneSendsEventPacket(event(16));
  // A transaction handles completions, so the transfer is pending again though the handler has not returned.
  send(pattern(16));
  m_bus.phoneSends(pattern(12));
  EXPECT_EQ(receive(512).size, 12u);
  EXPECT_GE(m_bus.pendingEvents(), 3u);
  {
    const std::scoped_lock lock(mutex);
    free = true;
  }
  changed.notify_all();
  std::unique_lock lock(mutex);
  EXPECT_TRUE(changed.wait_for(lock, 30s, [&] { return count == 1; }));
}

TEST_F(LibusbTransport, EventsComeInOrder) {
  EventLog log;
  transport->startEvents(log.handler());
  for (std::uint8_t i = 0; i < 3; ++i) {
    m_bus.phoneSendsEventPacket(event(16, i));
  }
  EXPECT_THAT(log.wait(3), ElementsAre(event(16, 0), event(16, 1), event(16, 2)));
}

TEST_F(LibusbTransport, CloseEndsABlockedReadAndGivesTheInterfaceBackWithoutAReset) {
  EventLog log;
  transport->startEvents(log.handler());
  IoStatus status = IoStatus::Ok;
  std::thread reader([&] { status = receive(512, 60s).status; });
  m_bus.waitUntilReadIsBlocked();
  transport->close();
  reader.join();
  EXPECT_EQ(status, IoStatus::Gone);
  EXPECT_TRUE(transport->isGone());
  auto calls = m_bus.calls();
  calls.erase(std::remove(calls.begin(), calls.end(), "in"), calls.end());
  EXPECT_THAT(calls, ElementsAre("release 3", "close", "exit"));
  transport->close();
  transport->interrupt();
  EXPECT_EQ(send(pattern(16)), IoStatus::Gone);
  EXPECT_EQ(m_bus.calls().back(), "exit");
}

TEST_F(LibusbTransport, CloseInterruptAndTransactionsMayMeetOnSeveralThreads) {
  EventLog log;
  transport->startEvents(log.handler());
  std::atomic<bool> stop{false}; // written by the main thread, read by the interrupting one
  std::thread transacting([&] {
    Bytes buffer(512);
    for (;;) {
      const IoStatus sent = transport->write(pattern(16), true, 1s);
      if (sent == IoStatus::Gone || transport->read(buffer, 0ms).status == IoStatus::Gone) {
        return;
      }
    }
  });
  std::thread interrupting([&] {
    while (!stop) {
      transport->interrupt();
      m_bus.phoneSends(pattern(12));
    }
  });
  for (std::uint8_t i = 0; i < 50; ++i) {
    if (m_bus.pendingEvents() > 1) {
      m_bus.phoneSendsEventPacket(event(16, i));
    }
  }
  std::thread closing([&] { transport->close(); });
  transport->close();
  closing.join();
  stop = true;
  interrupting.join();
  transacting.join();
  EXPECT_TRUE(transport->isGone());
}

TEST_F(LibusbTransport, ClassRequestsGoToTheInterface) {
  const Bytes cancel = pattern(6);
  m_bus.controlAnswer = 6;
  EXPECT_EQ(transport->controlOut(0x64, cancel, 1s), IoStatus::Ok);
  m_bus.controlAnswer = 4;
  Bytes status(8);
  const auto result = transport->controlIn(0x67, status, 1s);
  EXPECT_EQ(result.status, IoStatus::Ok);
  EXPECT_EQ(result.size, 4u);
  EXPECT_EQ(status[3], std::byte{0x5a});
  EXPECT_THAT(m_bus.calls(), ElementsAre("control 33 100 3 6", "control 161 103 3 8"));
}

TEST_F(LibusbTransport, ARefusedOrSilentRequestIsAStatus) {
  Bytes status(8);
  m_bus.controlAnswer = LIBUSB_ERROR_PIPE;
  EXPECT_EQ(transport->controlIn(0x67, status, 1s).status, IoStatus::Stall);
  m_bus.controlAnswer = LIBUSB_ERROR_TIMEOUT;
  EXPECT_EQ(transport->controlIn(0x67, status, 1s).status, IoStatus::Timeout);
  m_bus.controlAnswer = LIBUSB_ERROR_IO;
  EXPECT_EQ(transport->controlOut(0x66, {}, 1s), IoStatus::Error);
  m_bus.controlAnswer = LIBUSB_ERROR_NO_DEVICE;
  EXPECT_EQ(transport->controlOut(0x66, {}, 1s), IoStatus::Gone);
  EXPECT_TRUE(transport->isGone());
}

TEST_F(LibusbTransport, AfterAResetEventsArePendingAgain) {
  EventLog log;
  transport->startEvents(log.handler());
  const std::size_t before = m_bus.pendingEvents();
  send(pattern(16));
  EXPECT_EQ(transport->reset(), IoStatus::Ok);
  EXPECT_EQ(m_bus.pendingEvents(), before);
  m_bus.phoneSendsEventPacket(event(16));
  EXPECT_THAT(log.wait(1), ElementsAre(event(16)));
}

TEST_F(LibusbTransport, APhoneThatComesBackAsAnotherOneIsGone) {
  m_bus.resetAnswer = LIBUSB_ERROR_NOT_FOUND;
  EXPECT_EQ(transport->reset(), IoStatus::Gone);
  EXPECT_TRUE(transport->isGone());
}

TEST(UsbEventAssembler, AShortPacketIsAWholeEvent) {
  UsbEventAssembler assembler(28);
  EXPECT_EQ(assembler.take(event(16)), event(16));
}

TEST(UsbEventAssembler, PacketsOfASmallPipeArePutTogetherByTheContainersLength) {
  UsbEventAssembler assembler(8);
  const Bytes whole = event(16);
  EXPECT_TRUE(assembler.take(std::span(whole).first(8)).empty());
  EXPECT_EQ(assembler.take(std::span(whole).subspan(8)), whole);
  EXPECT_TRUE(assembler.take(std::span(whole).first(8)).empty());
}

TEST(UsbEventAssembler, AnEventThatFillsItsPacketNeedsNoEmptyOne) {
  UsbEventAssembler assembler(16);
  EXPECT_EQ(assembler.take(event(16)), event(16));
}

TEST(UsbEventAssembler, AWrongLengthNeverKeepsMoreThanABoundedNumberOfBytes) {
  UsbEventAssembler assembler(64);
  const Bytes endless(64, std::byte{0xff});
  std::size_t kept = 0;
  Bytes out;
  while (out.empty()) {
    out = assembler.take(endless);
    kept += 64;
    ASSERT_LE(kept, 2048u);
  }
  EXPECT_EQ(out.size(), kept);
}
