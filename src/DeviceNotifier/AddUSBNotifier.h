#pragma once
// Watches the USB for phones and turns each arrival and departure into a device event.
//
// Everything here runs on the USB notifier thread, which drives its platform::RunLoop between addUSBNotifier() and
// removeUSBNotifier(). Failures are only logged; a device that cannot be read is skipped.
#include "DeviceNotifier/ConnectedDevice.h"
#include "DeviceNotifier/DeviceEvents.h"
#include "DeviceNotifier/DeviceIdentityTable.h"
#include "Platform/NotificationPort.h"

#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <memory>

namespace detection {

inline constexpr int MaxSerialPathAttempts = 10;
inline constexpr std::chrono::seconds serialPathRetryDelay{2};
/// A callout path with its terminating zero, ASCII.
using CalloutPath = std::array<char, 128>;

class AddUSBNotifier {
public:
  struct Parts {
    std::shared_ptr<platform::DeviceRegistry> registry;
    DeviceIdentityTable identities;
    std::shared_ptr<DeviceEvents> events;
    /// Blocks for the time given; false at once when detection is to stop, which gives the present arrival up.
    std::function<bool(std::chrono::seconds)> sleep;
    /// May be empty. Asked, where AcceptAnyMtpDevice holds, about a device in which the registry shows no MTP
    /// interface: whether the device at this location has one. May block for about a second.
    std::function<bool(std::uint32_t locationId)> mtpProbe;
    /// The attached phones, shared with the other detectors. Null: a list of its own.
    std::shared_ptr<DeviceQueue> queue;
  };

  explicit AddUSBNotifier(Parts parts);
  /// Frees its records that are still queued, without events: they belong to the registry's thread.
  ~AddUSBNotifier();
  AddUSBNotifier(const AddUSBNotifier&) = delete;
  AddUSBNotifier& operator=(const AddUSBNotifier&) = delete;

  /// Starts watching on the calling thread's run loop and handles the devices attached already. 1, or 0 on failure.
  std::int32_t addUSBNotifier();
  /// Stops watching. Records stay queued. Does nothing when stopped.
  void removeUSBNotifier();

  /// `DeviceAdded(refCon, iterator)`. Handles every service of the iterator: a phone is queued and announced (events 1,
  /// 12; 14 while its serial port is slow to come). One arrival at a time in the process. Blocks up to 18 seconds for
  /// the serial port of one phone of the maker; other makers' devices are searched once.
  void DeviceAdded(platform::ServiceIterator& iterator);
  /// `DeviceRemoveNotification(refCon, service, messageType, messageArgument)`. At messageServiceIsTerminated the
  /// record leaves the queue, event 2 is posted and the record freed; other messages change nothing.
  void DeviceRemoveNotification(_connected_device* record, std::uint32_t messageType);

  /// Whether the service is the USB device with these numbers; a service without a location ID matches location 0.
  static bool IdentifyIDs(const platform::RegistryService& service, std::uint16_t vendorId, std::uint16_t productId,
                          std::uint32_t locationId);
  /// Searches once for the callout path of the device's serial port, zero-filling `path` first. 0 found; 2 not there;
  /// 22 or another errno when the registry cannot be asked.
  std::int32_t FindDevicePath(std::uint16_t vendorId, std::uint16_t productId, std::uint32_t locationId,
                              CalloutPath& path) const;

  /// The attached phones; owns their records.
  DeviceQueue& deviceQueue() { return *m_queue; }

private:
  using Service = std::shared_ptr<platform::RegistryService>;
  using Record = std::unique_ptr<_connected_device>;
  enum class Search { Done, TornDown };

  bool handleArrival(const Service& service);
  bool readDevice(const platform::RegistryService& service, _connected_device& record) const;
  bool isAccepted(const platform::RegistryService& service, const _connected_device& record) const;
  void awaitInterfaces(const Service& service);
  void foreignDeviceChanged(const Service& service, std::uint32_t messageType);
  Search findSerialPath(_connected_device& record);

  const Parts m_parts;
  const std::shared_ptr<DeviceQueue> m_queue;
  std::unique_ptr<platform::NotificationPort> gNotifyPort; // null while stopped
  std::shared_ptr<platform::RunLoopSource> gRunLoopSource;
  std::shared_ptr<platform::RunLoop> gRunLoop;
  std::shared_ptr<platform::ServiceIterator> gAddedIter;
  // Devices that are no phones as they are, by entry ID: their MTP interface may still come.
  std::map<QString, std::unique_ptr<platform::InterestNotification>> m_foreign;
};

} // namespace detection
