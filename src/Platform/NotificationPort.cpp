#include "Platform/NotificationPort.h"

#include <algorithm>
#include <cerrno>

namespace platform {

std::shared_ptr<RegistryService> ServiceIterator::next() {
  if (m_services.empty())
    return nullptr;
  auto service = std::move(m_services.front());
  m_services.pop_front();
  return service;
}

// Holds the table weakly: it may outlive the port.
class NotificationPort::Registration : public InterestNotification {
public:
  Registration(const std::shared_ptr<Interests>& interests, std::uint64_t id)
      : m_interests(interests)
      , m_id(id) {}
  ~Registration() override {
    if (const auto interests = m_interests.lock())
      interests->erase(m_id);
  }

private:
  const std::weak_ptr<Interests> m_interests;
  const std::uint64_t m_id;
};

NotificationPort::NotificationPort(std::shared_ptr<DeviceRegistry> registry)
    : m_registry(std::move(registry))
    , m_monitor(m_registry->monitor(m_monitorError))
    , m_source(std::make_shared<RunLoopSource>()) {
  if (m_monitor == nullptr)
    return;
  m_source->fd = m_monitor->fd();
  m_source->perform = [this] { perform(); };
}

NotificationPort::~NotificationPort() {
  m_source->fd = -1; // a loop that still has it polls nothing
  m_source->perform = [] {};
}

int NotificationPort::addMatchingNotification(MatchCallback matched, std::shared_ptr<ServiceIterator>& iterator) {
  if (m_monitor == nullptr)
    return m_monitorError != 0 ? m_monitorError : EIO;
  std::vector<std::shared_ptr<RegistryService>> attached;
  if (const int error = m_registry->services(ServiceClass::UsbDevice, attached); error != 0)
    return error;
  m_matched = std::move(matched);
  for (const auto& service : attached)
    present(service);
  iterator = m_iterator;
  return 0;
}

int NotificationPort::addInterestNotification(const RegistryService& service, InterestCallback interested,
                                              std::unique_ptr<InterestNotification>& notification) {
  const QString entryId = service.entryId();
  if (!m_known.contains(entryId))
    return ENODEV;
  const std::uint64_t id = m_nextInterest++;
  m_interests->emplace(id, std::make_shared<Interest>(Interest{entryId, std::move(interested)}));
  notification = std::make_unique<Registration>(m_interests, id);
  return 0;
}

void NotificationPort::perform() {
  bool lost = false;
  for (const RegistryChange& change : m_monitor->take(lost)) {
    if (change.kind == RegistryChange::Kind::Present)
      present(change.service);
    else
      gone(change.service);
  }
  if (lost)
    readAnew();
  if (!m_matched || m_iterator->m_services.empty())
    return;
  const auto matched = m_matched; // the callback may end this port
  const auto iterator = m_iterator;
  matched(*iterator);
}

void NotificationPort::present(const std::shared_ptr<RegistryService>& service) {
  if (m_known.emplace(service->entryId(), service).second)
    m_iterator->m_services.push_back(service);
  else
    tell(service, messageServicePropertyChange);
}

void NotificationPort::gone(const std::shared_ptr<RegistryService>& service) {
  const QString entryId = service->entryId();
  if (m_known.erase(entryId) == 0)
    return;
  std::erase_if(m_iterator->m_services, [&](const auto& waiting) { return waiting->entryId() == entryId; });
  tell(service, messageServiceIsTerminated);
}

void NotificationPort::readAnew() {
  std::vector<std::shared_ptr<RegistryService>> attached;
  if (m_registry->services(ServiceClass::UsbDevice, attached) != 0)
    return;
  const auto known = m_known;
  for (const auto& [entryId, service] : known)
    if (std::none_of(attached.begin(), attached.end(),
                     [&id = entryId](const auto& other) { return other->entryId() == id; }))
      gone(service);
  for (const auto& service : attached)
    present(service);
}

void NotificationPort::tell(const std::shared_ptr<RegistryService>& service, std::uint32_t messageType) {
  const QString entryId = service->entryId();
  const Interests interests = *m_interests; // a callback may end its interest or another's
  for (const auto& [id, interest] : interests)
    if (interest->entryId == entryId && m_interests->contains(id))
      interest->callback(service, messageType);
}

} // namespace platform
