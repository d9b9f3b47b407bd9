#pragma once
// Which USB interfaces speak MTP, and what a place on the bus is called. Any thread; nothing here claims an interface.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mtp {

/// The location identifier of a place on the USB: the bus number in the top byte, below it one nibble a port of the
/// chain from the root hub down (bus 0x14, port 2 -> 0x14200000). Ports above 15 count as 15, hubs deeper than the
/// sixth are left out: both share an identifier with a neighbour, as there is no room for more in 32 bits.
std::uint32_t usbLocationId(std::uint8_t bus, std::span<const std::uint8_t> ports);

/// What the descriptors say about one interface (USB 2.0, 9.6.5 and 9.6.6), alternate setting 0.
struct UsbInterfaceFacts {
  std::uint8_t number = 0; // bInterfaceNumber
  std::uint8_t classCode = 0;
  std::uint8_t subclass = 0;
  std::uint8_t protocol = 0;
  std::string name; // iInterface's text, empty when there is none
  std::uint8_t endpointCount = 0;
  std::uint8_t bulkIn = 0; // endpoint addresses, 0 when missing
  std::uint8_t bulkOut = 0;
  std::uint8_t interruptIn = 0;
  std::uint16_t bulkPacketSize = 0; // wMaxPacketSize, the same for both bulk pipes; 0 when they differ
  std::uint16_t eventPacketSize = 0;
};

enum class MtpVerdict {
  No,
  Yes,
  AskDevice // only Microsoft's OS descriptors can tell; asking others than these can upset a device
};

/// The rules: three endpoints, bulk in, bulk out and interrupt in, with sizes the USB allows; and either the still
/// image class (6/1/1) or a vendor-specific class that names itself "MTP". Other vendor-specific ones: AskDevice.
MtpVerdict judgeInterface(const UsbInterfaceFacts& facts);

/// The vendor request code in Microsoft's OS string descriptor (index 0xEE: "MSFT100" in UTF-16, then the code).
std::optional<std::uint8_t> osDescriptorVendorCode(std::span<const std::byte> descriptor);

/// Whether Microsoft's extended compat ID descriptor (index 4) gives this interface the compatible ID "MTP".
bool compatIdSaysMtp(std::span<const std::byte> descriptor, std::uint8_t interfaceNumber);

/// An attached device with an MTP interface.
struct UsbMtpDevice {
  std::uint32_t locationId = 0;
  std::uint64_t attachment = 0; // differs between two attachments at the same place
  std::uint8_t bus = 0;
  std::uint8_t address = 0;
  std::uint16_t vendorId = 0;
  std::uint16_t productId = 0;
  bool configured = true;         // false: the device has no configuration set
  std::uint8_t configuration = 1; // bConfigurationValue
  bool denied = false;            // only the device itself can tell whether it is MTP, and this user may not ask it
  UsbInterfaceFacts interface;
  std::string node; // /dev/bus/usb/BBB/DDD
};

/// The attached devices with an MTP interface, the first such interface of each, and those that may have one (denied).
/// Blocks for milliseconds; up to a second where a device must be asked itself (once per attachment, and only when no
/// kernel driver uses its interface).
std::vector<UsbMtpDevice> findMtpDevices();

/// Whether the device attached at this place is known to have an MTP interface. Costs what findMtpDevices() costs.
bool hasMtpInterface(std::uint32_t locationId);

} // namespace mtp
