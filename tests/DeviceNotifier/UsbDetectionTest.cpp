// From a mocked USB through the real libudev to the posted notifications. Needs umockdev's wrapper.
#include "DeviceNotifier/BTVornDeviceNotifier.h"
#include "DeviceNotifier/DetectionTestSupport.h"
#include "Platform/UdevDeviceRegistry.h"
#include "Platform/UdevVolumes.h"
#include "Platform/Workers.h"
#include "support/UdevBed.h"

#include <gmock/gmock.h>

#include <QTemporaryDir>

#include <fstream>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class UsbDetection : public testing::TestWithParam<platform::UdevDeviceRegistry::Source>,
                     protected testsupport::UdevBed {
protected:
  void SetUp() override { ASSERT_TRUE(isThere()) << "run this program under umockdev-wrapper"; }
  void TearDown() override {
    if (m_notifier) {
      m_notifier->unRegisterNotification();
      EXPECT_FALSE(m_notifier->usbNotiThread());
    }
    m_notifier.reset();
    EXPECT_TRUE(eventually([] { return platform::runningWorkers() == 0; }));
  }
  void start(bool acceptAny = false) {
    BTVornDeviceNotifier::Parts parts;
    parts.registry = std::make_shared<platform::UdevDeviceRegistry>(GetParam());
    parts.identities.AcceptAnyMtpDevice = acceptAny;
    m_notifier = std::make_unique<BTVornDeviceNotifier>(std::move(parts));
    m_notifier->registerNotification(std::nullopt);
    ASSERT_TRUE(eventually([this] { return m_log.has(QStringLiteral("CFRunLoopRun")); }));
  }
  std::string plug(const char* vendorId, const char* productId, const std::string& port = "2") {
    return add("usb", "20-" + port, "",
               {"idVendor", vendorId, "idProduct", productId, "bcdDevice", "0404", "busnum", "20", "devpath", port,
                "serial", "LS0001"},
               {"DEVTYPE", "usb_device", "DEVNUM", "007"});
  }
  std::string addInterface(const std::string& device, const char* classCode) {
    return add("usb", "20-2:1.0", device,
               {"bInterfaceClass", classCode, "bInterfaceSubClass", "01", "bInterfaceProtocol", "01"},
               {"DEVTYPE", "usb_interface"});
  }
  void addSerialPort(const std::string& interface) {
    add("tty", "ttyACM0", interface, {}, {"DEVNAME", "/dev/ttyACM0"});
  }
  bool announced(const std::vector<int>& types) {
    return eventually([&] { return m_posted.types() == types; });
  }
  // Lets the notifier handle a marker device, so that everything told before has been handled, too.
  void settle() {
    const QStringList before = m_log.lines();
    add("usb", "20-9." + std::to_string(++m_markers), "", {"product", "marker"}, {"DEVTYPE", "usb_device"});
    ASSERT_TRUE(
        eventually([&] { return m_log.count(QStringLiteral("deviceNameAsCFString name : marker")) == m_markers; }));
    drainMainQueue();
  }

  int m_markers = 0;
  LogLines m_log;
  PostedNotifications m_posted;
  std::unique_ptr<BTVornDeviceNotifier> m_notifier;
};

TEST_P(UsbDetection, APhonePluggedInAndOutIsAttachedAndDetachedOnce) {
  start();
  const std::string device = plug("7e55", "4160");
  ASSERT_TRUE(announced({1}));
  const Posted attach = m_posted.all().front();
  EXPECT_EQ(attach.text("LocationId"), QStringLiteral("14200000"));
  EXPECT_EQ(attach.userInfo.value(QStringLiteral("Vid")), QVariant(0x7e55));
  EXPECT_EQ(attach.userInfo.value(QStringLiteral("Pid")), QVariant(0x4160));
  EXPECT_EQ(attach.userInfo.value(QStringLiteral("BCD")), QVariant(0x0404));
  EXPECT_EQ(attach.text("USB_SERIAL_NUMBER"), QStringLiteral("LS0001"));
  EXPECT_TRUE(attach.onMainThread);
  remove(device);
  ASSERT_TRUE(announced({1, 2}));
  settle();
  EXPECT_THAT(m_posted.types(), ElementsAre(1, 2));
}

TEST_P(UsbDetection, APhoneUnpluggedAndReplugged20TimesIsDetachedAsOftenAsItWasAttached) {
  start();
  for (int i = 0; i < 20; ++i)
    remove(plug("7e55", "4160"));
  const std::string device = plug("7e55", "4160");
  settle();
  const auto times = [this](int type) {
    const auto types = m_posted.types();
    return std::count(types.begin(), types.end(), type);
  };
  ASSERT_TRUE(eventually([&] { return times(1) == times(2) + 1; })); // the last arrival may still be pooled
  const auto detached = times(2);
  remove(device);
  ASSERT_TRUE(eventually([&] { return times(2) == detached + 1; }));
}

TEST_P(UsbDetection, OfTwoPhonesEachIsAnnouncedWithItsOwnPlace) {
  start();
  plug("7e55", "4160");
  ASSERT_TRUE(announced({1}));
  const std::string second = plug("7e55", "4160", "3");
  ASSERT_TRUE(announced({1, 1}));
  remove(second);
  ASSERT_TRUE(announced({1, 1, 2}));
  QStringList places;
  for (const Posted& posted : m_posted.all())
    if (!posted.isDetach())
      places.append(posted.text("LocationId"));
  EXPECT_EQ(places, QStringList({"14200000", "14300000", "14300000"}));
}

TEST_P(UsbDetection, APhonesSerialPortIsItsSerialPath) {
  BTVornDeviceNotifier::Parts parts;
  parts.registry = std::make_shared<platform::UdevDeviceRegistry>(GetParam());
  std::string device;
  parts.sleep = [&](std::chrono::seconds) {
    addSerialPort(addInterface(device, "02")); // comes while it is looked for
    return true;
  };
  m_notifier = std::make_unique<BTVornDeviceNotifier>(std::move(parts));
  m_notifier->registerNotification(std::nullopt);
  ASSERT_TRUE(eventually([this] { return m_log.has(QStringLiteral("CFRunLoopRun")); }));
  // The message is sent when the device is complete; its path is known beforehand.
  device = "/sys/devices/20-2";
  EXPECT_EQ(plug("7e55", "4100"), device);
  ASSERT_TRUE(announced({14, 1}));
  EXPECT_EQ(m_posted.all().back().text("SerialPath"), QStringLiteral("/dev/ttyACM0"));
}

TEST_P(UsbDetection, AnotherMakersDeviceIsIgnoredWhereNoneIsAccepted) {
  start();
  addInterface(plug("1234", "0001"), "06");
  settle();
  EXPECT_THAT(m_posted.all(), IsEmpty());
}

TEST_P(UsbDetection, AnotherMakersMtpDeviceIsAnnouncedOnceWhenItsInterfacesComeAfterIt) {
  start(true);
  const std::string device = plug("1234", "0001");
  settle(); // the device has been looked at without interfaces
  EXPECT_THAT(m_posted.all(), IsEmpty());
  addInterface(device, "06");
  tell(device, "bind");
  ASSERT_TRUE(announced({1}));
  settle();
  EXPECT_THAT(m_posted.types(), ElementsAre(1));
  remove(device);
  ASSERT_TRUE(announced({1, 2}));
}

TEST_P(UsbDetection, AMemoryStickIsNeverAnnounced) {
  start(true);
  const std::string device = plug("1234", "0001");
  addInterface(device, "08");
  tell(device, "bind");
  remove(device);
  settle();
  EXPECT_THAT(m_posted.all(), IsEmpty());
}

TEST_P(UsbDetection, ADeviceWhoseNumbersCannotBeReadIsSkippedWithTheReason) {
  start();
  plug("zzzz", "4160");
  settle();
  EXPECT_TRUE(m_log.has(QStringLiteral("GetDeviceVendor returned 0x%1.").arg(EINVAL, 8, 16, QLatin1Char('0'))));
  EXPECT_THAT(m_posted.all(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Sources, UsbDetection,
                         testing::Values(platform::UdevDeviceRegistry::Source::Udev,
                                         platform::UdevDeviceRegistry::Source::Kernel),
                         [](const auto& info) {
                           return info.param == platform::UdevDeviceRegistry::Source::Udev ? "AfterRules"
                                                                                           : "FromTheKernel";
                         });

// Devices that are there at the start: the test bed has no device database, so only the kernel's view lists them.
class UsbAtStart : public UsbDetection {};

TEST_P(UsbAtStart, APhoneAttachedAlreadyIsAnnouncedOnce) {
  const std::string device = plug("7e55", "4160");
  start();
  ASSERT_TRUE(announced({1}));
  tell(device, "add"); // announced again: nothing new
  settle();
  EXPECT_THAT(m_posted.types(), ElementsAre(1));
}

INSTANTIATE_TEST_SUITE_P(FromTheKernel, UsbAtStart, testing::Values(platform::UdevDeviceRegistry::Source::Kernel));

// A phone's disk, with the mass-storage and network thread beside the USB thread.
class DiskDetection : public UsbDetection {
protected:
  void startBoth() {
    BTVornDeviceNotifier::Parts parts;
    parts.registry = std::make_shared<platform::UdevDeviceRegistry>(GetParam());
    parts.volumes = std::make_shared<platform::UdevVolumes>(GetParam(), table());
    parts.sleep = [this](std::chrono::seconds) {
      std::ofstream(table()) << m_lateMount;
      return true;
    };
    m_notifier = std::make_unique<BTVornDeviceNotifier>(std::move(parts));
    m_notifier->registerNotification(std::nullopt);
    ASSERT_TRUE(m_notifier->startUMSNotifierThread());
    ASSERT_TRUE(eventually([this] { return m_log.count(QStringLiteral("CFRunLoopRun")) == 2; }));
  }
  std::string addDisk(const std::string& parent, const char* model) {
    numberDisk(parent + "/sdb", "8:16");
    return add("block", "sdb", parent, {"size", "4096", "dev", "8:16"},
               {"DEVTYPE", "disk", "DEVNAME", "/dev/sdb", "MAJOR", "8", "MINOR", "16", "ID_MODEL_ENC", model,
                "ID_FS_TYPE", "vfat"});
  }
  std::string table() const { return m_folder.filePath(QStringLiteral("mountinfo")).toStdString(); }

  const QTemporaryDir m_folder;
  const std::string m_lateMount = "30 1 8:16 / /media/My\\040Card rw - vfat /dev/sdb rw\n";
};

TEST_P(DiskDetection, APhonesCardMountedAfterItCameIsAnnouncedAndGoesOnce) {
  startBoth();
  const std::string device = plug("7e55", "4160");
  ASSERT_TRUE(announced({1}));
  const std::string disk = addDisk(device, "Phone\\x20Card\\x20\\x20");
  ASSERT_TRUE(announced({1, 7}));
  EXPECT_EQ(m_posted.all().back().text("LocationId"), QStringLiteral("14200000"));
  EXPECT_EQ(m_posted.all().back().text("UmsPath"), QStringLiteral("file:///media/My Card"));
  remove(disk);
  ASSERT_TRUE(announced({1, 7, 8}));
  settle();
  EXPECT_THAT(m_posted.types(), ElementsAre(1, 7, 8));
}

TEST_P(DiskDetection, AnotherDevicesDiskIsNotAnnounced) {
  startBoth();
  plug("7e55", "4160");
  ASSERT_TRUE(announced({1}));
  const std::string stick = add(
      "usb", "20-3", "", {"idVendor", "1234", "idProduct", "0001", "busnum", "20", "devpath", "3", "product", "Stick"},
      {"DEVTYPE", "usb_device", "DEVNUM", "008"});
  remove(addDisk(stick, "Phone\\x20Card"));
  ASSERT_TRUE(eventually([this] { return m_log.has(QStringLiteral("sdb DiskAdded")); }));
  settle();
  EXPECT_THAT(m_posted.types(), ElementsAre(1));
}

INSTANTIATE_TEST_SUITE_P(Sources, DiskDetection,
                         testing::Values(platform::UdevDeviceRegistry::Source::Udev,
                                         platform::UdevDeviceRegistry::Source::Kernel),
                         [](const auto& info) {
                           return info.param == platform::UdevDeviceRegistry::Source::Udev ? "AfterRules"
                                                                                           : "FromTheKernel";
                         });

} // namespace
