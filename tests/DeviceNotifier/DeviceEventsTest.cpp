#include "DeviceNotifier/DeviceEvents.h"
#include "DeviceNotifier/DetectionTestSupport.h"

#include <gmock/gmock.h>

#include <thread>

using namespace detection;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace {

// The test's thread is both the detector's, with its run loop, and the main thread.
class DeviceEventsTest : public testing::Test {
protected:
  DeviceEventsTest() {
    m_record.locationID = 0x14200000;
    m_record.vendorID = 0x7e55;
    m_record.productID = 0x4160;
    m_record.bcdDevice = 0x0404;
    m_record.serialPath = QStringLiteral("/dev/ttyACM0");
    m_record.usbSerialNumber = QStringLiteral("LS0001");
  }
  void send(std::int32_t type) { m_events.sendDeviceNotifyEvent(type, m_record); }
  static void runLoopPass() { platform::RunLoop::current()->runFor(std::chrono::milliseconds(0)); }
  // Everything posted, pooled events included.
  std::vector<Posted> posted() {
    runLoopPass();
    drainMainQueue();
    return m_posted.take();
  }
  Posted only() {
    const auto all = posted();
    EXPECT_THAT(all, SizeIs(1));
    return all.empty() ? Posted() : all.front();
  }

  LogLines m_log;
  PostedNotifications m_posted;
  DeviceEvents m_events;
  _connected_device m_record;
};

QVariantMap attachInfo(int type) {
  return {{QStringLiteral("LocationId"), QStringLiteral("14200000")},
          {QStringLiteral("EventType"), type},
          {QStringLiteral("Pid"), 0x4160},
          {QStringLiteral("Vid"), 0x7e55},
          {QStringLiteral("SerialPath"), QStringLiteral("/dev/ttyACM0")},
          {QStringLiteral("BCD"), 0x0404},
          {QStringLiteral("USB_SERIAL_NUMBER"), QStringLiteral("LS0001")}};
}

QVariantMap without(QVariantMap map, std::initializer_list<const char*> keys) {
  for (const char* key : keys)
    map.remove(QLatin1String(key));
  return map;
}

TEST_F(DeviceEventsTest, AttachIsPooledAndDeliveredAfterTheRunLoopsPassAndTheMainQueue) {
  send(1);
  drainMainQueue();
  EXPECT_THAT(m_posted.all(), IsEmpty());
  runLoopPass();
  EXPECT_THAT(m_posted.all(), IsEmpty()); // on the main queue now
  drainMainQueue();
  const auto all = m_posted.take();
  ASSERT_THAT(all, SizeIs(1));
  EXPECT_EQ(all.front().name, QStringLiteral("BTVORN_NOTI_DEVICE_NOTIFIER"));
  EXPECT_EQ(all.front().userInfo, attachInfo(1));
}

TEST_F(DeviceEventsTest, TypesThreeAndNineAreHandledLikeOne) {
  send(3);
  EXPECT_EQ(only().userInfo, attachInfo(3));
  send(9);
  EXPECT_EQ(only().userInfo, attachInfo(9));
}

TEST_F(DeviceEventsTest, PtpAttachHasNoReleaseAndNoSerialNumber) {
  send(12);
  EXPECT_EQ(only().userInfo, without(attachInfo(12), {"BCD", "USB_SERIAL_NUMBER"}));
}

TEST_F(DeviceEventsTest, AnAbsentSerialNumberReadsNullInAPooledEvent) {
  m_record.usbSerialNumber.reset();
  send(1);
  EXPECT_EQ(only().text("USB_SERIAL_NUMBER"), QStringLiteral("(null)"));
}

TEST_F(DeviceEventsTest, AnAbsentValueDropsItsKeyAndAllKeysAfterIt) {
  m_record.serialPath.reset();
  send(1);
  EXPECT_EQ(only().userInfo, without(attachInfo(1), {"SerialPath", "BCD", "USB_SERIAL_NUMBER"}));
}

TEST_F(DeviceEventsTest, TwoAttachesOfOneLocationInOnePassLeaveOnlyTheLater) {
  send(1);
  m_record.productID = 0x4165;
  send(12);
  EXPECT_EQ(only().type(), 12);
}

TEST_F(DeviceEventsTest, AttachesOfTwoLocationsAreBothDelivered) {
  send(1);
  m_record.locationID = 0x1a;
  send(1);
  std::vector<QString> locations;
  for (const Posted& one : posted())
    locations.push_back(one.text("LocationId"));
  EXPECT_THAT(locations, UnorderedElementsAre(QStringLiteral("14200000"), QStringLiteral("1A")));
}

TEST_F(DeviceEventsTest, LocationsAreUpperCaseHexadecimalWithoutLeadingZeros) {
  m_record.locationID = 0x1a;
  send(2);
  EXPECT_EQ(m_posted.take().front().text("LocationId"), QStringLiteral("1A"));
  m_record.locationID = 0x14200000;
  send(2);
  EXPECT_EQ(m_posted.take().front().text("LocationId"), QStringLiteral("14200000"));
  m_record.locationID = 0;
  send(2);
  EXPECT_EQ(m_posted.take().front().text("LocationId"), QStringLiteral("0"));
}

TEST_F(DeviceEventsTest, TwoVolumeEventsOfOneLocationAreBothDelivered) {
  m_record.locationID = 0x1a;
  m_record.firstVolume = std::make_unique<VolumeSlot>();
  m_record.firstVolume->volumePath = QStringLiteral("/media/Phone");
  m_record.secondVolume = std::make_unique<VolumeSlot>();
  m_record.secondVolume->volumePath = QStringLiteral("/media/Card");
  send(5);
  send(7);
  auto all = posted();
  ASSERT_THAT(all, SizeIs(2));
  std::sort(all.begin(), all.end(), [](const Posted& a, const Posted& b) { return a.type() < b.type(); });
  QVariantMap expected = without(attachInfo(5), {"BCD", "USB_SERIAL_NUMBER"});
  expected[QStringLiteral("LocationId")] = QStringLiteral("1A");
  expected[QStringLiteral("UmsPath")] = QStringLiteral("/media/Phone");
  EXPECT_EQ(all[0].userInfo, expected);
  expected[QStringLiteral("EventType")] = 7;
  expected[QStringLiteral("UmsPath")] = QStringLiteral("/media/Card");
  EXPECT_EQ(all[1].userInfo, expected);
}

TEST_F(DeviceEventsTest, TheSameVolumeEventTwiceIsDeliveredTwice) {
  m_record.firstVolume = std::make_unique<VolumeSlot>();
  m_record.firstVolume->volumePath = QStringLiteral("/media/Phone");
  send(6);
  send(6);
  EXPECT_THAT(posted(), SizeIs(2));
  send(8);
  EXPECT_THAT(posted(), SizeIs(1));
}

TEST_F(DeviceEventsTest, AVolumeEventWithoutItsSlotEndsBeforeThePath) {
  send(7);
  EXPECT_EQ(only().userInfo, without(attachInfo(7), {"SerialPath", "BCD", "USB_SERIAL_NUMBER"}));
}

TEST_F(DeviceEventsTest, DetachIsDeliveredAtOnceBeforePooledEventsAndFollowedByTheDetachWithoutUserInfo) {
  send(1);
  send(2);
  const auto all = m_posted.take();
  ASSERT_THAT(all, SizeIs(2));
  EXPECT_EQ(all[0].userInfo, without(attachInfo(2), {"BCD"}));
  EXPECT_EQ(all[1].name, QStringLiteral("BTVORN_NOTI_DEVICE_DETTACH"));
  EXPECT_FALSE(all[1].hasUserInfo);
  EXPECT_EQ(only().type(), 1);
}

TEST_F(DeviceEventsTest, TypeFourIsHandledLikeTwo) {
  send(4);
  const auto all = m_posted.take();
  ASSERT_THAT(all, SizeIs(2));
  EXPECT_EQ(all[0].type(), 4);
  EXPECT_TRUE(all[1].isDetach());
}

TEST_F(DeviceEventsTest, ADetachWithoutSerialNumberEndsBeforeIt) {
  m_record.usbSerialNumber.reset();
  send(2);
  EXPECT_EQ(m_posted.take().front().userInfo, without(attachInfo(2), {"USB_SERIAL_NUMBER", "SerialPath", "BCD"}));
}

TEST_F(DeviceEventsTest, TheSerialPortSearchIsAnnouncedAtOnceWithTheLocationAlone) {
  send(14);
  const auto all = m_posted.take();
  ASSERT_THAT(all, SizeIs(1));
  EXPECT_EQ(all.front().userInfo, (QVariantMap{{QStringLiteral("LocationId"), QStringLiteral("14200000")},
                                               {QStringLiteral("EventType"), 14}}));
}

class NetworkEvents : public DeviceEventsTest {
protected:
  NetworkEvents() {
    m_record.locationString = QStringLiteral("192.168.0.12_42000");
    m_record.wifiIP = QStringLiteral("192.168.0.12");
    m_record.wifiPort = 42000;
  }
};

TEST_F(NetworkEvents, AttachIsDeliveredAtOnceWithAnEmptyPinWhereThereIsNone) {
  send(10);
  const auto all = m_posted.take();
  ASSERT_THAT(all, SizeIs(1));
  EXPECT_EQ(all.front().userInfo, (QVariantMap{{QStringLiteral("LocationId"), QStringLiteral("192.168.0.12_42000")},
                                               {QStringLiteral("EventType"), 10},
                                               {QStringLiteral("Wifi_PORT"), 42000},
                                               {QStringLiteral("Wifi_IP"), QStringLiteral("192.168.0.12")},
                                               {QStringLiteral("PINNUMBER"), QString()}}));
  m_record.pinNumber = QStringLiteral("0042");
  m_record.wifiIP.reset();
  send(10);
  EXPECT_EQ(m_posted.take().front().userInfo.keys(),
            QStringList({QStringLiteral("EventType"), QStringLiteral("LocationId"), QStringLiteral("Wifi_PORT")}));
}

TEST_F(NetworkEvents, DetachPostsFiveNotificationsInItsOrder) {
  send(11);
  const auto all = m_posted.take();
  ASSERT_THAT(all, SizeIs(5));
  const QString place = QStringLiteral("192.168.0.12_42000");
  const QVariantMap leaving{{QStringLiteral("LocationId"), place}, {QStringLiteral("EventType"), -2}};
  const QVariantMap gone{{QStringLiteral("LocationId"), place},
                         {QStringLiteral("EventType"), 2},
                         {QStringLiteral("WIFIFLAG"), QStringLiteral("True")}};
  EXPECT_FALSE(all[0].isDetach());
  EXPECT_EQ(all[0].userInfo, leaving);
  EXPECT_FALSE(all[1].isDetach());
  EXPECT_EQ(all[1].userInfo, gone);
  EXPECT_TRUE(all[2].isDetach());
  EXPECT_EQ(all[2].userInfo, gone);
  EXPECT_FALSE(all[3].isDetach());
  EXPECT_EQ(all[3].userInfo, without(attachInfo(11), {"BCD"}));
  EXPECT_TRUE(all[4].isDetach());
  EXPECT_EQ(all[4].userInfo, gone);
}

TEST_F(DeviceEventsTest, UnknownTypesPostNothingButStillArmTheFlush) {
  for (const int type : {0, 13, 15, -1, -2, 1000}) {
    send(type);
    EXPECT_EQ(m_log.count(QStringLiteral("ENTER")), 1);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_EQ(m_log.count(QStringLiteral("ENTER")), 2) << "the flush has run, too";
    m_log.clear();
  }
}

TEST_F(DeviceEventsTest, ABurstIsFlushedOnce) {
  for (std::uint32_t location = 1; location <= 5; ++location) {
    m_record.locationID = location;
    send(1);
  }
  EXPECT_EQ(m_log.count(QStringLiteral("ENTER")), 5);
  EXPECT_THAT(posted(), SizeIs(5));
  EXPECT_EQ(m_log.count(QStringLiteral("ENTER")), 6);
  EXPECT_EQ(m_log.count(QStringLiteral("EXIT")), 6);
}

TEST_F(DeviceEventsTest, AFlushedEventIsNotDeliveredAgain) {
  send(1);
  EXPECT_THAT(posted(), SizeIs(1));
  send(14);
  EXPECT_EQ(only().type(), 14);
}

TEST_F(DeviceEventsTest, ImmediateEventsArriveOnTheDetectorsThreadAndPooledOnesOnTheMainThread) {
  std::thread detector([this] {
    send(1);
    send(14);
    runLoopPass();
  });
  detector.join();
  auto all = m_posted.take();
  ASSERT_THAT(all, SizeIs(1));
  EXPECT_EQ(all.front().type(), 14);
  EXPECT_FALSE(all.front().onMainThread);
  drainMainQueue();
  all = m_posted.take();
  ASSERT_THAT(all, SizeIs(1));
  EXPECT_EQ(all.front().type(), 1);
  EXPECT_TRUE(all.front().onMainThread);
}

TEST_F(DeviceEventsTest, TwoDetectorsMayAnnounceAtTheSameTime) {
  const auto detector = [this](std::uint32_t first) {
    _connected_device record;
    record.serialPath = QString();
    for (std::uint32_t i = 0; i < 100; ++i) {
      record.locationID = first + i;
      m_events.sendDeviceNotifyEvent(1, record);
      runLoopPass();
    }
    // The other's announcement may have taken over the flush of the last one.
    m_events.sendDeviceNotifyEvent(13, record);
    runLoopPass();
  };
  std::thread other(detector, 1000);
  detector(1);
  other.join();
  m_events.sendDeviceNotifyEventThread();
  drainMainQueue();
  EXPECT_THAT(m_posted.take(), SizeIs(200));
}

TEST(DeviceEvents, EndedBeforeTheirFlushPostNothing) {
  const LogLines log;
  PostedNotifications posted;
  {
    DeviceEvents events;
    events.sendDeviceNotifyEvent(1, _connected_device());
  }
  platform::RunLoop::current()->runFor(std::chrono::milliseconds(0));
  drainMainQueue();
  EXPECT_THAT(posted.all(), IsEmpty());
}

} // namespace
