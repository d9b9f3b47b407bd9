#pragma once
// From many wall-clock dates to their moments, quickly.
#include "Platform/Dates.h"

#include <cstdint>
#include <optional>
#include <unordered_map>

/// Asks the calendar, which takes microseconds, once a day instead of once a date: on a day without change of the
/// clocks the rest is addition. Gives what platform::dates::fromFields() gives. Keep one for the length of a sorting
/// only, as zone and locale may change. Belongs to one thread.
class LocalDays {
public:
  /// Milliseconds since 1970-01-01 00:00 UTC; nothing when the calendar cannot hold the date.
  std::optional<std::int64_t> moment(const platform::dates::Fields& fields);

private:
  struct Day {
    std::int64_t start = 0;
    bool isPlain = false; ///< 24 hours long
  };
  Day day(const platform::dates::Fields& fields);

  std::unordered_map<std::int64_t, Day> m_days; // by the digits YYYYMMDD
};
