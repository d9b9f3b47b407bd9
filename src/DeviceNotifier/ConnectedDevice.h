#pragma once
// The record of an attached device and the list of all of them.
#include "Platform/DeviceRegistry.h"
#include "Platform/NotificationPort.h"
#include "Platform/ThreadSafety.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>

namespace detection {

/// One disk of a phone.
struct VolumeSlot {
  std::optional<QString> bsdName; ///< the disk's device name, the key for its removal
  std::optional<QString> volumePath;
  std::optional<QString> deviceModel;
  std::int32_t internal = 0; ///< 1: internal memory, 0: memory card
};

/// One attached device. Made by a detector; owned by the DeviceQueue from its announcement to its departure, then ended
/// by ConnectedDeviceFree(). Written before it is queued, read on the detector's thread; the volumes are written and
/// read with the queue locked, or after the record has left it.
struct _connected_device {
  std::unique_ptr<platform::InterestNotification> notification;
  std::unique_ptr<platform::UsbDeviceInterface> deviceInterface;
  std::optional<QString> deviceName;
  std::optional<QString> serialPath; ///< callout path of the phone's serial port, empty when there is none
  std::uint32_t locationID = 0;
  std::uint16_t vendorID = 0;
  std::uint16_t productID = 0;
  std::uint16_t bcdDevice = 0;
  std::unique_ptr<VolumeSlot> firstVolume;  ///< internal memory: events 5 and 6
  std::unique_ptr<VolumeSlot> secondVolume; ///< memory card: events 7 and 8
  std::optional<QString> wifiIP;            ///< network devices only, as the next three
  std::int32_t wifiPort = 0;
  std::optional<QString> locationString; ///< "LocationId" of network events
  std::optional<QString> pinNumber;
  std::optional<QString> usbSerialNumber;
};

/// The attached devices, in the order of their arrival. Every operation locks; any thread.
class DeviceQueue {
public:
  /// Takes the record over at the tail; its address stays.
  _connected_device* append(std::unique_ptr<_connected_device> record);
  /// Gives the record back; null when it is not (any more) in the list.
  std::unique_ptr<_connected_device> remove(const _connected_device* record);
  /// Gives back the first record for which `wanted` holds, called with the list locked; null when there is none.
  std::unique_ptr<_connected_device> takeFirst(const std::function<bool(const _connected_device&)>& wanted);
  /// Calls `visit` for each record until it returns true, with the list locked: no record goes away meanwhile.
  void find(const std::function<bool(_connected_device&)>& visit);
  std::size_t size() const;

private:
  mutable platform::Mutex m_mutex;
  std::list<std::unique_ptr<_connected_device>> m_records MTPB_GUARDED_BY(m_mutex);
};

/// Closes and frees a record that is in no list any more, with the log lines of its parts.
void ConnectedDeviceFree(std::unique_ptr<_connected_device> pConnectedDevice);

} // namespace detection
