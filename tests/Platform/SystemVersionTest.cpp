#include "Platform/SystemVersion.h"

#include <gtest/gtest.h>

using platform::parseOsRelease;
using platform::SystemVersion;

TEST(SystemVersion, IsReadFromVersionId) {
  EXPECT_EQ(parseOsRelease("NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nID=debian\n"), (SystemVersion{12, 0, 0}));
  EXPECT_EQ(parseOsRelease("VERSION_ID=22.04"), (SystemVersion{22, 4, 0}));
  EXPECT_EQ(parseOsRelease("VERSION_ID='14.4.1'\r\n"), (SystemVersion{14, 4, 1}));
  EXPECT_EQ(parseOsRelease("VERSION_ID=3.18.4.9"), (SystemVersion{3, 18, 4}));
  EXPECT_EQ(parseOsRelease("VERSION_ID=15-rc1"), (SystemVersion{15, 0, 0}));
}

TEST(SystemVersion, IsNothingWhereNoneIsStated) {
  EXPECT_EQ(parseOsRelease(""), std::nullopt);
  EXPECT_EQ(parseOsRelease("ID=arch\nBUILD_ID=rolling\n"), std::nullopt);
  EXPECT_EQ(parseOsRelease("MY_VERSION_ID=3"), std::nullopt);
  EXPECT_EQ(parseOsRelease("VERSION_ID="), std::nullopt);
  EXPECT_EQ(parseOsRelease("VERSION_ID=\""), std::nullopt);
  EXPECT_EQ(parseOsRelease("VERSION_ID=sid"), std::nullopt);
}

TEST(SystemVersion, ABoundlessNumberDoesNotOverflow) {
  const auto version = parseOsRelease("VERSION_ID=99999999999999999999999999.1");
  ASSERT_TRUE(version);
  EXPECT_EQ(version->major, 1'000'000'000L);
  EXPECT_EQ(version->minor, 1);
}

TEST(SystemVersion, OrdersByMajorThenMinorThenPatch) {
  EXPECT_LT((SystemVersion{10, 14, 6}), (SystemVersion{10, 15, 0}));
  EXPECT_LT((SystemVersion{10, 15, 0}), (SystemVersion{11, 0, 0}));
  EXPECT_LT((SystemVersion{11, 0, 0}), (SystemVersion{11, 0, 1}));
}

TEST(SystemVersion, AStandInLastsAsLongAsItsScope) {
  const auto real = platform::systemVersion();
  {
    const platform::ScopedSystemVersion standIn(SystemVersion{10, 14, 6});
    EXPECT_EQ(platform::systemVersion(), (SystemVersion{10, 14, 6}));
  }
  {
    const platform::ScopedSystemVersion unreadable(std::nullopt);
    EXPECT_EQ(platform::systemVersion(), std::nullopt);
  }
  EXPECT_EQ(platform::systemVersion(), real);
}
