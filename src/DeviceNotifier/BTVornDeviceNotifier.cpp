#include "DeviceNotifier/BTVornDeviceNotifier.h"

#include "DeviceNotifier/AddUMSNotifier.h"
#include "DeviceNotifier/AddUPNPNoti.h"
#include "DeviceNotifier/AddUSBNotifier.h"
#include "DeviceNotifier/DeviceEvents.h"
#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/RunLoop.h"
#include "Platform/RunLoopNotifications.h"
#include "Platform/ThreadSafety.h"
#include "Platform/UdevDeviceRegistry.h"
#include "Platform/UdevVolumes.h"
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

// Whose turn it is to use the registry or the volumes: one thread at a time, and a thread that is to end does not wait
// for it.
class BTVornDeviceNotifier::Turn {
public:
  /// False: `quit` came first.
  bool take(const std::atomic<bool>& quit) {
    const platform::Lock lock(m_mutex);
    while (m_taken && !quit)
      m_changed.wait(m_mutex);
    if (quit)
      return false;
    m_taken = true;
    return true;
  }
  void giveBack() {
    const platform::Lock lock(m_mutex);
    m_taken = false;
    m_changed.notify_all();
  }
  /// Whoever waits looks at its `quit` again.
  void lookAgain() {
    const platform::Lock lock(m_mutex);
    m_changed.notify_all();
  }

private:
  platform::Mutex m_mutex;
  platform::Condition m_changed;
  bool m_taken MTPB_GUARDED_BY(m_mutex) = false;
};

// One of the two threads, as it and the main thread see it.
class BTVornDeviceNotifier::Thread {
public:
  explicit Thread(std::shared_ptr<Turn> turn)
      : m_turn(std::move(turn)) {}

  /// Main thread: it is about to be started.
  void starts() {
    const platform::Lock lock(m_mutex);
    m_runs = true;
  }
  bool runs() const {
    const platform::Lock lock(m_mutex);
    return m_runs;
  }
  /// Main thread, after `quit` has been set: what the thread waits for ends.
  void wake() {
    {
      const platform::Lock lock(m_mutex);
      if (m_runLoop)
        m_runLoop->stop();
    }
    m_turn->lookAgain();
  }

  /// On the thread. Waits for its turn; false when it has to quit instead.
  bool begins(const std::atomic<bool>& quit) {
    m_hasTurn = m_turn->take(quit);
    const platform::Lock lock(m_mutex);
    if (m_hasTurn)
      m_runLoop = platform::RunLoop::current();
    return m_hasTurn;
  }
  /// On the thread, its last words.
  void ends() {
    if (m_hasTurn)
      m_turn->giveBack();
    {
      const platform::Lock lock(m_mutex);
      m_runs = false;
      m_runLoop.reset();
    }
    platform::runOnMain([] {}); // wakes whoever waits in the event loop
  }

private:
  const std::shared_ptr<Turn> m_turn;
  mutable platform::Mutex m_mutex;
  bool m_runs MTPB_GUARDED_BY(m_mutex) = false;
  std::shared_ptr<platform::RunLoop> m_runLoop MTPB_GUARDED_BY(m_mutex); // the thread's, while it runs
  bool m_hasTurn = false;                                                // the thread's own
};

// One registration: what its threads and the notifier share. They keep it alive when the notifier does not wait.
struct BTVornDeviceNotifier::Run {
  Run(std::shared_ptr<Turn> usbTurn, std::shared_ptr<Turn> umsTurn)
      : usb(std::move(usbTurn))
      , ums(std::move(umsTurn)) {}

  std::atomic<bool> quitThread = false; // written by the main thread, read by the notifier threads
  Thread usb, ums;
  const std::shared_ptr<detection::DeviceQueue> queue = std::make_shared<detection::DeviceQueue>();
  // Each thread's own once it is started.
  detection::AddUSBNotifier::Parts usbParts;
  detection::AddUMSNotifier::Parts umsParts;
  detection::AddUPNPNoti::Parts upnpParts;

  platform::Mutex mutex;
  platform::Condition quitting; // quitThread has been set

  void askToQuit() {
    {
      const platform::Lock lock(mutex);
      quitThread = true;
      quitting.notify_all();
    }
    usb.wake();
    ums.wake();
  }
  bool sleepUntil(std::chrono::steady_clock::time_point end) {
    const platform::Lock lock(mutex);
    while (!quitThread)
      if (quitting.wait_until(mutex, end) == std::cv_status::timeout)
        return !quitThread;
    return false;
  }
  void driveRunLoop() const {
    const auto runLoop = platform::RunLoop::current();
    while (!quitThread)
      runLoop->runFor(slice);
  }
};

BTVornDeviceNotifier::BTVornDeviceNotifier()
    : BTVornDeviceNotifier(Parts{nullptr, detection::loadDeviceIdentityTable(), {}, {}}) {}

BTVornDeviceNotifier::BTVornDeviceNotifier(Parts parts)
    : m_parts(std::move(parts))
    , m_events(std::make_shared<detection::DeviceEvents>())
    , m_usbTurn(std::make_shared<Turn>())
    , m_umsTurn(std::make_shared<Turn>()) {
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
  m_run = std::make_shared<Run>(m_usbTurn, m_umsTurn);
  m_run->usbParts = {m_parts.registry ? m_parts.registry : std::make_shared<platform::UdevDeviceRegistry>(),
                     m_parts.identities,
                     m_events,
                     sleepOf(*m_run),
                     m_parts.mtpProbe,
                     m_run->queue};
  m_run->usb.starts();
  if (!platform::startWorker("usb-notifier", [run = m_run] { deviceUSBNotifierThread(*run); }))
    m_run->usb.ends();
  MTPB_LOG("EXIT");
  return true;
}

// Holds no shared pointer: the thread that sleeps keeps the run alive.
std::function<bool(std::chrono::seconds)> BTVornDeviceNotifier::sleepOf(Run& run) const {
  if (m_parts.sleep)
    return m_parts.sleep;
  return [&run, now = m_parts.now ? m_parts.now : std::chrono::steady_clock::now](std::chrono::seconds time) {
    return run.sleepUntil(now() + time);
  };
}

bool BTVornDeviceNotifier::startUMSNotifierThread() {
  platform::assertMainThread();
  if (!m_run || quitThread() || umsNotiThread())
    return false;
  m_run->umsParts = {m_parts.volumes ? m_parts.volumes : std::make_shared<platform::UdevVolumes>(), m_run->queue,
                     m_events, sleepOf(*m_run)};
  auto& center = m_parts.distributedCenter != nullptr ? *m_parts.distributedCenter
                                                      : platform::DistributedNotificationCenter::defaultCenter();
  m_run->upnpParts = {m_run->queue, m_events, [&center](const QString& name, auto handler) {
                        return platform::observeOnRunLoop(center, name, std::move(handler));
                      }};
  m_run->ums.starts();
  if (platform::startWorker("ums-notifier", [run = m_run] { deviceUMSNotifierThread(*run); }))
    return true;
  m_run->ums.ends();
  return false;
}

void BTVornDeviceNotifier::deviceUSBNotifierThread(Run& run) {
  try {
    MTPB_LOG("ENTER");
    if (run.usb.begins(run.quitThread)) {
      detection::AddUSBNotifier usb(run.usbParts);
      usb.addUSBNotifier();
      MTPB_LOG("CFRunLoopRun");
      run.driveRunLoop();
      usb.removeUSBNotifier();
    }
    MTPB_LOG("EXIT");
  } catch (const std::exception& exception) {
    MTPB_LOG("NSException : %s", exception.what());
  }
  run.usbParts = {}; // the registry ends on the thread that used it
  run.usb.ends();
}

void BTVornDeviceNotifier::deviceUMSNotifierThread(Run& run) {
  try {
    MTPB_LOG("ENTER");
    if (run.ums.begins(run.quitThread)) {
      detection::AddUMSNotifier ums(run.umsParts);
      ums.addUMSNotifier();
      detection::AddUPNPNoti network(run.upnpParts);
      network.addUPNPNotifier();
      MTPB_LOG("CFRunLoopRun");
      run.driveRunLoop();
      network.removeUPNPNotifier();
      ums.removeUMSNotifier();
    }
    MTPB_LOG("EXIT");
  } catch (const std::exception& exception) {
    MTPB_LOG("NSException : %s", exception.what());
  }
  run.umsParts = {};
  run.upnpParts = {};
  run.ums.ends();
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
  return m_run && m_run->usb.runs();
}

bool BTVornDeviceNotifier::umsNotiThread() const {
  return m_run && m_run->ums.runs();
}
