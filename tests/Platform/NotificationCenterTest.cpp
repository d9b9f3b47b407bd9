#include "Platform/NotificationCenter.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

using platform::Notification;
using platform::NotificationCenter;

TEST(NotificationCenter, DeliversOnlyTheObservedNameWithItsInfo) {
  NotificationCenter center;
  QList<Notification> got;
  const auto observation = center.observe(QStringLiteral("A"), [&](const Notification& n) { got.append(n); });
  center.post(QStringLiteral("B"), {{QStringLiteral("k"), 1}});
  center.post(QStringLiteral("A"), {{QStringLiteral("EventType"), 2}});
  center.post(QStringLiteral("A"));
  ASSERT_EQ(got.size(), 2);
  EXPECT_TRUE(got.at(0).hasUserInfo);
  EXPECT_EQ(got.at(0).userInfo.value(QStringLiteral("EventType")).toInt(), 2);
  EXPECT_FALSE(got.at(1).hasUserInfo);
}

TEST(NotificationCenter, DeliversInTheOrderOfRegistrationOnThePostingThread) {
  NotificationCenter center;
  QStringList order;
  std::thread::id thread;
  const auto first = center.observe(QStringLiteral("A"), [&](const Notification&) { order << QStringLiteral("1"); });
  const auto second = center.observe(QStringLiteral("A"), [&](const Notification&) {
    order << QStringLiteral("2");
    thread = std::this_thread::get_id();
  });
  std::thread poster([&] { center.post(QStringLiteral("A")); });
  const auto posting = poster.get_id();
  poster.join();
  EXPECT_EQ(order, (QStringList{QStringLiteral("1"), QStringLiteral("2")}));
  EXPECT_EQ(thread, posting);
}

TEST(NotificationCenter, AnEndedObservationHearsNothingMore) {
  NotificationCenter center;
  int calls = 0;
  auto observation = center.observe(QStringLiteral("A"), [&](const Notification&) { ++calls; });
  center.post(QStringLiteral("A"));
  observation.reset();
  center.post(QStringLiteral("A"));
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, AnObserverMayEndItselfOrAnotherWhileItIsCalled) {
  NotificationCenter center;
  int calls = 0;
  std::unique_ptr<platform::NotificationObservation> self, other;
  self = center.observe(QStringLiteral("A"), [&](const Notification&) {
    ++calls;
    other.reset();
    self.reset();
  });
  other = center.observe(QStringLiteral("A"), [&](const Notification&) { ++calls; });
  center.post(QStringLiteral("A"));
  center.post(QStringLiteral("A"));
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, EndingWaitsForACallOnAnotherThread) {
  NotificationCenter center;
  std::promise<void> entered, leave;
  std::atomic<bool> left = false;
  auto observation = center.observe(QStringLiteral("A"), [&](const Notification&) {
    entered.set_value();
    leave.get_future().wait();
    left = true;
  });
  std::thread poster([&] { center.post(QStringLiteral("A")); });
  entered.get_future().wait();
  auto ended = std::async(std::launch::async, [&] {
    observation.reset();
    return left.load();
  });
  EXPECT_NE(ended.wait_for(std::chrono::milliseconds(20)), std::future_status::ready);
  leave.set_value();
  EXPECT_TRUE(ended.get()); // the handler had returned when the destructor did
  poster.join();
}

TEST(NotificationCenter, ACallThatThrowsOnAnotherThreadIsNotWaitedFor) {
  NotificationCenter center;
  auto observation = center.observe(QStringLiteral("A"), [](const Notification&) { throw std::runtime_error("no"); });
  std::thread poster([&] { EXPECT_THROW(center.post(QStringLiteral("A")), std::runtime_error); });
  poster.join();
  observation.reset(); // returns
}

TEST(NotificationCenter, AnObservationMayOutliveItsCenter) {
  std::unique_ptr<platform::NotificationObservation> observation;
  {
    NotificationCenter center;
    observation = center.observe(QStringLiteral("A"), [](const Notification&) {});
  }
  observation.reset();
  SUCCEED();
}

TEST(NotificationCenter, ManyThreadsMayPostAndObserveAtOnce) {
  NotificationCenter center;
  std::atomic<int> calls = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        const auto observation = center.observe(QStringLiteral("A"), [&](const Notification&) { ++calls; });
        center.post(QStringLiteral("A"));
      }
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_GE(calls, 4 * 200); // each hears at least its own
}
