#include "Platform/MainThread.h"

#include "Platform/Log.h"
#include "Platform/ThreadSafety.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdlib>
#include <deque>
#include <memory>
#include <utility>

namespace platform {
namespace {

enum class CallState { Queued, Running, Done, Refused };

Mutex g_mutex;
Condition g_changed;
bool g_refuse MTPB_GUARDED_BY(g_mutex) = false;

struct Call {
  std::function<void()> work;
  CallState state = CallState::Queued; // under g_mutex
};

// The queued side of a call. Goes without having run it when the application drops its queue: whoever waits is let go.
struct QueuedCall {
  explicit QueuedCall(std::shared_ptr<Call> queued)
      : call(std::move(queued)) {}
  QueuedCall(const QueuedCall&) = delete;
  QueuedCall& operator=(const QueuedCall&) = delete;
  ~QueuedCall() {
    const Lock lock(g_mutex);
    if (call->state == CallState::Queued)
      call->state = CallState::Refused;
    g_changed.notify_all();
  }
  std::shared_ptr<Call> call;
};

using Work = std::function<void()>;

// The queued work, handed over under a mutex of our own: ThreadSanitizer does not see into Qt's event queue and would
// take every hand-over for a race. Qt's queue carries one event for each work, so that works keep their place among the
// events. Exists as long as the application object.
class MainQueue : public QObject {
  Q_OBJECT

public:
  static void start();
  static void stop();
  // Drops `work` when there is no application.
  static void add(Work work);

private:
  Q_SLOT void runNext();

  static Mutex s_mutex;
  static MainQueue* s_queue MTPB_GUARDED_BY(s_mutex);
  std::deque<Work> m_works MTPB_GUARDED_BY(s_mutex);
};

Mutex MainQueue::s_mutex;
MainQueue* MainQueue::s_queue = nullptr;

void MainQueue::start() {
  qAddPostRoutine(&MainQueue::stop);
  const Lock lock(s_mutex);
  s_queue = new MainQueue;
}

void MainQueue::stop() {
  std::unique_ptr<MainQueue> stopped; // its works go without having run, outside the lock: they may hold anything
  const Lock lock(s_mutex);
  stopped.reset(std::exchange(s_queue, nullptr));
}

void MainQueue::add(Work work) {
  const Lock lock(s_mutex);
  if (s_queue == nullptr)
    return;
  s_queue->m_works.push_back(std::move(work));
  QMetaObject::invokeMethod(s_queue, "runNext", Qt::QueuedConnection);
}

void MainQueue::runNext() {
  Work work;
  {
    const Lock lock(s_mutex);
    if (m_works.empty())
      return;
    work = std::move(m_works.front());
    m_works.pop_front();
  }
  work();
}

void startMainQueue() {
  MainQueue::start();
}
Q_COREAPP_STARTUP_FUNCTION(startMainQueue)

} // namespace

bool isMainThread() {
  const QCoreApplication* application = QCoreApplication::instance();
  return application != nullptr && application->thread() == QThread::currentThread();
}

void assertMainThread(const SourceLocation& where) {
  if (isMainThread())
    return;
  logLine(where, "called off the main thread");
  std::abort();
}

void runOnMain(std::function<void()> work) {
  MainQueue::add(std::move(work));
}

bool runOnMainAndWait(std::function<void()> work) {
  if (isMainThread()) {
    work();
    return true;
  }
  auto call = std::make_shared<Call>();
  call->work = std::move(work);
  {
    const Lock lock(g_mutex);
    if (g_refuse)
      return false;
  }
  runOnMain([queued = std::make_shared<QueuedCall>(call)] {
    const std::shared_ptr<Call>& call = queued->call;
    {
      const Lock lock(g_mutex);
      if (call->state != CallState::Queued)
        return;
      call->state = CallState::Running;
    }
    call->work();
    const Lock lock(g_mutex);
    call->state = CallState::Done;
    g_changed.notify_all();
  });
  const Lock lock(g_mutex);
  while (call->state != CallState::Done) {
    if (g_refuse && call->state == CallState::Queued)
      call->state = CallState::Refused;
    if (call->state == CallState::Refused)
      return false;
    g_changed.wait(g_mutex);
  }
  return true;
}

void refuseWaiting(bool refuse) {
  const Lock lock(g_mutex);
  g_refuse = refuse;
  g_changed.notify_all();
}

} // namespace platform

#include "MainThread.moc"
