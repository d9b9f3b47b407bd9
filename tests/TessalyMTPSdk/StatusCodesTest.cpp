#include "TessalyMTPSdk/StatusCodes.h"

#include <gtest/gtest.h>

using namespace mtp;

TEST(StatusCodes, OkIsSuccess) {
  EXPECT_EQ(statusOfResponse(0x2001), DGSTATUS_SUCCESS);
}

TEST(StatusCodes, FailuresRunFromGeneralErrorToObjectTooLarge) {
  EXPECT_EQ(statusOfResponse(0x2002), 0x13100000u);
  EXPECT_EQ(statusOfResponse(0x2003), 0x13100001u);
  EXPECT_EQ(statusOfResponse(0x2009), 0x13100007u);
  EXPECT_EQ(statusOfResponse(0x200C), 0x1310000Au);
  EXPECT_EQ(statusOfResponse(0x2013), 0x13100011u);
  EXPECT_EQ(statusOfResponse(0x2019), 0x13100017u);
  EXPECT_EQ(statusOfResponse(0x201E), 0x1310001Cu);
  EXPECT_EQ(statusOfResponse(0x2020), 0x1310001Eu);
  EXPECT_EQ(statusOfResponse(0xA801), 0x1310001Fu);
  EXPECT_EQ(statusOfResponse(0xA804), 0x13100022u);
  EXPECT_EQ(statusOfResponse(0xA806), 0x13100023u);
  EXPECT_EQ(statusOfResponse(0xA809), 0x13100024u);
}

TEST(StatusCodes, UnservedGroupsAndDepthsAreUnservedParameters) {
  for (const std::uint16_t code : {0xA805, 0xA807, 0xA808})
    EXPECT_EQ(statusOfResponse(code), statusOfResponse(0x2006)) << code;
  EXPECT_EQ(statusOfResponse(0xA80A), statusOfResponse(0xA801));
}

TEST(StatusCodes, AnUnknownResponseIsAGeneralError) {
  for (const std::uint16_t code : {0x0000, 0x2000, 0x2021, 0xA80B, 0xFFFF})
    EXPECT_EQ(statusOfResponse(code), DGSTATUS_INTERNAL_GENERALERROR) << code;
}
