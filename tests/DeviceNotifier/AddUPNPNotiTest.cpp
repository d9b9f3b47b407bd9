#include "DeviceNotifier/AddUPNPNoti.h"
#include "DeviceNotifier/DetectionTestSupport.h"
#include "support/ScriptedDeviceRegistry.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <thread>

using namespace detection;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

QVariantMap announcement(const QVariant& model, const QVariant& ip, const QVariant& port, const QVariant& pin) {
  QVariantMap info;
  const auto put = [&info](const char* key, const QVariant& value) {
    if (value.isValid())
      info.insert(QLatin1String(key), value);
  };
  put("ModelName", model);
  put("Wifi_IP", ip);
  put("Wifi_PORT", port);
  put("PinNumber", pin);
  return info;
}

QVariant text(const char* value) {
  return QString::fromUtf8(value);
}

// The test's thread is the handler's and the main one. The system-wide centre is a list of observers.
class UpnpNotifier : public testing::Test {
protected:
  UpnpNotifier() {
    AddUPNPNoti::Parts parts;
    parts.queue = m_queue;
    parts.events = m_events;
    parts.observeDistributed = [this](const QString& name, platform::NotificationCenter::Handler handler) {
      return m_distributed.observe(name, std::move(handler));
    };
    m_handler = std::make_unique<AddUPNPNoti>(std::move(parts));
    EXPECT_EQ(m_handler->addUPNPNotifier(), 0);
  }
  // Posts of one announcement.
  std::vector<Posted> announce(const QVariantMap& info) {
    m_distributed.post(QStringLiteral("BTVORN_NOTI_UPNP_DEVICE_NOTIFIER"), info);
    return m_posted.take();
  }
  std::vector<Posted> announcePhone() {
    return announce(announcement(text("PHONE"), text("10.0.0.5"), 42000, text("1234")));
  }
  std::vector<Posted> disconnect(const QVariantMap& info) {
    platform::NotificationCenter::defaultCenter().post(QStringLiteral("WIFI_DISCONNECT"), info);
    return m_posted.take();
  }
  std::vector<Posted> disconnect(const char* location) {
    return disconnect({{QStringLiteral("LocationId"), text(location)}});
  }
  // What the first record holds.
  template <class Value> Value ofFirst(Value _connected_device::*field) {
    Value value{};
    m_queue->find([&](const _connected_device& record) {
      value = record.*field;
      return true;
    });
    return value;
  }

  LogLines m_log;
  PostedNotifications m_posted;
  platform::NotificationCenter m_distributed;
  std::shared_ptr<DeviceQueue> m_queue = std::make_shared<DeviceQueue>();
  std::shared_ptr<DeviceEvents> m_events = std::make_shared<DeviceEvents>();
  std::unique_ptr<AddUPNPNoti> m_handler;
};

TEST_F(UpnpNotifier, AnAnnouncementWithIp10005AndPort42000GivesItsLocationStringAndLocationId10005) {
  const auto events = announcePhone();
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].name, QStringLiteral("BTVORN_NOTI_DEVICE_NOTIFIER"));
  EXPECT_EQ(events[0].userInfo, (QVariantMap{{QStringLiteral("LocationId"), QStringLiteral("10.0.0.5_42000")},
                                             {QStringLiteral("EventType"), 10},
                                             {QStringLiteral("Wifi_PORT"), 42000},
                                             {QStringLiteral("Wifi_IP"), QStringLiteral("10.0.0.5")},
                                             {QStringLiteral("PINNUMBER"), QStringLiteral("1234")}}));
  EXPECT_EQ(m_queue->size(), 1u);
  EXPECT_EQ(ofFirst(&_connected_device::locationID), 10005u);
  EXPECT_EQ(ofFirst(&_connected_device::locationString), QStringLiteral("10.0.0.5_42000"));
  EXPECT_EQ(ofFirst(&_connected_device::deviceName), QStringLiteral("PHONE"));
  EXPECT_EQ(ofFirst(&_connected_device::productID), 0x0111);
  EXPECT_EQ(ofFirst(&_connected_device::vendorID), 0);
  EXPECT_EQ(ofFirst(&_connected_device::wifiIP), QStringLiteral("10.0.0.5"));
  EXPECT_EQ(ofFirst(&_connected_device::wifiPort), 42000);
  EXPECT_EQ(ofFirst(&_connected_device::pinNumber), QStringLiteral("1234"));
  EXPECT_TRUE(m_log.has(QStringLiteral("Registered with notification center")));
  EXPECT_THAT(m_log.containing(QStringLiteral("Received notification: ")), SizeIs(1));
  EXPECT_TRUE(m_log.has(QStringLiteral("OK DEVICE_ATTACHTED !!")));
  EXPECT_THAT(m_log.containing(QStringLiteral("CRTICAL")), IsEmpty());
}

TEST_F(UpnpNotifier, AnEmptyPinNumberGivesAnEmptyPinnumberInEvent10) {
  const auto events = announce(announcement(text("PHONE"), text("10.0.0.5"), 42000, text("")));
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].userInfo.value(QStringLiteral("PINNUMBER")), QVariant(QString()));
  EXPECT_EQ(ofFirst(&_connected_device::pinNumber), std::nullopt);
  EXPECT_THAT(m_log.containing(QStringLiteral("CRTICAL")), IsEmpty());
}

TEST_F(UpnpNotifier, AMatchingDisconnectProducesTheSequenceOfEvent11OnceAndFreesTheRecord) {
  announcePhone();
  m_log.clear();
  const auto events = disconnect("10.0.0.5_42000");
  ASSERT_THAT(events, SizeIs(5));
  EXPECT_EQ(events[0].type(), -2);
  EXPECT_EQ(events[1].type(), 2);
  EXPECT_TRUE(events[2].isDetach());
  EXPECT_EQ(events[3].type(), 11);
  EXPECT_TRUE(events[4].isDetach());
  EXPECT_EQ(events[1].text("LocationId"), QStringLiteral("10.0.0.5_42000"));
  EXPECT_EQ(events[1].text("WIFIFLAG"), QStringLiteral("True"));
  EXPECT_EQ(m_queue->size(), 0u);
  EXPECT_TRUE(m_log.has(QStringLiteral("Device removed.")));
}

TEST_F(UpnpNotifier, ASecondDisconnectOfTheSameLocationDoesNothing) {
  announcePhone();
  announce(announcement(text("OTHER"), text("10.0.0.6"), 42000, text("")));
  EXPECT_THAT(disconnect("10.0.0.5_42000"), SizeIs(5));
  EXPECT_THAT(disconnect("10.0.0.5_42000"), IsEmpty());
  EXPECT_EQ(m_queue->size(), 1u);
}

TEST_F(UpnpNotifier, ADisconnectOfAnUnknownMissingOrMistypedLocationChangesNothing) {
  EXPECT_THAT(disconnect("10.0.0.5_42000"), IsEmpty());   // the queue is empty
  m_queue->append(std::make_unique<_connected_device>()); // a USB phone has no location string
  announcePhone();
  EXPECT_THAT(disconnect("10.0.0.5_42001"), IsEmpty());
  EXPECT_THAT(disconnect(""), IsEmpty());
  EXPECT_THAT(disconnect(QVariantMap()), IsEmpty());
  EXPECT_THAT(disconnect({{QStringLiteral("LocationId"), 42000}}), IsEmpty());
  EXPECT_THAT(disconnect({{QStringLiteral("LocationId"), QStringList{QStringLiteral("10.0.0.5_42000")}}}), IsEmpty());
  EXPECT_EQ(m_queue->size(), 2u);
}

TEST_F(UpnpNotifier, ThePhoneAnnouncedTwiceIsTwoRecordsAndTwoAttachEvents) {
  EXPECT_THAT(announcePhone(), SizeIs(1));
  EXPECT_THAT(announcePhone(), SizeIs(1));
  EXPECT_EQ(m_queue->size(), 2u);
  EXPECT_THAT(disconnect("10.0.0.5_42000"), SizeIs(5));
  EXPECT_EQ(m_queue->size(), 1u);
}

TEST_F(UpnpNotifier, EachAbsentValueIsLoggedInItsOrderAndTheRecordIsAnnouncedAllTheSame) {
  const auto events = announce({});
  EXPECT_THAT(
      m_log.containing(QStringLiteral("CRTICAL")),
      ElementsAre(QStringLiteral("CRTICAL - ModelName is nil !!!"), QStringLiteral("CRTICAL - Wifi_IP is nil !!!"),
                  QStringLiteral("CRTICAL - Wifi_PORT is nil !!!"), QStringLiteral("CRTICAL - PinNumber is nil !!!")));
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].userInfo, (QVariantMap{{QStringLiteral("LocationId"), QStringLiteral("(null)_(null)")},
                                             {QStringLiteral("EventType"), 10},
                                             {QStringLiteral("Wifi_PORT"), 0}}));
  EXPECT_EQ(ofFirst(&_connected_device::locationID), 0u);
  EXPECT_EQ(ofFirst(&_connected_device::deviceName), std::nullopt);
  EXPECT_EQ(m_queue->size(), 1u);
}

TEST_F(UpnpNotifier, AnAbsentAddressEndsTheUserInfoBeforeItsKey) {
  const auto events = announce(announcement(text("PHONE"), {}, 42000, text("1234")));
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].userInfo.keys(),
            QStringList({QStringLiteral("EventType"), QStringLiteral("LocationId"), QStringLiteral("Wifi_PORT")}));
  EXPECT_EQ(events[0].text("LocationId"), QStringLiteral("(null)_42000"));
}

TEST_F(UpnpNotifier, ValuesOfTheWrongTypeCountAsAbsent) {
  announce(announcement(5, QStringList{QStringLiteral("10.0.0.5")}, QStringList{QStringLiteral("1")}, true));
  EXPECT_THAT(m_log.containing(QStringLiteral("CRTICAL")), SizeIs(4));
  EXPECT_EQ(ofFirst(&_connected_device::wifiPort), 0);
  EXPECT_EQ(ofFirst(&_connected_device::pinNumber), std::nullopt);
}

TEST_F(UpnpNotifier, ThePortIsATextOrANumberReadAsAnInteger) {
  const auto port = [this](const QVariant& value) {
    const auto events = announce(announcement(text("PHONE"), text("1.2.3.4"), value, text("")));
    EXPECT_THAT(events, SizeIs(1));
    const Posted event = events.empty() ? Posted() : events.front();
    return event.text("LocationId").mid(8) + u' ' + event.text("Wifi_PORT");
  };
  EXPECT_EQ(port(text("42000")), QStringLiteral("42000 42000"));
  EXPECT_EQ(port(text("42000x")), QStringLiteral("42000x 42000"));
  EXPECT_EQ(port(text("none")), QStringLiteral("none 0"));
  EXPECT_EQ(port(text("-5")), QStringLiteral("-5 -5"));
  EXPECT_EQ(port(text("99999999999999999999999")), QStringLiteral("99999999999999999999999 2147483647"));
  EXPECT_EQ(port(QVariant::fromValue<quint16>(65535)), QStringLiteral("65535 65535"));
  EXPECT_EQ(port(QVariant::fromValue(std::numeric_limits<qint64>::min())),
            QStringLiteral("-9223372036854775808 -2147483648"));
  EXPECT_EQ(port(QVariant::fromValue(~quint64(0))), QStringLiteral("18446744073709551615 2147483647"));
  EXPECT_EQ(port(42000.7), QStringLiteral("42000.7 42000"));
  EXPECT_TRUE(port(std::nan("")).endsWith(QStringLiteral(" 0")));
  EXPECT_TRUE(port(-std::numeric_limits<double>::infinity()).endsWith(QStringLiteral(" -2147483648")));
}

TEST_F(UpnpNotifier, TheLocationIdIsTheAddressWithoutItsDotsInItsLow32Bits) {
  const auto locationId = [this](const char* ip) {
    announce(announcement(text("PHONE"), text(ip), 1, text("")));
    const std::uint32_t id = ofFirst(&_connected_device::locationID);
    m_queue->takeFirst([](const _connected_device&) { return true; });
    return id;
  };
  EXPECT_EQ(locationId("192.168.0.12"), 192168012u);
  EXPECT_EQ(locationId("255.255.255.255"), std::uint32_t(255255255255ull));
  EXPECT_EQ(locationId("fe80::1"), 0u);
  EXPECT_EQ(locationId("12 monkeys"), 12u);
  EXPECT_EQ(locationId(std::string(50'000, '9').c_str()), 0xffffffffu);
  EXPECT_EQ(locationId("日本"), 0u);
}

TEST_F(UpnpNotifier, HugeTextsAreTakenAsTheyAreAndLoggedShortened) {
  const QString huge(65'536, u'9');
  const auto events = announce(announcement(huge, huge, huge, huge));
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].text("Wifi_IP").size(), huge.size());
  for (const QString& line : m_log.lines())
    EXPECT_LT(line.size(), 1100);
}

TEST_F(UpnpNotifier, AFloodOfAnnouncementsFillsTheQueueOnlySoFar) {
  for (std::size_t i = 0; i < mostConnectedDevices + 20; ++i)
    announcePhone();
  EXPECT_EQ(m_queue->size(), mostConnectedDevices);
  EXPECT_EQ(m_log.count(QStringLiteral("too many devices, this one is passed over")), 20);
}

TEST_F(UpnpNotifier, RemovedItHearsOfNeitherNotification) {
  announcePhone();
  EXPECT_EQ(m_handler->removeUPNPNotifier(), 0);
  EXPECT_TRUE(m_log.has(QStringLiteral("Unregistered with notification center")));
  EXPECT_THAT(announcePhone(), IsEmpty());
  EXPECT_THAT(disconnect("10.0.0.5_42000"), IsEmpty());
  EXPECT_EQ(m_queue->size(), 1u);
}

TEST_F(UpnpNotifier, WhoeverHearsOfAnAttachMayDisconnectThePhoneAtOnce) {
  const auto observation = platform::NotificationCenter::defaultCenter().observe(
      QStringLiteral("BTVORN_NOTI_DEVICE_NOTIFIER"), [](const platform::Notification& notification) {
        if (notification.userInfo.value(QStringLiteral("EventType")) == QVariant(10))
          platform::NotificationCenter::defaultCenter().post(
              QStringLiteral("WIFI_DISCONNECT"),
              {{QStringLiteral("LocationId"), notification.userInfo.value(QStringLiteral("LocationId"))}});
      });
  EXPECT_THAT(announcePhone(), SizeIs(6));
  EXPECT_EQ(m_queue->size(), 0u);
}

TEST_F(UpnpNotifier, ADisconnectOnAThreadWithoutARunLoopDoesNotKeepPooledEvents) {
  announcePhone();
  _connected_device usbPhone;
  usbPhone.serialPath = QString();
  m_events->sendDeviceNotifyEvent(DeviceAttached, usbPhone); // pooled until this thread's run loop turns
  std::thread([] {
    platform::NotificationCenter::defaultCenter().post(
        QStringLiteral("WIFI_DISCONNECT"), {{QStringLiteral("LocationId"), QStringLiteral("10.0.0.5_42000")}});
  }).join();
  ASSERT_TRUE(eventually([this] { return m_posted.types().size() == 4; }));
  EXPECT_THAT(m_posted.types(), ElementsAre(-2, 2, 11, 1));
}

TEST_F(UpnpNotifier, ARecordIsFreedWithTheLinesOfItsParts) {
  m_log.clear();
  AddUPNPNoti::ConnectedDeviceFree(nullptr);
  EXPECT_EQ(m_log.lines(), QStringList{QStringLiteral("pConnectedDevice is NULL.")});
  m_log.clear();
  auto record = std::make_unique<_connected_device>();
  record->deviceInterface = std::make_unique<scripted::Interface>(scripted::Service(QStringLiteral("a")));
  record->firstVolume = std::make_unique<VolumeSlot>();
  AddUPNPNoti::ConnectedDeviceFree(std::move(record));
  EXPECT_EQ(m_log.lines(), QStringList({QStringLiteral("(*pConnectedDevice->deviceInterface)->Release( "
                                                       "pConnectedDevice->deviceInterface ) = 0"),
                                        QStringLiteral("EXIT")}));
}

} // namespace
