#include "TessalyMTPSdk/BufferRing.h"

#include <gtest/gtest.h>
#include <thread>

using mtp::BufferRing;

TEST(BufferRing, HandsBuffersOverInOrder) {
  BufferRing ring;
  std::thread filler([&ring] {
    for (unsigned i = 0; i < 1000; ++i) {
      const auto buffer = ring.toFill();
      ASSERT_EQ(buffer.size(), BufferRing::BufferSize);
      buffer[0] = static_cast<std::byte>(i);
      ring.filled(i % 100 + 1);
    }
    ring.end();
  });
  for (unsigned i = 0; i < 1000; ++i) {
    const auto buffer = ring.toEmpty();
    ASSERT_EQ(buffer.size(), i % 100 + 1);
    EXPECT_EQ(buffer[0], static_cast<std::byte>(i));
    ring.emptied();
  }
  EXPECT_TRUE(ring.toEmpty().empty());
  filler.join();
}

TEST(BufferRing, AFullRingMakesTheFillerWaitAndAskWhetherToGoOn) {
  BufferRing ring;
  for (std::size_t i = 0; i < BufferRing::Buffers; ++i) {
    ASSERT_FALSE(ring.toFill().empty());
    ring.filled(1);
  }
  int asked = 0;
  EXPECT_TRUE(ring.toFill([&asked] { return ++asked < 2; }).empty());
  EXPECT_EQ(asked, 2);
  ring.toEmpty();
  ring.emptied();
  EXPECT_FALSE(ring.toFill().empty());
}

TEST(BufferRing, AnEmptyRingMakesTheOtherSideWaitAndAsk) {
  BufferRing ring;
  EXPECT_TRUE(ring.toEmpty([] { return false; }).empty());
}

TEST(BufferRing, ClosingEndsTheWaitingOfBothSides) {
  BufferRing empty, full;
  for (std::size_t i = 0; i < BufferRing::Buffers; ++i) {
    full.toFill();
    full.filled(1);
  }
  std::thread emptier([&empty] { EXPECT_TRUE(empty.toEmpty().empty()); });
  std::thread filler([&full] { EXPECT_TRUE(full.toFill().empty()); });
  empty.close();
  full.close();
  emptier.join();
  filler.join();
  EXPECT_TRUE(full.toEmpty().empty()) << "and from then on";
}
