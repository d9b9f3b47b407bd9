#include "Platform/MainThread.h"

#include <QCoreApplication>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

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

TEST(MainThread, QueuedWorkSeesWhatItsThreadWroteBefore) {
  int value = 0; // plain on purpose: the queue orders the write before the read
  int seen = 0;
  std::thread([&] {
    value = 42;
    platform::runOnMain([&value, &seen, text = std::string(100, 'x')] { seen = value + int(text.size()); });
  }).detach();
  EXPECT_TRUE(QTest::qWaitFor([&] { return seen == 142; }, 10'000));
}

TEST(MainThread, ManyThreadsMayQueueAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 500;
  int ran = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&ran] {
      for (int round = 0; round < kRounds; ++round) {
        auto data = std::make_shared<std::string>(size_t(round), 'x');
        platform::runOnMain([&ran, data, round] { ran += data->size() == size_t(round) ? 1 : 0; });
      }
    });
  EXPECT_TRUE(QTest::qWaitFor([&] { return ran == kThreads * kRounds; }, 10'000));
  for (std::thread& thread : threads)
    thread.join();
}

TEST(MainThread, QueuedWorkRunsInItsOrder) {
  std::string order;
  for (const char c : {'a', 'b', 'c'})
    platform::runOnMain([&order, c] {
      order += c;
      if (c == 'a')
        platform::runOnMain([&order] { order += 'd'; });
    });
  EXPECT_TRUE(QTest::qWaitFor([&] { return order.size() == 4; }, 10'000));
  EXPECT_EQ(order, "abcd");
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

TEST(MainThreadDeathTest, TouchingAViewElsewhereEndsTheProcessWithALine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  platform::assertMainThread();
  EXPECT_DEATH(std::thread([] { platform::assertMainThread(); }).join(),
               "MainThreadTest.cpp.*called off the main thread");
}

TEST(MainThreadDeathTest, TheEndOfTheApplicationLetsAWaiterGoWithoutItsWorkHavingRun) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto endTheApplication = [] {
    std::atomic<bool> ran = false;
    std::promise<void> started;
    auto waiter = std::async(std::launch::async, [&] {
      started.set_value();
      return platform::runOnMainAndWait([&] { ran = true; });
    });
    started.get_future().wait();
    QCoreApplication::instance()->~QCoreApplication();
    const bool done = waiter.get();
    platform::runOnMain([&] { ran = true; });
    std::_Exit(done || ran ? 1 : 0);
  };
  EXPECT_EXIT(endTheApplication(), testing::ExitedWithCode(0), "");
}
