#include "Platform/RunLoopNotifications.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/RunLoop.h"
#include "Platform/ThreadSafety.h"

#include <cerrno>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>

namespace platform {
namespace {

// What has arrived and waits for the run loop.
class Handover {
public:
  Handover()
      : m_fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_fd < 0)
      throw std::runtime_error(std::string("notifications cannot be handed over: ") + std::strerror(errno));
  }
  ~Handover() { ::close(m_fd); }
  Handover(const Handover&) = delete;
  Handover& operator=(const Handover&) = delete;

  int fd() const { return m_fd; }
  void put(const Notification& notification) {
    const Lock lock(m_mutex);
    if (m_ended)
      return;
    if (m_waiting.size() >= mostWaitingNotifications) {
      MTPB_LOG("too many notifications %s wait, one is dropped", qUtf8Printable(notification.name));
      return;
    }
    m_waiting.push_back(notification);
    ::eventfd_write(m_fd, 1);
  }
  // Everything that waits; nothing once it has ended.
  std::deque<Notification> take() {
    const Lock lock(m_mutex);
    eventfd_t count = 0;
    ::eventfd_read(m_fd, &count);
    return std::exchange(m_waiting, {});
  }
  void end() {
    const Lock lock(m_mutex);
    m_ended = true;
    m_waiting.clear();
  }
  bool ended() const {
    const Lock lock(m_mutex);
    return m_ended;
  }

private:
  const int m_fd;
  mutable Mutex m_mutex;
  std::deque<Notification> m_waiting MTPB_GUARDED_BY(m_mutex);
  bool m_ended MTPB_GUARDED_BY(m_mutex) = false;
};

// The centre's side of it, on the main thread.
struct Subscription {
  std::unique_ptr<NotificationObservation> observation;
};

class RunLoopObservation : public NotificationObservation {
public:
  RunLoopObservation(DistributedNotificationCenter& center, const QString& name, NotificationCenter::Handler handler)
      : m_runLoop(RunLoop::current())
      , m_source(std::make_shared<RunLoopSource>())
      , m_handover(std::make_shared<Handover>())
      , m_subscription(std::make_shared<Subscription>()) {
    m_source->fd = m_handover->fd();
    m_source->perform = [handover = m_handover, handler = std::move(handler)] {
      for (const Notification& notification : handover->take())
        if (!handover->ended()) // by the handler of the one before
          handler(notification);
    };
    m_runLoop->addSource(m_source);
    runOnMain([&center, name, handover = m_handover, subscription = m_subscription] {
      if (!handover->ended())
        subscription->observation =
            center.observe(name, [handover](const Notification& notification) { handover->put(notification); });
    });
  }
  ~RunLoopObservation() override {
    m_handover->end();
    m_runLoop->removeSource(m_source);
    runOnMain([subscription = std::move(m_subscription)] { subscription->observation.reset(); });
  }

private:
  const std::shared_ptr<RunLoop> m_runLoop;
  const std::shared_ptr<RunLoopSource> m_source;
  const std::shared_ptr<Handover> m_handover;
  std::shared_ptr<Subscription> m_subscription;
};

} // namespace

std::unique_ptr<NotificationObservation> observeOnRunLoop(DistributedNotificationCenter& center, const QString& name,
                                                          NotificationCenter::Handler handler) {
  return std::make_unique<RunLoopObservation>(center, name, std::move(handler));
}

} // namespace platform
