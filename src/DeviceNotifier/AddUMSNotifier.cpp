#include "DeviceNotifier/AddUMSNotifier.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"

#include <cstring>

namespace detection {
namespace {

QString shown(const std::optional<QString>& text) {
  return text.value_or(QStringLiteral("(null)"));
}

QString described(const platform::DiskDescription& description) {
  const auto url = description.volumePath ? std::optional(QString::fromUtf8(*description.volumePath)) : std::nullopt;
  return QStringLiteral("{ DAVolumePath = %1; DADevicePath = %2; DADeviceModel = %3; DAVolumeKind = %4 }")
      .arg(shown(url), shown(description.devicePath), shown(description.deviceModel), shown(description.volumeKind));
}

// A phone as it stands in the device path of its disks.
QString placeOf(const _connected_device& record) {
  return *record.deviceName + u'@' + QString::number(record.locationID, 16);
}

bool isPhoneOf(const _connected_device& record, const QString& devicePath) {
  return record.deviceName && devicePath.contains(placeOf(record));
}

bool holds(const std::unique_ptr<VolumeSlot>& slot, const QString& bsdName) {
  return slot != nullptr && slot->bsdName == bsdName;
}

void freeSlot(std::unique_ptr<VolumeSlot>& slot) {
  for (const auto* text : {&slot->bsdName, &slot->volumePath, &slot->deviceModel})
    MTPB_LOG_PLAIN("%s", qUtf8Printable(shown(*text)));
  slot.reset();
}

} // namespace

AddUMSNotifier::AddUMSNotifier(Parts parts)
    : m_parts(std::move(parts)) {}

std::int32_t AddUMSNotifier::addUMSNotifier() {
  MTPB_LOG("ENTER");
  gSession = std::make_unique<platform::DiskSession>(m_parts.volumes);
  gSession->registerDiskAppearedCallback([this](const platform::Disk& disk) { DiskAdded(disk); });
  gSession->registerDiskDisappearedCallback([this](const platform::Disk& disk) { DiskRemoved(disk); });
  if (const int error = gSession->schedule(platform::RunLoop::current()); error != 0)
    MTPB_LOG("disks cannot be watched: %s", std::strerror(error));
  MTPB_LOG("EXIT");
  return 0;
}

void AddUMSNotifier::removeUMSNotifier() {
  MTPB_LOG("ENTER");
  if (gSession != nullptr) {
    gSession->unregisterCallbacks();
    gSession->unschedule();
    gSession.reset();
  }
  MTPB_LOG("EXIT");
}

void AddUMSNotifier::DiskAdded(const platform::Disk& disk) {
  MTPB_LOG("ENTER");
  if (disk.bsdName.isEmpty()) {
    MTPB_LOG("Invalid Input parameters to disk");
    return;
  }
  MTPB_LOG("%s DiskAdded", disk.bsdName.constData());
  const std::optional<platform::DiskDescription> description = m_parts.volumes->description(disk);
  if (!description) {
    MTPB_LOG("EXIT");
    return;
  }
  if (description->volumeKind == u"cd9660" || description->volumeKind == u"udf")
    return;

  QByteArray url = description->volumePath.value_or(QByteArray());
  if (!description->volumePath) {
    if (!m_parts.sleep(mountDelay) || !findVolumePath(disk.bsdName.constData(), url))
      return;
    MTPB_LOG("findVolumePath = %s", url.constData());
  }
  if (url.isEmpty() || !description->devicePath || !description->deviceModel) {
    MTPB_LOG("VolumePath or DevicePath or DeviceModel is NULL");
    MTPB_LOG_PLAIN("%s", qUtf8Printable(described(*description)));
    return;
  }

  // With the queue locked: the phone may be pulled on another thread. Volume events are pooled, nobody is called.
  m_parts.queue->find([&](_connected_device& record) {
    if (!isPhoneOf(record, *description->devicePath))
      return false;
    MTPB_LOG("Found UMS Device = %s, DeviceModel = %s VolumePath = %s", qUtf8Printable(placeOf(record)),
             qUtf8Printable(*description->deviceModel), url.constData());
    auto slot = std::make_unique<VolumeSlot>();
    slot->bsdName = QString::fromUtf8(disk.bsdName);
    slot->volumePath = QString::fromUtf8(QByteArray::fromPercentEncoding(url));
    MTPB_LOG_PLAIN("%s", qUtf8Printable(*slot->volumePath));
    slot->deviceModel = description->deviceModel;
    if (description->deviceModel->contains(u"Card")) {
      MTPB_LOG("External Flash Memory");
      slot->internal = 0;
      record.secondVolume = std::move(slot);
      announce(SecondVolumeAppeared, record);
    } else {
      MTPB_LOG("Internal Flash Memory");
      slot->internal = 1;
      record.firstVolume = std::move(slot);
      announce(FirstVolumeAppeared, record);
    }
    return true;
  });
  MTPB_LOG("EXIT");
}

void AddUMSNotifier::announce(std::int32_t eventType, const _connected_device& record) {
  m_parts.events->sendDeviceNotifyEvent(eventType, record);
  // The event has moved the flush to this thread, whose run loop may be kept for seconds by disks that are not mounted:
  // a phone that came meanwhile must not wait for them.
  platform::runOnMain([events = m_parts.events] { events->sendDeviceNotifyEventThread(); });
}

bool AddUMSNotifier::findVolumePath(const char* bsdName, QByteArray& url) const {
  if (bsdName == nullptr)
    return false;
  MTPB_LOG("ENTER");
  std::vector<platform::MountedVolume> mounted;
  if (const int error = m_parts.volumes->mountedVolumes(mounted); error != 0)
    MTPB_LOG("mounted volumes cannot be listed: %s", std::strerror(error));
  for (const platform::MountedVolume& volume : mounted) {
    if (volume.error != 0) {
      MTPB_LOG("PBHGetVolParmsSync returned %d\n", volume.error);
      continue;
    }
    if (!volume.local || volume.deviceName != bsdName)
      continue;
    url = volume.url;
    MTPB_LOG("Found VolumePath -> %s", url.constData());
    return true;
  }
  return false;
}

void AddUMSNotifier::DiskRemoved(const platform::Disk& disk) {
  MTPB_LOG("ENTER");
  if (disk.bsdName.isEmpty())
    return;
  const QString bsdName = QString::fromUtf8(disk.bsdName);
  m_parts.queue->find([&](_connected_device& record) {
    if (holds(record.firstVolume, bsdName)) {
      MTPB_LOG("%s internal disk unmounted", disk.bsdName.constData());
      announce(FirstVolumeGone, record);
      freeSlot(record.firstVolume);
      return true;
    }
    if (holds(record.secondVolume, bsdName)) {
      MTPB_LOG("%s external disk unmounted", disk.bsdName.constData());
      announce(SecondVolumeGone, record);
      freeSlot(record.secondVolume);
      return true;
    }
    return false;
  });
  MTPB_LOG("EXIT");
}

} // namespace detection
