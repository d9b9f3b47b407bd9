#include "SBrowser/ConnectConditions.h"

#include "BrowserFixture.h"
#include "MTPCore/CapturedLog.h"
#include "UI/Common/DisplayText.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Languages.h"
#include "support/TextFit.h"

#include <QLabel>
#include <QMainWindow>

#include <array>

using Kind = ConnectCondition::Kind;

namespace {

constexpr std::array kKinds{Kind::NoStorages, Kind::NoPermission, Kind::InUse, Kind::PictureTransfer,
                            Kind::NotAnswering};

QString shown(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

// The window before it shows a phone.
class ConnectConditionsInTheWindow : public BrowserFixture {
protected:
  static constexpr std::uint32_t kLocation = 0x14200000;
  static constexpr std::uint32_t kOpenFailed = 0x12000003;

  void attach() {
    controller->connectDevice(QStringLiteral("14200000"));
    ASSERT_TRUE(settle());
  }
  void attachUnopenable(std::int32_t failure, const std::string& holder = {}) {
    sdk->setStatus(Operation::GetConnectedDeviceListHead, kOpenFailed);
    sdk->setOpenFailure(kLocation, failure, holder);
    attach();
  }
  void letOpen() {
    addPhone();
    sdk->setStatus(Operation::GetConnectedDeviceListHead, std::nullopt);
    sdk->setOpenFailure(kLocation, MTPDEXT_OPEN_DONE);
  }
  void pass(std::chrono::milliseconds time) {
    timers.advance(time);
    ASSERT_TRUE(settle());
  }
  QString text() const { return controller->layout().welcomeTfield->text(); }
  bool isWelcome() const { return controller->layout().welcomeView->isVisible(); }
  bool isBrowsing() const { return controller->layout().scrollViewBrowser->isVisible(); }
};

} // namespace

// ---- Texts ----

TEST(ConnectConditionsTexts, TellEveryConditionApart) {
  QStringList texts;
  for (const Kind kind : kKinds)
    texts.append(ConnectConditions::text({kind, {}}));
  texts.append(ConnectConditions::text({Kind::InUse, QStringLiteral("gvfsd-mtp")}));
  EXPECT_EQ(texts.removeDuplicates(), 0);
  EXPECT_FALSE(texts.contains(shown("MSG_WelcomToVBX2")));
}

TEST(ConnectConditionsTexts, NameTheProgramThatHasThePhone) {
  EXPECT_TRUE(
      ConnectConditions::text({Kind::InUse, QStringLiteral("gvfsd-mtp")}).contains(QStringLiteral("gvfsd-mtp")));
  EXPECT_EQ(ConnectConditions::text({Kind::InUse, {}}), shown("MSG_PhoneInUse"));
}

TEST(ConnectConditionsTexts, AProgramsNameOfAnyContentStaysOnItsLine) {
  const QString text = ConnectConditions::text({Kind::InUse, QStringLiteral("evil\nname %1 %2\x1b[2J")});
  EXPECT_EQ(text.count(u'\n'), shown("MSG_PhoneInUseBy").count(u'\n'));
  EXPECT_FALSE(text.contains(QChar(0x1b)));
  EXPECT_TRUE(text.contains(QStringLiteral("%2")));
}

class ConnectConditionsInALanguage : public testing::TestWithParam<const char*> {
protected:
  void SetUp() override { VornLocalStringDefine::loadTables({QString::fromLatin1(GetParam())}); }
  void TearDown() override { VornLocalStringDefine::loadTables({QStringLiteral("en")}); }
};

TEST_P(ConnectConditionsInALanguage, FitTheWelcomeOnTwoLines) {
  WindowLayout layout(platform::Timers::mainThread());
  layout.window()->show();
  for (const Kind kind : kKinds) {
    layout.showWelcome(ConnectConditions::text({kind, QStringLiteral("gvfsd-mtp")}));
    EXPECT_EQ(testsupport::cutOffTexts(*layout.window()), QStringList());
    EXPECT_TRUE(testsupport::fitsLines(layout.welcomeTfield->text(), layout.welcomeTfield->font(),
                                       layout.welcomeTfield->width(), 2))
        << qPrintable(layout.welcomeTfield->text());
  }
}

INSTANTIATE_TEST_SUITE_P(Language, ConnectConditionsInALanguage, testing::ValuesIn(testsupport::kLanguages),
                         testsupport::languageName);

// ---- The clock ----

TEST(ConnectConditionsClock, TriesAgainOnceEveryTwoSecondsAndAfterTwoMinutesEveryTen) {
  platform::ManualTimers timers;
  ConnectConditions conditions(timers);
  int tries = 0;
  std::function<void()> tryAgain = [&] {
    ++tries;
    conditions.hold({Kind::NoStorages, {}}, tryAgain);
  };
  conditions.hold({Kind::NoStorages, {}}, tryAgain);
  EXPECT_EQ(timers.pending(), 1);
  timers.advance(std::chrono::milliseconds(1'999));
  EXPECT_EQ(tries, 0);
  timers.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(tries, 1);
  timers.advance(std::chrono::seconds(118));
  EXPECT_EQ(tries, 60);
  timers.advance(std::chrono::seconds(20));
  EXPECT_EQ(tries, 62);
  conditions.end();
  EXPECT_EQ(timers.pending(), 0);
}

TEST(ConnectConditionsClock, ANewConnectionIsInAHurryAgain) {
  platform::ManualTimers timers;
  ConnectConditions conditions(timers);
  for (int i = 0; i <= ConnectConditions::kQuickAttempts; ++i)
    conditions.hold({Kind::InUse, {}}, [] {});
  conditions.end();
  bool tried = false;
  conditions.hold({Kind::InUse, {}}, [&] { tried = true; });
  timers.advance(ConnectConditions::kPause);
  EXPECT_TRUE(tried);
}

TEST(ConnectConditionsClock, APhoneThatDoesNotAnswerIsLeftAloneLonger) {
  platform::ManualTimers timers;
  ConnectConditions conditions(timers);
  bool tried = false;
  conditions.hold({Kind::NotAnswering, {}}, [&] { tried = true; });
  timers.advance(std::chrono::seconds(9));
  EXPECT_FALSE(tried);
  timers.advance(std::chrono::seconds(1));
  EXPECT_TRUE(tried);
}

// ---- In the window ----

TEST_F(ConnectConditionsInTheWindow, ALockedPhoneIsToldAndShownAsSoonAsItIsUnlocked) {
  device = sdk->addDevice(kLocation, QStringLiteral("M"), QStringLiteral("Pat's phone"));
  attach();
  EXPECT_TRUE(isWelcome());
  EXPECT_EQ(text(), shown("MSG_PhoneLocked"));
  pass(ConnectConditions::kPause);
  EXPECT_TRUE(isWelcome()) << "still locked";
  phone = sdk->addStorage(device, 0x00010001, QStringLiteral("Phone"));
  pass(ConnectConditions::kPause);
  EXPECT_TRUE(isBrowsing());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_EQ(timers.pending(), 0) << "nothing is tried any more";
}

TEST_F(ConnectConditionsInTheWindow, APhoneWithoutAnMtpInterfaceIsToldAsOneThatOnlyCharges) {
  attach();
  EXPECT_EQ(text(), shown("MSG_PhoneLocked"));
}

TEST_F(ConnectConditionsInTheWindow, AMissingPermissionIsToldAndTheConnectionMadeWhenItIsGiven) {
  attachUnopenable(MTPDEXT_OPEN_NO_PERMISSION);
  EXPECT_EQ(text(), shown("MSG_PhoneNoPermission"));
  letOpen();
  pass(ConnectConditions::kPause);
  EXPECT_TRUE(isBrowsing());
}

TEST_F(ConnectConditionsInTheWindow, AProgramThatHasThePhoneIsNamedUntilItLetsItGo) {
  attachUnopenable(MTPDEXT_OPEN_IN_USE, "gvfsd-mtp");
  EXPECT_EQ(text(), ConnectConditions::text({Kind::InUse, QStringLiteral("gvfsd-mtp")}));
  letOpen();
  pass(ConnectConditions::kPause);
  EXPECT_TRUE(isBrowsing());
}

TEST_F(ConnectConditionsInTheWindow, AProgramThatCannotBeSeenIsToldWithoutAName) {
  attachUnopenable(MTPDEXT_OPEN_IN_USE);
  EXPECT_EQ(text(), shown("MSG_PhoneInUse"));
}

TEST_F(ConnectConditionsInTheWindow, APhoneInPictureTransferModeIsToldToChangeIt) {
  attachUnopenable(MTPDEXT_OPEN_PTP_ONLY);
  EXPECT_EQ(text(), shown("MSG_PhonePictureTransfer"));
}

TEST_F(ConnectConditionsInTheWindow, ASilentPhoneIsToldWhetherItCannotBeOpenedOrTellsNoStorages) {
  attachUnopenable(MTPDEXT_OPEN_NO_ANSWER);
  EXPECT_EQ(text(), shown("MSG_PhoneNotAnswering"));
  letOpen();
  sdk->setStatus(Operation::GetStorageListHead, 0x13000008);
  attach();
  EXPECT_EQ(text(), shown("MSG_PhoneNotAnswering"));
}

TEST_F(ConnectConditionsInTheWindow, WithoutAThreadForTheConnectionItIsTriedAgain) {
  addPhone();
  refuseWorkers = true;
  attach();
  EXPECT_EQ(text(), shown("MSG_PhoneNotAnswering"));
  refuseWorkers = false;
  pass(std::chrono::seconds(10));
  EXPECT_TRUE(isBrowsing());
}

TEST_F(ConnectConditionsInTheWindow, WhatIsToldFollowsTheCondition) {
  attachUnopenable(MTPDEXT_OPEN_IN_USE);
  sdk->setOpenFailure(kLocation, MTPDEXT_OPEN_PTP_ONLY);
  pass(ConnectConditions::kPause);
  EXPECT_EQ(text(), shown("MSG_PhonePictureTransfer"));
}

TEST_F(ConnectConditionsInTheWindow, ATryAgainAsksForTheStoragesOnce) {
  sdk->addDevice(kLocation, QStringLiteral("M"));
  attach();
  const int before = sdk->calls(Operation::GetStorageListHead);
  EXPECT_EQ(before, 10);
  pass(ConnectConditions::kPause);
  EXPECT_EQ(sdk->calls(Operation::GetStorageListHead), before + 1);
}

TEST_F(ConnectConditionsInTheWindow, ADetachEndsTheTryingAndBringsTheWelcomeBack) {
  attachUnopenable(MTPDEXT_OPEN_NO_PERMISSION);
  controller->deviceDisconnected();
  EXPECT_EQ(text(), shown("MSG_WelcomToVBX2"));
  EXPECT_EQ(timers.pending(), 0);
  letOpen();
  pass(std::chrono::minutes(1));
  EXPECT_FALSE(isBrowsing());
}

TEST_F(ConnectConditionsInTheWindow, APhoneThatIsShownStaysWhenConnectingToItAgainFails) {
  connectPhone();
  sdk->setStatus(Operation::GetStorageListHead, 0x12000002);
  attach();
  EXPECT_TRUE(isBrowsing());
  EXPECT_EQ(timers.pending(), 0);
}

TEST_F(ConnectConditionsInTheWindow, AWindowMayGoWhileAConditionHolds) {
  attachUnopenable(MTPDEXT_OPEN_NO_PERMISSION);
  EXPECT_EQ(timers.pending(), 1);
  controller.reset();
  EXPECT_EQ(timers.pending(), 0);
}
