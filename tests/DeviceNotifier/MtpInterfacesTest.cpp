#include "DeviceNotifier/MtpInterfaces.h"
#include "support/ScriptedDeviceRegistry.h"

#include <gtest/gtest.h>

using namespace detection;
namespace key = platform::registryKey;

namespace {

std::shared_ptr<scripted::Service> interface(const QVariant& classCode, const QVariant& subclass,
                                             const QVariant& protocol, const char* name = nullptr) {
  auto made = std::make_shared<scripted::Service>("interface");
  made->properties = {
      {key::interfaceClass, classCode}, {key::interfaceSubClass, subclass}, {key::interfaceProtocol, protocol}};
  if (name != nullptr)
    made->properties[key::interfaceName] = QString::fromLatin1(name);
  return made;
}

bool offersMtp(std::vector<std::shared_ptr<platform::RegistryService>> interfaces) {
  scripted::Service device("device");
  device.below = std::move(interfaces);
  return hasMtpInterface(device);
}

TEST(MtpInterfaces, TheStillImageClassIsMtp) {
  EXPECT_TRUE(offersMtp({interface(6, 1, 1)}));
}

TEST(MtpInterfaces, TheClassCountsInAnyInterface) {
  EXPECT_TRUE(offersMtp({interface(0xff, 0x42, 1), interface(6, 1, 1, "MTP")}));
}

TEST(MtpInterfaces, AVendorSpecificInterfaceNamedMtpIsMtp) {
  EXPECT_TRUE(offersMtp({interface(0xff, 0xff, 0, "MTP")}));
  EXPECT_TRUE(offersMtp({interface(0xff, 0, 0, "Android MTP gadget")}));
}

TEST(MtpInterfaces, OtherInterfacesAreNot) {
  EXPECT_FALSE(offersMtp({}));
  EXPECT_FALSE(offersMtp({interface(8, 6, 0x50)}));
  EXPECT_FALSE(offersMtp({interface(6, 1, 2)}));
  EXPECT_FALSE(offersMtp({interface(6, 2, 1)}));
  EXPECT_FALSE(offersMtp({interface(0xff, 0xff, 0, "ADB")}));
  EXPECT_FALSE(offersMtp({interface(8, 6, 0x50, "MTP")}));
}

TEST(MtpInterfaces, PropertiesThatAreNoNumbersAreNoClass) {
  EXPECT_FALSE(offersMtp({interface(QVariant(), QVariant(), QVariant())}));
  EXPECT_FALSE(offersMtp({interface(QStringLiteral("6"), 1, 1)}));
}

TEST(MtpInterfaces, ADeviceTheDatabaseKnowsNeedsAnInterfaceButNoMtpOne) {
  scripted::Service device("device");
  device.properties[key::mtpDevice] = QStringLiteral("1");
  EXPECT_FALSE(hasMtpInterface(device)) << "its interfaces are still to come";
  device.below = {interface(0xff, 0x42, 1)};
  EXPECT_TRUE(hasMtpInterface(device));
  device.properties[key::mtpDevice] = QStringLiteral("0");
  EXPECT_FALSE(hasMtpInterface(device));
}

} // namespace
