#include "Platform/Timers.h"

#include <QElapsedTimer>
#include <QTest>

#include <gtest/gtest.h>

#include <string>

using namespace std::chrono_literals;
using platform::ManualTimers;
using platform::Timer;
using platform::Timers;

TEST(ManualTimers, NothingFiresBeforeItsTime) {
  ManualTimers timers;
  int fired = 0;
  const auto timer = timers.oneShot(2000ms, [&] { ++fired; });
  timers.advance(1999ms);
  EXPECT_EQ(fired, 0);
  timers.advance(1ms);
  EXPECT_EQ(fired, 1);
  timers.advance(10s);
  EXPECT_EQ(fired, 1);
  EXPECT_EQ(timers.pending(), 0);
}

TEST(ManualTimers, FireInTheOrderOfTheirDueTimes) {
  ManualTimers timers;
  std::string order;
  const auto c = timers.oneShot(30ms, [&] { order += 'c'; });
  const auto a = timers.oneShot(10ms, [&] { order += 'a'; });
  const auto d = timers.oneShot(30ms, [&] { order += 'd'; });
  const auto b = timers.repeating(20ms, [&] { order += 'b'; });
  timers.advance(40ms);
  EXPECT_EQ(order, "abcdb");
}

TEST(ManualTimers, TheClockStandsAtTheDueTimeWhileOneFires) {
  ManualTimers timers;
  Timers::Milliseconds seen{};
  const auto timer = timers.oneShot(30ms, [&] { seen = timers.now(); });
  timers.advance(100ms);
  EXPECT_EQ(seen, 30ms);
  EXPECT_EQ(timers.now(), 100ms);
}

TEST(ManualTimers, DestroyingCancels) {
  ManualTimers timers;
  int fired = 0;
  auto once = timers.oneShot(10ms, [&] { ++fired; });
  auto often = timers.repeating(10ms, [&] { ++fired; });
  once.reset();
  often.reset();
  EXPECT_EQ(timers.pending(), 0);
  timers.advance(100ms);
  EXPECT_EQ(fired, 0);
}

TEST(ManualTimers, ATimerMayEndItselfAndStartAnotherWhileItFires) {
  ManualTimers timers;
  int fired = 0;
  std::unique_ptr<Timer> timer;
  timer = timers.repeating(10ms, [&] {
    ++fired;
    if (fired == 3)
      timer = timers.oneShot(5ms, [&] { fired += 100; });
  });
  timers.advance(1s);
  EXPECT_EQ(fired, 103);
}

TEST(ManualTimers, ATimerMayOutliveThem) {
  std::unique_ptr<Timer> timer;
  {
    ManualTimers timers;
    timer = timers.oneShot(1ms, [] {});
  }
  timer.reset();
  SUCCEED();
}

TEST(EventLoopTimers, AOneShotFiresOnceNotBeforeItsTime) {
  Timers& timers = Timers::mainThread();
  const auto start = timers.now();
  Timers::Milliseconds at{};
  int fired = 0;
  const auto timer = timers.oneShot(20ms, [&] {
    ++fired;
    at = timers.now();
  });
  int ticks = 0;
  const auto ticking = timers.repeating(5ms, [&] { ++ticks; });
  EXPECT_TRUE(QTest::qWaitFor([&] { return fired > 0 && ticks >= 10; }, 10'000));
  EXPECT_EQ(fired, 1);
  EXPECT_GE(at - start, 19ms); // the clocks round to whole milliseconds
}

TEST(EventLoopTimers, DestroyingCancels) {
  Timers& timers = Timers::mainThread();
  bool fired = false;
  auto cancelled = timers.oneShot(0ms, [&] { fired = true; });
  cancelled.reset();
  bool later = false;
  const auto timer = timers.oneShot(5ms, [&] { later = true; });
  EXPECT_TRUE(QTest::qWaitFor([&] { return later; }, 10'000));
  EXPECT_FALSE(fired);
}

TEST(EventLoopTimers, ATimerMayBeDestroyedAndReplacedFromItsOwnFunction) {
  Timers& timers = Timers::mainThread();
  int fired = 0;
  std::unique_ptr<Timer> timer;
  const std::string captured(100, 'x'); // a copy of it lives in the function: it must survive the function's own end
  timer = timers.repeating(1ms, [&, captured] {
    timer = timers.oneShot(1ms, [&] { fired += 100; });
    fired += captured == std::string(100, 'x') ? 1 : 1000;
  });
  EXPECT_TRUE(QTest::qWaitFor([&] { return fired >= 100; }, 10'000));
  EXPECT_EQ(fired, 101);
}
