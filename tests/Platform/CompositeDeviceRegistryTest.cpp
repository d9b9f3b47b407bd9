#include "Platform/CompositeDeviceRegistry.h"
#include "Platform/Log.h"
#include "Platform/NotificationPort.h"
#include "Platform/VirtualDeviceRegistry.h"
#include "support/ScriptedDeviceRegistry.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class CompositeRegistry : public testing::Test {
protected:
  CompositeRegistry() {
    setLogSink([this](const QString& line) { m_log.append(line); });
  }
  ~CompositeRegistry() override { setLogSink({}); }

  static VirtualUsbDevice phone(const QString& product, std::uint32_t locationId) {
    VirtualUsbDevice device;
    device.product = product;
    device.locationId = locationId;
    return device;
  }
  std::vector<std::string> names(ServiceClass serviceClass) {
    std::vector<std::shared_ptr<RegistryService>> found;
    m_error = m_registry->services(serviceClass, found);
    std::vector<std::string> result;
    for (const auto& service : found)
      result.push_back(service->name().toStdString());
    return result;
  }

  std::shared_ptr<scripted::Registry> m_scripted = std::make_shared<scripted::Registry>();
  std::shared_ptr<VirtualDeviceRegistry> m_virtual = std::make_shared<VirtualDeviceRegistry>();
  std::shared_ptr<CompositeDeviceRegistry> m_registry =
      std::make_shared<CompositeDeviceRegistry>(std::vector<std::shared_ptr<DeviceRegistry>>{m_scripted, m_virtual});
  int m_error = 0;
  QStringList m_log;
};

TEST_F(CompositeRegistry, ListsTheServicesOfAllItsParts) {
  m_scripted->devices = {std::make_shared<scripted::Service>("usb")};
  m_virtual->attach(phone("Virtual", 1));
  EXPECT_THAT(names(ServiceClass::UsbDevice), ElementsAre("Larkspur 5", "Virtual"));
  EXPECT_EQ(m_error, 0);
}

TEST_F(CompositeRegistry, APartThatCannotBeReadIsLeftOut) {
  m_scripted->usbError = m_scripted->connectError = EIO;
  m_virtual->attach(phone("Virtual", 1));
  EXPECT_EQ(m_registry->connect(), 0);
  EXPECT_THAT(names(ServiceClass::UsbDevice), ElementsAre("Virtual"));
  EXPECT_EQ(m_error, 0);
}

TEST_F(CompositeRegistry, WhenNoPartCanBeReadTheFirstErrorIsTheError) {
  auto other = std::make_shared<scripted::Registry>();
  m_scripted->usbError = m_scripted->connectError = m_scripted->monitorError = EIO;
  other->usbError = other->connectError = other->monitorError = EPERM;
  m_registry =
      std::make_shared<CompositeDeviceRegistry>(std::vector<std::shared_ptr<DeviceRegistry>>{m_scripted, other});
  EXPECT_EQ(m_registry->connect(), EIO);
  EXPECT_THAT(names(ServiceClass::UsbDevice), IsEmpty());
  EXPECT_EQ(m_error, EIO);
  int error = 0;
  EXPECT_EQ(m_registry->monitor(error), nullptr);
  EXPECT_EQ(error, EIO);
}

TEST_F(CompositeRegistry, NoticesTheDevicesOfAllItsParts) {
  NotificationPort port(m_registry);
  RunLoop loop;
  loop.addSource(port.runLoopSource());
  std::vector<std::string> came;
  std::shared_ptr<ServiceIterator> iterator;
  ASSERT_EQ(port.addMatchingNotification(
                [&came](ServiceIterator& found) {
                  while (const auto service = found.next())
                    came.push_back(service->name().toStdString());
                },
                iterator),
            0);
  m_virtual->attach(phone("Virtual", 1));
  loop.runFor(std::chrono::milliseconds(0));
  EXPECT_THAT(came, ElementsAre("Virtual"));
  m_scripted->present(std::make_shared<scripted::Service>("usb"));
  loop.runFor(std::chrono::milliseconds(0));
  EXPECT_THAT(came, ElementsAre("Virtual", "Larkspur 5"));
  loop.runFor(std::chrono::milliseconds(0));
  EXPECT_THAT(came, testing::SizeIs(2));
}

TEST_F(CompositeRegistry, APartThatCannotBeWatchedIsLoggedAndTheOthersAreWatched) {
  m_scripted->monitorError = EPERM;
  int error = 0;
  const auto monitor = m_registry->monitor(error);
  ASSERT_NE(monitor, nullptr);
  EXPECT_THAT(m_log.join(u'\n').toStdString(), testing::HasSubstr("some devices will not be noticed"));
  m_virtual->attach(phone("Virtual", 1));
  bool lost = false;
  EXPECT_THAT(monitor->take(lost), testing::SizeIs(1));
}

} // namespace
