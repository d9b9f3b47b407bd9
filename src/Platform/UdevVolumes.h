#pragma once
// The system's disks through libudev, and what is mounted through libmount.
//
// Comings and goings are taken from udev after its rules have run, as those find a disk's model and file system; where
// no udev daemon runs, from the kernel. A drive without a medium is no disk: one comes when the medium is put in and
// goes when it is taken out.
#include "Platform/Udev.h"
#include "Platform/UdevDeviceRegistry.h"
#include "Platform/Volumes.h"

#include <string>

namespace platform {

/// One thread at a time.
class UdevVolumes : public Volumes {
public:
  using Source = UdevDeviceRegistry::Source;
  /// `mountTable` is in the form of proc(5)'s mountinfo.
  explicit UdevVolumes(Source source = Source::Automatic, std::string mountTable = "/proc/self/mountinfo");
  ~UdevVolumes() override;
  UdevVolumes(const UdevVolumes&) = delete;
  UdevVolumes& operator=(const UdevVolumes&) = delete;

  int disks(std::vector<Disk>& found) override;
  std::unique_ptr<DiskMonitor> monitor(int& error) override;
  std::optional<DiskDescription> description(const Disk& disk) override;
  int mountedVolumes(std::vector<MountedVolume>& mounted) override;

private:
  int connect();

  const bool m_afterRules; // taken from udev, not from the kernel
  const std::string m_mountTable;
  udevtools::Context m_udev; // made by connect()
};

} // namespace platform
