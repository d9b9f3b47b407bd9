#pragma once
// The USB side of an MTP session: bulk, interrupt and control transfers of one claimed interface, through libusb's
// asynchronous calls (USB Still Image Capture Device class document; zero-length packet rule of MTP 1.1, appendix).
#include "TessalyMTPSdk/Transport.h"
#include "TessalyMTPSdk/UsbDiscovery.h"

#include <memory>
#include <span>
#include <vector>

struct libusb_context;
struct libusb_device_handle;

namespace mtp {

/// Puts event containers together from the packets of the interrupt pipe: one container may take several packets where
/// wMaxPacketSize is small, and one that fills its packets exactly has no short packet behind it. So the length at its
/// head decides, and a short packet ends it in any case. One thread.
class UsbEventAssembler {
public:
  explicit UsbEventAssembler(std::size_t packetSize)
      : m_packetSize(packetSize) {}
  /// Takes a packet; hands out the container it completes, or nothing (empty) as long as one is incomplete.
  std::vector<std::byte> take(std::span<const std::byte> packet);

private:
  std::size_t m_packetSize;
  std::vector<std::byte> m_partial; // at most maxSize bytes
  static constexpr std::size_t maxSize = 1024;
};

/// Takes over the context and the handle, whose interface `facts` is claimed: close() (at the latest the destructor)
/// releases the interface and ends both. close() and the destructor must not be called from the event handler.
///
/// The bulk-in pipe always has transfers pending while a transaction runs, so neither data nor response wait for the
/// host; they stay pending between transactions, and no byte is lost or reordered by a time-out or interrupt().
/// A write that is given up (Timeout, Cancelled) may have sent a part; the transaction is then broken.
///
/// The thread that transacts handles the USB's completions itself while it waits; the transport's own thread does so in
/// between, and calls the event handler: during transactions and just after them within 50 ms of an event, else at
/// once. The handler never runs inside a read or write and holds up neither.
std::unique_ptr<Transport> makeLibusbTransport(libusb_context* context, libusb_device_handle* handle,
                                               const UsbInterfaceFacts& facts);

} // namespace mtp
