#include "DeviceNotifier/DeviceEvents.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/NotificationCenter.h"

#include <exception>
#include <utility>

namespace detection {
namespace {

using Pair = std::pair<const char*, QVariant>;

// The pairs up to the first one without a value.
QVariantMap dictionary(std::initializer_list<Pair> pairs) {
  QVariantMap result;
  for (const auto& [key, value] : pairs) {
    if (!value.isValid())
      break;
    result.insert(QLatin1String(key), value);
  }
  return result;
}

QVariant textOrNothing(const std::optional<QString>& text) {
  return text ? QVariant(*text) : QVariant();
}

QString location(const _connected_device& record) {
  return QString::number(record.locationID, 16).toUpper();
}

Pair locationId(const _connected_device& record) {
  return {"LocationId", location(record)};
}
Pair eventTypeOf(std::int32_t type) {
  return {"EventType", int(type)};
}
Pair productOf(const _connected_device& record) {
  return {"Pid", int(record.productID)};
}
Pair vendorOf(const _connected_device& record) {
  return {"Vid", int(record.vendorID)};
}
Pair serialPathOf(const _connected_device& record) {
  return {"SerialPath", textOrNothing(record.serialPath)};
}

QVariantMap attachInfo(std::int32_t type, const _connected_device& record) {
  return dictionary({locationId(record),
                     eventTypeOf(type),
                     productOf(record),
                     vendorOf(record),
                     serialPathOf(record),
                     {"BCD", int(record.bcdDevice)},
                     // The format prints an absent number like this.
                     {"USB_SERIAL_NUMBER", record.usbSerialNumber.value_or(QStringLiteral("(null)"))}});
}

QVariantMap ptpInfo(std::int32_t type, const _connected_device& record) {
  return dictionary({locationId(record), eventTypeOf(type), productOf(record), vendorOf(record), serialPathOf(record)});
}

QVariantMap detachInfo(std::int32_t type, const _connected_device& record) {
  return dictionary({locationId(record),
                     eventTypeOf(type),
                     productOf(record),
                     vendorOf(record),
                     {"USB_SERIAL_NUMBER", textOrNothing(record.usbSerialNumber)},
                     serialPathOf(record)});
}

void postNotifier(const QVariantMap& userInfo) {
  platform::NotificationCenter::defaultCenter().post(QLatin1String(deviceNotification), userInfo);
}

void postDetach(const QVariantMap* userInfo) {
  auto& center = platform::NotificationCenter::defaultCenter();
  if (userInfo != nullptr)
    center.post(QLatin1String(deviceDetachNotification), *userInfo);
  else
    center.post(QLatin1String(deviceDetachNotification));
}

void announceNetworkAttach(const _connected_device& record) {
  postNotifier(dictionary({{"LocationId", textOrNothing(record.locationString)},
                           eventTypeOf(NetworkDeviceAttached),
                           {"Wifi_PORT", int(record.wifiPort)},
                           {"Wifi_IP", textOrNothing(record.wifiIP)},
                           {"PINNUMBER", record.pinNumber.value_or(QString())}}));
}

// Receivers know a network phone by its location string and a USB phone by its location; both forms are posted.
void announceNetworkDetach(const _connected_device& record) {
  const QVariant place = textOrNothing(record.locationString);
  postNotifier(dictionary({{"LocationId", place}, eventTypeOf(NetworkDeviceLeaving)}));
  const QVariantMap gone =
      dictionary({{"LocationId", place}, eventTypeOf(DeviceDetached), {"WIFIFLAG", QStringLiteral("True")}});
  postNotifier(gone);
  postDetach(&gone);
  postNotifier(detachInfo(NetworkDeviceDetached, record));
  postDetach(&gone);
}

} // namespace

DeviceEvents::~DeviceEvents() {
  const platform::Lock lock(m_mutex);
  if (eventTimer)
    eventTimer->invalidate();
}

void DeviceEvents::sendDeviceNotifyEvent(std::int32_t eventType, const _connected_device& record) {
  const auto now = platform::RunLoopTimer::Clock::now();
  MTPB_LOG("ENTER");
  {
    const platform::Lock lock(m_mutex);
    if (!DataPool)
      DataPool.emplace();
  }
  switch (eventType) {
  case DeviceAttached:
  case DeviceAttached3:
  case DeviceAttached9:
    pool(location(record), attachInfo(eventType, record));
    break;
  case PtpDeviceAttached:
    pool(location(record), ptpInfo(eventType, record));
    break;
  case FirstVolumeAppeared:
  case FirstVolumeGone:
    poolVolume(eventType, record, record.firstVolume.get());
    break;
  case SecondVolumeAppeared:
  case SecondVolumeGone:
    poolVolume(eventType, record, record.secondVolume.get());
    break;
  case DeviceDetached:
  case DeviceDetached4:
    postNotifier(detachInfo(eventType, record));
    postDetach(nullptr);
    break;
  case NetworkDeviceAttached:
    announceNetworkAttach(record);
    break;
  case NetworkDeviceDetached:
    announceNetworkDetach(record);
    break;
  case SerialPortSearched:
    postNotifier(dictionary({locationId(record), eventTypeOf(eventType)}));
    break;
  default:
    break;
  }
  // In the past already when it is set: the flush comes when the run loop is through with its present callbacks.
  auto flush = platform::RunLoop::current()->addTimer(now, [this] { sendDeviceNotifyEventThread(); });
  {
    const platform::Lock lock(m_mutex);
    if (eventTimer)
      eventTimer->invalidate();
    eventTimer = std::move(flush);
  }
  MTPB_LOG("EXIT");
}

void DeviceEvents::sendDeviceNotifyEventThread() {
  MTPB_LOG("ENTER");
  try {
    const platform::Lock lock(m_mutex);
    for (const auto& [key, userInfo] : DataPool.value_or(std::map<QString, QVariantMap>()))
      platform::runOnMain([userInfo = userInfo] { postNotifier(userInfo); });
    DataPool.reset();
    umsDiskCount = 0;
  } catch (const std::exception& exception) {
    MTPB_LOG("NSException: %s", exception.what());
  }
  MTPB_LOG("EXIT");
}

void DeviceEvents::pool(const QString& key, QVariantMap userInfo) {
  const platform::Lock lock(m_mutex);
  if (!DataPool)
    DataPool.emplace(); // another detector's flush came in between
  DataPool->insert_or_assign(key, std::move(userInfo));
}

void DeviceEvents::poolVolume(std::int32_t eventType, const _connected_device& record, const VolumeSlot* volume) {
  QVariantMap userInfo = dictionary({locationId(record),
                                     eventTypeOf(eventType),
                                     productOf(record),
                                     vendorOf(record),
                                     {"UmsPath", volume == nullptr ? QVariant() : textOrNothing(volume->volumePath)},
                                     serialPathOf(record)});
  std::int32_t count = 0;
  {
    const platform::Lock lock(m_mutex);
    count = ++umsDiskCount;
  }
  pool(location(record) + u'_' + QString::number(count), std::move(userInfo));
}

} // namespace detection
