#include "Platform/CompositeDeviceRegistry.h"

#include "Platform/Log.h"

#include <cerrno>
#include <cstring>
#include <iterator>
#include <sys/epoll.h>
#include <unistd.h>

namespace platform {
namespace {

// An epoll descriptor is readable when one of those in it is.
class CompositeMonitor : public RegistryMonitor {
public:
  CompositeMonitor(int epoll, std::vector<std::unique_ptr<RegistryMonitor>> parts)
      : m_epoll(epoll)
      , m_parts(std::move(parts)) {}
  ~CompositeMonitor() override { ::close(m_epoll); }

  int fd() const override { return m_epoll; }
  std::vector<RegistryChange> take(bool& lost) override {
    std::vector<RegistryChange> changes;
    for (const auto& part : m_parts) {
      auto more = part->take(lost);
      changes.insert(changes.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    }
    return changes;
  }

private:
  const int m_epoll;
  const std::vector<std::unique_ptr<RegistryMonitor>> m_parts;
};

} // namespace

CompositeDeviceRegistry::CompositeDeviceRegistry(std::vector<std::shared_ptr<DeviceRegistry>> parts)
    : m_parts(std::move(parts)) {}

int CompositeDeviceRegistry::connect() {
  int firstError = 0;
  bool reached = m_parts.empty();
  for (const auto& part : m_parts) {
    const int error = part->connect();
    reached |= error == 0;
    if (firstError == 0)
      firstError = error;
  }
  return reached ? 0 : firstError;
}

int CompositeDeviceRegistry::services(ServiceClass serviceClass, std::vector<std::shared_ptr<RegistryService>>& found) {
  int firstError = 0;
  bool reached = m_parts.empty();
  for (const auto& part : m_parts) {
    const int error = part->services(serviceClass, found);
    reached |= error == 0;
    if (firstError == 0)
      firstError = error;
  }
  return reached ? 0 : firstError;
}

std::unique_ptr<RegistryMonitor> CompositeDeviceRegistry::monitor(int& error) {
  const int epoll = ::epoll_create1(EPOLL_CLOEXEC);
  if (epoll < 0) {
    error = errno;
    return nullptr;
  }
  std::vector<std::unique_ptr<RegistryMonitor>> monitors;
  int firstError = 0;
  for (const auto& part : m_parts) {
    int partError = 0;
    auto monitor = part->monitor(partError);
    epoll_event event{};
    event.events = EPOLLIN;
    if (monitor != nullptr && ::epoll_ctl(epoll, EPOLL_CTL_ADD, monitor->fd(), &event) == 0) {
      monitors.push_back(std::move(monitor));
      continue;
    }
    if (monitor != nullptr)
      partError = errno;
    if (firstError == 0)
      firstError = partError;
    MTPB_LOG("some devices will not be noticed: %s", std::strerror(partError));
  }
  if (monitors.empty() && !m_parts.empty()) {
    ::close(epoll);
    error = firstError;
    return nullptr;
  }
  return std::make_unique<CompositeMonitor>(epoll, std::move(monitors));
}

} // namespace platform
