#include "TessalyMTPSdk/HandleIndex.h"

#include <gtest/gtest.h>

using mtp::HandleIndex;

TEST(HandleIndex, FindsWhatWasPutIn) {
  HandleIndex index(3);
  EXPECT_TRUE(index.insert(7, 0));
  EXPECT_TRUE(index.insert(0xFFFFFFFF, 1));
  EXPECT_EQ(index.find(7), 0u);
  EXPECT_EQ(index.find(0xFFFFFFFF), 1u);
  EXPECT_EQ(index.find(8), std::nullopt);
}

TEST(HandleIndex, TakesAHandleOnceAndKeepsItsFirstPosition) {
  HandleIndex index(2);
  EXPECT_TRUE(index.insert(7, 0));
  EXPECT_FALSE(index.insert(7, 1));
  EXPECT_EQ(index.find(7), 0u);
}

TEST(HandleIndex, NeverTakesZero) {
  HandleIndex index(1);
  EXPECT_FALSE(index.insert(0, 5));
  EXPECT_EQ(index.find(0), std::nullopt);
}

TEST(HandleIndex, HoldsAsManyAsWereAnnounced) {
  for (const std::uint32_t step : {1u, 64u, 65536u}) {
    HandleIndex index(20'000);
    for (std::uint32_t i = 0; i < 20'000; ++i)
      ASSERT_TRUE(index.insert(1 + i * step, i));
    for (std::uint32_t i = 0; i < 20'000; ++i)
      ASSERT_EQ(index.find(1 + i * step), i);
  }
}

TEST(HandleIndex, OfNothingFindsNothing) {
  EXPECT_EQ(HandleIndex(0).find(1), std::nullopt);
}
