#include "VirtualPhone/Dataset.h"

#include <gtest/gtest.h>

namespace {

using namespace vphone;

std::vector<std::uint8_t> payload(DatasetWriter& writer) {
  std::vector<std::uint8_t> bytes;
  for (auto b : std::span(writer.bytes()).subspan(HeaderSize))
    bytes.push_back(std::uint8_t(b));
  return bytes;
}
using Raw = std::vector<std::uint8_t>;

std::vector<std::byte> bytes(const Raw& raw) {
  std::vector<std::byte> result;
  for (auto b : raw)
    result.push_back(std::byte(b));
  return result;
}

TEST(Dataset, NumbersAreLittleEndian) {
  DatasetWriter out;
  out.u8(1);
  out.u16(0x0203);
  out.u32(0x04050607);
  out.u64(0x08090A0B0C0D0E0F);
  out.u128(1, 2);
  EXPECT_EQ(payload(out), (Raw{1, 3, 2, 7, 6, 5, 4, 0x0F, 0x0E, 0x0D, 0x0C, 0x0B, 0x0A, 9, 8, 2,
                               0, 0, 0, 0, 0, 0, 0, 1,    0,    0,    0,    0,    0,    0, 0}));
}

TEST(Dataset, StringsCountTheirUnitsAndTheZeroBehindThem) {
  DatasetWriter out;
  out.string(u"aΩ");
  out.string("b");
  out.string(u"");
  out.string("");
  EXPECT_EQ(payload(out), (Raw{3, 'a', 0, 0xA9, 0x03, 0, 0, 2, 'b', 0, 0, 0, 0, 0}));
}

TEST(Dataset, StringsEndAt254Units) {
  DatasetWriter out;
  out.string(std::u16string(300, u'x'));
  EXPECT_EQ(payload(out)[0], 255);
  EXPECT_EQ(out.payloadSize(), 1u + 2 * 255);
  DatasetWriter ascii;
  ascii.string(std::string(300, 'x'));
  EXPECT_EQ(payload(ascii), payload(out));
}

TEST(Dataset, ArraysBeginWithTheirCount) {
  DatasetWriter out;
  out.array16(std::vector<std::uint16_t>{1, 2});
  out.array32(std::vector<std::uint32_t>{3});
  out.patch32(0, 7);
  EXPECT_EQ(payload(out), (Raw{7, 0, 0, 0, 1, 0, 2, 0, 1, 0, 0, 0, 3, 0, 0, 0}));
}

TEST(Dataset, ReadingBeyondTheEndGivesZeroAndIsRemembered) {
  auto raw = bytes({1, 2, 3});
  DatasetReader in(raw);
  EXPECT_EQ(in.u16(), 0x0201);
  EXPECT_TRUE(in.ok());
  EXPECT_EQ(in.u16(), 0);
  EXPECT_FALSE(in.ok());
  EXPECT_EQ(in.u8(), 0) << "nothing is left after that";
}

TEST(Dataset, AnArrayThatPromisesMoreThanThereIsIsEmpty) {
  auto raw = bytes({0xFF, 0xFF, 0xFF, 0x7F, 1, 0, 0, 0});
  DatasetReader in(raw);
  EXPECT_TRUE(in.array32().empty());
  EXPECT_FALSE(in.ok());
}

TEST(Dataset, AStringMayLackItsZero) {
  auto raw = bytes({1, 'a', 0, 2, 'b', 0, 0, 0, 0});
  DatasetReader in(raw);
  EXPECT_EQ(in.string(), u"a");
  EXPECT_EQ(in.string(), u"b");
  EXPECT_EQ(in.string(), u"");
  EXPECT_TRUE(in.ok());
}

TEST(Dataset, AStringCutShortIsNoticed) {
  auto raw = bytes({5, 'a', 0});
  DatasetReader in(raw);
  EXPECT_EQ(in.string(), u"");
  EXPECT_FALSE(in.ok());
}

} // namespace
