#include "Platform/Workers.h"

#include "Platform/MainThread.h"
#include "support/LogCapture.h"

#include <pthread.h>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>

using namespace std::chrono_literals;

namespace {

class Workers : public testing::Test {
protected:
  void TearDown() override {
    platform::waitForWorkers(10s);
    platform::resumeWorkers();
  }
};

} // namespace

TEST_F(Workers, AreCountedWhileTheyRun) {
  std::promise<void> go;
  std::promise<void> running;
  ASSERT_TRUE(platform::startWorker("lister", [&] {
    running.set_value();
    go.get_future().wait();
  }));
  running.get_future().wait();
  EXPECT_EQ(platform::runningWorkers(), 1);
  go.set_value();
  EXPECT_TRUE(platform::waitForWorkers(10s));
  EXPECT_EQ(platform::runningWorkers(), 0);
}

TEST_F(Workers, AreCountedUntilWhatTheyHoldIsGone) {
  struct Held {
    std::promise<int> counted;
    ~Held() { counted.set_value(platform::runningWorkers()); }
  };
  auto held = std::make_shared<Held>();
  std::future<int> counted = held->counted.get_future();
  std::promise<void> go;
  ASSERT_TRUE(platform::startWorker("holder", [held, &go] { go.get_future().wait(); }));
  held.reset(); // the worker's alone now
  go.set_value();
  EXPECT_EQ(counted.get(), 1);
  EXPECT_TRUE(platform::waitForWorkers(10s));
}

TEST_F(Workers, CarryTheirNameCutToWhatTheSystemShows) {
  std::promise<std::string> name;
  platform::startWorker("a-rather-long-worker-name", [&] {
    char text[32] = {};
    pthread_getname_np(pthread_self(), text, sizeof text);
    name.set_value(text);
  });
  EXPECT_EQ(name.get_future().get(), "a-rather-long-w");
}

TEST_F(Workers, NoneStartsAfterTheWaitForTheEnd) {
  EXPECT_TRUE(platform::waitForWorkers(10s));
  std::atomic<bool> ran = false;
  EXPECT_FALSE(platform::startWorker("late", [&] { ran = true; }));
  EXPECT_FALSE(ran);
  platform::resumeWorkers();
  EXPECT_TRUE(platform::startWorker("again", [&] { ran = true; }));
  EXPECT_TRUE(platform::waitForWorkers(10s));
  EXPECT_TRUE(ran);
}

TEST_F(Workers, TheWaitEndsAtItsLimit) {
  std::promise<void> go;
  platform::startWorker("slow", [&] { go.get_future().wait(); });
  EXPECT_FALSE(platform::waitForWorkers(1ms));
  go.set_value();
  EXPECT_TRUE(platform::waitForWorkers(10s));
}

TEST_F(Workers, OneThatWaitsForTheMainThreadIsLetGo) {
  std::promise<bool> answer;
  platform::startWorker("asker", [&] { answer.set_value(platform::runOnMainAndWait([] {})); });
  EXPECT_TRUE(platform::waitForWorkers(10s)); // on the main thread, which serves no queue meanwhile
  EXPECT_FALSE(answer.get_future().get());
}

TEST_F(Workers, AnExceptionEndsOnlyItsWorkerAndIsLogged) {
  const testsupport::LogCapture log;
  platform::startWorker("thrower", [] { throw std::runtime_error("no memory left"); });
  EXPECT_TRUE(platform::waitForWorkers(10s));
  EXPECT_EQ(log.count(QStringLiteral("worker thrower ended with: no memory left")), 1);
}
