#include "Platform/NotificationCenter.h"

#include "Platform/ThreadSafety.h"

#include <QScopeGuard>

#include <algorithm>
#include <thread>
#include <vector>

namespace platform {
namespace {

// One observer. Its calls are counted so that its end can wait for those on other threads.
struct Observer {
  QString name;
  NotificationCenter::Handler handler;
  bool ended = false;                      // under State::mutex
  std::vector<std::thread::id> callingNow; // under State::mutex
};

} // namespace

struct NotificationCenter::State {
  Mutex mutex;
  Condition callEnded;
  std::vector<std::shared_ptr<Observer>> observers MTPB_GUARDED_BY(mutex);

  void end(const std::shared_ptr<Observer>& observer) {
    const auto self = std::this_thread::get_id();
    const Lock lock(mutex);
    observer->ended = true;
    std::erase(observers, observer);
    while (std::any_of(observer->callingNow.begin(), observer->callingNow.end(),
                       [self](std::thread::id id) { return id != self; }))
      callEnded.wait(mutex);
  }
};

NotificationCenter::NotificationCenter()
    : m_state(std::make_shared<State>()) {}
NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
  static NotificationCenter center;
  return center;
}

std::unique_ptr<NotificationObservation> NotificationCenter::observe(const QString& name, Handler handler) {
  auto observer = std::make_shared<Observer>();
  observer->name = name;
  observer->handler = std::move(handler);
  class Observation : public NotificationObservation {
  public:
    Observation(std::shared_ptr<State> state, std::shared_ptr<Observer> observer)
        : m_state(std::move(state))
        , m_observer(std::move(observer)) {}
    ~Observation() override { m_state->end(m_observer); }

  private:
    std::shared_ptr<State> m_state;
    std::shared_ptr<Observer> m_observer;
  };
  {
    const Lock lock(m_state->mutex);
    m_state->observers.push_back(observer);
  }
  return std::make_unique<Observation>(m_state, std::move(observer));
}

void NotificationCenter::post(const QString& name) {
  deliver({name, {}, false});
}
void NotificationCenter::post(const QString& name, const QVariantMap& userInfo) {
  deliver({name, userInfo, true});
}

void NotificationCenter::deliver(const Notification& notification) {
  const std::shared_ptr<State> state = m_state; // outlives a handler that ends the centre
  std::vector<std::shared_ptr<Observer>> observers;
  {
    const Lock lock(state->mutex);
    observers = state->observers;
  }
  for (const auto& observer : observers) {
    if (observer->name != notification.name)
      continue;
    {
      const Lock lock(state->mutex);
      if (observer->ended)
        continue;
      observer->callingNow.push_back(std::this_thread::get_id());
    }
    // Also when the handler throws: the call must not be waited for for ever.
    const auto countDown = qScopeGuard([&] {
      const Lock lock(state->mutex);
      observer->callingNow.erase(
          std::find(observer->callingNow.begin(), observer->callingNow.end(), std::this_thread::get_id()));
      state->callEnded.notify_all();
    });
    observer->handler(notification);
  }
}

} // namespace platform
