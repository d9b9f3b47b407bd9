#include "TessalyMTPSdk/EventThread.h"

#include "EngineFixture.h"
#include "TessalyMTPSdk/Device.h"

#include <map>

using namespace mtp;
using namespace testsupport;

namespace {

EventContainer event(std::uint16_t code, std::uint32_t parameter = 0) {
  return {code, 0, {parameter, 0, 0}};
}

/// Phones that are never looked at, only told apart.
std::shared_ptr<Device> phone(int which) {
  alignas(Device) static std::byte phones[2][sizeof(Device)];
  return {std::shared_ptr<void>(phones[which], [](void*) {}), reinterpret_cast<Device*>(phones[which])};
}

class Events : public ::testing::Test {
protected:
  struct Called {
    Signal calls;
    std::mutex mutex;
    std::vector<std::uint64_t> parameters;
    std::function<void()> during;

    static uint32_t callback(int32_t, uint64_t parameter, uint64_t, void* context) {
      auto* self = static_cast<Called*>(context);
      {
        const std::lock_guard lock(self->mutex);
        self->parameters.push_back(parameter);
      }
      self->calls.raise();
      if (self->during)
        self->during();
      return 0;
    }
  };
  void post(std::uint32_t parameter) { events.post({}, &node, event(0x4002, parameter)); }

  int node = 0;
  Called called;
  EventThread events{[](Device&, const EventContainer*) { return true; }};
};

} // namespace

TEST_F(Events, ComeInTheirOrder) {
  events.setCallback(&node, Called::callback, &called);
  for (std::uint32_t i = 0; i < 5; ++i)
    post(i); // before the thread runs
  events.start();
  events.start();
  ASSERT_TRUE(called.calls.waitFor(5));
  EXPECT_EQ(called.parameters, (std::vector<std::uint64_t>{0, 1, 2, 3, 4}));
}

TEST_F(Events, WithoutCallbackPassBy) {
  int other = 0;
  events.setCallback(&other, Called::callback, &called);
  events.start();
  post(1);
  events.post({}, &other, event(0x4003, 2));
  ASSERT_TRUE(called.calls.waitFor(1));
  EXPECT_EQ(called.parameters, std::vector<std::uint64_t>{2});
}

TEST_F(Events, TakingACallbackBackWaitsForItsRunningCall) {
  Signal release;
  std::atomic<bool> ended = false;
  called.during = [&] {
    release.waitFor(1);
    ended = true;
  };
  events.setCallback(&node, Called::callback, &called);
  events.start();
  post(1);
  ASSERT_TRUE(called.calls.waitFor(1));
  std::thread taking([&] {
    events.setCallback(&node, nullptr, nullptr);
    EXPECT_TRUE(ended);
  });
  release.raise();
  taking.join();
}

TEST_F(Events, ACallbackMayTakeItselfBack) {
  called.during = [&] { events.setCallback(&node, nullptr, nullptr); };
  events.setCallback(&node, Called::callback, &called);
  events.start();
  post(1);
  post(2);
  ASSERT_TRUE(called.calls.waitFor(1));
  events.stop();
  EXPECT_EQ(called.calls.count(), 1);
}

TEST_F(Events, ACallbackOfNoDeviceIsTakenBackAtOnce) {
  events.start();
  events.setCallback(nullptr, nullptr, nullptr);
}

TEST_F(Events, BeyondTheLimitAreDropped) {
  events.setCallback(&node, Called::callback, &called);
  for (std::uint32_t i = 0; i < 10'000; ++i)
    post(i);
  events.start();
  ASSERT_TRUE(called.calls.waitFor(4096));
  post(77);
  ASSERT_TRUE(called.calls.waitFor(4097));
  EXPECT_EQ(called.parameters.back(), 77u);
  EXPECT_EQ(called.parameters.size(), 4097u);
}

TEST_F(Events, ThatAreNoNewsDoNotReachTheCallback) {
  const std::shared_ptr<Device> device = phone(0);
  EventThread thread{[](Device&, const EventContainer* event) { return event && event->parameters[0] != 1; }};
  thread.setCallback(&node, Called::callback, &called);
  thread.post(device, &node, event(0x4002, 1));
  thread.post(device, &node, event(0x4002, 2));
  thread.post({}, &node, event(0x4002, 1)); // judged before
  thread.start();
  ASSERT_TRUE(called.calls.waitFor(2));
  thread.stop();
  EXPECT_EQ(called.parameters, (std::vector<std::uint64_t>{2, 1}));
}

TEST_F(Events, LostOnesAreToldOfThePhoneTheyWereOf) {
  const std::shared_ptr<Device> flooding = phone(0);
  const std::shared_ptr<Device> quiet = phone(1);
  std::map<const Device*, int> lost;
  EventThread thread{[&](Device& device, const EventContainer* event) {
    if (!event)
      ++lost[&device];
    return true;
  }};
  int other = 0;
  thread.setCallback(&other, Called::callback, &called);
  for (std::uint32_t i = 0; i < 5'000; ++i)
    thread.post(flooding, &node, event(0x4002, i));
  thread.post(quiet, &other, event(0x4002, 1));
  thread.post(flooding, &node, event(0x4002, 6'000));
  thread.post(quiet, &other, event(0x4002, 2));
  thread.start();
  ASSERT_TRUE(called.calls.waitFor(1));
  thread.stop();
  EXPECT_EQ(lost[flooding.get()], 1);
  EXPECT_EQ(lost[quiet.get()], 1) << "its second one";
  EXPECT_EQ(called.parameters, std::vector<std::uint64_t>{1});
}

TEST_F(Events, StopAndStartAsOftenAsOneLikes) {
  for (int i = 0; i < 20; ++i) {
    events.start();
    events.setCallback(&node, Called::callback, &called);
    post(1);
    ASSERT_TRUE(called.calls.waitFor(i + 1));
    events.stop();
    events.stop();
  }
}
