#include "DeviceNotifier/BTVornDeviceNotifier.h"

#include "DeviceNotifier/AddUSBNotifier.h"
#include "DeviceNotifier/DeviceEvents.h"
#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/RunLoop.h"
#include "Platform/ThreadSafety.h"
#include "Platform/UdevDeviceRegistry.h"
#include "Platform/Workers.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <atomic>
#include <exception>

namespace {

constexpr std::chrono::milliseconds slice{100};
constexpr int mostWaits = 100; // slices: about 10 seconds

void runEventLoop(std::chrono::milliseconds limit, const std::function<bool()>& done) {
  const QDeadlineTimer deadline(limit);
  QTimer alarm; // ends the last wait for an event
  alarm.start(limit);
  while (!done() && !deadline.hasExpired())
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

QString textOf(const std::optional<QVariantList>& list) {
  if (!list)
    return QStringLiteral("(null)");
  QStringList texts;
  for (const QVariant& value : *list)
    texts.append(value.toString());
  return texts.join(QStringLiteral(", "));
}

} // namespace

// Whose turn it is to use the registry: one thread at a time, and a thread that is to end does not wait for it.
struct BTVornDeviceNotifier::Turn {
  platform::Mutex mutex;
  platform::Condition changed;
  bool taken MTPB_GUARDED_BY(mutex) = false;

  /// False: `quit` came first.
  bool take(const std::atomic<bool>& quit) {
    const platform::Lock lock(mutex);
    while (taken && !quit)
      changed.wait(mutex);
    if (quit)
      return false;
    taken = true;
    return true;
  }
  void giveBack() {
    const platform::Lock lock(mutex);
    taken = false;
    changed.notify_all();
  }
  /// Whoever waits looks at its `quit` again.
  void lookAgain() {
    const platform::Lock lock(mutex);
    changed.notify_all();
  }
};

// One registration: what its thread and the notifier share. The thread keeps it alive when the notifier does not wait.
struct BTVornDeviceNotifier::Run {
  std::atomic<bool> quitThread = false; // written by the main thread, read by the notifier threads
  detection::AddUSBNotifier::Parts parts;
  std::shared_ptr<Turn> turn;

  platform::Mutex mutex;
  platform::Condition changed;
  bool usbNotiThread MTPB_GUARDED_BY(mutex) = true;                  // cleared by the thread itself when it ends
  std::shared_ptr<platform::RunLoop> runLoop MTPB_GUARDED_BY(mutex); // the thread's, while it runs

  bool threadRuns() {
    const platform::Lock lock(mutex);
    return usbNotiThread;
  }
  void setRunLoop(std::shared_ptr<platform::RunLoop> loop) {
    const platform::Lock lock(mutex);
    runLoop = std::move(loop);
  }
  void askToQuit() {
    {
      const platform::Lock lock(mutex);
      quitThread = true;
      changed.notify_all();
      if (runLoop)
        runLoop->stop();
    }
    turn->lookAgain();
  }
  bool sleep(std::chrono::seconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    const platform::Lock lock(mutex);
    while (!quitThread)
      if (changed.wait_until(mutex, end) == std::cv_status::timeout)
        return !quitThread;
    return false;
  }
  void threadEnded() {
    {
      const platform::Lock lock(mutex);
      usbNotiThread = false;
      runLoop.reset();
    }
    platform::runOnMain([] {}); // wakes whoever waits in the event loop
  }
};

BTVornDeviceNotifier::BTVornDeviceNotifier()
    : BTVornDeviceNotifier(Parts{nullptr, detection::loadDeviceIdentityTable(), {}, {}, {}}) {}

BTVornDeviceNotifier::BTVornDeviceNotifier(Parts parts)
    : m_parts(std::move(parts))
    , m_events(std::make_shared<detection::DeviceEvents>())
    , m_turn(std::make_shared<Turn>()) {
  MTPB_LOG("ENTER");
  MTPB_LOG("EXIT");
}

BTVornDeviceNotifier::~BTVornDeviceNotifier() {
  if (m_run)
    m_run->askToQuit();
}

bool BTVornDeviceNotifier::registerNotification(const std::optional<QVariantList>& devices) {
  platform::assertMainThread();
  MTPB_LOG("ENTER");
  MTPB_LOG("devieInfo=[%s]", qUtf8Printable(textOf(devices)));
  if (m_run)
    m_run->askToQuit();
  notificationDevice = devices;
  m_run = std::make_shared<Run>();
  m_run->parts.registry = m_parts.registry ? m_parts.registry : std::make_shared<platform::UdevDeviceRegistry>();
  m_run->parts.identities = m_parts.identities;
  m_run->parts.events = m_events;
  m_run->parts.mtpProbe = m_parts.mtpProbe;
  m_run->turn = m_turn;
  // Not the shared pointer: the thread that holds it is the one that sleeps.
  m_run->parts.sleep =
      m_parts.sleep ? m_parts.sleep : [run = m_run.get()](std::chrono::seconds time) { return run->sleep(time); };
  if (!platform::startWorker("usb-notifier", [run = m_run] { deviceUSBNotifierThread(*run); }))
    m_run->threadEnded();
  MTPB_LOG("EXIT");
  return true;
}

void BTVornDeviceNotifier::deviceUSBNotifierThread(Run& run) {
  bool hasTurn = false;
  try {
    MTPB_LOG("ENTER");
    hasTurn = run.turn->take(run.quitThread);
    if (hasTurn) {
      const auto runLoop = platform::RunLoop::current();
      run.setRunLoop(runLoop);
      detection::AddUSBNotifier usb(run.parts);
      usb.addUSBNotifier();
      MTPB_LOG("CFRunLoopRun");
      while (!run.quitThread)
        runLoop->runFor(slice);
      usb.removeUSBNotifier();
    }
    MTPB_LOG("EXIT");
  } catch (const std::exception& exception) {
    MTPB_LOG("NSException : %s", exception.what());
  }
  run.parts = {}; // the registry ends on the thread that used it
  if (hasTurn)
    run.turn->giveBack();
  run.threadEnded();
}

bool BTVornDeviceNotifier::unRegisterNotification() {
  platform::assertMainThread();
  MTPB_LOG("ENTER");
  if (m_run)
    m_run->askToQuit();
  const auto ended = [this] { return !usbNotiThread() && !umsNotiThread(); };
  for (int i = 0; i < mostWaits && !ended(); ++i) {
    if (m_parts.runMainLoop)
      m_parts.runMainLoop(slice, ended);
    else
      runEventLoop(slice, ended);
  }
  notificationDevice.reset();
  MTPB_LOG("EXIT");
  return true;
}

bool BTVornDeviceNotifier::quitThread() const {
  return m_run && m_run->quitThread;
}

bool BTVornDeviceNotifier::usbNotiThread() const {
  return m_run && m_run->threadRuns();
}

bool BTVornDeviceNotifier::umsNotiThread() const {
  return false;
}
