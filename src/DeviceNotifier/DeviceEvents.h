#pragma once
// The one announcement function of all detectors: device events become notifications on the process-local centre.
//
// "BTVORN_NOTI_DEVICE_NOTIFIER" carries every event, "BTVORN_NOTI_DEVICE_DETTACH" follows a departure. User info:
// "LocationId" (text: the location as "%X"; network events: the location string), "EventType", "Vid", "Pid", "BCD",
// "Wifi_PORT" (int), "SerialPath", "USB_SERIAL_NUMBER", "UmsPath", "Wifi_IP", "PINNUMBER", "WIFIFLAG" (text). A value
// the device does not have drops its key and the keys that would follow it.
#include "DeviceNotifier/ConnectedDevice.h"
#include "Platform/RunLoop.h"
#include "Platform/ThreadSafety.h"

#include <QString>
#include <QVariantMap>

#include <map>

namespace detection {

inline constexpr char deviceNotification[] = "BTVORN_NOTI_DEVICE_NOTIFIER";
inline constexpr char deviceDetachNotification[] = "BTVORN_NOTI_DEVICE_DETTACH";

/// "EventType" values. Those nobody raises are handled all the same.
enum DeviceEventType : std::int32_t {
  DeviceAttached = 1,
  DeviceDetached = 2,
  DeviceAttached3 = 3, ///< as DeviceAttached
  DeviceDetached4 = 4, ///< as DeviceDetached
  FirstVolumeAppeared = 5,
  FirstVolumeGone = 6,
  SecondVolumeAppeared = 7,
  SecondVolumeGone = 8,
  DeviceAttached9 = 9, ///< as DeviceAttached
  NetworkDeviceAttached = 10,
  NetworkDeviceDetached = 11,
  PtpDeviceAttached = 12,
  SerialPortSearched = 14,  ///< found, its serial port still being looked for
  NetworkDeviceLeaving = -2 ///< in notifications only: comes before NetworkDeviceDetached
};

/// Shared by all detectors of the process; any thread.
class DeviceEvents {
public:
  DeviceEvents() = default;
  ~DeviceEvents(); ///< drops what is still pooled
  DeviceEvents(const DeviceEvents&) = delete;
  DeviceEvents& operator=(const DeviceEvents&) = delete;

  /// Announces an event of a record; on the detector's thread, which drives its platform::RunLoop. Arrivals and volumes
  /// are pooled, one a location (a newer one replaces an older; volumes each for itself), and posted on the main thread
  /// after the run loop's pass. Departures, network events and the serial port search are posted before it returns, on
  /// this thread. Other types post nothing. The record is only read.
  void sendDeviceNotifyEvent(std::int32_t eventType, const _connected_device& record);

  /// `sendDeviceNotifyEventThread(timer, info)`: empties the pool onto the main queue. Called by the run loop.
  void sendDeviceNotifyEventThread();

private:
  void pool(const QString& key, QVariantMap userInfo);
  void poolVolume(std::int32_t eventType, const _connected_device& record, const VolumeSlot* volume);

  platform::Mutex m_mutex;
  std::optional<std::map<QString, QVariantMap>> DataPool MTPB_GUARDED_BY(m_mutex); // events waiting for the flush
  std::int32_t umsDiskCount MTPB_GUARDED_BY(m_mutex) = 0;                          // keeps volumes' keys apart
  std::shared_ptr<platform::RunLoopTimer> eventTimer MTPB_GUARDED_BY(m_mutex);     // the pending flush
};

} // namespace detection
