#pragma once
// Who else has a device open.
#include <string>
#include <vector>

namespace mtp {

/// Another program that has the device open.
struct UsbHolder {
  std::string name;    // as the kernel shortens it to 15 bytes; of any content
  std::string process; // its number
};

/// The other programs that have this device node (/dev/bus/usb/BBB/DDD) open. Those of other users cannot be seen by an
/// ordinary user. Any thread; takes some milliseconds.
std::vector<UsbHolder> holdersOf(const std::string& node);

} // namespace mtp
