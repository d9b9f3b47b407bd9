#pragma once
// What the MTP session needs of the wire: two bulk pipes, an interrupt pipe and the default control pipe of one opened
// MTP interface (USB class document "Still Image Capture Device", MTP 1.1 appendix). Implementations: libusb, memory.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace mtp {

enum class IoStatus {
  Ok,
  Timeout,   // nothing moved for the time given
  Stall,     // the endpoint is halted
  Gone,      // unplugged or closed; final
  Cancelled, // interrupt() was called, or the tick said so
  Error      // anything else; the transport may still work
};

const char* toString(IoStatus status);

struct ReadResult {
  IoStatus status = IoStatus::Ok;
  std::size_t size = 0;       // bytes put into the buffer
  bool endOfTransfer = false; // a short or zero-length packet ended the phone's transfer behind these bytes
};

enum class Pipe { BulkIn, BulkOut };

/// One opened MTP interface. write, read, control, clearHalt, expect and setTick belong to one thread at a time (the
/// session's transaction lock sees to that); interrupt, isGone and close may come from any thread.
class Transport {
public:
  using Milliseconds = std::chrono::milliseconds;
  /// One interrupt-pipe packet sequence, called on the transport's own event thread.
  using EventHandler = std::function<void(std::span<const std::byte>)>;

  /// Asked while a read or write waits; gets the bytes the call has moved so far. False ends the call with Cancelled.
  using Tick = std::function<bool(std::size_t moved)>;
  static constexpr Milliseconds TickInterval{50};

  virtual ~Transport() = default;

  /// From now on reads and writes ask this on their own thread at least every TickInterval; none: they ask nobody. A
  /// transport that never waits may leave it out.
  virtual void setTick(Tick) {}

  /// wMaxPacketSize of the bulk pipes: 64, 512 or 1024.
  virtual std::size_t maxPacketSize() const = 0;

  /// Bulk out. Sends all of `data`; blocks until the phone has taken it, or until nothing moved for `idle`.
  /// `endsTransfer`: this is the last piece of a container; pieces before it are multiples of maxPacketSize(). A
  /// zero-length packet is added when the last piece is one too (an empty one included, when bytes came before it).
  virtual IoStatus write(std::span<const std::byte> data, bool endsTransfer, Milliseconds idle) = 0;

  /// Bulk in: the next bytes of the phone's stream, up to the buffer's size, never beyond the end of a transfer. Blocks
  /// until at least one byte or an end of transfer is there, or nothing came for `idle`. An empty transfer (zero-length
  /// packet) is handed out as size 0 with endOfTransfer.
  virtual ReadResult read(std::span<std::byte> buffer, Milliseconds idle) = 0;

  /// A hint: about so many bytes are still to come in this transfer, so that large reads can be put in flight.
  virtual void expect(std::uint64_t bytes) = 0;

  /// Class-specific requests on the default pipe (0x64 cancel, 0x66 reset, 0x67 status), recipient interface.
  virtual IoStatus controlOut(std::uint8_t request, std::span<const std::byte> data, Milliseconds limit) = 0;
  virtual ReadResult controlIn(std::uint8_t request, std::span<std::byte> buffer, Milliseconds limit) = 0;

  virtual IoStatus clearHalt(Pipe pipe) = 0;
  /// USB port reset; the last resort before giving the phone up. The session must be opened anew.
  virtual IoStatus reset() = 0;

  /// Starts the interrupt pipe: a transfer is pending on it from now until close(), transactions included.
  virtual void startEvents(EventHandler handler) = 0;

  /// Lets a blocked write or read return Cancelled at once, and the next one too if none is blocked.
  virtual void interrupt() = 0;
  virtual bool isGone() const = 0;
  /// Ends everything and releases the interface, without resetting the phone. On return no handler runs any more.
  virtual void close() = 0;
};

/// Why a phone could not be opened. NotMtp: it speaks PTP only, as in picture-transfer mode.
enum class OpenFailure { None, Busy, NoPermission, Gone, NotMtp, Other };

struct OpenResult {
  std::unique_ptr<Transport> transport;
  OpenFailure failure = OpenFailure::None;
  std::string explanation; // plain words for the log: what is wrong and what helps
  std::string holder = {}; // of a busy phone: the name of a program that has it, as the system gives it; or empty
};

/// One attached phone that could be opened.
struct DeviceCandidate {
  std::uint32_t locationId = 0; // bus number and port chain, e.g. bus 0x14, port 2 -> 0x14200000
  std::uint64_t attachment = 0; // differs between two attachments at the same place
  std::uint16_t vendorId = 0;
  std::uint16_t productId = 0;
  std::string description; // for the log
  std::function<OpenResult()> open;
};

/// A source of attached phones: the USB, a virtual phone. list() is called from any thread and does not block for long.
class DeviceProvider {
public:
  virtual ~DeviceProvider() = default;
  virtual std::vector<DeviceCandidate> list() = 0;
};

} // namespace mtp
