#pragma once
// What our users of libudev have in common. For one thread at a time, as libudev's objects are.
#include <libudev.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform::udevtools {

struct Unref {
  void operator()(udev* context) const { udev_unref(context); }
  void operator()(udev_device* device) const { udev_device_unref(device); }
  void operator()(udev_enumerate* enumerate) const { udev_enumerate_unref(enumerate); }
  void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
};
using Context = std::unique_ptr<udev, Unref>;
using Device = std::unique_ptr<udev_device, Unref>;
using Enumerate = std::unique_ptr<udev_enumerate, Unref>;
using Monitor = std::unique_ptr<udev_monitor, Unref>;

/// Empty for null.
std::string_view text(const char* value);

/// Makes the context where there is none yet: 0 or an errno.
int connect(Context& context);

/// The paths of the devices found. The scan reports an error also when a single entry cannot be read: what was found
/// counts all the same, and there is an error (errno in `error`) only when that is nothing.
std::vector<std::string> scan(udev_enumerate* enumerate, int& error);

struct MonitorFilter {
  const char* subsystem;
  const char* deviceType; // null: any
};
/// Messages of udev's daemon, or of the kernel where the rules are not waited for. Null: `error` is the errno.
Monitor openMonitor(udev* context, bool afterRules, const std::vector<MonitorFilter>& filters, int& error);

/// Gives the devices of the messages that are there, without waiting. `lost` is set when the kernel dropped some.
void receive(udev_monitor* monitor, bool& lost, const std::function<void(Device)>& use);

} // namespace platform::udevtools
