#include "Platform/MainThread.h"

#include "Platform/Log.h"
#include "Platform/ThreadSafety.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdlib>
#include <memory>

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
  if (QCoreApplication* application = QCoreApplication::instance())
    QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
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
    if (g_refuse || QCoreApplication::instance() == nullptr)
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
