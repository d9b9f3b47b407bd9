#pragma once
// Connecting to a phone: binds an access object to it and asks for its storages.
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

  /// How often the storages are asked for, and the pause after each time.
  static constexpr int kAttempts = 10;
  static constexpr std::chrono::milliseconds kPause{10};

  DeviceConnection(std::shared_ptr<DeviceQueue> queue, AccessObjectFactory createAccessObject, Sleeper sleep);
  ~DeviceConnection();

  /// Tries the phone at `locationID`; calls `connected` on the main thread when it has storages. When it has none, a
  /// log line says so and nothing else happens.
  void connectDevice(const QString& locationID, Connected connected);
  /// Ends the attempt that is going on, if any; its result is not reported.
  void cancel();

private:
  const std::shared_ptr<DeviceQueue> m_queue;
  const AccessObjectFactory m_createAccessObject;
  const Sleeper m_sleep;
  std::shared_ptr<DeviceSession> m_attempt; // null while nothing is tried
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};
