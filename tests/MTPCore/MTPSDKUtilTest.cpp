#include "MTPCore/MTPSDKUtil.h"

#include "Platform/SystemVersion.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string text(std::uint32_t status) {
  return MTPSDKUtil::statusString(status).toStdString();
}

bool newEnough(std::optional<platform::SystemVersion> version) {
  const platform::ScopedSystemVersion scope(version);
  return MTPSDKUtil::macOS11AndLater();
}

} // namespace

TEST(MTPSDKUtilStatusString, NamesAStatusAndItsCodeInEightDigits) {
  EXPECT_EQ(text(0), "DGSTATUS_SUCCESS - 0x00000000");
  EXPECT_EQ(text(1), "DGSTATUS_MORE_DATA - 0x00000001");
  EXPECT_EQ(text(2), "DGSTATUS_NO_MORE_DATA - 0x00000002");
  EXPECT_EQ(text(0x10000001), "DGSTATUS_UNSUCCESSFUL - 0x10000001");
  EXPECT_EQ(text(0x1000000A), "DGSTATUS_STORAGE_FULL - 0x1000000a");
  EXPECT_EQ(text(0x15000002), "DGSTATUS_NO_MORE_ELEMENT - 0x15000002");
}

TEST(MTPSDKUtilStatusString, TheSecondNotSupportFormatCarriesTheSameName) {
  EXPECT_EQ(text(0x14000002), "DGSTATUS_NOT_SUPPORT_FORMAT - 0x14000002");
  EXPECT_EQ(text(0x14000003), "DGSTATUS_NOT_SUPPORT_FORMAT - 0x14000003");
  EXPECT_EQ(text(0x14000004), "DGSTATUS_NOT_SUPPORT_THUMBNAIL - 0x14000004");
}

TEST(MTPSDKUtilStatusString, TheFirstThreeOfTheGroup13HaveADashAndTheOthersTwoBlanks) {
  EXPECT_EQ(text(0x13000001), "DGSTATUS_INSUFFICIENT_RESOURCE - 0x13000001");
  EXPECT_EQ(text(0x13000003), "DGSTATUS_INTERNAL_GETOBJECTPROPVALUE_FAILED - 0x13000003");
  EXPECT_EQ(text(0x13000004), "DGSTATUS_INTERNAL_GETOBJECTPROPLIST_FAILED  0x13000004");
  EXPECT_EQ(text(0x13000009), "DGSTATUS_INTERNAL_DRIVER_READ_ERROR  0x13000009");
}

TEST(MTPSDKUtilStatusString, ThePhonesResponseFailuresHaveTwoBlanks) {
  EXPECT_EQ(text(0x13100000), "DGSTATUS_INTERNAL_GENERALERROR  0x13100000");
  EXPECT_EQ(text(0x13100017), "DGSTATUS_INTERNAL_DEVICEBUSY  0x13100017");
  EXPECT_EQ(text(0x13100024), "DGSTATUS_INTERNAL_OBJECTTOOLARGE  0x13100024");
}

TEST(MTPSDKUtilStatusString, ACodeOutsideTheTableIsUnknown) {
  EXPECT_EQ(text(0x20000002), "UNKNOWN - 0x20000002");
  for (const std::uint32_t code : {4u, 0x10000000u, 0x1000000Du, 0x10000014u, 0x12000004u, 0x1300000Au, 0x13100025u,
                                   0x14000007u, 0x15000003u, 0xFFFFFFFFu})
    EXPECT_TRUE(text(code).starts_with("UNKNOWN - 0x")) << text(code);
}

TEST(MTPSDKUtilStatusString, EveryGroupRunsWithoutGapFromItsFirstToItsLastCode) {
  const std::pair<std::uint32_t, std::uint32_t> groups[] = {
      {0, 3},
      {0x10000001, 0x1000000C},
      {0x11000001, 0x11000005},
      {0x12000001, 0x12000003},
      {0x13000001, 0x13000009},
      {0x13100000, 0x13100024},
      {0x14000001, 0x14000006},
      {0x15000001, 0x15000002},
  };
  for (const auto& [first, last] : groups)
    for (std::uint32_t code = first; code <= last; ++code)
      EXPECT_TRUE(text(code).starts_with("DGSTATUS_")) << text(code);
}

TEST(MTPSDKUtilSystem, AMajorVersionAboveTenIsNewEnough) {
  EXPECT_TRUE(newEnough(platform::SystemVersion{11, 0, 0}));
  EXPECT_TRUE(newEnough(platform::SystemVersion{12, 0, 0}));
}

TEST(MTPSDKUtilSystem, TenSixteenCountsAsElevenAndTenFifteenDoesNot) {
  EXPECT_TRUE(newEnough(platform::SystemVersion{10, 16, 0}));
  EXPECT_FALSE(newEnough(platform::SystemVersion{10, 15, 7}));
}

TEST(MTPSDKUtilSystem, ASystemWithoutAVersionIsNotNewEnough) {
  EXPECT_FALSE(newEnough(std::nullopt));
}

TEST(MTPSDKUtilExtension, IsFoundIgnoringCase) {
  EXPECT_TRUE(MTPSDKUtil::isIncludeFileExtension("Holiday.JPG", {"png", "jpg"}));
  EXPECT_TRUE(MTPSDKUtil::isIncludeFileExtension("/sdcard/DCIM/Holiday.jpg", {"JPG"}));
}

TEST(MTPSDKUtilExtension, IsTheLastOneOfSeveral) {
  EXPECT_TRUE(MTPSDKUtil::isIncludeFileExtension("backup.tar.gz", {"gz"}));
  EXPECT_FALSE(MTPSDKUtil::isIncludeFileExtension("backup.tar.gz", {"tar"}));
}

TEST(MTPSDKUtilExtension, IsNotFoundInANameWithoutOne) {
  EXPECT_FALSE(MTPSDKUtil::isIncludeFileExtension("README", {"README", ""}));
  EXPECT_FALSE(MTPSDKUtil::isIncludeFileExtension("ends.with.", {""}));
  EXPECT_FALSE(MTPSDKUtil::isIncludeFileExtension(".hidden", {"hidden"}));
  EXPECT_FALSE(MTPSDKUtil::isIncludeFileExtension("/folder.d/file", {"d"}));
  EXPECT_FALSE(MTPSDKUtil::isIncludeFileExtension("", {""}));
}

TEST(MTPSDKUtilExtension, IsNotFoundForANullNameOrInAnEmptyList) {
  EXPECT_FALSE(MTPSDKUtil::isIncludeFileExtension(QString(), {"jpg"}));
  EXPECT_FALSE(MTPSDKUtil::isIncludeFileExtension("a.jpg", {}));
}
