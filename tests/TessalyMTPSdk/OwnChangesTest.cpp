#include "TessalyMTPSdk/OwnChanges.h"

#include <gtest/gtest.h>

using namespace mtp;
using namespace std::chrono_literals;

TEST(OwnChanges, CoverEventsOfTheObjectForAWhile) {
  OwnChanges changes;
  const OwnChanges::Clock::time_point begin{};
  changes.add(7, begin);
  EXPECT_TRUE(changes.cover(7, begin + 4s));
  EXPECT_FALSE(changes.cover(8, begin + 4s)) << "another object";
  EXPECT_FALSE(changes.cover(7, begin + 5s)) << "this is the phone's own doing";
}

TEST(OwnChanges, AreForgottenWithTheHandles) {
  OwnChanges changes;
  changes.add(7, {});
  changes.clear();
  EXPECT_FALSE(changes.cover(7, {}));
}

TEST(OwnChanges, KeepABoundedNumber) {
  OwnChanges changes;
  for (std::uint32_t handle = 1; handle <= OwnChanges::MaxRemembered + 1; ++handle)
    changes.add(handle, {});
  EXPECT_FALSE(changes.cover(OwnChanges::MaxRemembered + 1, {}));
  changes.add(OwnChanges::MaxRemembered + 1, OwnChanges::Clock::time_point() + 6s);
  EXPECT_TRUE(changes.cover(OwnChanges::MaxRemembered + 1, OwnChanges::Clock::time_point() + 7s));
}
