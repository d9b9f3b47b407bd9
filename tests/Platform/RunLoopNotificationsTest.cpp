#include "Platform/RunLoopNotifications.h"

#include "Platform/MainThread.h"
#include "Platform/RunLoop.h"
#include "support/LogCapture.h"
#include "support/PrivateBus.h"

#include <QCoreApplication>
#include <QTest>

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString name = QStringLiteral("ANNOUNCED");
constexpr int limit = 10'000; // ms

// Posts come from the program itself: they take the way over the bus like anybody's.
class RunLoopNotifications : public testing::Test {
protected:
  void SetUp() override {
    m_bus.emplace(QDBusConnection::connectToBus(m_daemon.address(), QStringLiteral("run loop")));
    ASSERT_TRUE(m_bus->isConnected());
    m_center = std::make_unique<DistributedNotificationCenter>(*m_bus);
    m_end = m_center->observe(QStringLiteral("END"), [this](const Notification&) { ++m_ends; });
  }
  void TearDown() override {
    m_end.reset();
    QCoreApplication::processEvents(); // ended observations leave the centre
    m_center.reset();
    m_bus.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("run loop"));
  }
  void post(int number) { ASSERT_TRUE(m_center->post(name, {{QStringLiteral("N"), number}})); }
  // Everything posted so far has come to the main thread.
  void settle() {
    const int before = m_ends;
    ASSERT_TRUE(m_center->post(QStringLiteral("END")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_ends > before; }, limit));
  }

  testsupport::PrivateBus m_daemon;
  std::optional<QDBusConnection> m_bus;
  std::unique_ptr<DistributedNotificationCenter> m_center;
  std::unique_ptr<NotificationObservation> m_end;
  int m_ends = 0;
};

TEST_F(RunLoopNotifications, ArriveInOrderOnTheObserversRunLoopAndNotBefore) {
  std::vector<int> got;
  const auto observation = observeOnRunLoop(*m_center, name, [&](const Notification& notification) {
    EXPECT_EQ(notification.name, name);
    got.push_back(notification.userInfo.value(QStringLiteral("N")).toInt());
  });
  QCoreApplication::processEvents();
  post(1);
  post(2);
  settle();
  EXPECT_THAT(got, IsEmpty());
  RunLoop::current()->runFor(std::chrono::milliseconds(0));
  EXPECT_THAT(got, ElementsAre(1, 2));
}

TEST_F(RunLoopNotifications, AreHandledOnTheThreadThatObserves) {
  std::atomic<bool> subscribed = false, handled = false; // thread to test
  std::thread::id handler;
  std::thread thread([&] {
    const auto observation = observeOnRunLoop(*m_center, name, [&](const Notification&) {
      handler = std::this_thread::get_id();
      handled = true;
    });
    runOnMain([&] { subscribed = true; }); // comes after the subscription
    while (!handled)
      RunLoop::current()->runFor(std::chrono::milliseconds(20));
  });
  const auto id = thread.get_id();
  EXPECT_TRUE(QTest::qWaitFor([&] { return subscribed.load(); }, limit));
  post(1);
  EXPECT_TRUE(QTest::qWaitFor([&] { return handled.load(); }, limit));
  handled = true;
  thread.join();
  EXPECT_EQ(handler, id);
}

TEST_F(RunLoopNotifications, AnEndedObservationGetsNothingMoreNotEvenWhatWaits) {
  int got = 0;
  auto observation = observeOnRunLoop(*m_center, name, [&](const Notification&) { ++got; });
  QCoreApplication::processEvents();
  post(1);
  settle();
  observation.reset();
  post(2);
  settle();
  RunLoop::current()->runFor(std::chrono::milliseconds(0));
  EXPECT_EQ(got, 0);
}

TEST_F(RunLoopNotifications, AHandlerMayEndItsOwnObservation) {
  int got = 0;
  std::unique_ptr<NotificationObservation> observation;
  observation = observeOnRunLoop(*m_center, name, [&](const Notification&) {
    ++got;
    observation.reset();
  });
  QCoreApplication::processEvents();
  post(1);
  post(2);
  settle();
  RunLoop::current()->runFor(std::chrono::milliseconds(0));
  EXPECT_EQ(got, 1);
}

TEST_F(RunLoopNotifications, EndedBeforeTheMainThreadCameToItSubscribesToNothing) {
  int got = 0;
  observeOnRunLoop(*m_center, name, [&](const Notification&) { ++got; }).reset();
  QCoreApplication::processEvents();
  post(1);
  settle();
  RunLoop::current()->runFor(std::chrono::milliseconds(0));
  EXPECT_EQ(got, 0);
}

TEST_F(RunLoopNotifications, AFloodWhileTheRunLoopIsBusyIsBounded) {
  const testsupport::LogCapture log;
  std::size_t got = 0;
  const auto observation = observeOnRunLoop(*m_center, name, [&](const Notification&) { ++got; });
  QCoreApplication::processEvents();
  for (std::size_t i = 0; i < mostWaitingNotifications + 10; ++i)
    post(int(i));
  settle();
  RunLoop::current()->runFor(std::chrono::milliseconds(0));
  EXPECT_EQ(got, mostWaitingNotifications);
  EXPECT_EQ(log.count(QStringLiteral("too many notifications ANNOUNCED wait, one is dropped")), 10);
  post(1);
  settle();
  RunLoop::current()->runFor(std::chrono::milliseconds(0));
  EXPECT_EQ(got, mostWaitingNotifications + 1);
}

} // namespace
