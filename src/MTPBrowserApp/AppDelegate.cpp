#include "MTPBrowserApp/AppDelegate.h"

#include "MTPBrowser.h"
#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"

#include <QDebug>

namespace {

const QString deviceNotification = QStringLiteral("BTVORN_NOTI_DEVICE_NOTIFIER");
const QString supportNotification = QStringLiteral("QX_DEVICECENTER_SUPPORTTOOL");
constexpr int attachEvent = 1;

QString describe(const QVariantMap& userInfo) {
  QString text;
  QDebug(&text).nospace() << userInfo;
  return text;
}

} // namespace

AppDelegate::AppDelegate(ApplicationParts parts)
    : m_parts(std::move(parts)) {}

AppDelegate::~AppDelegate() {
  *m_alive = false;
  m_deviceObservation.reset();
}

void AppDelegate::applicationDidFinishLaunching() {
  platform::assertMainThread();
  _pDeviceNotifier = m_parts.createNotifier();
  registerNotification();
  m_defaultAppDataPath = QStringLiteral("%1/Tessaly/Larkspur/AppDatas").arg(m_parts.homeFolder);
  _pDeviceNotifier->start();
  m_mtpBrowser = m_parts.createBrowser();
  if (m_mtpBrowser)
    m_mtpBrowser->showWindow();
  if (platform::userDefaults::boolForKey(QStringLiteral("START_CAPTURE")))
    m_parts.captureLog->start(m_defaultAppDataPath);
}

void AppDelegate::applicationWillTerminate() {
  platform::assertMainThread();
  m_deviceObservation.reset();
  if (_pDeviceNotifier)
    _pDeviceNotifier->stop();
}

void AppDelegate::registerNotification() {
  platform::assertMainThread();
  m_deviceObservation = platform::NotificationCenter::defaultCenter().observe(
      deviceNotification,
      [this](const platform::Notification& notification) { OnReceiveDeviceNotifierNotification(notification); });
  m_parts.supportTool->observe(supportNotification,
                               [this, alive = m_alive](const QString& name, const QVariantMap& userInfo) {
                                 if (*alive)
                                   onReceiveDeviceCenterSupportToolNoti(name, userInfo);
                               });
}

void AppDelegate::startConnectDevice() {
  platform::assertMainThread();
  const QString location = locationId();
  // A detach may have come between the attach and this turn of the main queue: nothing is left to connect to.
  if (m_mtpBrowser && !location.isNull())
    m_mtpBrowser->connectDevice(location);
}

void AppDelegate::OnReceiveDeviceNotifierNotification(const platform::Notification& notification) {
  if (notification.name != deviceNotification) {
    MTPB_LOG("Not a DeviceNotifier Event");
    return;
  }
  MTPB_LOG("Device Event Received, %s", qUtf8Printable(describe(notification.userInfo)));
  const int eventType = notification.userInfo.value(QStringLiteral("EventType")).toInt();
  if (eventType == attachEvent) {
    {
      const platform::Lock lock(m_mutex);
      if (_locationId.isNull())
        _locationId = notification.userInfo.value(QStringLiteral("LocationId")).toString();
    }
    m_parts.mainQueue([this, alive = m_alive] {
      if (*alive)
        startConnectDevice();
    });
    return;
  }
  // Whatever is not an attach ends the application, the picture-transfer attach (12) and the search for a serial port
  // (14) included: this program serves one phone in file-transfer mode and nothing else.
  m_parts.mainQueue([this, alive = m_alive] {
    if (*alive && m_mtpBrowser)
      m_mtpBrowser->deviceDisconnected();
  });
  const platform::Lock lock(m_mutex);
  _locationId = QString();
}

void AppDelegate::onReceiveDeviceCenterSupportToolNoti(const QString& name, const QVariantMap& userInfo) {
  platform::assertMainThread();
  if (name != supportNotification)
    return;
  const QVariant command = userInfo.value(QStringLiteral("TYPE"));
  if (command.typeId() != QMetaType::QString)
    return; // a list of one text would turn into that text
  const QString type = command.toString();
  if (type == u"DEBUG_LEVEL")
    MTPB_LOG_PLAIN("Receive Log level = %d", userInfo.value(QStringLiteral("VALUE")).toInt());
  if (type == u"START_CAPTURE")
    m_parts.captureLog->start(m_defaultAppDataPath);
  if (type == u"STOP_CAPTURE")
    m_parts.captureLog->stop(m_defaultAppDataPath);
}

QString AppDelegate::locationId() const {
  const platform::Lock lock(m_mutex);
  return _locationId;
}
