#pragma once
// The application's delegate: starts the parts, hears of devices and of the support tool.
#include "Platform/NotificationCenter.h"
#include "Platform/ThreadSafety.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

class MTPBrowser;

/// What the delegate needs of the device notifier.
class DeviceNotifierService {
public:
  virtual ~DeviceNotifierService() = default;
  /// `registerNotification:` with no device list: detection starts.
  virtual void start() = 0;
  /// `unRegisterNotification`: detection ends; blocks up to ten seconds for its threads.
  virtual void stop() = 0;
};

/// What the delegate needs of the capture log.
class CaptureLogService {
public:
  virtual ~CaptureLogService() = default;
  /// Starts the capture log of the given application-data folder (the first folder given stays).
  virtual void start(const QString& appDataPath) = 0;
  virtual void stop(const QString& appDataPath) = 0;
};

/// What the delegate needs of the system-wide notifications.
class SupportToolChannel {
public:
  using Handler = std::function<void(const QString& name, const QVariantMap& userInfo)>;
  virtual ~SupportToolChannel() = default;
  /// Delivers notifications of that name on the main thread, also while the application is inactive.
  virtual void observe(const QString& name, Handler handler) = 0;
};

/// The parts the delegate puts together. All are called on the main thread.
struct ApplicationParts {
  std::function<std::unique_ptr<DeviceNotifierService>()> createNotifier;
  std::function<std::unique_ptr<MTPBrowser>()> createBrowser; // null: no window could be made
  std::shared_ptr<SupportToolChannel> supportTool;
  std::shared_ptr<CaptureLogService> captureLog;
  std::function<void(std::function<void()>)> mainQueue; // runs later on the main thread
  QString homeFolder;
};

/// Main thread, except the device notification, which may come on the detector's thread.
class AppDelegate {
public:
  explicit AppDelegate(ApplicationParts parts);
  ~AppDelegate();
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  /// `applicationDidFinishLaunching:`. Creates the notifier, subscribes, starts detection, creates and shows the
  /// browser in its welcome state and starts the capture log when the user default "START_CAPTURE" is true.
  void applicationDidFinishLaunching();
  /// `applicationShouldTerminateAfterLastWindowClosed:`. Always true: the window is the application.
  bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }
  /// `applicationShouldTerminate:`. Always now.
  bool applicationShouldTerminate() const { return true; }
  /// `applicationWillTerminate:`. Ends detection and lets go of the parts. Blocks until the detector's thread ended.
  void applicationWillTerminate();

  /// `registerNotification`. Subscribes to "BTVORN_NOTI_DEVICE_NOTIFIER" and "QX_DEVICECENTER_SUPPORTTOOL".
  void registerNotification();
  /// `startConnectDevice`. Has the browser show the phone kept in _locationId.
  void startConnectDevice();
  /// `disconnectDevice`. Nothing: a departure ends the application, and the browser goes with it.
  void disconnectDevice() {}
  /// `OnReceiveDeviceNotifierNotification:`. Attach (event type 1): the first phone wins, the window (re)connects to
  /// it. Every other event type ends the application. Any thread.
  void OnReceiveDeviceNotifierNotification(const platform::Notification& notification);
  /// `onReceiveDeviceCenterSupportToolNoti:`. The commands "DEBUG_LEVEL", "START_CAPTURE" and "STOP_CAPTURE".
  void onReceiveDeviceCenterSupportToolNoti(const QString& name, const QVariantMap& userInfo);

  const QString& defaultAppDataPath() const { return m_defaultAppDataPath; }
  /// The location identifier of the phone being shown; null while there is none. Any thread.
  QString locationId() const;
  MTPBrowser* browser() const { return m_mtpBrowser.get(); }

private:
  ApplicationParts m_parts;
  QString m_defaultAppDataPath;
  std::unique_ptr<DeviceNotifierService> _pDeviceNotifier;
  std::unique_ptr<MTPBrowser> m_mtpBrowser;
  mutable platform::Mutex m_mutex;
  QString _locationId MTPB_GUARDED_BY(m_mutex); // written by the detector's and the main thread
  std::unique_ptr<platform::NotificationObservation> m_deviceObservation;
  std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); // main thread: queued work looks whether we still are
};
