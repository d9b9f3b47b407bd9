#include "DeviceNotifier/AddUSBNotifier.h"
#include "DeviceNotifier/DetectionTestSupport.h"
#include "support/ScriptedDeviceRegistry.h"

#include <gmock/gmock.h>

#include <cerrno>

using namespace detection;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
namespace key = platform::registryKey;

namespace {

constexpr std::uint32_t place = 0x14200000;

// A scripted bus; the test's thread is the notifier's and the main one. Sleeping takes no time and is written down.
class UsbNotifier : public testing::Test {
protected:
  UsbNotifier() { make(); }

  void make() {
    AddUSBNotifier::Parts parts;
    parts.registry = m_registry;
    parts.identities = m_identities;
    parts.events = m_events;
    parts.sleep = [this](std::chrono::seconds time) {
      m_sleeps.push_back(int(time.count()));
      return !m_whileSleeping || m_whileSleeping();
    };
    parts.mtpProbe = m_probe;
    m_notifier = std::make_unique<AddUSBNotifier>(std::move(parts));
  }

  static std::shared_ptr<scripted::Service> device(std::uint16_t vendorId, std::uint16_t productId,
                                                   const QString& id = QStringLiteral("phone"),
                                                   std::uint32_t locationId = place) {
    auto made = std::make_shared<scripted::Service>(id);
    made->vendor = vendorId;
    made->product = productId;
    made->location = locationId;
    made->properties = {{key::vendorId, int(vendorId)},
                        {key::productId, int(productId)},
                        {key::locationId, int(locationId)},
                        {key::serialNumber, QStringLiteral("LS0001")}};
    return made;
  }
  std::shared_ptr<scripted::Service> phone(std::uint16_t productId) const {
    return device(m_identities.kPhoneVendorId, productId);
  }
  static std::shared_ptr<scripted::Service> mtpInterface() {
    auto made = std::make_shared<scripted::Service>(QStringLiteral("interface"));
    made->properties = {{key::interfaceClass, 6}, {key::interfaceSubClass, 1}, {key::interfaceProtocol, 1}};
    return made;
  }
  // A serial port two nodes below the device.
  static std::shared_ptr<scripted::Service> serialPort(std::shared_ptr<scripted::Service> device,
                                                       const QVariant& path = QByteArray("/dev/ttyACM0")) {
    auto interface = std::make_shared<scripted::Service>(QStringLiteral("interface"));
    interface->above = std::move(device);
    auto port = std::make_shared<scripted::Service>(QStringLiteral("tty"));
    port->above = interface;
    if (path.isValid())
      port->properties[key::calloutDevice] = path;
    return port;
  }

  std::vector<int> attach(const std::shared_ptr<scripted::Service>& service) {
    m_registry->devices = {service};
    EXPECT_EQ(m_notifier->addUSBNotifier(), 1);
    pass();
    return m_posted.types();
  }
  // A turn of the run loop, with what comes of it on the main thread.
  static void pass() {
    platform::RunLoop::current()->runFor(std::chrono::milliseconds(0));
    drainMainQueue();
  }

  LogLines m_log;
  PostedNotifications m_posted;
  DeviceIdentityTable m_identities;
  std::shared_ptr<scripted::Registry> m_registry = std::make_shared<scripted::Registry>();
  std::shared_ptr<DeviceEvents> m_events = std::make_shared<DeviceEvents>();
  std::vector<int> m_sleeps;
  std::function<bool()> m_whileSleeping;
  std::function<bool(std::uint32_t)> m_probe;
  std::unique_ptr<AddUSBNotifier> m_notifier;
};

TEST_F(UsbNotifier, APhoneAttachedAlreadyIsQueuedAndAnnouncedWithAllItsData) {
  const auto service = phone(m_identities.kSingleSearchProductIdFrom);
  m_registry->serialPorts = {serialPort(service)};
  EXPECT_THAT(attach(service), ElementsAre(1));
  EXPECT_EQ(m_notifier->deviceQueue().size(), 1u);
  EXPECT_EQ(m_posted.all().front().userInfo,
            (QVariantMap{{QStringLiteral("LocationId"), QStringLiteral("14200000")},
                         {QStringLiteral("EventType"), 1},
                         {QStringLiteral("Vid"), int(m_identities.kPhoneVendorId)},
                         {QStringLiteral("Pid"), int(m_identities.kSingleSearchProductIdFrom)},
                         {QStringLiteral("SerialPath"), QStringLiteral("/dev/ttyACM0")},
                         {QStringLiteral("BCD"), 0x0404},
                         {QStringLiteral("USB_SERIAL_NUMBER"), QStringLiteral("LS0001")}}));
  EXPECT_TRUE(m_log.has(QStringLiteral("OK DEVICE_ATTACHTED !!")));
}

TEST_F(UsbNotifier, AnArrivalWritesItsLinesInTheirOrder) {
  attach(phone(m_identities.kSingleSearchProductIdFrom));
  QStringList lines = m_log.lines();
  lines = lines.mid(0, lines.indexOf(QStringLiteral("OK DEVICE_ATTACHTED !!")) + 1);
  EXPECT_EQ(lines, QStringList({QStringLiteral("ENTER"), // addUSBNotifier
                                QStringLiteral("ENTER"), // DeviceAdded
                                QStringLiteral("deviceNameAsCFString name : Larkspur 5"),
                                QStringLiteral("QueryInterface returned 0."), QStringLiteral("vendorID: 0x7e55"),
                                QStringLiteral("productID: 0x4160"), QStringLiteral("bcdDevice: 0x0404"),
                                QStringLiteral("Location ID: 0x14200000"),
                                QStringLiteral("ENTER"), // FindDevicePath
                                QStringLiteral("initialize pathBuf, size=[128]"), QStringLiteral("EXIT"),
                                QStringLiteral("USB_PATH_NOT_FOUND"), QStringLiteral("OK DEVICE_ATTACHTED !!")}));
  EXPECT_TRUE(m_log.has(QStringLiteral("IOObjectRelease result: 0")));
}

TEST_F(UsbNotifier, APhonePluggedInLaterIsAnnounced) {
  ASSERT_EQ(m_notifier->addUSBNotifier(), 1);
  m_registry->present(phone(m_identities.kSingleSearchProductIdFrom));
  pass();
  pass();
  EXPECT_THAT(m_posted.types(), ElementsAre(1));
}

TEST_F(UsbNotifier, ProductsOneBelowAndOneAboveTheRangeAreIgnored) {
  for (const int product : {m_identities.kPhoneProductIdFirst - 1, m_identities.kPhoneProductIdLast + 1}) {
    make();
    EXPECT_THAT(attach(phone(std::uint16_t(product))), IsEmpty());
    EXPECT_EQ(m_notifier->deviceQueue().size(), 0u);
  }
  EXPECT_EQ(m_log.count(QStringLiteral("CONTINUE")), 2);
}

TEST_F(UsbNotifier, TheFirstAndTheLastProductOfTheRangeAreAccepted) {
  for (const int product : {m_identities.kPhoneProductIdFirst, m_identities.kPhoneProductIdLast}) {
    make();
    const auto service = phone(std::uint16_t(product));
    m_registry->serialPorts = {serialPort(service)};
    m_posted.take();
    EXPECT_THAT(attach(service), ElementsAre(1));
  }
}

TEST_F(UsbNotifier, AnotherMakersProductIsIgnored) {
  EXPECT_THAT(attach(device(0x1234, m_identities.kPhoneProductIdFirst)), IsEmpty());
}

TEST_F(UsbNotifier, EveryPtpProductYieldsEvent12NeverEvent1WithAnEmptySerialPathAndNoSearch) {
  for (const std::uint16_t product : m_identities.kPtpProductIds()) {
    make();
    m_posted.take();
    m_log.clear();
    const auto service = phone(product);
    m_registry->serialPorts = {serialPort(service)}; // not to be found
    EXPECT_THAT(attach(service), ElementsAre(12));
    EXPECT_EQ(m_posted.all().front().userInfo.value(QStringLiteral("SerialPath")), QVariant(QString()));
    EXPECT_TRUE(m_log.isPlain(QStringLiteral("PTP device connected, 14200000")));
    EXPECT_FALSE(m_log.has(QStringLiteral("USB_PATH_NOT_FOUND")));
  }
  EXPECT_EQ(m_registry->serialSearches, 0);
  EXPECT_THAT(m_sleeps, IsEmpty());
}

TEST_F(UsbNotifier, ASingleSearchProductWithoutSerialPortIsSearchedOnceWithoutEvent14OrSleep) {
  EXPECT_THAT(attach(phone(m_identities.kSingleSearchProductIdFrom)), ElementsAre(1));
  EXPECT_EQ(m_registry->serialSearches, 1);
  EXPECT_THAT(m_sleeps, IsEmpty());
  EXPECT_EQ(m_log.count(QStringLiteral("USB_PATH_NOT_FOUND")), 1);
  EXPECT_THAT(m_log.containing(QStringLiteral("[GetSerialPath]")), IsEmpty());
  EXPECT_EQ(m_posted.all().front().userInfo.value(QStringLiteral("SerialPath")), QVariant(QString()));
}

TEST_F(UsbNotifier, ASerialPortThatNeverComesIsSearchedTenTimesWithNineSleepsAndOneEvent14) {
  EXPECT_THAT(attach(phone(m_identities.kPhoneProductIdFirst)), ElementsAre(14, 1));
  EXPECT_EQ(m_registry->serialSearches, 10);
  EXPECT_EQ(m_sleeps, std::vector<int>(9, 2));
  EXPECT_EQ(m_log.count(QStringLiteral("[GetSerialPath] retry after sleep 2 sec.")), 9);
  for (int attempt = 1; attempt <= 10; ++attempt)
    EXPECT_EQ(m_log.count(QStringLiteral("[GetSerialPath] #%1, found = false").arg(attempt)), 1);
  EXPECT_EQ(m_log.count(QStringLiteral("USB_PATH_NOT_FOUND")), 1);
  EXPECT_EQ(m_posted.all().back().userInfo.value(QStringLiteral("SerialPath")), QVariant(QString()));
}

TEST_F(UsbNotifier, ASerialPortThatComesDuringTheRetriesEndsThemAtOnce) {
  const auto service = phone(m_identities.kPhoneProductIdFirst);
  m_whileSleeping = [&] {
    if (m_sleeps.size() == 3)
      m_registry->serialPorts = {serialPort(service)};
    return true;
  };
  EXPECT_THAT(attach(service), ElementsAre(14, 1));
  EXPECT_THAT(m_sleeps, SizeIs(3));
  EXPECT_EQ(m_registry->serialSearches, 4);
  EXPECT_TRUE(m_log.has(QStringLiteral("[GetSerialPath] #4, found = true")));
  EXPECT_FALSE(m_log.has(QStringLiteral("USB_PATH_NOT_FOUND")));
  EXPECT_EQ(m_posted.all().back().text("SerialPath"), QStringLiteral("/dev/ttyACM0"));
}

TEST_F(UsbNotifier, AProductJustBelowTheSingleSearchOnesIsSearchedAgain) {
  EXPECT_THAT(attach(phone(std::uint16_t(m_identities.kSingleSearchProductIdFrom - 1))), ElementsAre(14, 1));
}

TEST_F(UsbNotifier, ATeardownDuringTheSerialPortSearchGivesTheArrivalUp) {
  m_whileSleeping = [this] {
    m_notifier->removeUSBNotifier();
    return true;
  };
  EXPECT_THAT(attach(phone(m_identities.kPhoneProductIdFirst)), ElementsAre(14));
  EXPECT_THAT(m_sleeps, SizeIs(1));
  EXPECT_EQ(m_notifier->deviceQueue().size(), 0u);
}

TEST_F(UsbNotifier, ASleepCutShortGivesTheArrivalUp) {
  m_whileSleeping = [] { return false; };
  EXPECT_THAT(attach(phone(m_identities.kPhoneProductIdFirst)), ElementsAre(14));
  EXPECT_EQ(m_notifier->deviceQueue().size(), 0u);
}

TEST_F(UsbNotifier, UnpluggingYieldsExactlyOneEvent2ARecord) {
  const auto first = phone(m_identities.kSingleSearchProductIdFrom);
  const auto second =
      device(m_identities.kPhoneVendorId, m_identities.kPhoneProductIdLast, QStringLiteral("other"), 0x1a);
  m_registry->devices = {first, second};
  ASSERT_EQ(m_notifier->addUSBNotifier(), 1);
  pass();
  m_posted.take();
  m_registry->gone(first);
  m_registry->gone(first);
  pass();
  const auto all = m_posted.take();
  ASSERT_THAT(all, SizeIs(2));
  EXPECT_EQ(all[0].type(), 2);
  EXPECT_EQ(all[0].text("LocationId"), QStringLiteral("14200000"));
  EXPECT_TRUE(all[1].isDetach());
  EXPECT_EQ(m_notifier->deviceQueue().size(), 1u);
  m_registry->gone(second);
  pass();
  EXPECT_THAT(m_posted.types(), ElementsAre(2));
  EXPECT_EQ(m_notifier->deviceQueue().size(), 0u);
}

TEST_F(UsbNotifier, ADepartureWritesItsLinesInTheirOrder) {
  const auto service = phone(m_identities.kSingleSearchProductIdFrom);
  m_registry->serialPorts = {serialPort(service)};
  attach(service);
  m_log.clear();
  m_registry->gone(service);
  pass();
  EXPECT_EQ(m_log.lines().mid(0, 9),
            QStringList({QStringLiteral("ENTER"), QStringLiteral("Device removed."),
                         QStringLiteral("connectedDeviceInfo->serialPath: "), QStringLiteral("/dev/ttyACM0"),
                         QStringLiteral("connectedDeviceInfo->deviceName: "), QStringLiteral("Larkspur 5"),
                         QStringLiteral("connectedDeviceInfo->locationID: 0x14200000."),
                         QStringLiteral("DeviceRemoveNotification"),
                         QStringLiteral("connectedDeviceInfo->locationID: 0x14200000.")}));
  EXPECT_TRUE(m_log.has(QStringLiteral("IOObjectRelease( pConnectedDevice->notification ) result= 0")));
}

TEST_F(UsbNotifier, AnyOtherMessageThanTheTerminationChangesNothing) {
  const auto service = phone(m_identities.kSingleSearchProductIdFrom);
  attach(service);
  m_posted.take();
  m_registry->present(service); // its interfaces changed
  pass();
  _connected_device* record = nullptr;
  m_notifier->deviceQueue().find([&record](_connected_device& found) {
    record = &found;
    return true;
  });
  m_notifier->DeviceRemoveNotification(record, 0xE0000280);
  pass();
  EXPECT_THAT(m_posted.all(), IsEmpty());
  EXPECT_EQ(m_notifier->deviceQueue().size(), 1u);
}

TEST_F(UsbNotifier, APhonePluggedInAgainIsAnnouncedAgain) {
  const auto service = phone(m_identities.kSingleSearchProductIdFrom);
  attach(service);
  m_registry->gone(service);
  m_registry->present(device(m_identities.kPhoneVendorId, m_identities.kSingleSearchProductIdFrom, "again"));
  pass();
  EXPECT_THAT(m_posted.types(), ElementsAre(1, 2, 1));
}

TEST_F(UsbNotifier, RemovingTheNotifierTwiceDoesNothingTheSecondTime) {
  attach(phone(m_identities.kSingleSearchProductIdFrom));
  m_log.clear();
  m_notifier->removeUSBNotifier();
  EXPECT_EQ(m_log.lines(), QStringList({QStringLiteral("ENTER"), QStringLiteral("EXIT")}));
  m_log.clear();
  m_notifier->removeUSBNotifier();
  EXPECT_EQ(m_log.lines(), QStringList({QStringLiteral("ENTER")}));
  EXPECT_EQ(m_notifier->deviceQueue().size(), 1u) << "records stay queued";
}

TEST_F(UsbNotifier, NothingIsAnnouncedAfterTheNotifierIsRemoved) {
  ASSERT_EQ(m_notifier->addUSBNotifier(), 1);
  m_notifier->removeUSBNotifier();
  m_registry->present(phone(m_identities.kSingleSearchProductIdFrom));
  pass();
  EXPECT_THAT(m_posted.all(), IsEmpty());
}

TEST_F(UsbNotifier, ARegistryThatCannotBeReachedFailsTheStart) {
  m_registry->connectError = EIO;
  EXPECT_EQ(m_notifier->addUSBNotifier(), 0);
  EXPECT_TRUE(m_log.has(QStringLiteral("IOServiceMatching returned NULL")));
  EXPECT_FALSE(m_log.has(QStringLiteral("EXIT")));
}

TEST_F(UsbNotifier, ARegistryThatCannotBeWatchedFailsTheStart) {
  m_registry->monitorError = EPERM;
  EXPECT_EQ(m_notifier->addUSBNotifier(), 0);
  EXPECT_FALSE(m_log.has(QStringLiteral("EXIT")));
  m_notifier->removeUSBNotifier();
}

TEST_F(UsbNotifier, AFailingReadIsLoggedWithItsErrorAndTheNextDeviceIsHandled) {
  struct {
    int scripted::Service::*error;
    const char* line;
  } const reads[] = {
      {&scripted::Service::openError, "IOCreatePlugInInterfaceForService returned 0x00000005."},
      {&scripted::Service::queryError, "QueryInterface returned 5."},
      {&scripted::Service::vendorError, "GetDeviceVendor returned 0x00000005."},
      {&scripted::Service::productError, "GetDeviceProduct returned 0x00000005."},
      {&scripted::Service::releaseError, "GetDeviceReleaseNumber returned 0x00000005."},
      {&scripted::Service::locationError, "GetLocationID returned 0x00000005."},
  };
  for (const auto& read : reads) {
    m_registry->devices.clear();
    make();
    m_log.clear();
    m_posted.take();
    ASSERT_EQ(m_notifier->addUSBNotifier(), 1);
    const auto broken = phone(m_identities.kSingleSearchProductIdFrom);
    (*broken).*(read.error) = EIO;
    m_registry->present(broken);
    m_registry->present(
        device(m_identities.kPhoneVendorId, m_identities.kSingleSearchProductIdFrom, QStringLiteral("sound"), 0x1a));
    pass();
    EXPECT_EQ(m_log.count(QLatin1String(read.line)), 1) << read.line;
    EXPECT_EQ(m_log.count(QStringLiteral("CONTINUE")), 1) << read.line;
    EXPECT_THAT(m_posted.types(), ElementsAre(1)) << read.line;
    EXPECT_EQ(m_posted.all().front().text("LocationId"), QStringLiteral("1A")) << read.line;
  }
}

TEST_F(UsbNotifier, ADeviceThatLeftBeforeItsInterestIsRegisteredIsDropped) {
  m_registry->devices.clear();
  ASSERT_EQ(m_notifier->addUSBNotifier(), 1);
  platform::ServiceIterator unknown(phone(m_identities.kSingleSearchProductIdFrom));
  m_notifier->DeviceAdded(unknown);
  pass();
  EXPECT_TRUE(m_log.has(
      QStringLiteral("IOServiceAddInterestNotification returned 0x%1.").arg(ENODEV, 8, 16, QLatin1Char('0'))));
  EXPECT_THAT(m_posted.all(), IsEmpty());
  EXPECT_EQ(m_notifier->deviceQueue().size(), 0u);
}

TEST_F(UsbNotifier, ADeviceWithAnyBytesForANameIsAnnounced) {
  const auto service = phone(m_identities.kSingleSearchProductIdFrom);
  service->nodeName = QByteArray("%s%n\xff\xfe\0\n", 9) + QByteArray(5000, 'x');
  EXPECT_THAT(attach(service), ElementsAre(1));
}

TEST_F(UsbNotifier, ADeviceWithoutSerialNumberIsAnnouncedAllTheSame) {
  const auto service = phone(m_identities.kSingleSearchProductIdFrom);
  service->properties.erase(key::serialNumber);
  EXPECT_THAT(attach(service), ElementsAre(1));
  EXPECT_EQ(m_posted.all().front().text("USB_SERIAL_NUMBER"), QStringLiteral("(null)"));
}

TEST_F(UsbNotifier, RecordsStillQueuedAreFreedAtTheEndWithoutEvents) {
  attach(phone(m_identities.kSingleSearchProductIdFrom));
  m_posted.take();
  m_notifier.reset();
  pass();
  EXPECT_THAT(m_posted.all(), IsEmpty());
}

// Other makers' devices.

class ForeignDevices : public UsbNotifier {
protected:
  ForeignDevices() {
    m_identities.AcceptAnyMtpDevice = true;
    make();
  }
  static std::shared_ptr<scripted::Service> foreign(bool mtp) {
    auto made = device(0x1234, 0x0001);
    if (mtp)
      made->below = {mtpInterface()};
    return made;
  }
};

TEST_F(ForeignDevices, AnMtpDeviceIsAnnouncedAfterOneSearchWithoutEvent14OrSleep) {
  EXPECT_THAT(attach(foreign(true)), ElementsAre(1));
  EXPECT_EQ(m_registry->serialSearches, 1);
  EXPECT_THAT(m_sleeps, IsEmpty());
}

TEST_F(ForeignDevices, OneWithAPtpProductNumberOfTheMakersIsStillEvent1AndSearched) {
  auto service = device(0x1234, m_identities.kPtpNoSearchProductIds.front());
  service->below = {mtpInterface()};
  m_registry->serialPorts = {serialPort(service)};
  EXPECT_THAT(attach(service), ElementsAre(1));
  EXPECT_EQ(m_posted.all().front().text("SerialPath"), QStringLiteral("/dev/ttyACM0"));
}

TEST_F(ForeignDevices, OthersAreIgnored) {
  EXPECT_THAT(attach(foreign(false)), IsEmpty());
}

TEST_F(ForeignDevices, AreAllIgnoredWhereTheTableDoesNotAcceptThem) {
  m_identities.AcceptAnyMtpDevice = false;
  m_probe = [](std::uint32_t) -> bool {
    ADD_FAILURE() << "asked";
    return true;
  };
  make();
  EXPECT_THAT(attach(foreign(true)), IsEmpty());
}

TEST_F(ForeignDevices, TheProbeIsAskedAboutADeviceThatShowsNoMtpInterface) {
  std::vector<std::uint32_t> asked;
  m_probe = [&asked](std::uint32_t locationId) {
    asked.push_back(locationId);
    return true;
  };
  make();
  EXPECT_THAT(attach(foreign(false)), ElementsAre(1));
  EXPECT_THAT(asked, ElementsAre(place));
}

TEST_F(ForeignDevices, AnInterfaceThatComesAfterItsDeviceIsEnough) {
  EXPECT_THAT(attach(foreign(false)), IsEmpty());
  m_registry->present(foreign(false)); // a change, but not this one
  pass();
  EXPECT_THAT(m_posted.types(), IsEmpty());
  m_registry->present(foreign(true));
  pass();
  EXPECT_THAT(m_posted.types(), ElementsAre(1));
  m_registry->present(foreign(true)); // announced once
  pass();
  EXPECT_THAT(m_posted.types(), ElementsAre(1));
  m_registry->gone(foreign(true));
  pass();
  EXPECT_THAT(m_posted.types(), ElementsAre(1, 2));
}

TEST_F(ForeignDevices, OneThatLeavesWithoutHavingBeenAcceptedIsForgotten) {
  EXPECT_THAT(attach(foreign(false)), IsEmpty());
  m_registry->gone(foreign(false));
  m_registry->present(foreign(true));
  pass();
  EXPECT_THAT(m_posted.types(), ElementsAre(1)); // a new attachment, by itself
}

TEST_F(ForeignDevices, AChangeAfterTheTeardownIsNotHeard) {
  EXPECT_THAT(attach(foreign(false)), IsEmpty());
  m_notifier->removeUSBNotifier();
  m_registry->present(foreign(true));
  pass();
  EXPECT_THAT(m_posted.types(), IsEmpty());
}

// The serial port of a device.

class SerialPath : public UsbNotifier {
protected:
  std::int32_t find() { return m_notifier->FindDevicePath(0x7e55, 0x4160, place, m_path); }
  std::string path() const { return m_path.data(); }
  CalloutPath m_path{};
};

TEST_F(SerialPath, IsThatOfThePortBelowTheDevice) {
  m_registry->serialPorts = {serialPort(device(0x7e55, 0x4160, "other", 0x1a), QByteArray("/dev/ttyACM9")),
                             serialPort(device(0x7e55, 0x4160))};
  EXPECT_EQ(find(), 0);
  EXPECT_EQ(path(), "/dev/ttyACM0");
}

TEST_F(SerialPath, IsThatOfAPortAboveTheDevice) {
  auto port = std::make_shared<scripted::Service>("tty");
  auto between = std::make_shared<scripted::Service>("between");
  between->below = {device(0x7e55, 0x4160)};
  port->below = {between};
  port->properties[key::calloutDevice] = QByteArray("/dev/ttyUSB1");
  m_registry->serialPorts = {port};
  EXPECT_EQ(find(), 0);
  EXPECT_EQ(path(), "/dev/ttyUSB1");
}

TEST_F(SerialPath, OnlyTheFirstChildrenAreLookedAt) {
  auto port = std::make_shared<scripted::Service>("tty");
  port->below = {std::make_shared<scripted::Service>("first"), device(0x7e55, 0x4160)};
  port->properties[key::calloutDevice] = QByteArray("/dev/ttyUSB1");
  m_registry->serialPorts = {port};
  EXPECT_EQ(find(), 2);
}

TEST_F(SerialPath, NoPortOrNoneOfTheDeviceIsStatus2) {
  EXPECT_EQ(find(), 2);
  m_registry->serialPorts = {serialPort(device(0x7e55, 0x4161))};
  EXPECT_EQ(find(), 2);
  EXPECT_EQ(path(), "");
}

TEST_F(SerialPath, OfAPortWithoutAReadablePathIsLookedForInTheNext) {
  const auto phone = device(0x7e55, 0x4160);
  m_registry->serialPorts = {serialPort(phone, QVariant()), serialPort(phone, QByteArray(128, 'x')),
                             serialPort(phone, QByteArray("/dev/tty\xc3\xa9")), serialPort(phone, QByteArray())};
  EXPECT_EQ(find(), 2);
  EXPECT_EQ(path(), "");
  m_registry->serialPorts.push_back(serialPort(phone, QByteArray(127, 'x')));
  EXPECT_EQ(find(), 0);
  EXPECT_EQ(path(), std::string(127, 'x'));
}

TEST_F(SerialPath, OfARegistryThatCannotBeAskedIsItsError) {
  m_registry->serialError = EIO;
  EXPECT_EQ(find(), EIO);
  m_registry->connectError = EPERM;
  EXPECT_EQ(find(), EPERM);
}

// IdentifyIDs.

bool identified(std::map<std::string, QVariant> properties, std::uint16_t vendorId = 0x7e55,
                std::uint16_t productId = 0x4160, std::uint32_t locationId = 0x94200000) {
  const LogLines log;
  scripted::Service service("service");
  service.properties = std::move(properties);
  return AddUSBNotifier::IdentifyIDs(service, vendorId, productId, locationId);
}

const std::map<std::string, QVariant> identity = {
    {key::vendorId, 0x7e55}, {key::productId, 0x4160}, {key::locationId, int(0x94200000)}};

std::map<std::string, QVariant> with(const char* name, const QVariant& value) {
  auto properties = identity;
  properties[name] = value;
  return properties;
}

std::map<std::string, QVariant> withOut(const char* name) {
  auto properties = identity;
  properties.erase(name);
  return properties;
}

TEST(IdentifyIDs, AllThreeNumbersMustBeTheDevices) {
  EXPECT_TRUE(identified(identity));
  EXPECT_FALSE(identified(with(key::vendorId, 1)));
  EXPECT_FALSE(identified(with(key::productId, 1)));
  EXPECT_FALSE(identified(with(key::locationId, 1)));
}

TEST(IdentifyIDs, TheVendorMustBeANumberOf32Bits) {
  EXPECT_FALSE(identified(withOut(key::vendorId)));
  EXPECT_FALSE(identified(with(key::vendorId, QStringLiteral("32341"))));
  EXPECT_FALSE(identified(with(key::vendorId, qlonglong(0x1'0000'7e55))));
  EXPECT_TRUE(identified(with(key::vendorId, qlonglong(0x7e55))));
}

TEST(IdentifyIDs, AProductThatIsNoNumberCountsAsZero) {
  EXPECT_FALSE(identified(withOut(key::productId)));
  EXPECT_FALSE(identified(with(key::productId, QStringLiteral("16736"))));
  EXPECT_TRUE(identified(with(key::productId, QStringLiteral("16736")), 0x7e55, 0));
  EXPECT_FALSE(identified(withOut(key::productId), 0x7e55, 0));
}

TEST(IdentifyIDs, AnAbsentOrStrangeLocationMatchesLocationZeroOnly) {
  for (const auto& properties : {withOut(key::locationId), with(key::locationId, QStringLiteral("0"))}) {
    EXPECT_FALSE(identified(properties));
    EXPECT_TRUE(identified(properties, 0x7e55, 0x4160, 0));
  }
}

TEST(IdentifyIDs, ALocationBeyond32BitsCountsAsZero) {
  EXPECT_FALSE(identified(with(key::locationId, qlonglong(0x94200000))));
  EXPECT_TRUE(identified(with(key::locationId, qlonglong(0x94200000)), 0x7e55, 0x4160, 0));
}

} // namespace
