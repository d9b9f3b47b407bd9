#include "SBrowser/LocalDays.h"

#include <gtest/gtest.h>

namespace {

using platform::dates::Fields;

void expectAsTheCalendar(LocalDays& days, const Fields& fields) {
  const auto instant = platform::dates::fromFields(fields);
  const std::optional<std::int64_t> moment = days.moment(fields);
  ASSERT_EQ(moment.has_value(), instant.has_value());
  if (instant) {
    EXPECT_EQ(*moment, instant->time_since_epoch().count())
        << fields.year << '-' << fields.month << '-' << fields.day << ' ' << fields.hour << ':' << fields.minute;
  }
}

TEST(LocalDays, GivesTheCalendarsMomentsAlsoOnDaysTheClocksAreChanged) {
  for (const char* zone : {"Europe/Berlin", "America/Sao_Paulo", "Asia/Seoul", "Pacific/Apia", "UTC"}) {
    const platform::dates::ScopedLocaleAndZone scope(QStringLiteral("en_US"), QString::fromLatin1(zone));
    LocalDays days;
    for (const std::int64_t day : {28, 29, 30, 31, 32})
      for (const std::int64_t month : {2, 3, 10, 12})
        for (const std::int64_t year : {2011, 2018, 2024})
          for (std::int64_t quarter = 0; quarter < 96; quarter += 3)
            expectAsTheCalendar(days, {year, month, day, quarter / 4, quarter % 4 * 15, 7});
  }
}

TEST(LocalDays, GivesTheCalendarsMomentsForFieldsOutOfTheirRange) {
  const platform::dates::ScopedLocaleAndZone scope(QStringLiteral("en_US"), QStringLiteral("Europe/Berlin"));
  LocalDays days;
  for (const Fields& fields :
       {Fields{2024, 13, 1, 1, 1, 1}, Fields{2024, 0, 0, 0, 0, 0}, Fields{0, 0, 0, 0, 0, 0},
        Fields{2024, 2, 30, 25, 61, 99}, Fields{9999, 99, 99, 99, 99, 99}, Fields{1, 1, 1, 1, 1, 1}})
    expectAsTheCalendar(days, fields);
}

} // namespace
