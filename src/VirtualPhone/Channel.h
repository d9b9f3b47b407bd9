#pragma once
// MTP containers over the phone's end of a wire (MTP 1.1, section 3.4 and the USB still image class document), and the
// faults that strike them. One responder thread; the control handler runs on the wire's.
#include "TessalyMTPSdk/MemoryTransport.h"
#include "TessalyMTPSdk/MtpCodes.h"
#include "VirtualPhone/Dataset.h"
#include "VirtualPhone/VirtualPhone.h"

#include <array>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace vphone {

/// The wire is gone, the phone serves it no longer.
struct LinkGone {};
/// The transaction ends without a response: cancelled, stalled, silenced.
struct TransactionEnded {};

/// A command container.
struct Command {
  std::uint16_t operation = 0;
  std::uint32_t transaction = 0;
  std::array<std::uint32_t, 5> parameters{}; // those not sent are 0
  bool valid = false;                        // length and parameter count are as they must be
};

/// What came in a data phase from the host.
enum class Received {
  Complete,   // as many bytes as the header said, or an end where it said none
  Incomplete, // it ended early
  Malformed   // more than it said, or no data container for this transaction
};

class Channel {
public:
  /// `unplug` pulls the cable, for the fault of that name.
  Channel(mtp::DeviceEnd& end, Faults& faults, std::function<void()> unplug);
  ~Channel();
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  /// Waits for the next command. Whatever else comes is swallowed or answered with a stall. Throws LinkGone.
  Command receiveCommand();
  /// The host has asked for a reset since the last call.
  bool takeReset();

  /// Begins the transaction's life: the faults meant for it, how transfers of full packets end.
  void begin(const Command& command, bool zeroLengthPackets);
  /// The response code a fault wants instead of the operation; no value: do the operation.
  std::optional<std::uint16_t> respondInstead();

  /// A data phase to the host: the dataset, its header filled in.
  void sendData(DatasetWriter& dataset);
  /// A data phase to the host of `size` bytes, which `next` puts into the buffer it is given; it returns how many it
  /// had, fewer than asked ends the phase early. False when it did. Throws TransactionEnded, LinkGone, as all below.
  bool sendStream(std::uint64_t size, const std::function<std::size_t(std::span<std::byte>)>& next);
  /// A data phase from the host, handed to `take` piece by piece. What follows a piece `take` refuses (false) is read
  /// and thrown away.
  Received receiveStream(const std::function<bool(std::span<const std::byte>)>& take);
  /// As receiveStream, into memory; a dataset beyond 1 MiB is Malformed.
  Received receiveData(std::vector<std::byte>& bytes);
  void sendResponse(std::uint16_t code, std::span<const std::uint32_t> parameters);

private:
  class Outgoing;

  std::optional<std::vector<std::byte>> control(std::uint8_t request, bool toPhone, std::span<const std::byte> data);
  std::size_t read(std::span<std::byte> buffer, std::chrono::milliseconds limit, bool& ended);
  void put(std::span<const std::byte> bytes);
  void stall();
  [[noreturn]] void cancelled();
  /// Carries out what a fault does at its byte, other than changing bytes.
  void strike();
  void swallowTransfer();
  const Fault* faultOf(FaultPhase phase) const { return fault_ && fault_->phase == phase ? &*fault_ : nullptr; }

  mtp::DeviceEnd& end_;
  Faults& faults_;
  std::function<void()> unplug_;
  std::vector<std::byte> buffer_; // one transfer's worth
  Command command_;
  std::vector<std::byte> early_; // a command that came where a zero-length packet should have been
  bool zeroLengthPackets_ = true;
  std::optional<Fault> fault_;

  // Written by the control handler's thread and the responder's.
  std::mutex mutex_;
  std::condition_variable aborted_;
  bool cancelRequested_ = false;
  bool resetRequested_ = false;
  bool stalled_ = false;
  bool hung_ = false;
};

} // namespace vphone
