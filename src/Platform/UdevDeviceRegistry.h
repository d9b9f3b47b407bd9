#pragma once
// The system's USB devices and serial ports through libudev and sysfs.
//
// Comings and goings are taken from udev after its rules have run, so that a device's node has its final permissions;
// where no udev daemon runs, from the kernel. A device that the daemon has not finished with is not listed yet: the
// monitor reports it when it has.
#include "Platform/DeviceRegistry.h"
#include "Platform/Udev.h"

namespace platform {

/// One thread at a time.
class UdevDeviceRegistry : public DeviceRegistry {
public:
  enum class Source {
    Automatic, ///< Udev where its daemon runs, else Kernel
    Udev,
    Kernel
  };
  explicit UdevDeviceRegistry(Source source = Source::Automatic);
  ~UdevDeviceRegistry() override;

  int connect() override;
  int services(ServiceClass serviceClass, std::vector<std::shared_ptr<RegistryService>>& found) override;
  std::unique_ptr<RegistryMonitor> monitor(int& error) override;

private:
  const bool m_afterRules;   // taken from udev, not from the kernel
  udevtools::Context m_udev; // made by connect()
};

/// Whether this source is udev's view, which comes after its rules have run, here and now.
bool takenAfterRules(UdevDeviceRegistry::Source source);

/// The registry's node of any device, the caller's reference left to the caller. Belongs to the device's thread.
std::shared_ptr<RegistryService> udevService(udev_device* device);

} // namespace platform
