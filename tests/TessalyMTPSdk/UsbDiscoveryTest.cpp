#include "TessalyMTPSdk/UsbDiscovery.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <string_view>

using namespace mtp;

namespace {

UsbInterfaceFacts threePipes(std::uint8_t classCode, std::uint8_t subclass, std::uint8_t protocol,
                             const std::string& name = {}) {
  UsbInterfaceFacts facts;
  facts.classCode = classCode;
  facts.subclass = subclass;
  facts.protocol = protocol;
  facts.name = name;
  facts.endpointCount = 3;
  facts.bulkIn = 0x81;
  facts.bulkOut = 0x02;
  facts.interruptIn = 0x83;
  facts.bulkPacketSize = 512;
  facts.eventPacketSize = 28;
  return facts;
}

std::uint32_t location(std::uint8_t bus, std::initializer_list<std::uint8_t> ports) {
  return usbLocationId(bus, std::span(ports.begin(), ports.size()));
}

std::vector<std::byte> bytes(std::string_view text) {
  std::vector<std::byte> result(text.size());
  std::transform(text.begin(), text.end(), result.begin(), [](char c) { return static_cast<std::byte>(c); });
  return result;
}

using namespace std::string_view_literals;

constexpr auto osString = "\x12\x03M\0S\0F\0T\0\x31\0\x30\0\x30\0\x21\0"sv;
constexpr auto compatIds = "\x40\0\0\0\0\x01\x04\0\x02\0\0\0\0\0\0\0"
                           "\0\x01WINUSB\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                           "\x02\x01MTP\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"sv;

} // namespace

TEST(UsbLocationId, BusAndFirstPortStandInTheTopDigits) {
  EXPECT_EQ(location(0x14, {2}), 0x14200000u);
}

TEST(UsbLocationId, EachHubAddsADigitBelow) {
  EXPECT_EQ(location(1, {1, 4, 15}), 0x0114f000u);
  EXPECT_EQ(location(255, {1, 2, 3, 4, 5, 6}), 0xff123456u);
}

TEST(UsbLocationId, HubsDeeperThanTheSixthAreLeftOut) {
  EXPECT_EQ(location(2, {1, 2, 3, 4, 5, 6, 7}), 0x02123456u);
}

TEST(UsbLocationId, PortsAboveFifteenCountAsFifteen) {
  EXPECT_EQ(location(3, {16, 1}), 0x03f10000u);
}

TEST(UsbLocationId, ABusWithoutPortsIsTheBusAlone) {
  EXPECT_EQ(location(7, {}), 0x07000000u);
}

TEST(MtpInterface, TheStillImageClassIsMtpWhateverItsName) {
  EXPECT_EQ(judgeInterface(threePipes(6, 1, 1, "MTP")), MtpVerdict::Yes);
  EXPECT_EQ(judgeInterface(threePipes(6, 1, 1)), MtpVerdict::Yes);
}

TEST(MtpInterface, AVendorClassNamedMtpIsMtp) {
  EXPECT_EQ(judgeInterface(threePipes(0xff, 0xff, 0, "MTP")), MtpVerdict::Yes);
}

TEST(MtpInterface, AnotherVendorClassMustBeAsked) {
  EXPECT_EQ(judgeInterface(threePipes(0xff, 0xff, 0)), MtpVerdict::AskDevice);
  EXPECT_EQ(judgeInterface(threePipes(0xff, 0x42, 1, "ADB Interface")), MtpVerdict::AskDevice);
}

TEST(MtpInterface, OtherClassesAreNeverAsked) {
  EXPECT_EQ(judgeInterface(threePipes(3, 1, 1)), MtpVerdict::No);        // keyboard
  EXPECT_EQ(judgeInterface(threePipes(8, 6, 0x50)), MtpVerdict::No);     // mass storage
  EXPECT_EQ(judgeInterface(threePipes(6, 1, 2, "MTP")), MtpVerdict::No); // another image protocol
}

TEST(MtpInterface, AllThreePipesAreNeededAndNoFourth) {
  for (auto pipe : {&UsbInterfaceFacts::bulkIn, &UsbInterfaceFacts::bulkOut, &UsbInterfaceFacts::interruptIn}) {
    auto facts = threePipes(6, 1, 1, "MTP");
    facts.*pipe = 0;
    EXPECT_EQ(judgeInterface(facts), MtpVerdict::No);
  }
  for (const std::uint8_t count : {0, 2, 4}) {
    auto facts = threePipes(0xff, 0xff, 0, "MTP");
    facts.endpointCount = count;
    EXPECT_EQ(judgeInterface(facts), MtpVerdict::No);
  }
}

TEST(MtpInterface, PacketSizesTheUsbDoesNotAllowAreRefused) {
  for (const std::uint16_t size : {0, 1, 4, 500, 513, 2047}) {
    auto facts = threePipes(6, 1, 1);
    facts.bulkPacketSize = size;
    EXPECT_EQ(judgeInterface(facts), MtpVerdict::No) << size;
  }
  for (const std::uint16_t size : {8, 64, 512, 1024}) {
    auto facts = threePipes(6, 1, 1);
    facts.bulkPacketSize = size;
    EXPECT_EQ(judgeInterface(facts), MtpVerdict::Yes) << size;
  }
  auto facts = threePipes(6, 1, 1);
  facts.eventPacketSize = 0;
  EXPECT_EQ(judgeInterface(facts), MtpVerdict::No);
}

TEST(OsDescriptor, HoldsTheVendorCodeBehindItsSignature) {
  EXPECT_EQ(osDescriptorVendorCode(bytes(osString)), 0x21);
}

TEST(OsDescriptor, TruncatedOrForeignTextsHoldNone) {
  for (std::size_t size = 0; size < 17; ++size) {
    EXPECT_EQ(osDescriptorVendorCode(bytes(osString.substr(0, size))), std::nullopt) << size;
  }
  auto foreign = bytes(osString);
  foreign[2] = std::byte{'X'};
  EXPECT_EQ(osDescriptorVendorCode(foreign), std::nullopt);
}

TEST(CompatId, SaysMtpForTheInterfaceItNamesOnly) {
  EXPECT_TRUE(compatIdSaysMtp(bytes(compatIds), 2));
  EXPECT_FALSE(compatIdSaysMtp(bytes(compatIds), 0));
  EXPECT_FALSE(compatIdSaysMtp(bytes(compatIds), 1));
}

TEST(CompatId, ADescriptorCutAnywhereSaysNothingItDoesNotHold) {
  for (std::size_t size = 0; size < compatIds.size(); ++size) {
    EXPECT_FALSE(compatIdSaysMtp(bytes(compatIds.substr(0, size)), 2)) << size;
  }
}

TEST(CompatId, ACountBeyondTheBytesIsBounded) {
  for (const int count : {0, 1, 255}) {
    auto descriptor = bytes(compatIds);
    descriptor[8] = static_cast<std::byte>(count);
    EXPECT_EQ(compatIdSaysMtp(descriptor, 2), count == 255);
  }
}

TEST(UsbDevices, APlaceWhereNothingIsAttachedHasNoMtpInterface) {
  EXPECT_FALSE(hasMtpInterface(0xff123456));
}
