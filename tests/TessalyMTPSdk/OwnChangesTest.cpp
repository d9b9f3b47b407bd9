#include "TessalyMTPSdk/OwnChanges.h"

#include <gtest/gtest.h>

using namespace mtp;
using namespace std::chrono_literals;

TEST(OwnChanges, CoverEventsOfTheObjectForAWhile) {
  OwnChanges changes;
  const OwnChanges::Clock::time_point begin{};
  changes.add(7, OwnChange::Stored, begin);
  EXPECT_TRUE(changes.cover(7, Event::ObjectAdded, begin + 4s));
  EXPECT_TRUE(changes.cover(7, Event::ObjectInfoChanged, begin + 4s));
  EXPECT_FALSE(changes.cover(8, Event::ObjectAdded, begin + 4s)) << "another object";
  EXPECT_FALSE(changes.cover(7, Event::StoreAdded, begin + 4s)) << "no object at all";
  EXPECT_FALSE(changes.cover(7, Event::ObjectAdded, begin + 5s)) << "this is the phone's own doing";
}

TEST(OwnChanges, CoverARemovalOnlyOfWhatTheComputerDeleted) {
  OwnChanges changes;
  changes.add(7, OwnChange::Stored, {});
  EXPECT_FALSE(changes.cover(7, Event::ObjectRemoved, {})) << "deleted on the phone, just after it was sent";
  changes.add(7, OwnChange::Deleted, {});
  EXPECT_TRUE(changes.cover(7, Event::ObjectRemoved, {}));
  EXPECT_TRUE(changes.cover(7, Event::ObjectInfoChanged, {})) << "a late word of what was written before";
}

TEST(OwnChanges, AreForgottenWithTheHandles) {
  OwnChanges changes;
  changes.add(7, OwnChange::Deleted, {});
  changes.clear();
  EXPECT_FALSE(changes.cover(7, Event::ObjectRemoved, {}));
}

TEST(OwnChanges, KeepABoundedNumber) {
  OwnChanges changes;
  constexpr std::uint32_t last = OwnChanges::MaxRemembered + 1;
  for (std::uint32_t handle = 1; handle <= last; ++handle)
    changes.add(handle, OwnChange::Stored, {});
  EXPECT_FALSE(changes.cover(last, Event::ObjectAdded, {}));
  changes.add(1, OwnChange::Deleted, {});
  EXPECT_TRUE(changes.cover(1, Event::ObjectRemoved, {})) << "one that is remembered already";
  changes.add(last, OwnChange::Stored, OwnChanges::Clock::time_point() + 6s);
  EXPECT_TRUE(changes.cover(last, Event::ObjectAdded, OwnChanges::Clock::time_point() + 7s));
}
