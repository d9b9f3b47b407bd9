#include "TessalyMTPSdk/CoarseClock.h"

#include <gtest/gtest.h>

using mtp::CoarseClock;

TEST(CoarseClock, IsNeverAheadOfTheExactClockAndNeverGoesBack) {
  CoarseClock::time_point before{};
  for (int i = 0; i < 100'000; ++i) {
    const auto coarse = CoarseClock::now();
    ASSERT_LE(coarse, std::chrono::steady_clock::now());
    ASSERT_GE(coarse, before);
    before = coarse;
  }
}

TEST(CoarseClock, ReachesEveryMomentOfTheExactClock) {
  const auto moment = std::chrono::steady_clock::now();
  while (CoarseClock::now() < moment) { // ends with the next tick, or not at all
  }
}
