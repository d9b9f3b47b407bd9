#include "Platform/Udev.h"

#include <cerrno>

namespace platform::udevtools {

// So many messages at once, so that a flood of them does not keep the caller; the rest stays readable.
constexpr int mostMessages = 1024;

std::string_view text(const char* value) {
  return value == nullptr ? std::string_view() : std::string_view(value);
}

int connect(Context& context) {
  errno = 0;
  if (context == nullptr)
    context.reset(udev_new());
  return context != nullptr ? 0 : errno != 0 ? errno : ENOMEM;
}

std::vector<std::string> scan(udev_enumerate* enumerate, int& error) {
  std::vector<std::string> paths;
  const int result = udev_enumerate_scan_devices(enumerate);
  for (udev_list_entry* entry = udev_enumerate_get_list_entry(enumerate); entry != nullptr;
       entry = udev_list_entry_get_next(entry))
    paths.emplace_back(udev_list_entry_get_name(entry));
  error = result < 0 && paths.empty() ? -result : 0;
  return paths;
}

Monitor openMonitor(udev* context, bool afterRules, const std::vector<MonitorFilter>& filters, int& error) {
  errno = 0;
  Monitor monitor(udev_monitor_new_from_netlink(context, afterRules ? "udev" : "kernel"));
  if (monitor == nullptr) {
    error = errno != 0 ? errno : EIO;
    return nullptr;
  }
  for (const MonitorFilter& filter : filters)
    udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), filter.subsystem, filter.deviceType);
  if (const int result = udev_monitor_enable_receiving(monitor.get()); result < 0) {
    error = -result;
    return nullptr;
  }
  return monitor;
}

void receive(udev_monitor* monitor, bool& lost, const std::function<void(Device)>& use) {
  for (int i = 0; i < mostMessages; ++i) {
    errno = 0;
    Device device(udev_monitor_receive_device(monitor));
    if (device != nullptr)
      use(std::move(device));
    else if (errno == ENOBUFS)
      lost = true; // what follows the dropped messages is still to be read
    else if (errno != EINTR)
      break;
  }
}

} // namespace platform::udevtools
