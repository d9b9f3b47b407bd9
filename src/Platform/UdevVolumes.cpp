#include "Platform/UdevVolumes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <libmount/libmount.h>
#include <libudev.h>
#include <string_view>
#include <sys/sysmacros.h>

namespace platform {
namespace {

struct Unref {
  void operator()(udev_device* device) const { udev_device_unref(device); }
  void operator()(udev_enumerate* enumerate) const { udev_enumerate_unref(enumerate); }
  void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
  void operator()(libmnt_table* table) const { mnt_unref_table(table); }
  void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};
using Device = std::unique_ptr<udev_device, Unref>;

std::string_view text(const char* value) {
  return value == nullptr ? std::string_view() : std::string_view(value);
}

// A drive without a medium has the size 0.
bool hasMedium(udev_device* device) {
  const QByteArray sectors = QByteArray(udev_device_get_sysattr_value(device, "size")).trimmed();
  return !sectors.isEmpty() && sectors != "0";
}

Disk diskOf(udev_device* device) {
  return {QByteArray(udev_device_get_sysname(device)), QString::fromUtf8(udev_device_get_syspath(device))};
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
  explicit UdevDiskMonitor(udev_monitor* monitor)
      : m_monitor(monitor) {}
  int fd() const override { return udev_monitor_get_fd(m_monitor.get()); }

  std::vector<DiskChange> take(bool& lost) override {
    std::vector<DiskChange> changes;
    // Bounded, so that a flood of messages does not keep the caller here; the rest stays readable.
    for (int i = 0; i < 1024; ++i) {
      errno = 0;
      const Device device(udev_monitor_receive_device(m_monitor.get()));
      if (device != nullptr) {
        const bool there = text(udev_device_get_action(device.get())) != "remove" && hasMedium(device.get());
        changes.push_back({there ? DiskChange::Kind::Present : DiskChange::Kind::Gone, diskOf(device.get())});
      } else if (errno == ENOBUFS) {
        lost = true; // the kernel dropped messages; what follows them is still to be read
      } else if (errno != EINTR) {
        break;
      }
    }
    return changes;
  }

private:
  const std::unique_ptr<udev_monitor, Unref> m_monitor;
};

} // namespace

UdevVolumes::UdevVolumes(Source source, std::string mountTable)
    : m_afterRules(takenAfterRules(source))
    , m_mountTable(std::move(mountTable)) {}

UdevVolumes::~UdevVolumes() {
  if (m_udev != nullptr)
    udev_unref(m_udev);
}

int UdevVolumes::connect() {
  errno = 0;
  if (m_udev == nullptr)
    m_udev = udev_new();
  return m_udev != nullptr ? 0 : errno != 0 ? errno : ENOMEM;
}

int UdevVolumes::disks(std::vector<Disk>& found) {
  if (const int error = connect(); error != 0)
    return error;
  const std::unique_ptr<udev_enumerate, Unref> enumerate(udev_enumerate_new(m_udev));
  if (enumerate == nullptr)
    return ENOMEM;
  udev_enumerate_add_match_subsystem(enumerate.get(), "block");
  // A single entry that cannot be read is an error, too: what was found counts all the same.
  const int result = udev_enumerate_scan_devices(enumerate.get());
  udev_list_entry* entry = udev_enumerate_get_list_entry(enumerate.get());
  if (result < 0 && entry == nullptr)
    return -result;
  for (; entry != nullptr; entry = udev_list_entry_get_next(entry)) {
    const Device device(udev_device_new_from_syspath(m_udev, udev_list_entry_get_name(entry)));
    if (device == nullptr || !hasMedium(device.get()))
      continue;
    if (m_afterRules && udev_device_get_is_initialized(device.get()) == 0)
      continue; // the daemon has not finished with it: the monitor will report it
    found.push_back(diskOf(device.get()));
  }
  return 0;
}

std::unique_ptr<DiskMonitor> UdevVolumes::monitor(int& error) {
  if (error = connect(); error != 0)
    return nullptr;
  errno = 0;
  std::unique_ptr<udev_monitor, Unref> monitor(udev_monitor_new_from_netlink(m_udev, m_afterRules ? "udev" : "kernel"));
  if (monitor == nullptr) {
    error = errno != 0 ? errno : EIO;
    return nullptr;
  }
  udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), "block", nullptr);
  if (const int result = udev_monitor_enable_receiving(monitor.get()); result < 0) {
    error = -result;
    return nullptr;
  }
  return std::make_unique<UdevDiskMonitor>(monitor.release());
}

std::optional<DiskDescription> UdevVolumes::description(const Disk& disk) {
  if (connect() != 0)
    return std::nullopt;
  const Device device(udev_device_new_from_syspath(m_udev, disk.entryId.toUtf8().constData()));
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
  const std::unique_ptr<libmnt_table, Unref> table(mnt_new_table());
  const std::unique_ptr<libmnt_iter, Unref> iterator(mnt_new_iter(MNT_ITER_FORWARD));
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
      const Device device(udev_device_new_from_devnum(m_udev, 'b', number));
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
