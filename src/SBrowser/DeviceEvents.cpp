#include "SBrowser/DeviceEvents.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/ThreadSafety.h"

#include <set>
#include <utility>

namespace {

/// The objects that events may still be delivered to: an event under way when a window goes must not reach into it.
struct Living {
  platform::Mutex mutex;
  std::set<const void*> contexts MTPB_GUARDED_BY(mutex);
};

Living& living() {
  static Living* const all = new Living; // outlives every thread that may still deliver an event at exit
  return *all;
}

} // namespace

std::uint32_t NotifyCallbackEx(std::int32_t code, std::uint64_t, std::uint64_t, void* context) {
  MTPB_LOG("NotifyCallbackEx: ENTER");
  if (context == nullptr)
    return 0;
  const platform::Lock lock(living().mutex);
  if (!living().contexts.contains(context))
    return 0;
  auto& events = *static_cast<DeviceEvents*>(context);
  if (code == DeviceEvents::kObjectRemoved || (code == DeviceEvents::kObjectAdded && !events.isTransferProcess()))
    events.catchMTPEvent();
  else if (code == DeviceEvents::kObjectAdded)
    events.catchMTPEventLater();
  return 0;
}

DeviceEvents::DeviceEvents(std::shared_ptr<DeviceQueue> queue, platform::Timers& timers, std::function<void()> rebuild)
    : m_queue(std::move(queue))
    , m_timers(timers)
    , m_rebuild(std::move(rebuild)) {
  const platform::Lock lock(living().mutex);
  living().contexts.insert(this);
}

DeviceEvents::~DeviceEvents() {
  const platform::Lock lock(living().mutex);
  living().contexts.erase(this);
}

void DeviceEvents::registerMtpNotice(const std::shared_ptr<DeviceSession>& session) {
  platform::assertMainThread();
  if (!session)
    return;
  m_queue->perform("mtp-notice", session, [context = this](DeviceSession& current) {
    MTPDextSDKWrapper& mtp = *current._mtpSDKWrapper;
    mtp.registerMtpRequestEventNotifyEx(mtp.getCurrentDeviceNode(), NotifyCallbackEx, context);
  });
}

void DeviceEvents::catchMTPEvent() {
  onMainThread(&DeviceEvents::startTimer);
}

void DeviceEvents::catchMTPEventLater() {
  onMainThread(&DeviceEvents::startTimerLater);
}

void DeviceEvents::setIsTransferProcess(bool isTransferProcess) {
  platform::assertMainThread();
  _isTransferProcess = isTransferProcess;
  if (!isTransferProcess && std::exchange(m_hasMissedEvent, false))
    startTimer();
}

void DeviceEvents::dropTimer() {
  platform::assertMainThread();
  _updateTimer.reset();
  m_hasMissedEvent = false;
}

void DeviceEvents::onMainThread(void (DeviceEvents::*work)()) {
  if (platform::isMainThread()) {
    (this->*work)();
    return;
  }
  // Never waits for the main thread: the phone's event thread must go on, and the main thread may be waiting for it.
  platform::runOnMain([this, work, alive = std::weak_ptr<char>(m_alive)] {
    if (!alive.expired())
      (this->*work)();
  });
}

void DeviceEvents::startTimerLater() {
  if (_isTransferProcess)
    m_hasMissedEvent = true;
  else
    startTimer(); // it has ended since
}

void DeviceEvents::startTimer() {
  _updateTimer.reset();
  _updateTimer = m_timers.oneShot(kQuietPeriod, [this] {
    const std::unique_ptr<platform::Timer> fired = std::move(_updateTimer);
    m_rebuild();
  });
}
