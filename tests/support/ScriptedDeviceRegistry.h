#pragma once
// A device registry that says what a test wants it to say, errors included. One thread at a time.
#include "Platform/DeviceRegistry.h"

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <sys/eventfd.h>
#include <unistd.h>

namespace scripted {

class Service : public platform::RegistryService {
public:
  explicit Service(QString id)
      : id(std::move(id)) {}

  QString entryId() const override { return id; }
  QByteArray name() const override { return nodeName; }
  QVariant property(const char* key) const override {
    const auto found = properties.find(key);
    return found == properties.end() ? QVariant() : found->second;
  }
  std::shared_ptr<platform::RegistryService> parent() const override { return above; }
  std::vector<std::shared_ptr<platform::RegistryService>> children() const override { return below; }
  int open(std::unique_ptr<platform::UsbDeviceInterface>& device) const override;

  const QString id;
  QByteArray nodeName = "Larkspur 5";
  std::map<std::string, QVariant> properties;
  std::shared_ptr<platform::RegistryService> above; // not both above and below: the two would own each other
  std::vector<std::shared_ptr<platform::RegistryService>> below;

  // What an opened device reads, and the errors of opening and reading it.
  std::uint16_t vendor = 0, product = 0, release = 0x0404;
  std::uint32_t location = 0x14200000;
  int openError = 0, queryError = 0, vendorError = 0, productError = 0, releaseError = 0, locationError = 0;
};

class Interface : public platform::UsbDeviceInterface {
public:
  explicit Interface(const Service& service)
      : m_service(service) {}
  int queryInterface() override { return m_service.queryError; }
  int deviceVendor(std::uint16_t& value) override { return give(m_service.vendorError, m_service.vendor, value); }
  int deviceProduct(std::uint16_t& value) override { return give(m_service.productError, m_service.product, value); }
  int deviceReleaseNumber(std::uint16_t& value) override {
    return give(m_service.releaseError, m_service.release, value);
  }
  int locationID(std::uint32_t& value) override { return give(m_service.locationError, m_service.location, value); }

private:
  template <class Number> static int give(int error, Number from, Number& to) {
    if (error == 0)
      to = from;
    return error;
  }
  const Service m_service; // as it was when opened
};

inline int Service::open(std::unique_ptr<platform::UsbDeviceInterface>& device) const {
  if (openError == 0)
    device = std::make_unique<Interface>(*this);
  return openError;
}

class Registry : public platform::DeviceRegistry {
public:
  Registry()
      : m_fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~Registry() override { ::close(m_fd); }

  int connect() override { return connectError; }
  int services(platform::ServiceClass serviceClass,
               std::vector<std::shared_ptr<platform::RegistryService>>& found) override {
    if (serviceClass == platform::ServiceClass::SerialClient) {
      ++serialSearches;
      if (serialError != 0)
        return serialError;
      found.insert(found.end(), serialPorts.begin(), serialPorts.end());
      return 0;
    }
    if (usbError != 0)
      return usbError;
    found.insert(found.end(), devices.begin(), devices.end());
    return 0;
  }
  std::unique_ptr<platform::RegistryMonitor> monitor(int& error) override {
    if (monitorError != 0) {
      error = monitorError;
      return nullptr;
    }
    return std::make_unique<Monitor>(*this);
  }

  /// Plugs a device in, or tells that something about it has changed.
  void tell(platform::RegistryChange::Kind kind, std::shared_ptr<platform::RegistryService> service) {
    std::erase_if(devices, [&](const auto& other) { return other->entryId() == service->entryId(); });
    if (kind == platform::RegistryChange::Kind::Present)
      devices.push_back(service);
    m_changes.push_back({kind, std::move(service)});
    ::eventfd_write(m_fd, 1);
  }
  void present(std::shared_ptr<platform::RegistryService> service) {
    tell(platform::RegistryChange::Kind::Present, std::move(service));
  }
  void gone(std::shared_ptr<platform::RegistryService> service) {
    tell(platform::RegistryChange::Kind::Gone, std::move(service));
  }
  /// The next changes taken are said to be incomplete.
  void loseChanges() {
    m_changes.clear();
    m_lost = true;
    ::eventfd_write(m_fd, 1);
  }

  std::vector<std::shared_ptr<platform::RegistryService>> devices;
  std::vector<std::shared_ptr<platform::RegistryService>> serialPorts;
  int connectError = 0, usbError = 0, serialError = 0, monitorError = 0;
  int serialSearches = 0;

private:
  class Monitor : public platform::RegistryMonitor {
  public:
    explicit Monitor(Registry& registry)
        : m_registry(registry) {}
    int fd() const override { return m_registry.m_fd; }
    std::vector<platform::RegistryChange> take(bool& lost) override {
      eventfd_t count = 0;
      ::eventfd_read(m_registry.m_fd, &count);
      lost |= std::exchange(m_registry.m_lost, false);
      return std::exchange(m_registry.m_changes, {});
    }

  private:
    Registry& m_registry;
  };

  const int m_fd;
  std::vector<platform::RegistryChange> m_changes;
  bool m_lost = false;
};

} // namespace scripted
