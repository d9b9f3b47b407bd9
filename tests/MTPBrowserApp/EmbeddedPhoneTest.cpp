#include "MTPBrowserApp/EmbeddedPhone.h"

#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/Log.h"
#include "Platform/UserDefaults.h"
#include "TessalyMTPSdk/Engine.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class EmbeddedPhoneTest : public testing::Test {
protected:
  void SetUp() override {
    platform::userDefaults::useFile(m_folder.filePath(QStringLiteral("defaults.conf")));
    qunsetenv("MTPBROWSER_VIRTUAL_PHONE");
    qunsetenv("MTPBROWSER_VIRTUAL_PHONE_FOLDER");
    platform::setLogSink([this](const QString& line) { m_log += line + u'\n'; });
    mtp::setUsbEnabled(false);
  }
  void TearDown() override {
    qunsetenv("MTPBROWSER_VIRTUAL_PHONE");
    mtp::shutdown();
    platform::setLogSink({});
    platform::userDefaults::useFile({});
  }

  QStringList attachedVendors() {
    std::vector<std::shared_ptr<platform::RegistryService>> services;
    m_registry.services(platform::ServiceClass::UsbDevice, services);
    QStringList vendors;
    for (const auto& service : services)
      vendors << QString::number(service->property(platform::registryKey::vendorId).toInt(), 16);
    return vendors;
  }

  QTemporaryDir m_folder;
  QString m_log;
  platform::VirtualDeviceRegistry m_registry;
};

TEST_F(EmbeddedPhoneTest, IsNotAttachedUnlessAskedFor) {
  EXPECT_EQ(embeddedPhoneMode(), EmbeddedPhoneMode::Never);
}

TEST_F(EmbeddedPhoneTest, TheUserDefaultChoosesIt) {
  platform::userDefaults::setValue(QStringLiteral("VirtualPhone"), QStringLiteral("Auto"));
  EXPECT_EQ(embeddedPhoneMode(), EmbeddedPhoneMode::Auto);
}

TEST_F(EmbeddedPhoneTest, TheEnvironmentIsStrongerThanTheUserDefault) {
  platform::userDefaults::setValue(QStringLiteral("VirtualPhone"), QStringLiteral("auto"));
  qputenv("MTPBROWSER_VIRTUAL_PHONE", "always");
  EXPECT_EQ(embeddedPhoneMode(), EmbeddedPhoneMode::Always);
  qputenv("MTPBROWSER_VIRTUAL_PHONE", "never");
  EXPECT_EQ(embeddedPhoneMode(), EmbeddedPhoneMode::Never);
}

TEST_F(EmbeddedPhoneTest, AnUnknownModeIsLoggedAndMeansNever) {
  qputenv("MTPBROWSER_VIRTUAL_PHONE", "perhaps");
  EXPECT_EQ(embeddedPhoneMode(), EmbeddedPhoneMode::Never);
  EXPECT_TRUE(m_log.contains(QStringLiteral("perhaps")));
}

TEST_F(EmbeddedPhoneTest, ShowsItsTwoStoragesAndFilesThroughTheWholeEngine) {
  EmbeddedPhone phone(m_registry, {0x7e55, 0x43ff});
  ASSERT_TRUE(phone.attach(m_folder.filePath(QStringLiteral("phone"))));
  EXPECT_EQ(attachedVendors(), QStringList{QStringLiteral("7e55")});

  MTPDextSDKWrapper wrapper(std::make_shared<TessalyMtpSdk>());
  wrapper.setLocationID(QStringLiteral("FE100000"));
  const auto storages = wrapper.storageInfoLists();
  ASSERT_TRUE(storages);
  ASSERT_EQ(storages->size(), 2);
  EXPECT_EQ(storages->at(0).volumePath, QStringLiteral("/VP-1/Phone"));
  EXPECT_EQ(storages->at(1).volumePath, QStringLiteral("/VP-1/Card"));
  EXPECT_EQ(wrapper.getMTPFriendlyName(), QStringLiteral("Virtual Phone"));
}

TEST_F(EmbeddedPhoneTest, LeavesRegistryAndEngineWhenDetached) {
  EmbeddedPhone phone(m_registry, {0x7e55, 0x43ff});
  ASSERT_TRUE(phone.attach(m_folder.filePath(QStringLiteral("phone"))));
  phone.detach();
  EXPECT_FALSE(phone.attached());
  EXPECT_TRUE(attachedVendors().isEmpty());
  MTPDextSDKWrapper wrapper(std::make_shared<TessalyMtpSdk>());
  wrapper.setLocationID(QStringLiteral("FE100000"));
  EXPECT_FALSE(wrapper.storageInfoLists());
}

TEST_F(EmbeddedPhoneTest, IsNotAttachedWhenItsFilesCannotBeMade) {
  EmbeddedPhone phone(m_registry, {0x7e55, 0x43ff});
  EXPECT_FALSE(phone.attach(QStringLiteral("/proc/nowhere")));
  EXPECT_TRUE(attachedVendors().isEmpty());
}

} // namespace
