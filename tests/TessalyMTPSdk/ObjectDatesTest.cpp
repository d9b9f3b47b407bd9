#include "TessalyMTPSdk/ObjectDates.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace mtp;

namespace {

class ObjectDates : public ::testing::Test {
protected:
  ObjectDates() { zone("UTC-2"); } // POSIX signs: two hours east of Greenwich
  ~ObjectDates() override {
    unsetenv("TZ");
    tzset();
  }
  static void zone(const char* name) {
    setenv("TZ", name, 1);
    tzset();
  }
};

constexpr std::time_t Moment = 1704067200; // 2024-01-01T00:00:00Z

} // namespace

TEST_F(ObjectDates, ADateIsSentInUniversalTimeWithItsSign) {
  EXPECT_EQ(sentDate(Moment), u"20240101T000000Z");
}

TEST_F(ObjectDates, ADateWithoutAZoneIsLocalTime) {
  EXPECT_EQ(toldDate(Moment), u"20240101T020000");
  EXPECT_EQ(parseDate(u"20240101T020000"), Moment);
}

TEST_F(ObjectDates, AZoneIsHeeded) {
  EXPECT_EQ(parseDate(u"20240101T000000Z"), Moment);
  EXPECT_EQ(parseDate(u"20240101T053000+0530"), Moment);
  EXPECT_EQ(parseDate(u"20231231T190000-0500"), Moment);
}

TEST_F(ObjectDates, TenthsOfASecondAreNoHindrance) {
  EXPECT_EQ(parseDate(u"20240101T000000.0Z"), Moment);
  EXPECT_EQ(parseDate(u"20240101T020000.9"), Moment);
}

TEST_F(ObjectDates, WhatIsNoDateIsNone) {
  for (const char16_t* text :
       {u"", u"20240101", u"20241301T000000", u"20240100T000000", u"20240101T240000", u"20240101T006000",
        u"2024010aT000000", u"20240101T000000X", u"20240101T000000+5", u"20240101T000000+0530x", u"00000101T000000"})
    EXPECT_EQ(parseDate(text), std::nullopt) << std::u16string_view(text).size();
}

TEST_F(ObjectDates, AYearBeyondFourDigitsIsLeftOut) {
  EXPECT_EQ(sentDate(300'000'000'000), u"");
}
