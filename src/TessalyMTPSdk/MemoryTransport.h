#pragma once
// A wire in memory: an MTP initiator's Transport on one end, a phone's view of the same pipes on the other. Keeps the
// packet boundaries a real bus would have, so that short and zero-length packets mean what they mean there.
#include "TessalyMTPSdk/Transport.h"

#include <optional>

namespace mtp {

/// The phone's end of a wire. Used by one responder thread, except writeEvent(), which may have a thread of its own,
/// and close() and plugged(), which any thread may call. Implemented by the memory wire and, for a phone on a real bus,
/// by a USB gadget.
class DeviceEnd {
public:
  using Milliseconds = std::chrono::milliseconds;

  virtual ~DeviceEnd() = default;
  virtual std::size_t maxPacketSize() const = 0;

  /// Reads from bulk out like one USB transfer of buffer.size() bytes (a multiple of maxPacketSize()): returns when it
  /// is full or a short packet came. Timeout leaves what has come for the next call. Gone when unplugged.
  virtual ReadResult read(std::span<std::byte> buffer, Milliseconds limit) = 0;
  /// Writes to bulk in as full packets and a rest; the initiator sees a short packet when data.size() is no multiple of
  /// maxPacketSize(), and a zero-length packet for empty data. Blocks until the initiator has taken it (a bus has no
  /// buffer to hide in; the memory wire lets 1 MiB be on the way). Gone when unplugged, Cancelled when a cancel request
  /// came meanwhile.
  virtual IoStatus write(std::span<const std::byte> data, Milliseconds limit) = 0;
  /// One event container on the interrupt pipe. Blocks until the initiator has a transfer pending there.
  virtual IoStatus writeEvent(std::span<const std::byte> data, Milliseconds limit) = 0;
  /// Halts both bulk pipes until the initiator clears them.
  virtual void stall() = 0;

  /// Answers class requests from the initiator; called on the requesting side's thread, must not block. For requests to
  /// the phone `data` holds the bytes; for requests from it returns the bytes to answer. No value: the pipe stalls.
  using ControlHandler = std::function<std::optional<std::vector<std::byte>>(std::uint8_t request, bool toPhone,
                                                                             std::span<const std::byte> data)>;
  virtual void setControlHandler(ControlHandler handler) = 0;

  virtual bool plugged() const = 0;
  /// Pulls the cable from the phone's side.
  virtual void close() = 0;
};

struct MemoryWire {
  std::unique_ptr<Transport> initiator;
  std::unique_ptr<DeviceEnd> device;
};

/// Makes both ends. They share state; either may be destroyed first (the other then reads Gone).
MemoryWire makeMemoryWire(std::size_t maxPacketSize = 512);

} // namespace mtp
