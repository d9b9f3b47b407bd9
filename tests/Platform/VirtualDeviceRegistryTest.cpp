#include "Platform/VirtualDeviceRegistry.h"
#include "Platform/NotificationPort.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <map>
#include <thread>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Kind = RegistryChange::Kind;

VirtualUsbDevice phone(std::uint32_t locationId = 0x01100000) {
  VirtualUsbDevice device;
  device.locationId = locationId;
  device.vendorId = 0x7e55;
  device.productId = 0x4160;
  device.bcdDevice = 0x0210;
  device.product = QStringLiteral("Larkspur 5");
  device.serialNumber = QStringLiteral("LS0001");
  return device;
}

std::vector<std::shared_ptr<RegistryService>> list(VirtualDeviceRegistry& registry, ServiceClass serviceClass) {
  std::vector<std::shared_ptr<RegistryService>> found;
  EXPECT_EQ(registry.services(serviceClass, found), 0);
  return found;
}

std::vector<Kind> kinds(RegistryMonitor& monitor) {
  bool lost = false;
  std::vector<Kind> result;
  for (const auto& change : monitor.take(lost))
    result.push_back(change.kind);
  EXPECT_FALSE(lost);
  return result;
}

TEST(VirtualDeviceRegistry, AnAttachedDeviceHasItsNumbersAndOneMtpInterface) {
  VirtualDeviceRegistry registry;
  registry.attach(phone());
  const auto devices = list(registry, ServiceClass::UsbDevice);
  ASSERT_THAT(devices, SizeIs(1));
  const auto device = devices.front();
  EXPECT_EQ(device->name(), "Larkspur 5");
  EXPECT_EQ(device->property(registryKey::vendorId), QVariant(0x7e55));
  EXPECT_EQ(device->property(registryKey::productId), QVariant(0x4160));
  EXPECT_EQ(device->property(registryKey::locationId), QVariant(0x01100000));
  EXPECT_EQ(device->property(registryKey::serialNumber), QVariant(QStringLiteral("LS0001")));
  EXPECT_EQ(device->parent(), nullptr);
  ASSERT_THAT(device->children(), SizeIs(1));
  const auto interface = device->children().front();
  EXPECT_EQ(interface->property(registryKey::interfaceClass), QVariant(6));
  EXPECT_EQ(interface->property(registryKey::interfaceSubClass), QVariant(1));
  EXPECT_EQ(interface->property(registryKey::interfaceProtocol), QVariant(1));
  EXPECT_EQ(interface->parent()->entryId(), device->entryId());

  std::unique_ptr<UsbDeviceInterface> opened;
  ASSERT_EQ(device->open(opened), 0);
  std::uint16_t vendor = 0, product = 0, release = 0;
  std::uint32_t location = 0;
  EXPECT_EQ(opened->queryInterface(), 0);
  opened->deviceVendor(vendor);
  opened->deviceProduct(product);
  opened->deviceReleaseNumber(release);
  opened->locationID(location);
  EXPECT_EQ(vendor, 0x7e55);
  EXPECT_EQ(product, 0x4160);
  EXPECT_EQ(release, 0x0210);
  EXPECT_EQ(location, 0x01100000u);
  ASSERT_EQ(interface->open(opened), 0);
  EXPECT_EQ(opened->queryInterface(), ENODEV);
}

TEST(VirtualDeviceRegistry, ADeviceWithoutSerialNumberHasNoSuchProperty) {
  VirtualDeviceRegistry registry;
  auto device = phone();
  device.serialNumber.clear();
  registry.attach(device);
  EXPECT_FALSE(list(registry, ServiceClass::UsbDevice).front()->property(registryKey::serialNumber).isValid());
}

TEST(VirtualDeviceRegistry, ASerialPortIsListedBelowItsDevice) {
  VirtualDeviceRegistry registry;
  registry.attach(phone());
  EXPECT_THAT(list(registry, ServiceClass::SerialClient), IsEmpty());
  auto other = phone(0x01200000);
  other.serialPort = "/dev/ttyACM0";
  registry.attach(other);
  const auto ports = list(registry, ServiceClass::SerialClient);
  ASSERT_THAT(ports, SizeIs(1));
  EXPECT_EQ(ports.front()->property(registryKey::calloutDevice), QVariant(QByteArray("/dev/ttyACM0")));
  EXPECT_EQ(ports.front()->parent()->property(registryKey::locationId), QVariant(0x01200000));
}

TEST(VirtualDeviceRegistry, AMonitorHearsOfWhatComesAfterIt) {
  VirtualDeviceRegistry registry;
  registry.attach(phone(1));
  int error = 0;
  const auto monitor = registry.monitor(error);
  ASSERT_NE(monitor, nullptr);
  registry.attach(phone(2));
  EXPECT_TRUE(registry.change(phone(2)));
  EXPECT_TRUE(registry.detach(1));
  EXPECT_THAT(kinds(*monitor), ElementsAre(Kind::Present, Kind::Present, Kind::Gone));
  EXPECT_THAT(kinds(*monitor), IsEmpty());
}

TEST(VirtualDeviceRegistry, EveryMonitorHearsEverythingAndAnEndedOneIsForgotten) {
  VirtualDeviceRegistry registry;
  int error = 0;
  auto ended = registry.monitor(error);
  const auto first = registry.monitor(error), second = registry.monitor(error);
  ended.reset();
  registry.attach(phone());
  EXPECT_THAT(kinds(*first), ElementsAre(Kind::Present));
  EXPECT_THAT(kinds(*second), ElementsAre(Kind::Present));
}

TEST(VirtualDeviceRegistry, AMonitorOutlivesItsRegistry) {
  auto registry = std::make_unique<VirtualDeviceRegistry>();
  int error = 0;
  const auto monitor = registry->monitor(error);
  registry->attach(phone());
  registry.reset();
  EXPECT_THAT(kinds(*monitor), ElementsAre(Kind::Present));
}

TEST(VirtualDeviceRegistry, AnotherDeviceAtTheSameLocationReplacesTheFirst) {
  VirtualDeviceRegistry registry;
  registry.attach(phone());
  const QString first = list(registry, ServiceClass::UsbDevice).front()->entryId();
  int error = 0;
  const auto monitor = registry.monitor(error);
  registry.attach(phone());
  EXPECT_THAT(kinds(*monitor), ElementsAre(Kind::Gone, Kind::Present));
  const auto devices = list(registry, ServiceClass::UsbDevice);
  ASSERT_THAT(devices, SizeIs(1));
  EXPECT_NE(devices.front()->entryId(), first);
}

TEST(VirtualDeviceRegistry, AChangedDeviceStaysTheSameAttachment) {
  VirtualDeviceRegistry registry;
  auto device = phone();
  device.interfaces.clear();
  registry.attach(device);
  const auto before = list(registry, ServiceClass::UsbDevice).front();
  EXPECT_TRUE(registry.change(phone()));
  const auto after = list(registry, ServiceClass::UsbDevice).front();
  EXPECT_EQ(after->entryId(), before->entryId());
  EXPECT_THAT(before->children(), IsEmpty());
  EXPECT_THAT(after->children(), SizeIs(1));
}

TEST(VirtualDeviceRegistry, WhatIsNotAttachedIsNeitherChangedNorDetached) {
  VirtualDeviceRegistry registry;
  EXPECT_FALSE(registry.detach(1));
  EXPECT_FALSE(registry.change(phone(1)));
}

TEST(VirtualDeviceRegistry, DevicesMayComeAndGoOnAnotherThreadThanTheWatchingOne) {
  VirtualDeviceRegistry registry;
  auto shared = std::shared_ptr<DeviceRegistry>(&registry, [](DeviceRegistry*) {});
  NotificationPort port(shared);
  RunLoop loop;
  loop.addSource(port.runLoopSource());
  int came = 0, gone = 0;
  std::map<QString, std::unique_ptr<InterestNotification>> interests;
  const auto take = [&](ServiceIterator& found) {
    while (const auto service = found.next()) {
      ++came;
      if (port.addInterestNotification(
              *service,
              [&](const auto&, std::uint32_t message) {
                if (message == messageServiceIsTerminated)
                  ++gone;
              },
              interests[service->entryId()]) != 0)
        interests.erase(service->entryId());
    }
  };
  std::shared_ptr<ServiceIterator> iterator;
  ASSERT_EQ(port.addMatchingNotification(take, iterator), 0);
  take(*iterator);
  std::thread phones([&registry] {
    for (std::uint32_t i = 0; i < 200; ++i) {
      registry.attach(phone(i));
      registry.detach(i);
    }
    registry.attach(phone(1000));
  });
  for (int i = 0; i < 20; ++i)
    loop.runFor(std::chrono::milliseconds(0));
  phones.join();
  loop.runFor(std::chrono::milliseconds(0));
  EXPECT_GE(came, 1); // one that left before it was taken never came
  EXPECT_EQ(came - gone, 1);
}

} // namespace
