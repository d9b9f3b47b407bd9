#include "MTPBrowser.h"

#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"
#include "Platform/UserDefaults.h"
#include "SBrowser/SBrowserWindowController.h"

#include <QMainWindow>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class MTPBrowserTest : public testing::Test {
protected:
  void SetUp() override { platform::userDefaults::useFile(m_folder.filePath(QStringLiteral("defaults.conf"))); }
  void TearDown() override { platform::userDefaults::useFile({}); }

  MTPBrowser::ControllerFactory factory() {
    return [this] {
      ++m_created;
      m_rtlAtCreation = platform::userDefaults::boolForKey(QStringLiteral("RTLLayout"));
      SBrowserDependencies dependencies = SBrowserDependencies::ofProgram();
      dependencies.createAccessObject = [this] { return std::make_shared<MTPDextSDKWrapper>(m_sdk); };
      return std::make_unique<SBrowserWindowController>(std::move(dependencies));
    };
  }
  MTPBrowser::Terminate terminate() {
    return [this] { ++m_terminated; };
  }

  QTemporaryDir m_folder;
  std::shared_ptr<FakeMtpSdk> m_sdk = std::make_shared<FakeMtpSdk>();
  int m_created = 0;
  bool m_rtlAtCreation = false;
  int m_terminated = 0;
};

TEST_F(MTPBrowserTest, CreatesOneWindowControllerAndShowsItsWindowOnRequest) {
  MTPBrowser browser(factory(), terminate());
  EXPECT_EQ(m_created, 1);
  EXPECT_FALSE(browser.windowController()->window()->isVisible());
  browser.showWindow();
  EXPECT_TRUE(browser.windowController()->window()->isVisible());
}

TEST_F(MTPBrowserTest, ConnectingKeepsTheLocationAndForwardsItToTheWindow) {
  const auto device = m_sdk->addDevice(0x14200000, QStringLiteral("M"));
  m_sdk->addFolder(m_sdk->addStorage(device, 0x00010001, QStringLiteral("Phone")), QStringLiteral("DCIM"));
  MTPBrowser browser(factory(), terminate());
  QSignalSpy shown(browser.windowController(), &SBrowserWindowController::folderShown);
  browser.connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(shown.wait(5000));
  EXPECT_EQ(browser.locationID(), QStringLiteral("14200000"));
  EXPECT_EQ(browser.windowController()->locationID(), QStringLiteral("14200000"));
}

TEST_F(MTPBrowserTest, AFacadeForAGivenPhoneStoresTheRightToLeftFlagBeforeItsCellsAreCreated) {
  const QVariantMap memory{{QStringLiteral("volumePath"), QStringLiteral("/M/Phone")}};
  MTPBrowser browser(QStringLiteral("1A"), memory, true, factory(), terminate());
  EXPECT_TRUE(m_rtlAtCreation);
  EXPECT_EQ(browser.locationID(), QStringLiteral("1A"));
  EXPECT_EQ(browser.rootMemory(), memory);
  EXPECT_EQ(m_created, 1);
}

TEST_F(MTPBrowserTest, AFrameMakesNoDifference) {
  MTPBrowser browser(QRect(1, 2, 3, 4), QStringLiteral("1A"), {}, false, factory(), terminate());
  EXPECT_EQ(browser.locationID(), QStringLiteral("1A"));
  EXPECT_FALSE(platform::userDefaults::boolForKey(QStringLiteral("RTLLayout")));
}

TEST_F(MTPBrowserTest, SetRTLModeWritesTheUserDefault) {
  MTPBrowser browser(factory(), terminate());
  browser.setRTLMode(true);
  EXPECT_TRUE(platform::userDefaults::boolForKey(QStringLiteral("RTLLayout")));
  browser.setRTLMode(false);
  EXPECT_FALSE(platform::userDefaults::boolForKey(QStringLiteral("RTLLayout")));
}

TEST_F(MTPBrowserTest, ADisconnectionEndsTheApplicationWithoutTellingTheWindow) {
  MTPBrowser browser(factory(), terminate());
  browser.deviceDisconnected();
  EXPECT_EQ(m_terminated, 1);
  EXPECT_FALSE(browser.windowController()->isDetached());
}

TEST_F(MTPBrowserTest, CloseWindowClosesIt) {
  MTPBrowser browser(factory(), terminate());
  browser.showWindow();
  browser.closeWindow();
  EXPECT_FALSE(browser.windowController()->window()->isVisible());
  EXPECT_TRUE(browser.windowController()->isCanceled());
}

} // namespace
