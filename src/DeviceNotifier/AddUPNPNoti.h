#pragma once
// Phones on the network, found by another program of the session and announced by it as the system-wide notification
// "BTVORN_NOTI_UPNP_DEVICE_NOTIFIER" (Platform/DistributedNotifications.h) with the user info "ModelName", "Wifi_IP",
// "PinNumber" (text) and "Wifi_PORT" (text or number). From a shell, in one line:
//   dbus-send --session --type=signal / org.mtpbrowser.Notifications.Posted
//     string:BTVORN_NOTI_UPNP_DEVICE_NOTIFIER
//     dict:string:variant:ModelName,string:PHONE,Wifi_IP,string:10.0.0.5,Wifi_PORT,string:42000,PinNumber,string:1234
// Its departure is the process-local notification "WIFI_DISCONNECT" with "LocationId", the text "10.0.0.5_42000".
#include "DeviceNotifier/ConnectedDevice.h"
#include "DeviceNotifier/DeviceEvents.h"
#include "Platform/NotificationCenter.h"

#include <functional>
#include <memory>

namespace detection {

inline constexpr char networkDeviceNotification[] = "BTVORN_NOTI_UPNP_DEVICE_NOTIFIER";
inline constexpr char networkDisconnectNotification[] = "WIFI_DISCONNECT";
/// "Pid" of a network device.
inline constexpr std::uint16_t networkProductId = 0x0111;
/// With this many records in the queue further announcements are passed over: they cost whoever sends them nothing.
inline constexpr std::size_t mostConnectedDevices = 256;

class AddUPNPNoti {
public:
  struct Parts {
    std::shared_ptr<DeviceQueue> queue;
    std::shared_ptr<DeviceEvents> events;
    /// Observes a system-wide notification; its handler is called on the run loop of the calling thread.
    std::function<std::unique_ptr<platform::NotificationObservation>(const QString& name,
                                                                     platform::NotificationCenter::Handler handler)>
        observeDistributed;
  };

  explicit AddUPNPNoti(Parts parts);

  /// Observes both notifications. Always 0. On the mass-storage and network thread, as removeUPNPNotifier().
  std::int32_t addUPNPNotifier();
  /// Ends both observations; records stay queued. Always 0. Waits for an onReceiveDisConnectedNotification() that runs
  /// on another thread.
  std::int32_t removeUPNPNotifier();

  /// `handleDeviceInfo:`. Queues a record of the phone and posts event 10 before it returns. Values that are missing or
  /// of another type are logged and left out. The same phone announced twice is queued twice. On the thread whose run
  /// loop delivers it.
  void handleDeviceInfo(const platform::Notification& notification);
  /// `onReceiveDisConnectedNotification:`. The first record with that location string leaves the queue, event 11 is
  /// posted before it returns, and the record is freed; another location changes nothing. On the thread that posts it.
  void onReceiveDisConnectedNotification(const platform::Notification& notification);

  /// `ConnectedDeviceFree:`. Frees a record that is in no list any more.
  static void ConnectedDeviceFree(std::unique_ptr<_connected_device> pConnectedDevice);

private:
  const Parts m_parts;
  std::unique_ptr<platform::NotificationObservation> m_deviceInfo, m_disconnect;
};

} // namespace detection
