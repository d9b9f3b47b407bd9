#pragma once
// The one object through which the application starts and stops device detection.
#include "DeviceNotifier/DeviceIdentityTable.h"
#include "Platform/DeviceRegistry.h"
#include "Platform/ThreadSafety.h"

#include <QVariantList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace detection {
class DeviceEvents;
}
namespace platform {
class DistributedNotificationCenter;
class Volumes;
} // namespace platform

/// Runs the USB notifier thread and, on request, the mass-storage and network thread: attached phones are announced by
/// "BTVORN_NOTI_DEVICE_NOTIFIER" and "BTVORN_NOTI_DEVICE_DETTACH" (see DeviceNotifier/DeviceEvents.h) on
/// platform::NotificationCenter::defaultCenter(). Arrivals on the USB and volumes are posted on the main thread,
/// departures and network phones on their notifier thread. Main thread only, except quitThread().
class BTVornDeviceNotifier {
public:
  struct Parts {
    /// What is watched; used on the notifier thread. Null: the system's USB.
    std::shared_ptr<platform::DeviceRegistry> registry;
    /// Which devices are phones.
    detection::DeviceIdentityTable identities;
    /// May be empty. A further test for a device of another maker that shows no MTP interface by itself, where
    /// AcceptAnyMtpDevice holds. Called on the notifier thread; may block for about a second.
    std::function<bool(std::uint32_t locationId)> mtpProbe;
    /// Empty: waits in real time. Between two searches for a phone's serial port, and for a disk to be mounted; false
    /// when detection is to stop. Called on either notifier thread.
    std::function<bool(std::chrono::seconds)> sleep;
    /// Empty: the time now. Only asked when such a wait begins. Called on either notifier thread.
    std::function<std::chrono::steady_clock::time_point()> now = {};
    /// Empty: runs the main thread's event loop for `limit`, or until `done` holds.
    std::function<void(std::chrono::milliseconds limit, const std::function<bool()>& done)> runMainLoop = {};
    /// Whose disks are watched; used on the mass-storage and network thread. Null: the system's.
    std::shared_ptr<platform::Volumes> volumes = {};
    /// Where phones on the network are announced; outlives the notifier's threads. Null: the session's.
    platform::DistributedNotificationCenter* distributedCenter = nullptr;
  };

  /// `init`. The system's USB and the identity table of loadDeviceIdentityTable(). Starts nothing.
  BTVornDeviceNotifier();
  explicit BTVornDeviceNotifier(Parts parts);
  /// Asks a running thread to end and does not wait for it.
  ~BTVornDeviceNotifier();
  BTVornDeviceNotifier(const BTVornDeviceNotifier&) = delete;
  BTVornDeviceNotifier& operator=(const BTVornDeviceNotifier&) = delete;

  /// `registerNotification:`. Starts the USB notifier thread and returns true at once. `devices` is kept until
  /// unRegisterNotification() and not read. A thread still running from before is asked to end; the new one waits for
  /// it, as the registry serves one thread at a time.
  bool registerNotification(const std::optional<QVariantList>& devices);
  /// Starts the mass-storage and network thread, too, until unRegisterNotification(). False when registerNotification()
  /// has not been called since the last stop, or the thread runs already.
  bool startUMSNotifierThread();
  /// `unRegisterNotification`. Asks the threads to end and waits for them, the main thread's events being handled
  /// meanwhile, for at most about 10 seconds; true also when one has not ended by then.
  bool unRegisterNotification();

  /// Whether the threads are asked to end. Any thread.
  bool quitThread() const;
  /// Whether the USB notifier thread runs.
  bool usbNotiThread() const;
  /// Whether the mass-storage and network thread runs.
  bool umsNotiThread() const;

private:
  class Turn;
  class Thread;
  struct Run;
  // `deviceUSBNotifierThread:` and `deviceUMSNotifierThread:`, the threads' bodies.
  static void deviceUSBNotifierThread(Run& run);
  static void deviceUMSNotifierThread(Run& run);
  std::function<bool(std::chrono::seconds)> sleepOf(Run& run) const;

  const Parts m_parts;
  const std::shared_ptr<detection::DeviceEvents> m_events;
  const std::shared_ptr<Turn> m_usbTurn, m_umsTurn;
  std::optional<QVariantList> notificationDevice;
  std::shared_ptr<Run> m_run; // the latest registration's; shared with its threads
};
