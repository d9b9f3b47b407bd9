#include "SBrowser/DeviceQueue.h"

#include "BrowserFixture.h"

#include <thread>
#include <vector>

namespace {

class DeviceQueueTest : public testing::Test {
protected:
  std::shared_ptr<DeviceSession> newSession() {
    return std::make_shared<DeviceSession>(std::make_shared<MTPDextSDKWrapper>(std::make_shared<FakeMtpSdk>()),
                                           QStringLiteral("1"));
  }
  static bool settle() {
    return QTest::qWaitFor([] { return platform::runningWorkers() == 0; }, 60'000);
  }

  std::shared_ptr<DeviceQueue> queue = std::make_shared<DeviceQueue>(platform::startWorker);
  std::shared_ptr<DeviceSession> session = newSession();
};

TEST_F(DeviceQueueTest, JobsRunOneAtATimeInTheOrderTheyWereAskedFor) {
  std::vector<int> order; // unguarded: the turns are what guards it
  for (int i = 0; i < 50; ++i)
    queue->perform("test", session, [&order, i](DeviceSession&) { order.push_back(i); });
  ASSERT_TRUE(settle());
  ASSERT_EQ(order.size(), 50U);
  for (int i = 0; i < 50; ++i)
    EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST_F(DeviceQueueTest, JobsOfASessionThatEndedDoNotRunButForItsLastOnes) {
  Gate gate;
  int ran = 0;
  bool last = false;
  queue->perform("test", session, [&](DeviceSession&) { gate.pass(); });
  queue->perform("test", session, [&](DeviceSession&) { ++ran; });
  const auto other = newSession();
  bool otherRan = false;
  queue->performLast("test", session, [&](DeviceSession&) { last = true; });
  queue->perform("test", other, [&](DeviceSession&) { otherRan = true; });
  session->end();
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(ran, 0);
  EXPECT_TRUE(last);
  EXPECT_TRUE(otherRan);
  EXPECT_TRUE(session->_mtpSDKWrapper->isDetached());
}

TEST_F(DeviceQueueTest, AJobThatGetsNoThreadDoesNotHoldUpTheOthers) {
  bool refuse = true;
  queue = std::make_shared<DeviceQueue>([&](const char* name, std::function<void()> body) {
    return !refuse && platform::startWorker(name, std::move(body));
  });
  bool first = false;
  bool second = false;
  EXPECT_FALSE(queue->perform("test", session, [&](DeviceSession&) { first = true; }));
  refuse = false;
  EXPECT_TRUE(queue->perform("test", session, [&](DeviceSession&) { second = true; }));
  ASSERT_TRUE(settle());
  EXPECT_FALSE(first);
  EXPECT_TRUE(second);
}

TEST_F(DeviceQueueTest, AJobHereWaitsForThoseBeforeIt) {
  std::vector<int> order;
  queue->perform("test", session, [&](DeviceSession&) { order.push_back(1); });
  EXPECT_TRUE(queue->performHere(session, [&](DeviceSession&) { order.push_back(2); }));
  EXPECT_EQ(order, std::vector<int>({1, 2}));
  session->end();
  EXPECT_FALSE(queue->performHere(session, [&](DeviceSession&) { order.push_back(3); }));
  EXPECT_EQ(order.size(), 2U);
}

TEST_F(DeviceQueueTest, BindingASessionThatEndedLeavesItDetached) {
  session->end();
  session->bind();
  EXPECT_TRUE(session->_mtpSDKWrapper->isDetached());
}

} // namespace
