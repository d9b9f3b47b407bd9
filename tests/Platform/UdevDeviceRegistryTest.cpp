// The real libudev on a mocked /sys with hot-plug messages. Needs umockdev's wrapper.
#include "Platform/UdevDeviceRegistry.h"
#include "Platform/NotificationPort.h"
#include "Platform/RunLoop.h"
#include "support/LogCapture.h"
#include "support/UdevBed.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <string>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using testsupport::Texts;

// A test bed with USB devices in it; the bus has the number 20 (0x14).
class UdevRegistry : public testing::TestWithParam<UdevDeviceRegistry::Source>, protected testsupport::UdevBed {
protected:
  void SetUp() override { ASSERT_TRUE(isThere()) << "run this program under umockdev-wrapper"; }

  // A device at the port chain `ports` ("2", "2.1") with the device number `number`.
  std::string addDevice(const std::string& ports, const std::string& number, const std::string& parent = {},
                        Texts properties = {}) {
    properties.insert(properties.end(), {"DEVTYPE", "usb_device", "BUSNUM", "020", "DEVNUM", number});
    return add("usb", "20-" + ports, parent,
               {"idVendor", "7e55", "idProduct", "4160", "bcdDevice", "0404", "busnum", "20", "devnum", number,
                "devpath", ports, "product", "Larkspur 5", "serial", "LS0001"},
               properties);
  }

  std::string addInterface(const std::string& device, const std::string& name = "20-2:1.0",
                           const std::string& classCode = "06") {
    return add(
        "usb", name, device,
        {"bInterfaceClass", classCode, "bInterfaceSubClass", "01", "bInterfaceProtocol", "01", "interface", "MTP"},
        {"DEVTYPE", "usb_interface"});
  }

  std::vector<std::shared_ptr<RegistryService>> list(ServiceClass serviceClass) {
    std::vector<std::shared_ptr<RegistryService>> found;
    EXPECT_EQ(m_registry.services(serviceClass, found), 0);
    return found;
  }
  std::shared_ptr<RegistryService> onlyDevice() {
    const auto found = list(ServiceClass::UsbDevice);
    EXPECT_THAT(found, SizeIs(1));
    return found.empty() ? nullptr : found.front();
  }

  UdevDeviceRegistry m_registry{UdevDeviceRegistry::Source::Kernel};
};

// Watches with one of the two sources and keeps what it is told.
class UdevHotPlug : public UdevRegistry {
protected:
  void watch() {
    m_port = std::make_unique<NotificationPort>(m_watched);
    m_loop.addSource(m_port->runLoopSource());
    std::shared_ptr<ServiceIterator> iterator;
    ASSERT_EQ(m_port->addMatchingNotification([this](ServiceIterator& found) { take(found); }, iterator), 0);
    take(*iterator);
  }
  void take(ServiceIterator& found) {
    while (const auto service = found.next()) {
      m_told.push_back("came " + service->name().toStdString());
      m_services.push_back(service);
      std::unique_ptr<InterestNotification> interest;
      ASSERT_EQ(m_port->addInterestNotification(
                    *service,
                    [this](const auto& changed, std::uint32_t message) {
                      m_told.push_back(message == messageServiceIsTerminated     ? "gone"
                                       : message == messageServicePropertyChange ? "changed"
                                                                                 : "unknown message");
                      m_services.push_back(changed);
                    },
                    interest),
                0);
      m_interests.push_back(std::move(interest));
    }
  }
  // Messages are in the socket when the test bed's calls return.
  Texts told() {
    m_loop.runFor(std::chrono::milliseconds(0));
    return std::exchange(m_told, {});
  }

  std::shared_ptr<UdevDeviceRegistry> m_watched = std::make_shared<UdevDeviceRegistry>(GetParam());
  std::unique_ptr<NotificationPort> m_port;
  RunLoop m_loop;
  Texts m_told;
  std::vector<std::shared_ptr<RegistryService>> m_services;
  std::vector<std::unique_ptr<InterestNotification>> m_interests;
};

TEST_F(UdevRegistry, NothingAttachedListsNothing) {
  EXPECT_THAT(list(ServiceClass::UsbDevice), IsEmpty());
}

TEST_F(UdevRegistry, WithoutAUdevDaemonTheLogSaysSoAndWhetherThereIsAnyUsb) {
  const testsupport::LogCapture log;
  int error = 0;
  EXPECT_NE(m_registry.monitor(error), nullptr);
  EXPECT_EQ(log.count(QStringLiteral("which shows none here: there is no /sys/bus/usb")), 1);
  addDevice("2", "007");
  EXPECT_NE(m_registry.monitor(error), nullptr);
  EXPECT_EQ(log.count(QStringLiteral("without a udev daemon USB devices are taken from the kernel")), 1);
}

TEST_F(UdevRegistry, ADeviceHasItsDescriptorsNumbersAndTexts) {
  addDevice("2", "007");
  const auto device = onlyDevice();
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(device->name(), "Larkspur 5");
  EXPECT_EQ(device->property(registryKey::vendorId), QVariant(0x7e55));
  EXPECT_EQ(device->property(registryKey::productId), QVariant(0x4160));
  EXPECT_EQ(device->property(registryKey::serialNumber), QVariant(QStringLiteral("LS0001")));
  EXPECT_EQ(device->property(registryKey::locationId), QVariant(0x14200000));
  EXPECT_FALSE(device->property(registryKey::calloutDevice).isValid());
  EXPECT_FALSE(device->property(registryKey::mtpDevice).isValid());

  std::unique_ptr<UsbDeviceInterface> opened;
  ASSERT_EQ(device->open(opened), 0);
  std::uint16_t vendor = 0, product = 0, release = 0;
  std::uint32_t location = 0;
  EXPECT_EQ(opened->queryInterface(), 0);
  EXPECT_EQ(opened->deviceVendor(vendor), 0);
  EXPECT_EQ(opened->deviceProduct(product), 0);
  EXPECT_EQ(opened->deviceReleaseNumber(release), 0);
  EXPECT_EQ(opened->locationID(location), 0);
  EXPECT_EQ(vendor, 0x7e55);
  EXPECT_EQ(product, 0x4160);
  EXPECT_EQ(release, 0x0404);
  EXPECT_EQ(location, 0x14200000u);
}

TEST_F(UdevRegistry, ADeviceBehindHubsHasOneNibbleAPort) {
  addDevice("2.1.15.4", "009");
  EXPECT_EQ(onlyDevice()->property(registryKey::locationId), QVariant(0x1421f400));
}

TEST_F(UdevRegistry, ARootHubIsAtTheBusItself) {
  add("usb", "usb20", "", {"idVendor", "1d6b", "busnum", "20", "devpath", "0"}, {"DEVTYPE", "usb_device"});
  EXPECT_EQ(onlyDevice()->property(registryKey::locationId), QVariant(0x14000000));
}

TEST_F(UdevRegistry, AMissingOrMangledAttributeIsAnErrorNotANumber) {
  add("usb", "20-3", "", {"idVendor", "zz", "bcdDevice", "123456789", "busnum", "20", "devpath", "3.x"},
      {"DEVTYPE", "usb_device"});
  const auto device = onlyDevice();
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(device->name(), "20-3");
  EXPECT_FALSE(device->property(registryKey::vendorId).isValid());
  EXPECT_FALSE(device->property(registryKey::locationId).isValid());
  std::unique_ptr<UsbDeviceInterface> opened;
  ASSERT_EQ(device->open(opened), 0);
  std::uint16_t number = 1;
  std::uint32_t location = 1;
  EXPECT_EQ(opened->deviceVendor(number), EINVAL);
  EXPECT_EQ(opened->deviceProduct(number), ENOENT);
  EXPECT_EQ(opened->deviceReleaseNumber(number), EINVAL);
  EXPECT_EQ(opened->locationID(location), EINVAL);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(location, 1u);
}

TEST_F(UdevRegistry, ADeviceThatHasGoneCannotBeOpened) {
  const std::string path = addDevice("2", "007");
  const auto device = onlyDevice();
  drop(path);
  std::unique_ptr<UsbDeviceInterface> opened;
  EXPECT_NE(device->open(opened), 0);
  EXPECT_EQ(opened, nullptr);
}

TEST_F(UdevRegistry, AnInterfaceIsAChildOfItsDeviceAndNoDevice) {
  const std::string hub = addDevice("2", "007");
  addInterface(hub);
  addInterface(addDevice("2.1", "008", hub), "20-2.1:1.0");
  EXPECT_THAT(list(ServiceClass::UsbDevice), SizeIs(2));
  for (const auto& device : list(ServiceClass::UsbDevice)) {
    if (device->property(registryKey::locationId) != QVariant(0x14200000))
      continue;
    Texts names;
    for (const auto& child : device->children())
      names.push_back(child->name().toStdString());
    EXPECT_THAT(names, ElementsAre("Larkspur 5", "20-2:1.0")); // the device below it, and its own interface alone
    const auto interface = device->children().back();
    EXPECT_EQ(interface->property(registryKey::interfaceClass), QVariant(6));
    EXPECT_EQ(interface->property(registryKey::interfaceSubClass), QVariant(1));
    EXPECT_EQ(interface->property(registryKey::interfaceProtocol), QVariant(1));
    EXPECT_EQ(interface->property(registryKey::interfaceName), QVariant(QStringLiteral("MTP")));
    EXPECT_EQ(interface->parent()->entryId(), device->entryId());
    std::unique_ptr<UsbDeviceInterface> opened;
    ASSERT_EQ(interface->open(opened), 0);
    EXPECT_EQ(opened->queryInterface(), ENODEV);
  }
}

TEST_F(UdevRegistry, AnEntryThatCannotBeReadDoesNotHideTheOthers) {
  addDevice("2", "007");
  const std::string entry = rootFolder() + "/sys/bus/usb/devices/20-1";
  std::filesystem::create_symlink(entry, entry); // leads round in a circle
  EXPECT_THAT(list(ServiceClass::UsbDevice), SizeIs(1));
}

TEST_F(UdevRegistry, TheDeviceDatabasesMarkIsAProperty) {
  addDevice("2", "007", {}, {"ID_MTP_DEVICE", "1"});
  EXPECT_EQ(onlyDevice()->property(registryKey::mtpDevice), QVariant(QStringLiteral("1")));
}

TEST_F(UdevRegistry, SerialPortsAreTheModemAndAdapterTerminalsBelowTheirDevice) {
  const std::string interface = addInterface(addDevice("2", "007"), "20-2:1.1", "02");
  add("tty", "ttyACM3", interface, {}, {"DEVNAME", "/dev/ttyACM3"});
  add("tty", "ttyS0", "", {}, {"DEVNAME", "/dev/ttyS0"});
  const auto ports = list(ServiceClass::SerialClient);
  ASSERT_THAT(ports, SizeIs(1));
  EXPECT_EQ(ports.front()->property(registryKey::calloutDevice), QVariant(QByteArray("/dev/ttyACM3")));
  EXPECT_FALSE(ports.front()->property(registryKey::vendorId).isValid());
  auto above = ports.front()->parent();
  while (above != nullptr && !above->property(registryKey::vendorId).isValid())
    above = above->parent();
  ASSERT_NE(above, nullptr);
  EXPECT_EQ(above->property(registryKey::locationId), QVariant(0x14200000));
}

TEST_F(UdevRegistry, ADeviceTheDaemonHasNotFinishedWithIsNotListedYet) {
  addDevice("2", "007"); // the test bed has no device database, so nothing in it is finished
  UdevDeviceRegistry afterRules(UdevDeviceRegistry::Source::Udev);
  std::vector<std::shared_ptr<RegistryService>> found;
  EXPECT_EQ(afterRules.services(ServiceClass::UsbDevice, found), 0);
  EXPECT_THAT(found, IsEmpty());
}

TEST_P(UdevHotPlug, ADevicePluggedInComesOnceAndGoesOnce) {
  watch();
  EXPECT_THAT(told(), IsEmpty());
  const std::string path = addDevice("2", "007");
  EXPECT_THAT(told(), ElementsAre("came Larkspur 5"));
  remove(path);
  EXPECT_THAT(told(), ElementsAre("gone"));
  EXPECT_THAT(told(), IsEmpty());
}

TEST_P(UdevHotPlug, ADeviceBothListedAndAnnouncedComesOnce) {
  m_port = std::make_unique<NotificationPort>(m_watched); // watches from here on
  addDevice("2", "007");
  m_loop.addSource(m_port->runLoopSource());
  std::shared_ptr<ServiceIterator> iterator;
  ASSERT_EQ(m_port->addMatchingNotification([this](ServiceIterator& found) { take(found); }, iterator), 0);
  take(*iterator);
  for (int i = 0; i < 3; ++i)
    m_loop.runFor(std::chrono::milliseconds(0));
  EXPECT_EQ(std::count(m_told.begin(), m_told.end(), "came Larkspur 5"), 1);
}

TEST_P(UdevHotPlug, AnInterfaceThatComesLaterIsNewsOfItsDevice) {
  watch();
  const std::string device = addDevice("2", "007");
  EXPECT_THAT(told(), ElementsAre("came Larkspur 5"));
  EXPECT_THAT(m_services.back()->children(), IsEmpty());
  addInterface(device);
  EXPECT_THAT(told(), ElementsAre("changed"));
  EXPECT_THAT(m_services.back()->children(), SizeIs(1));
  tell(device, "bind");
  EXPECT_THAT(told(), ElementsAre("changed"));
}

TEST_P(UdevHotPlug, AnUnboundDeviceIsNoNews) {
  watch();
  const std::string device = addDevice("2", "007");
  EXPECT_THAT(told(), SizeIs(1));
  tell(device, "unbind");
  EXPECT_THAT(told(), IsEmpty());
}

TEST_P(UdevHotPlug, ADeviceUnpluggedBeforeItWasTakenNeverComes) {
  watch();
  remove(addDevice("2", "007"));
  EXPECT_THAT(told(), IsEmpty());
}

TEST_P(UdevHotPlug, AnotherAttachmentAtTheSamePlaceComesAnew) {
  watch();
  const std::string path = addDevice("2", "007");
  EXPECT_THAT(told(), ElementsAre("came Larkspur 5"));
  remove(path);
  addDevice("2", "008");
  EXPECT_THAT(told(), ElementsAre("gone", "came Larkspur 5"));
  EXPECT_NE(m_services.front()->entryId(), m_services.back()->entryId());
}

INSTANTIATE_TEST_SUITE_P(Sources, UdevHotPlug,
                         testing::Values(UdevDeviceRegistry::Source::Udev, UdevDeviceRegistry::Source::Kernel),
                         [](const auto& info) {
                           return info.param == UdevDeviceRegistry::Source::Udev ? "AfterRules" : "FromTheKernel";
                         });

} // namespace
