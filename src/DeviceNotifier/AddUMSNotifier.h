#pragma once
// Ties the disks that come and go to the attached phones and announces them.
//
// Everything here runs on the mass-storage and network thread, which drives its platform::RunLoop between
// addUMSNotifier() and removeUMSNotifier(). Failures are only logged. A disk is a phone's when its device path holds
// the phone's name and location. One that comes before its phone is known, or is not mounted a second after it came, is
// never announced.
#include "DeviceNotifier/ConnectedDevice.h"
#include "DeviceNotifier/DeviceEvents.h"
#include "Platform/Volumes.h"

#include <chrono>
#include <functional>
#include <memory>

namespace detection {

/// How long a disk that comes unmounted is given to be mounted.
inline constexpr std::chrono::seconds mountDelay{1};

class AddUMSNotifier {
public:
  struct Parts {
    std::shared_ptr<platform::Volumes> volumes;
    std::shared_ptr<DeviceQueue> queue;
    std::shared_ptr<DeviceEvents> events;
    /// Blocks for the time given; false at once when detection is to stop, which gives the present disk up.
    std::function<bool(std::chrono::seconds)> sleep;
  };

  explicit AddUMSNotifier(Parts parts);

  /// Starts watching on the calling thread's run loop, from which the disks that are there already come, too. Always 0.
  std::int32_t addUMSNotifier();
  /// Stops watching. Volumes stay in their phones' records. Does nothing when stopped.
  void removeUMSNotifier();

  /// `DiskAdded(disk, context)`. A phone's mounted disk fills a slot of the phone's record: the second, with event 7,
  /// where its model contains "Card", else the first, with event 5. Optical media and disks of no known phone are
  /// passed over. Blocks for a second when the disk is not mounted.
  void DiskAdded(const platform::Disk& disk);
  /// `DiskRemoved(disk, context)`. Event 6 or 8 for the first slot with the disk's name, which is empty afterwards.
  void DiskRemoved(const platform::Disk& disk);

  /// `findVolumePath(bsdName, url)`. Looks through the mounted volumes, in the system's order, for the first on this
  /// computer that is on the disk with exactly this name; false, `url` untouched, when there is none or no name.
  bool findVolumePath(const char* bsdName, QByteArray& url) const;

private:
  void announce(std::int32_t eventType, const _connected_device& record);

  const Parts m_parts;
  std::unique_ptr<platform::DiskSession> gSession; // null while stopped
};

} // namespace detection
