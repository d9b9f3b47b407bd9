#include "Platform/UdevDeviceRegistry.h"

#include "Platform/Log.h"

#include <QByteArrayList>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <unistd.h>

namespace platform {
namespace {

using namespace udevtools;

constexpr std::size_t longestText = 4096; // what one sysfs attribute can hold

bool isUsb(udev_device* device, std::string_view type) {
  return text(udev_device_get_subsystem(device)) == "usb" && text(udev_device_get_devtype(device)) == type;
}

bool isSerialPort(udev_device* device) {
  const std::string_view name = text(udev_device_get_sysname(device));
  return text(udev_device_get_subsystem(device)) == "tty" && (name.starts_with("ttyACM") || name.starts_with("ttyUSB"));
}

// An attribute that holds one number. 0 or errno.
template <class Number> int readNumber(udev_device* device, const char* attribute, int base, Number& value) {
  errno = 0;
  const char* read = udev_device_get_sysattr_value(device, attribute);
  if (read == nullptr)
    return errno != 0 ? errno : ENOENT;
  bool valid = false;
  const uint number = QByteArray(read).trimmed().toUInt(&valid, base);
  if (!valid || number > std::numeric_limits<Number>::max())
    return EINVAL;
  value = Number(number);
  return 0;
}

// From the bus number and the chain of ports, "2.1.4"; a root hub's is "0".
int readLocation(udev_device* device, std::uint32_t& value) {
  std::uint8_t bus = 0;
  if (const int error = readNumber(device, "busnum", 10, bus); error != 0)
    return error;
  errno = 0;
  const char* path = udev_device_get_sysattr_value(device, "devpath");
  if (path == nullptr)
    return errno != 0 ? errno : ENOENT;
  std::vector<unsigned> ports;
  for (const QByteArray& port : QByteArray(path).trimmed().split('.')) {
    bool valid = false;
    ports.push_back(port.toUInt(&valid));
    if (!valid)
      return EINVAL;
  }
  value = locationIdOf(bus, ports);
  return 0;
}

QVariant numberProperty(udev_device* device, const char* attribute) {
  std::uint16_t value = 0;
  return readNumber(device, attribute, 16, value) == 0 ? QVariant(int(value)) : QVariant();
}

QVariant textProperty(const char* value) {
  return value == nullptr ? QVariant() : QVariant(QString::fromUtf8(value, qsizetype(::strnlen(value, longestText))));
}

class UdevUsbInterface : public UsbDeviceInterface {
public:
  explicit UdevUsbInterface(Device device)
      : m_device(std::move(device)) {}

  int queryInterface() override { return isUsb(m_device.get(), "usb_device") ? 0 : ENODEV; }
  int deviceVendor(std::uint16_t& value) override { return readNumber(m_device.get(), "idVendor", 16, value); }
  int deviceProduct(std::uint16_t& value) override { return readNumber(m_device.get(), "idProduct", 16, value); }
  int deviceReleaseNumber(std::uint16_t& value) override { return readNumber(m_device.get(), "bcdDevice", 16, value); }
  int locationID(std::uint32_t& value) override { return readLocation(m_device.get(), value); }

private:
  const Device m_device;
};

class UdevService : public RegistryService {
public:
  explicit UdevService(Device device)
      : m_device(std::move(device)) {}

  // The device number is a new one at each attachment; messages of a removal carry it too.
  QString entryId() const override {
    return QString::fromUtf8(udev_device_get_syspath(m_device.get())) + u'#' +
           QString::fromUtf8(udev_device_get_property_value(m_device.get(), "DEVNUM"));
  }

  QByteArray name() const override {
    const char* product = udev_device_get_sysattr_value(m_device.get(), "product");
    if (product == nullptr)
      product = udev_device_get_sysname(m_device.get());
    return product == nullptr ? QByteArray() : QByteArray(product, qsizetype(::strnlen(product, longestText)));
  }

  QVariant property(const char* key) const override;

  std::shared_ptr<RegistryService> parent() const override {
    udev_device* parent = udev_device_get_parent(m_device.get()); // belongs to its child
    return parent == nullptr ? nullptr : std::make_shared<UdevService>(Device(udev_device_ref(parent)));
  }

  std::vector<std::shared_ptr<RegistryService>> children() const override;

  int open(std::unique_ptr<UsbDeviceInterface>& device) const override {
    errno = 0;
    Device fresh(
        udev_device_new_from_syspath(udev_device_get_udev(m_device.get()), udev_device_get_syspath(m_device.get())));
    if (fresh == nullptr)
      return errno != 0 ? errno : ENODEV;
    device = std::make_unique<UdevUsbInterface>(std::move(fresh));
    return 0;
  }

private:
  const Device m_device;
};

QVariant UdevService::property(const char* key) const {
  udev_device* device = m_device.get();
  const std::string_view name = key;
  if (name == registryKey::locationId) {
    std::uint32_t location = 0;
    return isUsb(device, "usb_device") && readLocation(device, location) == 0 ? QVariant(int(location)) : QVariant();
  }
  for (const char* number : {registryKey::vendorId, registryKey::productId, registryKey::interfaceClass,
                             registryKey::interfaceSubClass, registryKey::interfaceProtocol})
    if (name == number)
      return numberProperty(device, number);
  if (name == registryKey::serialNumber)
    return textProperty(udev_device_get_sysattr_value(device, "serial"));
  if (name == registryKey::interfaceName)
    return textProperty(udev_device_get_sysattr_value(device, "interface"));
  if (name == registryKey::calloutDevice) {
    const char* node = isSerialPort(device) ? udev_device_get_devnode(device) : nullptr;
    return node == nullptr ? QVariant() : QVariant(QByteArray(node));
  }
  return textProperty(udev_device_get_property_value(device, key));
}

std::vector<std::shared_ptr<RegistryService>> UdevService::children() const {
  std::vector<std::shared_ptr<RegistryService>> found;
  udev* context = udev_device_get_udev(m_device.get());
  const Enumerate enumerate(udev_enumerate_new(context));
  if (enumerate == nullptr || udev_enumerate_add_match_parent(enumerate.get(), m_device.get()) < 0)
    return found;
  int error = 0;
  for (const std::string& path : scan(enumerate.get(), error)) { // everything below, in the order of the paths
    Device device(udev_device_new_from_syspath(context, path.c_str()));
    udev_device* parent = device == nullptr ? nullptr : udev_device_get_parent(device.get());
    if (parent != nullptr && text(udev_device_get_syspath(parent)) == text(udev_device_get_syspath(m_device.get())))
      found.push_back(std::make_shared<UdevService>(std::move(device)));
  }
  return found;
}

class UdevMonitor : public RegistryMonitor {
public:
  explicit UdevMonitor(Monitor monitor)
      : m_monitor(std::move(monitor)) {}

  int fd() const override { return udev_monitor_get_fd(m_monitor.get()); }

  std::vector<RegistryChange> take(bool& lost) override {
    std::vector<RegistryChange> changes;
    receive(m_monitor.get(), lost, [&changes](Device device) { add(std::move(device), changes); });
    return changes;
  }

private:
  static void add(Device device, std::vector<RegistryChange>& changes) {
    const std::string_view action = text(udev_device_get_action(device.get()));
    const bool whole = isUsb(device.get(), "usb_device");
    if (whole && action == "remove") {
      changes.push_back({RegistryChange::Kind::Gone, std::make_shared<UdevService>(std::move(device))});
      return;
    }
    if (action != "add" && action != "bind" && action != "change")
      return;
    if (!whole) {
      // An interface's coming is news of its device.
      udev_device* parent = udev_device_get_parent_with_subsystem_devtype(device.get(), "usb", "usb_device");
      if (parent == nullptr)
        return;
      device.reset(udev_device_ref(parent));
    }
    changes.push_back({RegistryChange::Kind::Present, std::make_shared<UdevService>(std::move(device))});
  }

  const Monitor m_monitor;
};

bool daemonRuns() {
  return ::access("/run/udev/control", F_OK) == 0;
}

} // namespace

bool takenAfterRules(UdevDeviceRegistry::Source source) {
  using Source = UdevDeviceRegistry::Source;
  return source == Source::Udev || (source == Source::Automatic && daemonRuns());
}

std::shared_ptr<RegistryService> udevService(udev_device* device) {
  return std::make_shared<UdevService>(Device(udev_device_ref(device)));
}

UdevDeviceRegistry::UdevDeviceRegistry(Source source)
    : m_afterRules(takenAfterRules(source)) {}

UdevDeviceRegistry::~UdevDeviceRegistry() = default;

int UdevDeviceRegistry::connect() {
  return udevtools::connect(m_udev);
}

int UdevDeviceRegistry::services(ServiceClass serviceClass, std::vector<std::shared_ptr<RegistryService>>& found) {
  if (const int error = connect(); error != 0)
    return error;
  const Enumerate enumerate(udev_enumerate_new(m_udev.get()));
  if (enumerate == nullptr)
    return ENOMEM;
  const bool usb = serviceClass == ServiceClass::UsbDevice;
  udev_enumerate_add_match_subsystem(enumerate.get(), usb ? "usb" : "tty");
  if (usb) {
    udev_enumerate_add_match_property(enumerate.get(), "DEVTYPE", "usb_device");
  } else {
    udev_enumerate_add_match_sysname(enumerate.get(), "ttyACM*");
    udev_enumerate_add_match_sysname(enumerate.get(), "ttyUSB*");
  }
  int error = 0;
  for (const std::string& path : scan(enumerate.get(), error)) {
    Device device(udev_device_new_from_syspath(m_udev.get(), path.c_str()));
    if (device == nullptr)
      continue; // gone meanwhile
    if (usb && m_afterRules && udev_device_get_is_initialized(device.get()) == 0)
      continue; // the daemon has not finished with it: the monitor will report it
    found.push_back(std::make_shared<UdevService>(std::move(device)));
  }
  return error;
}

std::unique_ptr<RegistryMonitor> UdevDeviceRegistry::monitor(int& error) {
  if (error = connect(); error != 0)
    return nullptr;
  if (!m_afterRules) { // in a container, say, where phones may never be noticed
    const bool shown = ::access("/sys/bus/usb", F_OK) == 0;
    MTPB_LOG("without a udev daemon USB devices are taken from the kernel%s",
             shown ? "" : ", which shows none here: there is no /sys/bus/usb");
  }
  Monitor monitor = openMonitor(m_udev.get(), m_afterRules, {{"usb", "usb_device"}, {"usb", "usb_interface"}}, error);
  return monitor == nullptr ? nullptr : std::make_unique<UdevMonitor>(std::move(monitor));
}

} // namespace platform
