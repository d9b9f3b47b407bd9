#pragma once
// USB devices that exist only in this process: what the embedded virtual phone looks like to the detector.
#include "Platform/DeviceRegistry.h"
#include "Platform/ThreadSafety.h"

#include <list>

namespace platform {

/// What a virtual USB device tells about itself.
struct VirtualUsbDevice {
  struct Interface {
    std::uint8_t classCode = 6; // still image, the class MTP uses
    std::uint8_t subclass = 1;
    std::uint8_t protocol = 1;
    QString name = QStringLiteral("MTP");
  };
  std::uint32_t locationId = 0; ///< its identity: one device a location
  std::uint16_t vendorId = 0;
  std::uint16_t productId = 0;
  std::uint16_t bcdDevice = 0x0100;
  QString product;
  QString serialNumber; ///< empty: none
  std::vector<Interface> interfaces = {Interface{}};
  QByteArray serialPort; ///< path of its serial port's device node, empty: none
};

/// Every operation may be called from any thread; services and monitors of it too.
class VirtualDeviceRegistry : public DeviceRegistry {
public:
  VirtualDeviceRegistry();
  ~VirtualDeviceRegistry() override;

  /// Attaches a device; one attached at the same location is detached first.
  void attach(const VirtualUsbDevice& device);
  /// Detaches the device at this location; false when there is none.
  bool detach(std::uint32_t locationId);
  /// Gives the attached device at this location other interfaces or another serial port; it stays the same attachment.
  /// False when there is none.
  bool change(const VirtualUsbDevice& device);

  int connect() override { return 0; }
  int services(ServiceClass serviceClass, std::vector<std::shared_ptr<RegistryService>>& found) override;
  std::unique_ptr<RegistryMonitor> monitor(int& error) override;

private:
  struct Shared;
  const std::shared_ptr<Shared> m_shared; // also held by monitors
};

} // namespace platform
