#pragma once
// Whether a device of any maker offers MTP, as far as the computer's registry tells without asking the device.
#include "Platform/DeviceRegistry.h"

namespace detection {

/// True when an interface of the device has the still image class (6/1/1), the one MTP uses (MTP 1.1, USB class
/// document), or names itself with "MTP" in a vendor-specific class, or when the device database knows the device as an
/// MTP device. Never while the device has no interfaces yet. A camera in picture-transfer mode has the class, too; only
/// the device's own answer tells it apart. Blocks for reading the registry.
bool hasMtpInterface(const platform::RegistryService& device);

} // namespace detection
