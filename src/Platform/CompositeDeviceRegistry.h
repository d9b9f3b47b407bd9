#pragma once
// Several registries seen as one. A part that cannot be reached is left out, with a log line.
#include "Platform/DeviceRegistry.h"

namespace platform {

class CompositeDeviceRegistry : public DeviceRegistry {
public:
  explicit CompositeDeviceRegistry(std::vector<std::shared_ptr<DeviceRegistry>> parts);

  /// 0 when at least one part is reached, else the first part's error.
  int connect() override;
  /// The services of all parts, in the order of the parts; an error only when every part failed.
  int services(ServiceClass serviceClass, std::vector<std::shared_ptr<RegistryService>>& found) override;
  std::unique_ptr<RegistryMonitor> monitor(int& error) override;

private:
  const std::vector<std::shared_ptr<DeviceRegistry>> m_parts;
};

} // namespace platform
