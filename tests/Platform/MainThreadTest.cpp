#include "Platform/MainThread.h"

#include <QCoreApplication>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace {

void pump(std::future<bool>& until) {
  ASSERT_TRUE(
      QTest::qWaitFor([&] { return until.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }, 10'000));
}

} // namespace

TEST(MainThread, IsTheApplicationsThread) {
  EXPECT_TRUE(platform::isMainThread());
  EXPECT_FALSE(std::async(std::launch::async, [] { return platform::isMainThread(); }).get());
}

TEST(MainThread, QueuedWorkRunsThereLater) {
  bool ran = false;
  platform::runOnMain([&] {
    EXPECT_TRUE(platform::isMainThread());
    ran = true;
  });
  EXPECT_FALSE(ran);
  EXPECT_TRUE(QTest::qWaitFor([&] { return ran; }, 10'000));
}

TEST(MainThread, WaitingOnTheMainThreadItselfRunsTheWorkDirectly) {
  bool ran = false;
  EXPECT_TRUE(platform::runOnMainAndWait([&] { ran = true; }));
  EXPECT_TRUE(ran);
}

TEST(MainThread, AnotherThreadWaitsUntilTheWorkIsDone) {
  bool ran = false; // the wait orders the write before the read
  auto waiter = std::async(std::launch::async, [&] {
    const bool done = platform::runOnMainAndWait([&] {
      EXPECT_TRUE(platform::isMainThread());
      ran = true;
    });
    return done && ran;
  });
  pump(waiter);
  EXPECT_TRUE(waiter.get());
}

TEST(MainThread, RefusingLetsGoWhoeverWaitsAndItsWorkNeverRuns) {
  std::atomic<bool> ran = false;
  std::promise<void> started;
  auto waiter = std::async(std::launch::async, [&] {
    started.set_value();
    return platform::runOnMainAndWait([&] { ran = true; });
  });
  started.get_future().wait();
  platform::refuseWaiting(true);
  EXPECT_FALSE(waiter.get());
  QCoreApplication::processEvents();
  EXPECT_FALSE(ran);
  EXPECT_FALSE(std::async(std::launch::async, [] { return platform::runOnMainAndWait([] {}); }).get());
  platform::refuseWaiting(false);
}

TEST(MainThread, ADroppedQueueLetsTheWaiterGo) {
  std::atomic<bool> ran = false;
  auto waiter = std::async(std::launch::async, [&] { return platform::runOnMainAndWait([&] { ran = true; }); });
  // What happens to the queue when the application object goes.
  while (waiter.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
    QCoreApplication::removePostedEvents(QCoreApplication::instance());
  EXPECT_FALSE(waiter.get());
  EXPECT_FALSE(ran);
}

TEST(MainThreadDeathTest, TouchingAViewElsewhereEndsTheProcessWithALine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  platform::assertMainThread();
  EXPECT_DEATH(std::thread([] { platform::assertMainThread(); }).join(),
               "MainThreadTest.cpp.*called off the main thread");
}
