#include "Platform/DeviceRegistry.h"
#include "TessalyMTPSdk/UsbDiscovery.h"

#include <gtest/gtest.h>

#include <random>
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

// The detector announces a phone by this number, the engine looks for the phone with that number.
TEST(LocationId, IsTheOneTheMtpEngineGivesTheSamePlace) {
  EXPECT_EQ(location(0x14, {2}), mtp::usbLocationId(0x14, std::vector<std::uint8_t>{2}));
  std::mt19937 random(1);
  for (int round = 0; round < 5000; ++round) {
    const auto bus = std::uint8_t(random());
    std::vector<std::uint8_t> ports(random() % 9);
    for (std::uint8_t& port : ports)
      port = std::uint8_t(random() % 3 == 0 ? random() : 1 + random() % 15);
    ASSERT_EQ(location(bus, std::vector<unsigned>(ports.begin(), ports.end())), mtp::usbLocationId(bus, ports));
  }
}

} // namespace
