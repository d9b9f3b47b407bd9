#pragma once
// The computer's registry of attached USB devices and serial ports: what is there, how it hangs together, and what
// comes and goes. Implementations: the system's (UdevDeviceRegistry), attached in this process (VirtualDeviceRegistry),
// several as one (CompositeDeviceRegistry). NotificationPort turns one into notifications on a run loop.
//
// A registry, its services and its monitors belong to one thread at a time, if an implementation does not say more.
// Errors are errno values, 0 is success. Values come from devices and are not to be trusted.
#include <QString>
#include <QVariant>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace platform {

/// The kinds of services a registry lists.
enum class ServiceClass {
  UsbDevice,   ///< "IOUSBDevice": one attached USB device, hubs included
  SerialClient ///< "IOSerialBSDClient" of type "IOSerialStream": a serial port of an attached device
};

/// Names of the properties that services may have; every one can be absent. Numbers are QVariant integers.
namespace registryKey {
inline constexpr char vendorId[] = "idVendor";     ///< USB device: number, 16 bits (USB 2.0, 9.6.1)
inline constexpr char productId[] = "idProduct";   ///< USB device: number, 16 bits
inline constexpr char locationId[] = "locationID"; ///< USB device: number, the 32 bits of locationIdOf() as int
inline constexpr char serialNumber[] = "USB Serial Number";       ///< USB device: text of iSerialNumber
inline constexpr char interfaceClass[] = "bInterfaceClass";       ///< USB interface: number, 8 bits (USB 2.0, 9.6.5)
inline constexpr char interfaceSubClass[] = "bInterfaceSubClass"; ///< USB interface: number, 8 bits
inline constexpr char interfaceProtocol[] = "bInterfaceProtocol"; ///< USB interface: number, 8 bits
inline constexpr char interfaceName[] = "iInterface";             ///< USB interface: text of iInterface
inline constexpr char mtpDevice[] = "ID_MTP_DEVICE";       ///< USB device: text "1" where the device database knows it
inline constexpr char calloutDevice[] = "IOCalloutDevice"; ///< serial port: bytes, the path of its device node
} // namespace registryKey

/// The location identifier of a place on the USB: the bus number in the top byte, below it one nibble a port of the
/// chain from the root hub down (bus 0x14, port 2 -> 0x14200000). Ports above 15 count as 15, ports behind the sixth
/// are left out. The MTP engine numbers its devices the same way; the two meet by this number.
std::uint32_t locationIdOf(std::uint8_t bus, std::span<const unsigned> ports);

/// An opened USB device, for reading its descriptor's numbers. Closed when destroyed.
class UsbDeviceInterface {
public:
  virtual ~UsbDeviceInterface() = default;
  /// 0 when what was opened is a USB device with a descriptor; else errno.
  virtual int queryInterface() = 0;
  /// Each writes `value` only on success. They do not talk to the device and do not block for long.
  virtual int deviceVendor(std::uint16_t& value) = 0;
  virtual int deviceProduct(std::uint16_t& value) = 0;
  virtual int deviceReleaseNumber(std::uint16_t& value) = 0; ///< bcdDevice
  virtual int locationID(std::uint32_t& value) = 0;
};

/// One node of the registry's tree: a USB device, one of its interfaces, a serial port, or something between them.
class RegistryService {
public:
  virtual ~RegistryService() = default;
  /// Differs between two services, also between two attachments at one place.
  virtual QString entryId() const = 0;
  /// The name of the node; of a USB device its product text where it has one.
  virtual QByteArray name() const = 0;
  /// The property `key`, invalid when absent.
  virtual QVariant property(const char* key) const = 0;
  /// The node above, null at the top.
  virtual std::shared_ptr<RegistryService> parent() const = 0;
  /// The nodes directly below, as they are now, in a lasting order. Blocks for reading the system's tables.
  virtual std::vector<std::shared_ptr<RegistryService>> children() const = 0;
  /// Opens a USB device. On failure errno and `device` untouched.
  virtual int open(std::unique_ptr<UsbDeviceInterface>& device) const = 0;
};

/// A change that a monitor saw.
struct RegistryChange {
  enum class Kind {
    Present, ///< the USB device is there: it came, or something about it or its interfaces changed
    Gone     ///< the USB device with this entryId() was detached
  };
  Kind kind;
  std::shared_ptr<RegistryService> service;
};

/// Collects the comings and goings of USB devices from its making on.
class RegistryMonitor {
public:
  virtual ~RegistryMonitor() = default;
  /// Readable when take() has something to give. Owned by the monitor.
  virtual int fd() const = 0;
  /// Everything that happened since the last call, in order; does not block. `lost` is set when changes were missed
  /// and the list of services has to be read anew.
  virtual std::vector<RegistryChange> take(bool& lost) = 0;
};

class DeviceRegistry {
public:
  virtual ~DeviceRegistry() = default;
  /// Reaches the registry: 0, or why it cannot be asked.
  virtual int connect() = 0;
  /// Appends the services of this class that are there now. Blocks for reading the system's tables.
  virtual int services(ServiceClass serviceClass, std::vector<std::shared_ptr<RegistryService>>& found) = 0;
  /// A new monitor of USB devices; null with errno in `error` when none can be had. The registry outlives it.
  virtual std::unique_ptr<RegistryMonitor> monitor(int& error) = 0;
};

} // namespace platform
