#pragma once
// Notifications of a device registry on a run loop: "a USB device is there for the first time" and "something happened
// to this one". Belongs to one thread, the one that runs the loop; every callback comes from the loop's source.
#include "Platform/DeviceRegistry.h"
#include "Platform/RunLoop.h"

#include <deque>
#include <functional>
#include <map>

namespace platform {

/// Messages of an interest notification.
inline constexpr std::uint32_t messageServiceIsTerminated = 0xE0000010;   ///< detached; the last message of a service
inline constexpr std::uint32_t messageServicePropertyChange = 0xE0000130; ///< the device or its interfaces changed

/// Services waiting to be taken.
class ServiceIterator {
public:
  ServiceIterator() = default;
  explicit ServiceIterator(std::shared_ptr<RegistryService> only)
      : m_services{std::move(only)} {}
  /// The next service, null when there is none (any more, for now).
  std::shared_ptr<RegistryService> next();

private:
  friend class NotificationPort;
  std::deque<std::shared_ptr<RegistryService>> m_services;
};

/// A registered interest; ends when destroyed, also from within its own callback. May outlive its port.
class InterestNotification {
public:
  virtual ~InterestNotification() = default;
};

class NotificationPort {
public:
  using MatchCallback = std::function<void(ServiceIterator&)>;
  using InterestCallback =
      std::function<void(const std::shared_ptr<RegistryService>& service, std::uint32_t messageType)>;

  /// Watches the registry from now on.
  explicit NotificationPort(std::shared_ptr<DeviceRegistry> registry);
  ~NotificationPort();
  NotificationPort(const NotificationPort&) = delete;
  NotificationPort& operator=(const NotificationPort&) = delete;

  /// What to add to the run loop; the same every time. It does nothing once the port is gone.
  std::shared_ptr<RunLoopSource> runLoopSource() const { return m_source; }

  /// Hands out in `iterator` the USB devices attached now, and from then on calls `matched` with the same iterator when
  /// others have come. Every attachment is handed out once. The caller takes the first ones itself. Once a port.
  /// 0, or errno when the registry cannot be watched.
  int addMatchingNotification(MatchCallback matched, std::shared_ptr<ServiceIterator>& iterator);

  /// Calls `interested` for every later message about the service. ENODEV when it is gone already.
  int addInterestNotification(const RegistryService& service, InterestCallback interested,
                              std::unique_ptr<InterestNotification>& notification);

private:
  struct Interest {
    QString entryId;
    InterestCallback callback;
  };
  using Interests = std::map<std::uint64_t, std::shared_ptr<Interest>>;
  class Registration;

  void perform();
  void present(const std::shared_ptr<RegistryService>& service);
  void gone(const std::shared_ptr<RegistryService>& service);
  void readAnew();
  void tell(const std::shared_ptr<RegistryService>& service, std::uint32_t messageType);

  const std::shared_ptr<DeviceRegistry> m_registry;
  int m_monitorError = 0;
  const std::unique_ptr<RegistryMonitor> m_monitor; // null: m_monitorError says why
  const std::shared_ptr<RunLoopSource> m_source;
  MatchCallback m_matched;
  std::shared_ptr<ServiceIterator> m_iterator = std::make_shared<ServiceIterator>();
  std::map<QString, std::shared_ptr<RegistryService>> m_known; // by entryId()
  std::shared_ptr<Interests> m_interests = std::make_shared<Interests>();
  std::uint64_t m_nextInterest = 1;
};

} // namespace platform
