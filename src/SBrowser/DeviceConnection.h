#pragma once
// Connecting to a phone: binds an access object to it and asks for its storages.
#include "MTPCore/ConnectCondition.h"
#include "MTPCore/MtpItemInfo.h"
#include "SBrowser/DeviceQueue.h"

#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

/// A phone that answered.
struct ConnectedDevice {
  std::shared_ptr<DeviceSession> session;
  QString deviceName; ///< the name its user gave it; null when it tells none
  QList<MtpStorageInfo> storages;
};

/// At most one attempt counts: a new one, or cancel(), ends the one before. Main thread; nothing here blocks, the phone
/// is spoken to on a worker.
class DeviceConnection {
public:
  using AccessObjectFactory = std::function<std::shared_ptr<MTPDextSDKWrapper>()>;
  using Sleeper = std::function<void(std::chrono::milliseconds)>;
  using Connected = std::function<void(ConnectedDevice)>;
  using Failed = std::function<void(const ConnectCondition&)>;

  /// How often the storages of a phone that was just attached are asked for, and the pause after each time.
  static constexpr int kAttempts = 10;
  static constexpr std::chrono::milliseconds kPause{10};

  DeviceConnection(std::shared_ptr<DeviceQueue> queue, AccessObjectFactory createAccessObject, Sleeper sleep);
  ~DeviceConnection();

  /// Tries the phone at `locationID`: asks for its storages, up to `attempts` times. Calls, on the main thread,
  /// `connected` when it has some, else, behind a log line, `failed`.
  void connectDevice(const QString& locationID, int attempts, Connected connected, Failed failed);
  /// Ends the attempt that is going on, if any; its result is not reported.
  void cancel();

private:
  /// Runs `report` on the main thread, from a worker, unless the attempt is given up by then; it is over afterwards.
  std::function<void(const std::shared_ptr<DeviceSession>& attempt, const std::function<void()>& report)> finisher();

  const std::shared_ptr<DeviceQueue> m_queue;
  const AccessObjectFactory m_createAccessObject;
  const Sleeper m_sleep;
  std::shared_ptr<DeviceSession> m_attempt; // null while nothing is tried
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};
