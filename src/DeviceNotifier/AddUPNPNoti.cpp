#include "DeviceNotifier/AddUPNPNoti.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"

#include <QDebug>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace detection {
namespace {

constexpr qsizetype longestLogged = 1000; // characters of another program's

QString described(const platform::Notification& notification) {
  QString text;
  QDebug(&text).nospace() << notification.name << " " << notification.userInfo;
  return text.left(longestLogged);
}

// The number that a text begins with, 0 when it begins with none.
std::int64_t leadingNumber(const QString& text) {
  return std::strtoll(text.toLatin1().constData(), nullptr, 10);
}

template <class Number> std::int32_t clamped(Number value) {
  return std::int32_t(
      std::clamp<Number>(value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

// What an announcement tells, without values of another type than theirs.
struct Announcement {
  std::optional<QString> modelName, wifiIP, pinNumber;
  std::optional<QString> portText; // as it was sent
  std::int32_t port = 0;

  explicit Announcement(const QVariantMap& userInfo)
      : modelName(text(userInfo, "ModelName"))
      , wifiIP(text(userInfo, "Wifi_IP"))
      , pinNumber(text(userInfo, "PinNumber")) {
    readPort(userInfo.value(QStringLiteral("Wifi_PORT")));
  }

  std::unique_ptr<_connected_device> record() const {
    auto made = std::make_unique<_connected_device>();
    made->deviceName = modelName;
    made->productID = networkProductId;
    const QString none = QStringLiteral("(null)"); // how a format prints what is absent
    made->locationString = wifiIP.value_or(none) + u'_' + portText.value_or(none);
    made->locationID = std::uint32_t(leadingNumber(QString(wifiIP.value_or(QString())).remove(u'.')));
    made->wifiIP = wifiIP;
    made->wifiPort = port;
    if (pinNumber && !pinNumber->isEmpty())
      made->pinNumber = pinNumber;
    return made;
  }

private:
  static std::optional<QString> text(const QVariantMap& userInfo, const char* key) {
    const QVariant value = userInfo.value(QLatin1String(key));
    return value.typeId() == QMetaType::QString ? std::optional<QString>(value.toString()) : std::nullopt;
  }

  void readPort(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QString:
      port = clamped(leadingNumber(value.toString()));
      break;
    case QMetaType::Double:
      port = std::isnan(value.toDouble()) ? 0 : clamped(value.toDouble());
      break;
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
      port = clamped(value.toLongLong());
      break;
    case QMetaType::ULongLong:
      port = clamped(qint64(std::min(value.toULongLong(), quint64(INT64_MAX))));
      break;
    default:
      return;
    }
    portText = value.toString();
  }
};

} // namespace

AddUPNPNoti::AddUPNPNoti(Parts parts)
    : m_parts(std::move(parts)) {}

std::int32_t AddUPNPNoti::addUPNPNotifier() {
  MTPB_LOG("Registered with notification center");
  m_deviceInfo = m_parts.observeDistributed(
      QLatin1String(networkDeviceNotification),
      [this](const platform::Notification& notification) { handleDeviceInfo(notification); });
  m_disconnect = platform::NotificationCenter::defaultCenter().observe(
      QLatin1String(networkDisconnectNotification),
      [this](const platform::Notification& notification) { onReceiveDisConnectedNotification(notification); });
  return 0;
}

std::int32_t AddUPNPNoti::removeUPNPNotifier() {
  MTPB_LOG("Unregistered with notification center");
  m_deviceInfo.reset();
  m_disconnect.reset();
  return 0;
}

void AddUPNPNoti::handleDeviceInfo(const platform::Notification& notification) {
  MTPB_LOG("Received notification: %s", qUtf8Printable(described(notification)));
  const Announcement announcement(notification.userInfo);
  if (!announcement.modelName)
    MTPB_LOG("CRTICAL - ModelName is nil !!!");
  if (!announcement.wifiIP)
    MTPB_LOG("CRTICAL - Wifi_IP is nil !!!");
  if (!announcement.portText)
    MTPB_LOG("CRTICAL - Wifi_PORT is nil !!!");
  if (!announcement.pinNumber)
    MTPB_LOG("CRTICAL - PinNumber is nil !!!");
  if (m_parts.queue->size() >= mostConnectedDevices) {
    MTPB_LOG("too many devices, this one is passed over");
    return;
  }
  m_parts.queue->append(announcement.record());
  MTPB_LOG("OK DEVICE_ATTACHTED !!");
  // Of a record of our own: the queued one may be disconnected on another thread, or by whoever hears of it.
  m_parts.events->sendDeviceNotifyEvent(NetworkDeviceAttached, *announcement.record());
}

void AddUPNPNoti::onReceiveDisConnectedNotification(const platform::Notification& notification) {
  MTPB_LOG("ENTER");
  const QVariant location = notification.userInfo.value(QStringLiteral("LocationId"));
  if (m_parts.queue->size() == 0)
    return;
  const auto left = [&location](const _connected_device& record) {
    return location.typeId() == QMetaType::QString && record.locationString == location.toString();
  };
  if (auto removed = m_parts.queue->takeFirst(left)) {
    MTPB_LOG("Device removed.");
    m_parts.events->sendDeviceNotifyEvent(NetworkDeviceDetached, *removed);
    ConnectedDeviceFree(std::move(removed));
    // The event has moved the flush to this thread, which need not drive a run loop.
    platform::runOnMain([events = m_parts.events] { events->sendDeviceNotifyEventThread(); });
  }
  MTPB_LOG("EXIT");
}

void AddUPNPNoti::ConnectedDeviceFree(std::unique_ptr<_connected_device> pConnectedDevice) {
  if (pConnectedDevice == nullptr) {
    MTPB_LOG("pConnectedDevice is NULL.");
    return;
  }
  if (pConnectedDevice->deviceInterface) {
    pConnectedDevice->deviceInterface.reset();
    MTPB_LOG("(*pConnectedDevice->deviceInterface)->Release( pConnectedDevice->deviceInterface ) = %d", 0);
  }
  if (pConnectedDevice->notification) {
    pConnectedDevice->notification.reset();
    MTPB_LOG("IOObjectRelease( pConnectedDevice->notification ) result= %d", 0);
  }
  pConnectedDevice.reset();
  MTPB_LOG("EXIT");
}

} // namespace detection
