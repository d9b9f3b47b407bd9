#include "Platform/VirtualDeviceRegistry.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <sys/eventfd.h>
#include <unistd.h>

namespace platform {
namespace {

// A node of a virtual device's little tree: the device, below it its interfaces and its serial port.
class VirtualService : public RegistryService, public std::enable_shared_from_this<VirtualService> {
public:
  enum class Role { Device, Interface, SerialPort };

  VirtualService(VirtualUsbDevice device, std::uint64_t attachment, Role role, std::size_t index = 0)
      : m_device(std::move(device))
      , m_attachment(attachment)
      , m_role(role)
      , m_index(index) {}

  QString entryId() const override {
    return QStringLiteral("virtual:%1:%2:%3").arg(m_attachment).arg(int(m_role)).arg(m_index);
  }
  QByteArray name() const override {
    switch (m_role) {
    case Role::Interface:
      return m_device.interfaces.at(m_index).name.toUtf8();
    case Role::SerialPort:
      return m_device.serialPort;
    case Role::Device:
      break;
    }
    return m_device.product.toUtf8();
  }
  QVariant property(const char* key) const override {
    const auto is = [key](const char* other) { return std::strcmp(key, other) == 0; };
    if (m_role == Role::SerialPort)
      return is(registryKey::calloutDevice) ? QVariant(m_device.serialPort) : QVariant();
    if (m_role == Role::Interface) {
      const VirtualUsbDevice::Interface& interface = m_device.interfaces.at(m_index);
      return is(registryKey::interfaceClass)      ? QVariant(int(interface.classCode))
             : is(registryKey::interfaceSubClass) ? QVariant(int(interface.subclass))
             : is(registryKey::interfaceProtocol) ? QVariant(int(interface.protocol))
             : is(registryKey::interfaceName)     ? QVariant(interface.name)
                                                  : QVariant();
    }
    return is(registryKey::vendorId)                                           ? QVariant(int(m_device.vendorId))
           : is(registryKey::productId)                                        ? QVariant(int(m_device.productId))
           : is(registryKey::locationId)                                       ? QVariant(int(m_device.locationId))
           : is(registryKey::serialNumber) && !m_device.serialNumber.isEmpty() ? QVariant(m_device.serialNumber)
                                                                               : QVariant();
  }
  std::shared_ptr<RegistryService> parent() const override {
    if (m_role == Role::Device)
      return nullptr;
    return std::make_shared<VirtualService>(m_device, m_attachment, Role::Device);
  }
  std::vector<std::shared_ptr<RegistryService>> children() const override {
    std::vector<std::shared_ptr<RegistryService>> found;
    if (m_role != Role::Device)
      return found;
    for (std::size_t i = 0; i < m_device.interfaces.size(); ++i)
      found.push_back(std::make_shared<VirtualService>(m_device, m_attachment, Role::Interface, i));
    if (!m_device.serialPort.isEmpty())
      found.push_back(std::make_shared<VirtualService>(m_device, m_attachment, Role::SerialPort));
    return found;
  }
  int open(std::unique_ptr<UsbDeviceInterface>& device) const override;

  const VirtualUsbDevice& device() const { return m_device; }
  Role role() const { return m_role; }
  std::uint64_t attachment() const { return m_attachment; }

private:
  const VirtualUsbDevice m_device;
  const std::uint64_t m_attachment;
  const Role m_role;
  const std::size_t m_index;
};

class VirtualUsbInterface : public UsbDeviceInterface {
public:
  explicit VirtualUsbInterface(std::shared_ptr<const VirtualService> service)
      : m_service(std::move(service)) {}

  int queryInterface() override { return m_service->role() == VirtualService::Role::Device ? 0 : ENODEV; }
  int deviceVendor(std::uint16_t& value) override { return give(m_service->device().vendorId, value); }
  int deviceProduct(std::uint16_t& value) override { return give(m_service->device().productId, value); }
  int deviceReleaseNumber(std::uint16_t& value) override { return give(m_service->device().bcdDevice, value); }
  int locationID(std::uint32_t& value) override { return give(m_service->device().locationId, value); }

private:
  template <class Number> static int give(Number from, Number& to) {
    to = from;
    return 0;
  }
  const std::shared_ptr<const VirtualService> m_service;
};

int VirtualService::open(std::unique_ptr<UsbDeviceInterface>& device) const {
  device = std::make_unique<VirtualUsbInterface>(shared_from_this());
  return 0;
}

// The changes one monitor has not taken yet.
struct Mailbox {
  Mailbox()
      : fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~Mailbox() {
    if (fd >= 0)
      ::close(fd);
  }
  Mailbox(const Mailbox&) = delete;
  Mailbox& operator=(const Mailbox&) = delete;

  const int fd;
  std::vector<RegistryChange> changes; // under Shared::mutex
};

} // namespace

struct VirtualDeviceRegistry::Shared {
  Mutex mutex;
  std::map<std::uint32_t, std::shared_ptr<VirtualService>> attached MTPB_GUARDED_BY(mutex); // by location
  std::uint64_t nextAttachment MTPB_GUARDED_BY(mutex) = 1;
  std::vector<std::weak_ptr<Mailbox>> mailboxes MTPB_GUARDED_BY(mutex);

  void put(const VirtualUsbDevice& device, std::uint64_t attachment) MTPB_REQUIRES(mutex) {
    auto service = std::make_shared<VirtualService>(device, attachment, VirtualService::Role::Device);
    attached[device.locationId] = service;
    announce({RegistryChange::Kind::Present, std::move(service)});
  }

  bool take(std::uint32_t locationId) MTPB_REQUIRES(mutex) {
    const auto found = attached.find(locationId);
    if (found == attached.end())
      return false;
    announce({RegistryChange::Kind::Gone, found->second});
    attached.erase(found);
    return true;
  }

  void announce(const RegistryChange& change) MTPB_REQUIRES(mutex) {
    std::erase_if(mailboxes, [](const auto& mailbox) { return mailbox.expired(); });
    for (const auto& weak : mailboxes)
      if (const auto mailbox = weak.lock()) {
        mailbox->changes.push_back(change);
        ::eventfd_write(mailbox->fd, 1);
      }
  }
};

namespace {

class VirtualMonitor : public RegistryMonitor {
public:
  VirtualMonitor(std::shared_ptr<Mailbox> mailbox, std::function<std::vector<RegistryChange>()> empty)
      : m_mailbox(std::move(mailbox))
      , m_empty(std::move(empty)) {}
  int fd() const override { return m_mailbox->fd; }
  std::vector<RegistryChange> take(bool&) override { return m_empty(); }

private:
  const std::shared_ptr<Mailbox> m_mailbox;
  const std::function<std::vector<RegistryChange>()> m_empty;
};

} // namespace

VirtualDeviceRegistry::VirtualDeviceRegistry()
    : m_shared(std::make_shared<Shared>()) {}
VirtualDeviceRegistry::~VirtualDeviceRegistry() = default;

void VirtualDeviceRegistry::attach(const VirtualUsbDevice& device) {
  const Lock lock(m_shared->mutex);
  m_shared->take(device.locationId);
  m_shared->put(device, m_shared->nextAttachment++);
}

bool VirtualDeviceRegistry::detach(std::uint32_t locationId) {
  const Lock lock(m_shared->mutex);
  return m_shared->take(locationId);
}

bool VirtualDeviceRegistry::change(const VirtualUsbDevice& device) {
  const Lock lock(m_shared->mutex);
  const auto found = m_shared->attached.find(device.locationId);
  if (found == m_shared->attached.end())
    return false;
  m_shared->put(device, found->second->attachment());
  return true;
}

int VirtualDeviceRegistry::services(ServiceClass serviceClass, std::vector<std::shared_ptr<RegistryService>>& found) {
  const Lock lock(m_shared->mutex);
  for (const auto& [locationId, service] : m_shared->attached) {
    if (serviceClass == ServiceClass::UsbDevice) {
      found.push_back(service);
      continue;
    }
    for (const auto& child : service->children())
      if (child->property(registryKey::calloutDevice).isValid())
        found.push_back(child);
  }
  return 0;
}

std::unique_ptr<RegistryMonitor> VirtualDeviceRegistry::monitor(int& error) {
  auto mailbox = std::make_shared<Mailbox>();
  if (mailbox->fd < 0) {
    error = errno;
    return nullptr;
  }
  const Lock lock(m_shared->mutex);
  m_shared->mailboxes.push_back(mailbox);
  return std::make_unique<VirtualMonitor>(mailbox, [shared = m_shared, mailbox] {
    eventfd_t count = 0;
    ::eventfd_read(mailbox->fd, &count);
    const Lock lock(shared->mutex);
    return std::exchange(mailbox->changes, {});
  });
}

} // namespace platform
