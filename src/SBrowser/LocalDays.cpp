#include "SBrowser/LocalDays.h"

namespace {

constexpr std::int64_t kSecond = 1000;
constexpr std::int64_t kDay = 24 * 60 * 60 * kSecond;

bool isTimeOfDay(const platform::dates::Fields& fields) {
  return fields.hour >= 0 && fields.hour < 24 && fields.minute >= 0 && fields.minute < 60 && fields.second >= 0 &&
         fields.second < 60;
}

std::optional<std::int64_t> exactly(const platform::dates::Fields& fields) {
  const std::optional<platform::dates::Instant> instant = platform::dates::fromFields(fields);
  return instant ? std::optional<std::int64_t>(instant->time_since_epoch().count()) : std::nullopt;
}

} // namespace

std::optional<std::int64_t> LocalDays::moment(const platform::dates::Fields& fields) {
  if (!isTimeOfDay(fields))
    return exactly(fields);
  const Day day = this->day(fields);
  if (!day.isPlain)
    return exactly(fields);
  return day.start + ((fields.hour * 60 + fields.minute) * 60 + fields.second) * kSecond;
}

LocalDays::Day LocalDays::day(const platform::dates::Fields& fields) {
  const auto [entry, isNew] = m_days.try_emplace((fields.year * 100 + fields.month) * 100 + fields.day);
  if (isNew) {
    const std::optional<std::int64_t> start = exactly({fields.year, fields.month, fields.day, 0, 0, 0});
    const std::optional<std::int64_t> end = exactly({fields.year, fields.month, fields.day + 1, 0, 0, 0});
    if (start && end)
      entry->second = {*start, *end - *start == kDay};
  }
  return entry->second;
}
