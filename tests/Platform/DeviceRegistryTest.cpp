#include "Platform/DeviceRegistry.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::uint32_t location(std::uint8_t bus, const std::vector<unsigned>& ports) {
  return platform::locationIdOf(bus, ports);
}

TEST(LocationId, HasTheBusOnTopAndOneNibbleAPortBelow) {
  EXPECT_EQ(location(0x14, {2}), 0x14200000u);
  EXPECT_EQ(location(1, {1, 2, 3}), 0x01123000u);
  EXPECT_EQ(location(255, {1, 2, 3, 4, 5, 6}), 0xff123456u);
}

TEST(LocationId, OfARootHubIsTheBusAlone) {
  EXPECT_EQ(location(3, {}), 0x03000000u);
  EXPECT_EQ(location(3, {0}), 0x03000000u);
}

TEST(LocationId, LeavesOutPortsBehindTheSixth) {
  EXPECT_EQ(location(1, {1, 2, 3, 4, 5, 6, 7}), 0x01123456u);
}

TEST(LocationId, CountsPortsAboveFifteenAsFifteen) {
  EXPECT_EQ(location(2, {16, 1}), 0x02f10000u);
}

} // namespace
