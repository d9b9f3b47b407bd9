#pragma once
// The phones attached to this computer's USB, as candidates for the engine.
#include "TessalyMTPSdk/Transport.h"

#include <memory>

namespace mtp {

/// A provider over libusb. Its list() looks at the bus anew each time (milliseconds, no traffic to the devices except
/// once per attachment to vendor-specific ones that tell nothing about themselves); any thread.
///
/// A candidate is an interface that can be MTP. A camera in PTP mode looks the same on the bus (class 6/1/1); only its
/// DeviceInfo tells them apart: MTP responders carry Microsoft's VendorExtensionID 6.
///
/// A candidate's open() blocks for as long as the kernel needs to hand the interface over. It takes the interface away
/// from a kernel driver, never from another program (Busy, with the holder's name), sets a configuration only on a
/// phone that has none, and clears no halts. Its explanation says in plain words what is wrong and what helps.
std::shared_ptr<DeviceProvider> makeUsbProvider();

} // namespace mtp
