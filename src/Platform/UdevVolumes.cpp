#include "Platform/UdevVolumes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <libmount/libmount.h>
#include <string_view>
#include <sys/sysmacros.h>

namespace platform {
namespace {

using namespace udevtools;

struct Free {
  void operator()(libmnt_table* table) const { mnt_unref_table(table); }
  void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};

// A drive without a medium has the size 0.
bool hasMedium(udev_device* device) {
  const QByteArray sectors = QByteArray(udev_device_get_sysattr_value(device, "size")).trimmed();
  return !sectors.isEmpty() && sectors != "0";
}

// What the rules read from the medium; without it the size, which differs for most.
QByteArray mediumOf(udev_device* device) {
  for (const char* property : {"ID_FS_UUID", "ID_PART_TABLE_UUID"})
    if (const char* identity = udev_device_get_property_value(device, property); identity != nullptr)
      return identity;
  return QByteArray(udev_device_get_sysattr_value(device, "size")).trimmed();
}

Disk diskOf(udev_device* device) {
  return {QByteArray(udev_device_get_sysname(device)), QString::fromUtf8(udev_device_get_syspath(device)),
          mediumOf(device)};
}

std::optional<QString> shownText(const QByteArray& value) {
  const QString shown = QString::fromUtf8(value).trimmed();
  return shown.isEmpty() ? std::nullopt : std::optional<QString>(shown);
}

// udev writes the bytes it does not let through as "\x20".
QByteArray decoded(QByteArray encoded) {
  for (qsizetype at = encoded.indexOf("\\x"); at >= 0; at = encoded.indexOf("\\x", at + 1)) {
    bool valid = false;
    const uint byte = encoded.mid(at + 2, 2).toUInt(&valid, 16);
    if (valid && encoded.size() >= at + 4)
      encoded.replace(at, 4, QByteArray(1, char(byte)));
  }
  return encoded;
}

std::optional<QString> modelOf(udev_device* device) {
  if (const char* encoded = udev_device_get_property_value(device, "ID_MODEL_ENC"); encoded != nullptr)
    return shownText(decoded(encoded));
  if (const char* model = udev_device_get_property_value(device, "ID_MODEL"); model != nullptr)
    return shownText(model);
  // No rules have run.
  udev_device* drive = udev_device_get_parent_with_subsystem_devtype(device, "scsi", "scsi_device");
  return drive == nullptr ? std::nullopt : shownText(udev_device_get_sysattr_value(drive, "model"));
}

std::optional<QString> kindOf(udev_device* device) {
  const QByteArray type(udev_device_get_property_value(device, "ID_FS_TYPE"));
  return type == "iso9660" ? QStringLiteral("cd9660") : shownText(type);
}

QString devicePathOf(udev_device* device) {
  QString path;
  for (auto node = udevService(device); node != nullptr; node = node->parent()) {
    QString name = QString::fromUtf8(node->name());
    if (const QVariant location = node->property(registryKey::locationId); location.isValid())
      name += u'@' + QString::number(std::uint32_t(location.toInt()), 16);
    path.prepend(u'/' + name);
  }
  return path;
}

QByteArray fileUrl(const char* path) {
  return path == nullptr ? QByteArray() : "file://" + QByteArray(path).toPercentEncoding("/");
}

class UdevDiskMonitor : public DiskMonitor {
public:
  explicit UdevDiskMonitor(Monitor monitor)
      : m_monitor(std::move(monitor)) {}
  int fd() const override { return udev_monitor_get_fd(m_monitor.get()); }

  std::vector<DiskChange> take(bool& lost) override {
    std::vector<DiskChange> changes;
    receive(m_monitor.get(), lost, [&changes](const Device& device) {
      const bool there = text(udev_device_get_action(device.get())) != "remove" && hasMedium(device.get());
      changes.push_back({there ? DiskChange::Kind::Present : DiskChange::Kind::Gone, diskOf(device.get())});
    });
    return changes;
  }

private:
  const Monitor m_monitor;
};

} // namespace

UdevVolumes::UdevVolumes(Source source, std::string mountTable)
    : m_afterRules(takenAfterRules(source))
    , m_mountTable(std::move(mountTable)) {}

UdevVolumes::~UdevVolumes() = default;

int UdevVolumes::connect() {
  return udevtools::connect(m_udev);
}

int UdevVolumes::disks(std::vector<Disk>& found) {
  if (const int error = connect(); error != 0)
    return error;
  const Enumerate enumerate(udev_enumerate_new(m_udev.get()));
  if (enumerate == nullptr)
    return ENOMEM;
  udev_enumerate_add_match_subsystem(enumerate.get(), "block");
  int error = 0;
  for (const std::string& path : scan(enumerate.get(), error)) {
    const Device device(udev_device_new_from_syspath(m_udev.get(), path.c_str()));
    if (device == nullptr || !hasMedium(device.get()))
      continue;
    if (m_afterRules && udev_device_get_is_initialized(device.get()) == 0)
      continue; // the daemon has not finished with it: the monitor will report it
    found.push_back(diskOf(device.get()));
  }
  return error;
}

std::unique_ptr<DiskMonitor> UdevVolumes::monitor(int& error) {
  if (error = connect(); error != 0)
    return nullptr;
  Monitor monitor = openMonitor(m_udev.get(), m_afterRules, {{"block", nullptr}}, error);
  return monitor == nullptr ? nullptr : std::make_unique<UdevDiskMonitor>(std::move(monitor));
}

std::optional<DiskDescription> UdevVolumes::description(const Disk& disk) {
  if (connect() != 0)
    return std::nullopt;
  const Device device(udev_device_new_from_syspath(m_udev.get(), disk.entryId.toUtf8().constData()));
  if (device == nullptr)
    return std::nullopt;
  DiskDescription description;
  description.devicePath = devicePathOf(device.get());
  description.deviceModel = modelOf(device.get());
  description.volumeKind = kindOf(device.get());
  std::vector<MountedVolume> mounted;
  mountedVolumes(mounted);
  const auto volume = std::find_if(mounted.begin(), mounted.end(),
                                   [&](const MountedVolume& other) { return other.deviceName == disk.bsdName; });
  if (volume != mounted.end() && !disk.bsdName.isEmpty())
    description.volumePath = volume->url;
  return description;
}

int UdevVolumes::mountedVolumes(std::vector<MountedVolume>& mounted) {
  if (const int error = connect(); error != 0)
    return error;
  const std::unique_ptr<libmnt_table, Free> table(mnt_new_table());
  const std::unique_ptr<libmnt_iter, Free> iterator(mnt_new_iter(MNT_ITER_FORWARD));
  if (table == nullptr || iterator == nullptr)
    return ENOMEM;
  if (const int result = mnt_table_parse_file(table.get(), m_mountTable.c_str()); result != 0)
    return result < 0 ? -result : EIO;
  libmnt_fs* fs = nullptr;
  while (mnt_table_next_fs(table.get(), iterator.get(), &fs) == 0) {
    if (mnt_fs_is_pseudofs(fs) != 0)
      continue;
    MountedVolume volume;
    volume.url = fileUrl(mnt_fs_get_target(fs));
    volume.local = mnt_fs_is_netfs(fs) == 0;
    // What is on a disk has the disk's device number; file systems over several disks and in memory have none.
    if (const dev_t number = mnt_fs_get_devno(fs); volume.local && ::major(number) != 0) {
      errno = 0;
      const Device device(udev_device_new_from_devnum(m_udev.get(), 'b', number));
      if (device != nullptr)
        volume.deviceName = udev_device_get_sysname(device.get());
      else
        volume.error = errno != 0 ? errno : ENODEV;
    }
    mounted.push_back(std::move(volume));
  }
  return 0;
}

} // namespace platform
