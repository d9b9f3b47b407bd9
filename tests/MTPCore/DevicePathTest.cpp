#include "MTPCore/DevicePath.h"

#include <gtest/gtest.h>

TEST(DevicePath, ItsComponentsAreTheNamesBetweenTheSlashes) {
  EXPECT_EQ(devicePath::components("/M/Card/DCIM"), QStringList({"M", "Card", "DCIM"}));
  EXPECT_EQ(devicePath::components("Card"), QStringList({"Card"}));
  EXPECT_EQ(devicePath::components("//M///Card/"), QStringList({"M", "Card"}));
  EXPECT_TRUE(devicePath::components("/").isEmpty());
  EXPECT_TRUE(devicePath::components(QString()).isEmpty());
}

TEST(DevicePath, WithoutItsLastNameItIsTheParents) {
  EXPECT_EQ(devicePath::withoutLastComponent("/M/Card/DCIM"), "/M/Card");
  EXPECT_EQ(devicePath::withoutLastComponent("/M/Card/DCIM/"), "/M/Card");
  EXPECT_EQ(devicePath::withoutLastComponent("/M//Card"), "/M");
  EXPECT_EQ(devicePath::withoutLastComponent("/M"), "/");
  EXPECT_EQ(devicePath::withoutLastComponent("/"), "/");
  EXPECT_EQ(devicePath::withoutLastComponent("M"), "");
  EXPECT_EQ(devicePath::withoutLastComponent(""), "");
}

TEST(DevicePath, JoiningPutsOneSlashBetween) {
  EXPECT_EQ(devicePath::joined("/M/Card", "DCIM"), "/M/Card/DCIM");
  EXPECT_EQ(devicePath::joined("", "DCIM"), "/DCIM");
  EXPECT_EQ(devicePath::joined("/M", ""), "/M/");
}

TEST(Hexadecimal, IsReadWithAndWithoutPrefixInAnyCase) {
  EXPECT_EQ(parseHexadecimal("14200000"), 0x14200000u);
  EXPECT_EQ(parseHexadecimal("0x14200000"), 0x14200000u);
  EXPECT_EQ(parseHexadecimal("0XabCDef"), 0xABCDEFu);
  EXPECT_EQ(parseHexadecimal("7f12a0c4b2d0"), 0x7F12A0C4B2D0u);
  EXPECT_EQ(parseHexadecimal("ffffffffffffffff"), ~std::uint64_t(0));
  EXPECT_EQ(parseHexadecimal("0"), 0u);
}

TEST(Hexadecimal, AnyOtherTextIsNoNumber) {
  for (const char* text : {"", "0x", "zz", "12g", "-1", "+1", " 12", "12 ", "0x0x1", "1ffffffffffffffff", "١٢"})
    EXPECT_FALSE(parseHexadecimal(QString::fromUtf8(text))) << text;
  EXPECT_FALSE(parseHexadecimal(QString()));
  EXPECT_FALSE(parseHexadecimal(QString(100'000, u'0')));
}
