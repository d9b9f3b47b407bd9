#pragma once
// The phone's own changes: hears its events, waits until they stop, has the tree built anew.
#include "Platform/Timers.h"
#include "SBrowser/DeviceQueue.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

/// `NotifyCallbackEx` The callback the phone's events come to, on a thread of the engine. `context` is the DeviceEvents
/// it was registered with; null, or one that is gone: nothing happens. Acts on ObjectRemoved always and on ObjectAdded
/// unless a transfer runs, then when it has ended (MTP 1.1, G.3 and G.2); other codes and both parameters do not count.
/// Returns 0. Any thread; does not block.
std::uint32_t NotifyCallbackEx(std::int32_t code, std::uint64_t parameter1, std::uint64_t parameter2, void* context);

/// Main thread, except where stated.
class DeviceEvents {
public:
  /// How long no event must come before the tree is built anew.
  static constexpr std::chrono::milliseconds kQuietPeriod{2000};
  static constexpr std::int32_t kObjectAdded = 0x4002;
  static constexpr std::int32_t kObjectRemoved = 0x4003;

  /// `rebuild` is called on the main thread after the quiet period. `timers` must outlive the object.
  DeviceEvents(std::shared_ptr<DeviceQueue> queue, platform::Timers& timers, std::function<void()> rebuild);
  ~DeviceEvents();
  DeviceEvents(const DeviceEvents&) = delete;
  DeviceEvents& operator=(const DeviceEvents&) = delete;

  /// `registerMtpNotice` Has the phone's events come here from now on. Does not block: registering waits for its turn.
  void registerMtpNotice(const std::shared_ptr<DeviceSession>& session);
  /// `catchMTPEvent` (Re)starts the quiet period. Any thread; does not block.
  void catchMTPEvent();
  /// Forgets what has happened: no rebuild will come of it.
  void dropTimer();
  /// Whether a rebuild is going to come when the quiet period is over.
  bool isRebuildPending() const { return _updateTimer != nullptr; }

  /// Whether the window's transfer runs: from its beginning until it has completed, been canceled or ended, whichever
  /// comes first. Objects that come into being meanwhile cause no rebuild until then. Any thread.
  bool isTransferProcess() const { return _isTransferProcess; }
  void setIsTransferProcess(bool isTransferProcess);
  /// An object has come into being while a transfer ran: the quiet period starts when that is over. Any thread; does
  /// not block.
  void catchMTPEventLater();

private:
  void onMainThread(void (DeviceEvents::*work)());
  void startTimer();
  void startTimerLater();

  const std::shared_ptr<DeviceQueue> m_queue;
  platform::Timers& m_timers;
  const std::function<void()> m_rebuild;
  std::unique_ptr<platform::Timer> _updateTimer;
  std::atomic<bool> _isTransferProcess{false}; // written by the main thread, read by the engine's event thread
  bool m_hasMissedEvent = false;               // an object came into being during the transfer
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};
