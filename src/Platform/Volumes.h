#pragma once
// The computer's disks and mounted volumes: what is there, what comes and goes, what is mounted where. Implementation:
// the system's (UdevVolumes). DiskSession turns one into callbacks on a run loop.
//
// Volumes, their monitors and sessions belong to one thread at a time. Errors are errno values, 0 is success. Names and
// models come from devices and are not to be trusted.
#include "Platform/RunLoop.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace platform {

/// A block device with a medium in it: a whole disk or one of its partitions.
struct Disk {
  QByteArray bsdName;     ///< the kernel's name, "sdb1"; empty where it has none
  QString entryId;        ///< names the disk to Volumes; differs between two attachments
  QByteArray medium = {}; ///< tells one medium in the same drive from another, as far as it can be told

  bool operator<(const Disk& other) const { return entryId < other.entryId; }
};

/// What is known of a disk. Every value can be absent.
struct DiskDescription {
  std::optional<QByteArray> volumePath; ///< where it is mounted: a file URL, percent-encoded
  /// The way to the disk from the top, a node after "/" each; a USB device's node is its name, "@" and its location
  /// identifier (Platform/DeviceRegistry.h) in lower-case hexadecimal: "/…/usb2@2000000/Larkspur 5@2100000/…/sdb1".
  std::optional<QString> devicePath;
  std::optional<QString> deviceModel; ///< what the disk calls itself (SCSI: the product identification of INQUIRY)
  std::optional<QString> volumeKind;  ///< its file system: "vfat", "exfat", …; "cd9660" and "udf" of optical media
};

/// One mounted file system.
struct MountedVolume {
  QByteArray url;        ///< its mount point: a file URL, percent-encoded
  int error = 0;         ///< not 0: the values below cannot be had
  bool local = false;    ///< on this computer, not on a server
  QByteArray deviceName; ///< Disk::bsdName of what is mounted; empty where that is no disk
};

/// A change that a monitor saw.
struct DiskChange {
  enum class Kind {
    Present, ///< the disk is there: it or its medium came, or something about it changed
    Gone     ///< the disk or its medium went away
  };
  Kind kind;
  Disk disk;
};

/// Collects the comings and goings of disks from its making on.
class DiskMonitor {
public:
  virtual ~DiskMonitor() = default;
  /// Readable when take() has something to give. Owned by the monitor.
  virtual int fd() const = 0;
  /// Everything that happened since the last call, in order; does not block. `lost` is set when changes were missed
  /// and the list of disks has to be read anew.
  virtual std::vector<DiskChange> take(bool& lost) = 0;
};

class Volumes {
public:
  virtual ~Volumes() = default;
  /// Appends the disks that are there now. Blocks for reading the system's tables, as the next but one and the last.
  virtual int disks(std::vector<Disk>& found) = 0;
  /// A new monitor; null with errno in `error` when none can be had. The volumes outlive it.
  virtual std::unique_ptr<DiskMonitor> monitor(int& error) = 0;
  /// The disk as it is now; nothing when it has gone.
  virtual std::optional<DiskDescription> description(const Disk& disk) = 0;
  /// Appends what is mounted now, in the order of the system's table.
  virtual int mountedVolumes(std::vector<MountedVolume>& mounted) = 0;
};

/// Calls back when disks come and go. Mounting and unmounting are neither.
class DiskSession {
public:
  using Callback = std::function<void(const Disk&)>;

  /// How long after a failure the list of disks is asked for again.
  static constexpr std::chrono::milliseconds listAgainAfter{5000};

  explicit DiskSession(std::shared_ptr<Volumes> volumes, std::chrono::milliseconds listAgain = listAgainAfter);
  ~DiskSession();
  DiskSession(const DiskSession&) = delete;
  DiskSession& operator=(const DiskSession&) = delete;

  /// Called once for each disk that is there at schedule() and for each that comes later. Another medium in the same
  /// drive is another disk: the one before goes first.
  void registerDiskAppearedCallback(Callback appeared) { m_appeared = std::move(appeared); }
  /// Called once for each such disk that goes.
  void registerDiskDisappearedCallback(Callback disappeared) { m_disappeared = std::move(disappeared); }
  void unregisterCallbacks();

  /// Watches from now on; the callbacks come from this loop. 0, or errno when the disks cannot be watched.
  int schedule(std::shared_ptr<RunLoop> runLoop);
  void unschedule();

private:
  void perform();
  void readAnew();
  void readAnewAfter(std::chrono::milliseconds delay);
  void present(const Disk& disk);
  void gone(const Disk& disk);

  const std::shared_ptr<Volumes> m_volumes;
  const std::chrono::milliseconds m_listAgain;
  Callback m_appeared, m_disappeared;
  std::unique_ptr<DiskMonitor> m_monitor; // null while not scheduled, as the next two
  std::shared_ptr<RunLoop> m_runLoop;
  std::shared_ptr<RunLoopSource> m_source;
  std::shared_ptr<RunLoopTimer> m_nextList;
  bool m_listFailed = false; // the last time
  std::set<Disk> m_known;
};

} // namespace platform
