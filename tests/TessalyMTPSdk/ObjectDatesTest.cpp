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

TEST_F(ObjectDates, LocalTimeIsReadRightAllYearRoundInEveryKindOfZone) {
  for (const char* name : {"CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0",
                           "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", "IST-5:30", "<-12>12", "<+14>-14"}) {
    zone(name);
    for (std::time_t moment = Moment; moment < Moment + 366 * 86400; moment += 900) {
      const std::u16string text = toldDate(moment);
      const auto read = parseDate(text);
      ASSERT_TRUE(read) << name << " " << moment;
      EXPECT_EQ(toldDate(*read), text) << name << " " << moment;
      EXPECT_LE(std::abs(*read - moment), 3600) << name << " " << moment; // the hour that comes twice
    }
  }
}

TEST_F(ObjectDates, AnHourThatTheClocksLeaveOutIsReadAsOneBesideIt) {
  zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const auto read = parseDate(u"20240331T023000");
  ASSERT_TRUE(read);
  const std::u16string told = toldDate(*read);
  EXPECT_TRUE(told == u"20240331T013000" || told == u"20240331T033000");
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
