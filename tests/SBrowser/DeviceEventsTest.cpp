#include "SBrowser/DeviceEvents.h"

#include "BrowserFixture.h"
#include "MTPCore/CapturedLog.h"

#include <thread>

namespace {

class DeviceEventsTest : public testing::Test {
protected:
  std::uint32_t send(std::int32_t code) { return NotifyCallbackEx(code, 1, 2, &events); }

  platform::ManualTimers timers;
  int rebuilds = 0;
  DeviceEvents events{std::make_shared<DeviceQueue>(platform::startWorker), timers, [this] { ++rebuilds; }};
};

TEST_F(DeviceEventsTest, ObjectsAddedAndRemovedLeadToARebuildOtherEventsDoNot) {
  for (const std::int32_t code : {0x4001, 0x4004, 0x4005, 0x4007, 0x4008, 0, -1}) {
    EXPECT_EQ(send(code), 0U);
    EXPECT_FALSE(events.isRebuildPending()) << code;
  }
  for (const std::int32_t code : {16386, 16387}) {
    EXPECT_EQ(send(code), 0U);
    EXPECT_TRUE(events.isRebuildPending());
    timers.advance(DeviceEvents::kQuietPeriod);
    EXPECT_FALSE(events.isRebuildPending());
  }
  EXPECT_EQ(rebuilds, 2);
}

TEST_F(DeviceEventsTest, ObjectsAddedDuringATransferDoNotCountRemovedOnesAlwaysDo) {
  events.setIsTransferProcess(true);
  send(DeviceEvents::kObjectAdded);
  EXPECT_FALSE(events.isRebuildPending());
  send(DeviceEvents::kObjectRemoved);
  EXPECT_TRUE(events.isRebuildPending());
}

TEST_F(DeviceEventsTest, ObjectsAddedDuringATransferStartTheQuietPeriodWhenItIsOver) {
  events.setIsTransferProcess(true);
  send(DeviceEvents::kObjectAdded);
  std::thread([this] { send(DeviceEvents::kObjectAdded); }).join();
  QCoreApplication::processEvents();
  timers.advance(std::chrono::minutes(1));
  EXPECT_EQ(rebuilds, 0);
  events.setIsTransferProcess(false);
  EXPECT_TRUE(events.isRebuildPending());
  timers.advance(DeviceEvents::kQuietPeriod);
  EXPECT_EQ(rebuilds, 1);
  events.setIsTransferProcess(true);
  events.setIsTransferProcess(false);
  EXPECT_FALSE(events.isRebuildPending());
}

TEST_F(DeviceEventsTest, AnObjectAddedWhoseTransferIsOverWhenTheMainThreadHearsOfItCounts) {
  events.setIsTransferProcess(true);
  std::thread([this] { send(DeviceEvents::kObjectAdded); }).join();
  events.setIsTransferProcess(false);
  EXPECT_FALSE(events.isRebuildPending());
  ASSERT_TRUE(QTest::qWaitFor([this] { return events.isRebuildPending(); }, 60'000));
}

TEST_F(DeviceEventsTest, WhatWasMissedDuringATransferIsForgottenWithTheTimer) {
  events.setIsTransferProcess(true);
  send(DeviceEvents::kObjectAdded);
  events.dropTimer();
  events.setIsTransferProcess(false);
  EXPECT_FALSE(events.isRebuildPending());
}

TEST_F(DeviceEventsTest, EveryEventStartsTheQuietPeriodAnew) {
  send(DeviceEvents::kObjectAdded);
  timers.advance(std::chrono::milliseconds(1500));
  send(DeviceEvents::kObjectAdded);
  timers.advance(std::chrono::milliseconds(1999));
  EXPECT_EQ(rebuilds, 0);
  timers.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(rebuilds, 1);
}

TEST_F(DeviceEventsTest, DroppingTheTimerForgetsWhatHappened) {
  send(DeviceEvents::kObjectAdded);
  events.dropTimer();
  timers.advance(std::chrono::minutes(1));
  EXPECT_EQ(rebuilds, 0);
}

TEST_F(DeviceEventsTest, AnEventOnAnotherThreadIsHandledOnTheMainThread) {
  std::thread([this] { send(DeviceEvents::kObjectRemoved); }).join();
  EXPECT_FALSE(events.isRebuildPending());
  ASSERT_TRUE(QTest::qWaitFor([this] { return events.isRebuildPending(); }, 60'000));
}

TEST_F(DeviceEventsTest, EveryEventIsLoggedEvenThoseThatDoNotCount) {
  CapturedLog log;
  send(0x4004);
  NotifyCallbackEx(DeviceEvents::kObjectAdded, 0, 0, nullptr);
  EXPECT_EQ(log.count("NotifyCallbackEx: ENTER"), 2);
}

TEST(NotifyCallbackEx, WithoutContextOrForOneThatIsGoneNothingHappens) {
  EXPECT_EQ(NotifyCallbackEx(DeviceEvents::kObjectAdded, 0, 0, nullptr), 0U);
  platform::ManualTimers timers;
  int rebuilds = 0;
  auto events =
      std::make_unique<DeviceEvents>(std::make_shared<DeviceQueue>(platform::startWorker), timers, [&] { ++rebuilds; });
  void* const context = events.get();
  std::thread([&] { NotifyCallbackEx(DeviceEvents::kObjectAdded, 0, 0, context); }).join(); // queued, not handled yet
  events.reset();
  EXPECT_EQ(NotifyCallbackEx(DeviceEvents::kObjectAdded, 0, 0, context), 0U);
  QCoreApplication::processEvents();
  timers.advance(std::chrono::minutes(1));
  EXPECT_EQ(rebuilds, 0);
}

} // namespace
