#include "DeviceNotifier/MtpInterfaces.h"

#include <algorithm>

namespace detection {
namespace {

using platform::RegistryService;
namespace key = platform::registryKey;

bool isMtp(const RegistryService& interface) {
  const auto is = [&interface](const char* property, int value) {
    const QVariant found = interface.property(property);
    return found.typeId() == QMetaType::Int && found.toInt() == value;
  };
  if (is(key::interfaceClass, 0x06) && is(key::interfaceSubClass, 0x01) && is(key::interfaceProtocol, 0x01))
    return true;
  return is(key::interfaceClass, 0xff) &&
         interface.property(key::interfaceName).toString().contains(QLatin1String("MTP"));
}

} // namespace

bool hasMtpInterface(const RegistryService& device) {
  const auto children = device.children();
  if (children.empty())
    return false; // not set up yet: nobody could talk to it
  if (device.property(key::mtpDevice).toString() == QLatin1String("1"))
    return true;
  return std::any_of(children.begin(), children.end(), [](const auto& child) { return isMtp(*child); });
}

} // namespace detection
